#pragma once
// Where a picture is taken from; stands on rookery.

#include <rookery/BoundingBall.hpp>
#include <rookery/Matrix.hpp>
#include <rookery/PhysicalSpace.hpp>

#include <optional>

namespace Shell {

using Skua::PhysicalSpace::point;
using Skua::PhysicalSpace::vector;
/// Column-major, the vector on the right.
using Matrix4 = Skua::Quadratic<4, double>;

/// A camera with perspective, in world coordinates.
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

/// The camera by the wishes of the user, or else such that the ball fills a picture of this aspect
/// (width / height), seen along `direction` (from the camera to the data). Throws
/// std::invalid_argument if it looks nowhere: position and focal point are equal, or the view up
/// is parallel to the view.
Camera placeCamera(const CameraWishes& wishes, const Skua::BoundingBall& data,
                   const vector& direction, const vector& viewUp, double aspect);

/// Projection times model view, for coordinates relative to `worldOrigin`; eye space looks along
/// -z, depth goes from -1 to 1. Near and far planes enclose the ball as far as it lies in front.
Matrix4 modelViewProjection(const Camera& camera, const Skua::BoundingBall& data, double aspect,
                            const point& worldOrigin);

} // namespace Shell
