#pragma once
// Names of the display objects, for headers that only pass them on.

namespace Mirk {

class GlobeDisplay;
class LineDisplay;
class MeshDisplay;
class PointDisplay;
class PolypDisplay;

} // namespace Mirk
