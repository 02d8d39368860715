#pragma once
// Forward declarations of Polypia; stands on those of the foundation.

#include <fennel/fwd.hpp>
#include <keel/fwd.hpp>
#include <rookery/fwd.hpp>
#include <sorrel/fwd.hpp>

#include <cstdint>

namespace Mirk {

class ClippingPlanes;
class Fog;
class Interactor;
class LayeredMultiViews;
class MapMemory;
class MetaViewer;
class MultiviewRenderable;
class NamedRenderExceptions;
class ObjectSelection;
class OfflineRenderResult;
class PickList;
class PixelBuffer;
class PixelMargin;
class PixelZoom;
class Polyp;
class PolypBasicCreator;
class PolypCreatorBase;
class PolypCreatorKeeper;
class Programmable;
class ProjectionParameters;
class RenderAble;
class RenderBasin;
class RenderException;
class RenderNamespace;
class RenderSlice;
class Seagrass;
class ShaderConditionals;
class ShaderInjectorBase;
class ShaderLightSource;
class StereoDraw;
class TextureBase;
class TextureCreator;
class TouchList;
class Touchable;
class TransformOperator;
class UniformBuffer;
class UniformBufferRegistry;
class VCameraSet;
class VEnvironmentRenderObject;
class VLightSource;
class VRenderContext;
class VRenderContextBasin;
class VRenderInterruptor;
class VRenderObject;
class VRenderPrecision;
class VScene;
class VSceneObjects;
class VTextRenderProperties; // for backends that draw text
class VTransformable;
class View;
class Viewer;
struct PolypCreatorContext;
struct VRenderAble;
struct ViewerState;
struct ViewportGeometry;

template<class Initializer>
class PolypCreator;
template<class T>
class ShaderInjector;

/// Selects the tentacles that take part in a wave; see Polyp::wave.
using Activity_t = std::uint32_t;

} // namespace Mirk

template<>
struct Keel::RootOf<Mirk::Fog> {
    using type = Mirk::ShaderInjectorBase;
};
template<>
struct Keel::RootOf<Mirk::Interactor> {
    using type = Mirk::Interactor;
};
template<>
struct Keel::RootOf<Mirk::MetaViewer> {
    using type = Mirk::VManagedObjectBase;
};
template<>
struct Keel::RootOf<Mirk::NamedRenderExceptions> {
    using type = Mirk::NamedRenderExceptions;
};
template<>
struct Keel::RootOf<Mirk::PickList> {
    using type = Mirk::PickList;
};
template<>
struct Keel::RootOf<Mirk::PixelBuffer> {
    using type = Mirk::PixelBuffer;
};
template<>
struct Keel::RootOf<Mirk::Polyp> {
    using type = Keel::Cacheable;
};
template<>
struct Keel::RootOf<Mirk::PolypBasicCreator> {
    using type = Keel::Creature;
};
template<class Initializer>
struct Keel::RootOf<Mirk::PolypCreator<Initializer>> {
    using type = Keel::Creature;
};
template<>
struct Keel::RootOf<Mirk::PolypCreatorBase> {
    using type = Keel::Creature;
};
template<>
struct Keel::RootOf<Mirk::RenderAble> {
    using type = Mirk::VManagedObjectBase;
};
template<>
struct Keel::RootOf<Mirk::RenderSlice> {
    using type = Keel::InterfaceBase;
};
template<>
struct Keel::RootOf<Mirk::Seagrass> {
    using type = Mirk::Seagrass;
};
template<class T>
struct Keel::RootOf<Mirk::ShaderInjector<T>> {
    using type = Mirk::ShaderInjectorBase;
};
template<>
struct Keel::RootOf<Mirk::ShaderInjectorBase> {
    using type = Mirk::ShaderInjectorBase;
};
template<>
struct Keel::RootOf<Mirk::ShaderLightSource> {
    using type = Mirk::VManagedObjectBase;
};
template<>
struct Keel::RootOf<Mirk::TextureBase> {
    using type = Keel::Cacheable;
};
template<>
struct Keel::RootOf<Mirk::TextureCreator> {
    using type = Keel::Creature;
};
template<>
struct Keel::RootOf<Mirk::TouchList> {
    using type = Keel::ChunkBase;
};
template<>
struct Keel::RootOf<Mirk::VCameraSet> {
    using type = Mirk::VCameraSet;
};
template<>
struct Keel::RootOf<Mirk::VEnvironmentRenderObject> {
    using type = Mirk::VManagedObjectBase;
};
template<>
struct Keel::RootOf<Mirk::VLightSource> {
    using type = Mirk::VManagedObjectBase;
};
template<>
struct Keel::RootOf<Mirk::VRenderInterruptor> {
    using type = Mirk::VRenderInterruptor;
};
template<>
struct Keel::RootOf<Mirk::VRenderObject> {
    using type = Mirk::VManagedObjectBase;
};
template<>
struct Keel::RootOf<Mirk::VRenderPrecision> {
    using type = Mirk::VRenderPrecision;
};
template<>
struct Keel::RootOf<Mirk::VScene> {
    using type = Mirk::VManagedObjectBase;
};
template<>
struct Keel::RootOf<Mirk::Viewer> {
    using type = Mirk::VManagedObjectBase;
};
