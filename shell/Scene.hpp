#pragma once
// What a picture shows, from data of files to polyps; stands on Readers and the render backend.

#include <Camera.hpp>
#include <Options.hpp>

#include <Polypia/Polyp.hpp>
#include <Polypia/RenderBasin.hpp>
#include <Readers/Dataset.hpp>
#include <rookery/BoundingBox.hpp>

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace Shell {

using PolypPtr = Keel::StrongPtr<Mirk::Polyp, Keel::Cacheable>;

/// Coordinates amid the data and of a size that floats can hold with all that is computed from
/// them: (world - worldOrigin) / worldUnit.
struct SceneSpace {
    point worldOrigin;
    double worldUnit = 1.0; ///< a power of two, which changes no digit

    point toScene(const point& world) const {
        return point() + (world - worldOrigin) * (1.0 / worldUnit);
    }
};

/// How a scene is seen: what all programs get.
struct SceneView {
    Skua::Quadratic<4, float> modelViewProjection;
    Skua::FixedArray<float, 3> eyePosition;    ///< in scene space
    Skua::FixedArray<float, 3> lightDirection; ///< towards the light
    Skua::FixedArray<float, 2> viewportPixels;
    int samples;                           ///< of each pixel
    Skua::FixedArray<float, 4> hiddenSide; ///< of the earth, see horizon.hpp
};

/// A part of a scene that becomes one polyp.
class ScenePart {
public:
    virtual ~ScenePart();
    /// Fills the polyp and returns its program. Data may be given up by this.
    virtual Mirk::RenderBasin::ProgramPtr fill(Mirk::Polyp& polyp, Mirk::RenderBasin& basin) = 0;
    /// Of the coordinates as they are: of the world at first, then of the scene.
    virtual Skua::BoundingBox bounds() const = 0;
    /// Turns coordinates of the world into those of the scene, in double precision.
    virtual void toScene(const SceneSpace& space) = 0;
    /// Raises each of the reaches to the largest dot product of its direction with a point.
    virtual void reach(std::span<const vector> directions, std::span<double> reaches) const = 0;
    /// How far beyond its coordinates it is drawn.
    virtual double marginPixels() const;
};

/// The data of files, and the globe if they are on the earth.
class Scene {
public:
    explicit Scene(const RenderOptions& options);

    /// Throws std::runtime_error if the numbers are too large to be drawn.
    void add(const std::string& file, Mirk::Dataset&& data);
    /// To be called when all data are there: chooses the space of the scene and turns all
    /// coordinates into it.
    void complete();

    const SceneSpace& space() const { return _space; }
    /// What a camera is to see, in scene space; for as long as the parts are there.
    Sight sight() const;
    /// How far beyond its coordinates something is drawn, in pixels.
    double marginPixels() const;

    /// Makes the polyps of the parts, which are given up; with the context current.
    void create(Mirk::RenderBasin& basin);
    void setView(const SceneView& view);
    /// Brings all data to the GPU without drawing.
    void upload() const;
    void draw() const;
    /// Gives up all GPU state; with the context current.
    void release();

private:
    std::vector<double> reaches(std::span<const vector> directions) const;

    const RenderOptions& _options;
    std::vector<std::unique_ptr<ScenePart>> _parts;
    std::vector<PolypPtr> _polyps;
    std::vector<Mirk::RenderBasin::ProgramPtr> _programs;
    Skua::BoundingBox _box;   ///< of the files, in the world
    Skua::BoundingBall _ball; ///< in scene space
    SceneSpace _space;
    bool _hasEarth = false;
};

} // namespace Shell
