#pragma once
// Names of all geometry values without their definitions; stands on keel's forward header.

#include <keel/fwd.hpp>
#include <rookery/export.hpp>

#include <cstddef>

namespace Skua {

/// Coordinate system: x, y, z in three-dimensional Cartesian space.
struct ROOKERY_EXPORT Cartesian3D;
/// Coordinate system of colours: red, green, blue, alpha.
struct ROOKERY_EXPORT RGBA;

template<class T, std::size_t N>
struct ROOKERY_EXPORT FixedArray;
template<std::size_t Rows, std::size_t Columns, class T>
struct ROOKERY_EXPORT Matrix;
template<std::size_t N, class T>
struct ROOKERY_EXPORT Column;
template<class T, std::size_t N>
struct ROOKERY_EXPORT Vector;
template<std::size_t N, class T>
struct ROOKERY_EXPORT Quadratic;

template<class System, class T>
struct ROOKERY_EXPORT CoordinatePoint;
template<class System, class T>
struct ROOKERY_EXPORT CoordinateVector;

/// The types of a coordinate system with components of type T: a place, and a difference of two
/// places. The two classes stand outside so that they can be declared without being defined.
template<class System, class T>
struct ROOKERY_EXPORT Coordinates {
    using point = CoordinatePoint<System, T>;
    using vector = CoordinateVector<System, T>;
};

/// Four floats red, green, blue, alpha; 0 to 1 is the range that can be shown.
using rgba_float_t = Coordinates<RGBA, float>::point;

/// Three-dimensional Cartesian space in double precision.
namespace PhysicalSpace {

using point = Coordinates<Cartesian3D, double>::point;
using vector = Coordinates<Cartesian3D, double>::vector;
struct ROOKERY_EXPORT AABB;
struct ROOKERY_EXPORT HessianNormalPlane;
struct ROOKERY_EXPORT Viewport;

} // namespace PhysicalSpace

class ROOKERY_EXPORT BoundingBall;
class ROOKERY_EXPORT BoundingBox;
struct ROOKERY_EXPORT GeodeticPoint;

} // namespace Skua

template<>
struct Keel::RootOf<Skua::BoundingBall> {
    using type = Keel::InterfaceBase;
};
template<>
struct Keel::RootOf<Skua::BoundingBox> {
    using type = Keel::InterfaceBase;
};
