#pragma once
// Where a picture is taken from; stands on rookery.

#include <rookery/BoundingBall.hpp>
#include <rookery/Matrix.hpp>
#include <rookery/PhysicalSpace.hpp>

#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace Shell {

using Skua::PhysicalSpace::point;
using Skua::PhysicalSpace::vector;
/// Column-major, the vector on the right.
using Matrix4 = Skua::Quadratic<4, double>;

/// A camera with perspective.
struct Camera {
    point position;
    point focalPoint;
    vector viewUp;
    double viewAngleDegrees; ///< height of the picture

    /// Unit vectors: into the picture, to its right, to its top.
    vector forward() const;
    vector right() const;
    vector up() const;
};

/// What a user has said about the camera; the rest is chosen so that the data fill the picture.
struct CameraWishes {
    std::optional<point> position;
    std::optional<point> focalPoint;
    std::optional<vector> viewUp;
    double viewAngleDegrees = 30.0;
};

/// What a camera is to see.
struct Sight {
    /// For each direction the largest dot product with a point of the data.
    using Reaches = std::function<std::vector<double>(std::span<const vector> directions)>;

    Skua::BoundingBall ball; ///< around the data; a radius of 0 is a single point
    Reaches reaches;
    vector direction; ///< in which the data look best, from the camera to them
    vector viewUp;    ///< with that
};

/// The picture that is to be filled.
struct Frame {
    double aspect = 1.0; ///< width / height
    /// Parts of width and height that the data may take up.
    double widthPart = 1.0, heightPart = 1.0;
};

/// The camera by the wishes of the user. What they leave open is chosen such that the data fill
/// the frame: touching two opposite edges of it if the focal point is free, else one edge. Throws
/// UsageError if it looks nowhere (position and focal point are equal, or the view up is parallel
/// to the view), or if the data are out of sight for their distance.
Camera placeCamera(const CameraWishes& wishes, const Sight& sight, const Frame& frame);

/// Distances from the camera, along its view.
struct DepthRange {
    double near;
    double far;
};

/// Near and far planes that enclose a ball as far as it lies in front of the camera.
DepthRange depthRangeOf(const Camera& camera, const Skua::BoundingBall& ball);

/// Projection times model view; eye space looks along -z, depth goes from -1 to 1 within the range
/// of depthRangeOf().
Matrix4 modelViewProjection(const Camera& camera, const Skua::BoundingBall& ball, double aspect);

} // namespace Shell
