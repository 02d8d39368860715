#pragma once
// Names of the display objects, for headers that only pass them on.

namespace Mirk {

class BoundingBoxDisplay;
class DisplayObject;
class GlobeDisplay;
class LineSet;
class PointCloud;
class TriangleSurface;

} // namespace Mirk
