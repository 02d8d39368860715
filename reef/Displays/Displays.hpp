#pragma once
// Everything of the display objects: what a user puts into a scene.

#include <Displays/AmbientLight.hpp>
#include <Displays/BoundingBoxDisplay.hpp>
#include <Displays/DirectionalLight.hpp>
#include <Displays/DisplayLight.hpp>
#include <Displays/DisplayObject.hpp>
#include <Displays/GlobeDisplay.hpp>
#include <Displays/Headlight.hpp>
#include <Displays/LineSet.hpp>
#include <Displays/PlacedLight.hpp>
#include <Displays/PointCloud.hpp>
#include <Displays/PositionalLight.hpp>
#include <Displays/SpotLight.hpp>
#include <Displays/TriangleSurface.hpp>
#include <Displays/datasetValues.hpp>
#include <Displays/fwd.hpp>
