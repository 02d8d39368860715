#include <PolypiaGL/GLContext.hpp>

#include <PolypiaGL/ContextError.hpp>
#include <PolypiaGL/glHeaders.hpp>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace Mirk {
namespace {

thread_local GLContext* currentContext = nullptr;

int getInteger(GLenum name) {
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

int getInteger(GLenum name, GLuint index) {
    GLint value = 0;
    glGetIntegeri_v(name, index, &value);
    return value;
}

std::string getString(GLenum name) {
    const GLubyte* text = glGetString(name);
    return text ? reinterpret_cast<const char*>(text) : std::string();
}

bool isSoftwareRenderer(const std::string& renderer) {
    constexpr std::array<std::string_view, 6> names{
        "llvmpipe", "softpipe", "swrast", "SWR", "SwiftShader", "Software Rasterizer"};
    return std::any_of(names.begin(), names.end(), [&](std::string_view name) {
        return renderer.find(name) != std::string::npos;
    });
}

} // namespace

GLContext::Scope::Scope(GLContext& context) : _previous(GLContext::current()) {
    if (&context == _previous) return;
    context.makeCurrent();
    _entered = &context;
}

GLContext::Scope::~Scope() {
    if (!_entered) return;
    if (!_previous) {
        _entered->release();
        return;
    }
    std::string reason;
    if (!_previous->tryMakeCurrent(reason))
        std::fprintf(stderr, "PolypiaGL: the context used before is lost to the thread: %s\n",
                     reason.c_str());
}

GLContext::GLContext(const GLContext* shared)
    : _ledger(std::make_shared<GL::ObjectLedger>(shared ? shared->_ledger->group()
                                                        : std::make_shared<const char>())) {}

GLContext::~GLContext() {
    if (currentContext == this) currentContext = nullptr;
    if (_ledger->live() == 0) return;
    std::fprintf(stderr, "PolypiaGL: the context ends while objects live in it: %s\n",
                 _ledger->report().c_str());
}

GLContext* GLContext::current() {
    return currentContext;
}

void GLContext::makeCurrent() {
    std::string reason;
    if (!tryMakeCurrent(reason)) throw ContextError("GLContext::makeCurrent: " + reason);
}

bool GLContext::tryMakeCurrent(std::string& reason) {
    if (isCurrent()) return true;
    std::thread::id none;
    if (!_thread.compare_exchange_strong(none, std::this_thread::get_id())) {
        reason = "the context is current on another thread";
        return false;
    }
    if (!bind(reason)) {
        _thread = std::thread::id();
        return false;
    }
    if (currentContext) currentContext->_thread = std::thread::id();
    currentContext = this;
    return true;
}

void GLContext::release() noexcept {
    if (!isCurrent()) return;
    if (!unbind()) std::fprintf(stderr, "PolypiaGL: the driver keeps the context current\n");
    currentContext = nullptr;
    _thread = std::thread::id();
}

std::optional<std::thread::id> GLContext::currentThread() const {
    const std::thread::id thread = _thread;
    if (thread == std::thread::id()) return {};
    return thread;
}

std::string GLContext::description() const {
    return _renderer + ", OpenGL " + std::to_string(_version[0]) + "." +
           std::to_string(_version[1]) +
           (_profile == GL::Profile::Core ? " core" : " compatibility");
}

void GLContext::readProperties(bool isSoftwareDevice) {
    _vendor = getString(GL_VENDOR);
    _renderer = getString(GL_RENDERER);
    if (_renderer.empty()) throw ContextError("libOpenGL does not reach the driver");
    _version = {getInteger(GL_MAJOR_VERSION), getInteger(GL_MINOR_VERSION)};
    if (_version < std::array<int, 2>{4, 5})
        throw ContextError("expected OpenGL 4.5, got " + getString(GL_VERSION) + " of " +
                           _renderer);
    const bool isCompatible =
        (getInteger(GL_CONTEXT_PROFILE_MASK) & GL_CONTEXT_COMPATIBILITY_PROFILE_BIT) != 0;
    _profile = isCompatible ? GL::Profile::Compatibility : GL::Profile::Core;
    _isSoftware = isSoftwareDevice || isSoftwareRenderer(_renderer);
    for (int i = 0, count = getInteger(GL_NUM_EXTENSIONS); i < count; ++i)
        if (const GLubyte* name = glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(i)))
            _extensions.emplace(reinterpret_cast<const char*>(name));
    readLimits();
}

void GLContext::readLimits() {
    GLLimits& l = _limits;
    glGetIntegerv(GL_MAX_VIEWPORT_DIMS, l.maxViewportSize.data());
    l.maxViewports = getInteger(GL_MAX_VIEWPORTS);
    l.maxTextureSize = getInteger(GL_MAX_TEXTURE_SIZE);
    l.max3DTextureSize = getInteger(GL_MAX_3D_TEXTURE_SIZE);
    l.maxArrayTextureLayers = getInteger(GL_MAX_ARRAY_TEXTURE_LAYERS);
    l.maxTextureBufferTexels = getInteger(GL_MAX_TEXTURE_BUFFER_SIZE);
    l.maxTextureUnits = getInteger(GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS);
    l.maxRenderbufferSize = getInteger(GL_MAX_RENDERBUFFER_SIZE);
    l.maxFramebufferLayers = getInteger(GL_MAX_FRAMEBUFFER_LAYERS);
    l.maxColorAttachments = getInteger(GL_MAX_COLOR_ATTACHMENTS);
    l.maxSamples = getInteger(GL_MAX_SAMPLES);
    l.maxVertexAttributes = getInteger(GL_MAX_VERTEX_ATTRIBS);
    l.maxClipDistances = getInteger(GL_MAX_CLIP_DISTANCES);
    l.maxGeometryOutputVertices = getInteger(GL_MAX_GEOMETRY_OUTPUT_VERTICES);
    l.maxGeometryOutputComponents = getInteger(GL_MAX_GEOMETRY_TOTAL_OUTPUT_COMPONENTS);
    l.maxUniformBlockBytes = getInteger(GL_MAX_UNIFORM_BLOCK_SIZE);
    l.maxUniformBindings = getInteger(GL_MAX_UNIFORM_BUFFER_BINDINGS);
    l.uniformOffsetAlignment = getInteger(GL_UNIFORM_BUFFER_OFFSET_ALIGNMENT);
    GLint64 storageBytes = 0;
    glGetInteger64v(GL_MAX_SHADER_STORAGE_BLOCK_SIZE, &storageBytes);
    l.maxStorageBlockBytes = storageBytes;
    l.maxStorageBindings = getInteger(GL_MAX_SHADER_STORAGE_BUFFER_BINDINGS);
    l.storageOffsetAlignment = getInteger(GL_SHADER_STORAGE_BUFFER_OFFSET_ALIGNMENT);
    l.maxWorkGroupInvocations = getInteger(GL_MAX_COMPUTE_WORK_GROUP_INVOCATIONS);
    for (GLuint i = 0; i < 3; ++i) {
        l.maxWorkGroups[i] = getInteger(GL_MAX_COMPUTE_WORK_GROUP_COUNT, i);
        l.maxWorkGroupSize[i] = getInteger(GL_MAX_COMPUTE_WORK_GROUP_SIZE, i);
    }
    l.programBinaryFormats = getInteger(GL_NUM_PROGRAM_BINARY_FORMATS);
}

void GLContext::setDepths(Depths depths) {
    _depths = depths;
    glClipControl(GL_LOWER_LEFT,
                  depths == Depths::Reversed ? GL_ZERO_TO_ONE : GL_NEGATIVE_ONE_TO_ONE);
}

void GLContext::collectDebugMessages() {
    const auto add = [](GLenum source, GLenum type, GLuint id, GLenum severity, GLsizei length,
                        const GLchar* text, const void* context) {
        const std::string words =
            length < 0 ? std::string(text) : std::string(text, static_cast<std::size_t>(length));
        // Its own message list is the only part of the context that the driver may change.
        auto* self = static_cast<GLContext*>(const_cast<void*>(context));
        self->addDebugMessage({source, type, id, severity, words});
    };
    glDebugMessageCallback(add, this);
    glEnable(GL_DEBUG_OUTPUT);
    glEnable(GL_DEBUG_OUTPUT_SYNCHRONOUS);
}

void GLContext::addDebugMessage(GLDebugMessage message) {
    constexpr std::size_t most = 1000;
    const std::lock_guard lock(_debugMutex);
    if (_debugMessages.size() < most) _debugMessages.push_back(std::move(message));
}

std::vector<GLDebugMessage> GLContext::takeDebugMessages() {
    const std::lock_guard lock(_debugMutex);
    return std::exchange(_debugMessages, {});
}

} // namespace Mirk
