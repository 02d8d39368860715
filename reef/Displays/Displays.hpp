#pragma once
// Everything of the display objects: what a user puts into a scene.

#include <Displays/BoundingBoxDisplay.hpp>
#include <Displays/DisplayObject.hpp>
#include <Displays/GlobeDisplay.hpp>
#include <Displays/LineSet.hpp>
#include <Displays/PointCloud.hpp>
#include <Displays/TriangleSurface.hpp>
#include <Displays/datasetValues.hpp>
#include <Displays/fwd.hpp>
