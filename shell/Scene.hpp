#pragma once
// What a picture shows, from data of files to display objects; stands on Displays.

#include <Camera.hpp>
#include <Options.hpp>

#include <Displays/DisplayLight.hpp>
#include <Displays/DisplayObject.hpp>
#include <Readers/Dataset.hpp>
#include <rookery/BoundingBox.hpp>

#include <span>
#include <string>
#include <vector>

namespace Shell {

using DisplayPtr = Keel::StrongPtr<Mirk::DisplayObject, Mirk::VManagedObjectBase>;
using LightPtr = Keel::StrongPtr<Mirk::DisplayLight, Mirk::VManagedObjectBase>;

/// Coordinates amid the data and of a size whose squares and products numbers hold:
/// (world - worldOrigin) / worldUnit. Display objects have world / worldUnit.
struct SceneSpace {
    point worldOrigin;
    double worldUnit = 1.0; ///< a power of two, which changes no digit

    point toScene(const point& world) const {
        return point() + (world - worldOrigin) * (1.0 / worldUnit);
    }
    point toDisplays(const point& scene) const {
        return scene + (worldOrigin - point()) * (1.0 / worldUnit);
    }
    point fromDisplays(const point& place) const { return point() + (place - point()) * worldUnit; }
};

/// The data of files, and the globe if they are on the earth.
class Scene {
public:
    struct Object {
        DisplayPtr display;
        std::string file; ///< none for the globe
    };

    explicit Scene(const PictureOptions& options);

    /// Throws std::runtime_error if the numbers are too large to be drawn.
    void add(const std::string& file, Mirk::Dataset&& data);
    /// To be called when all data are there: chooses the space of the scene and makes the display
    /// objects and lights, which join the default scene.
    void complete();

    /// In the order of the files, behind the globe. The name of an object tells its file from the
    /// others.
    const std::vector<Object>& objects() const { return _objects; }
    const SceneSpace& space() const { return _space; }
    /// What a camera is to see, in scene space; for as long as this object lives.
    Sight sight() const;
    /// How far beyond its coordinates something is drawn, in pixels.
    double marginPixels() const;

private:
    struct Loaded {
        std::string file;
        Mirk::Dataset data;
    };

    std::vector<double> reaches(std::span<const vector> directions) const;
    DisplayPtr makeDisplay(const std::string& name, Mirk::Dataset&& data) const;

    const PictureOptions& _options;
    std::vector<Loaded> _loaded;
    std::vector<Object> _objects;
    std::vector<LightPtr> _lights;
    /// What cameras look at beside the globe: not what lies on that.
    std::vector<Mirk::ChunkPtr<Mirk::Point>> _fitted;
    Skua::BoundingBox _box;   ///< of the files, in the world
    Skua::BoundingBall _ball; ///< in scene space
    SceneSpace _space;
    bool _hasEarth = false;
};

} // namespace Shell
