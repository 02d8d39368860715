#pragma once
// Names of the display objects, for headers that only pass them on.

namespace Mirk {

class AmbientLight;
class BoundingBoxDisplay;
class DirectionalLight;
class DisplayLight;
class DisplayObject;
class GlintingLight;
class GlobeDisplay;
class Headlight;
class LineSet;
class PlacedLight;
class PointCloud;
class PositionalLight;
class SpotLight;
class TriangleSurface;

} // namespace Mirk
