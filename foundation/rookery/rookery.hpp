#pragma once
// All geometry values of librookery in one include.

#include <rookery/BoundingBall.hpp>
#include <rookery/BoundingBox.hpp>
#include <rookery/Coordinates.hpp>
#include <rookery/FixedArray.hpp>
#include <rookery/Geodesy.hpp>
#include <rookery/Matrix.hpp>
#include <rookery/PhysicalSpace.hpp>
#include <rookery/fwd.hpp>
#include <rookery/pointInPolygon.hpp>
