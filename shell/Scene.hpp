#pragma once
// What a picture shows, from data of files to polyps; stands on Readers and the render backend.

#include <Camera.hpp>
#include <Options.hpp>

#include <Polypia/Polyp.hpp>
#include <Polypia/RenderBasin.hpp>
#include <Readers/Dataset.hpp>
#include <rookery/BoundingBox.hpp>

#include <memory>
#include <vector>

namespace Shell {

using PolypPtr = Keel::StrongPtr<Mirk::Polyp, Keel::Cacheable>;

/// How a scene is seen: what all programs get.
struct SceneView {
    Skua::Quadratic<4, float> modelViewProjection;
    Skua::FixedArray<float, 3> eyePosition;    ///< relative to the origin of the scene
    Skua::FixedArray<float, 3> lightDirection; ///< towards the light
    Skua::FixedArray<float, 2> viewportPixels;
};

/// A part of a scene that becomes one polyp.
class ScenePart {
public:
    virtual ~ScenePart();
    /// Fills the polyp and returns its program. Data may be given up by this.
    virtual Mirk::RenderBasin::ProgramPtr fill(Mirk::Polyp& polyp, Mirk::RenderBasin& basin) = 0;
    virtual Skua::BoundingBox bounds() const = 0;
    /// Makes the coordinates relative to this origin, in double precision.
    virtual void shift(const point& worldOrigin) = 0;
};

/// The data of files, and the globe if they are on the earth.
class Scene {
public:
    explicit Scene(const RenderOptions& options);

    void add(Mirk::Dataset&& data);
    /// To be called when all data are there: makes coordinates relative to an origin amid them, so
    /// that floats can hold them.
    void complete();

    const Skua::BoundingBall& ball() const { return _ball; }
    const point& worldOrigin() const { return _worldOrigin; }
    bool hasEarth() const { return _hasEarth; }
    /// Direction of the view and view up for which the data look best.
    vector defaultDirection() const;
    vector defaultViewUp() const;

    /// Makes the polyps; with the context current.
    void create(Mirk::RenderBasin& basin);
    void setView(const SceneView& view);
    /// Brings all data to the GPU without drawing.
    void upload() const;
    void draw() const;
    /// Gives up all GPU state; with the context current.
    void release();

private:
    void addPart(std::unique_ptr<ScenePart> part);

    const RenderOptions& _options;
    std::vector<std::unique_ptr<ScenePart>> _parts;
    std::vector<PolypPtr> _polyps;
    std::vector<Mirk::RenderBasin::ProgramPtr> _programs;
    Skua::BoundingBall _ball;
    point _worldOrigin;
    bool _hasEarth = false;
};

} // namespace Shell
