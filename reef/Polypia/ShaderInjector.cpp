#include <Polypia/ShaderInjector.hpp>

namespace Mirk {

ShaderInjectorBase::ShaderInjectorBase() = default;

ShaderInjectorBase::~ShaderInjectorBase() = default;

std::string ShaderInjectorBase::default_vertex_shader(VRenderContext&) {
    return {};
}

std::string ShaderInjectorBase::default_geometry_shader(VRenderContext&) {
    return {};
}

std::string ShaderInjectorBase::default_fragment_shader(VRenderContext&) {
    return {};
}

} // namespace Mirk
