#pragma once
// Everything of the display objects: what a user puts into a scene.

#include <Displays/GlobeDisplay.hpp>
#include <Displays/LineDisplay.hpp>
#include <Displays/MeshDisplay.hpp>
#include <Displays/PointDisplay.hpp>
#include <Displays/PolypDisplay.hpp>
#include <Displays/fwd.hpp>
