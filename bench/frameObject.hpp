#pragma once
// Scenes of many small display objects, each with a polyp of its own; stands on Polypia.

#include <Polypia/PolypCreatorKeeper.hpp>
#include <Polypia/RenderAble.hpp>
#include <Polypia/RenderParameter.hpp>
#include <Polypia/Seagrass.hpp>
#include <Polypia/VSceneObjects.hpp>

#include <rookery/BoundingBox.hpp>

#include <cmath>
#include <string>
#include <vector>

/// Where an object stands: x, y and half its width, of a square that is 2 wide.
using Place = Skua::FixedArray<float, 3>;

/// Of an object in a square grid of so many.
inline Place placeInGrid(int number, int objects) {
    const int columns = static_cast<int>(std::ceil(std::sqrt(objects)));
    const float step = 2.0F / static_cast<float>(columns);
    const auto middle = [step](int place) {
        return (static_cast<float>(place) + 0.5F) * step - 1.0F;
    };
    return {middle(number % columns), middle(number / columns), step / 8};
}

/// Fills the polyps of a scene, each with a program, a vertex attribute and a painter.
class Tentacles {
public:
    virtual ~Tentacles() = default;
    virtual void insert(Mirk::Polyp& polyp, Mirk::VRenderContext& context) = 0;
};

/// Draws at its place, the way that the library's displays go: its polyp comes from a keeper, is
/// checked for the number of eyes, updated, waved and completed.
class FrameObject : public Mirk::RenderAble {
public:
    FrameObject(int number, const Place& place, Tentacles& tentacles)
        : VObject("object" + std::to_string(number), 0, {}),
          RenderAble("object" + std::to_string(number), 0, {}),
          _place(place),
          _tentacles(tentacles),
          _bounds(new Skua::BoundingBox({place[0] - place[2], place[1] - place[2], 0},
                                        {place[0] + place[2], place[1] + place[2], 0})) {}

    using RenderAble::environment_render;
    bool environment_render(Mirk::VRenderContext& context) const override {
        using Creator = Mirk::PolypCreator<Filler>;
        const auto kept = _creators(*context.getSeagrass(), [this](const Mirk::Seagrass& seagrass) {
            return Mirk::PolypCreatorKeeper::CreatorPtr(
                new Creator(seagrass, Mirk::PolypPtr(), *this));
        });
        const Mirk::PolypPtr polyp = static_cast<Creator&>(*kept).acquire(context);
        if (!polyp->updateValues(context)) return false;
        polyp->wave(~Mirk::Activity_t{0});
        polyp->complete(context);
        return true;
    }
    BoundingBallPtr getBoundingBall(const Mirk::ValuePoolPtr&) const override { return _bounds; }

private:
    class Filler {
    public:
        explicit Filler(const FrameObject& object) : _object(object) {}
        bool initializePolyp(Mirk::Polyp& polyp, Mirk::VRenderContext& context) const {
            _object._tentacles.insert(polyp, context);
            polyp.insert(
                Keel::StrongPtr<Mirk::RenderBasin::UniformParameter, Mirk::Polyp::Tentacle>(
                    new Mirk::RenderBasin::UniformParameter("Place", _object._place)));
            context.setNumberOfViews(polyp);
            return true;
        }
        bool isValidPolyp(const Mirk::Polyp& polyp, Mirk::VRenderContext& context,
                          const Mirk::PolypCreatorBase&) const {
            return context.isValid(polyp);
        }

    private:
        const FrameObject& _object;
    };

    const Place _place;
    Tentacles& _tentacles;
    const Keel::StrongPtr<Skua::BoundingBox, Keel::InterfaceBase> _bounds;
    mutable Mirk::PolypCreatorKeeper _creators;
};

using FrameObjectPtr = Keel::StrongPtr<FrameObject, Mirk::VManagedObjectBase>;

/// Of `objects` objects all but every `visibleOf`-th stand outside of the square.
struct FrameScene {
    FrameScene(int objects, int visibleOf, Tentacles& tentacles) {
        for (int i = 0; i < objects; ++i) {
            Place place = placeInGrid(i, objects);
            constexpr float farAway = 100;
            if (i % visibleOf != 0) place[0] += farAway;
            places.push_back(place);
            frameObjects.emplace_back(new FrameObject(i, place, tentacles));
            scene.insert(0, frameObjects.back());
        }
    }
    std::vector<Place> places;
    std::vector<FrameObjectPtr> frameObjects;
    Mirk::VSceneObjects scene;
};
