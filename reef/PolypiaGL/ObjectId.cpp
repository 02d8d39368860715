#include <PolypiaGL/ObjectId.hpp>

#include <PolypiaGL/GLContext.hpp>
#include <PolypiaGL/glHeaders.hpp>

#include <cstdio>
#include <cstdlib>

namespace Mirk::GL {
namespace {

std::shared_ptr<ObjectLedger> currentLedger(ObjectKind kind) {
    if (const GLContext* context = GLContext::current()) return context->ledger();
    std::fprintf(stderr, "PolypiaGL: no context is current on the thread that makes a %s\n",
                 std::string(kindName(kind)).c_str());
    std::abort();
}

template<ObjectKind kind, class Make>
ObjectId<kind> make(Make create) {
    auto ledger = currentLedger(kind);
    GLuint number = 0;
    create(number);
    return ObjectId<kind>(number, std::move(ledger));
}

void deleteObject(ObjectKind kind, GLuint number) {
    switch (kind) {
    case ObjectKind::Buffer:
        return glDeleteBuffers(1, &number);
    case ObjectKind::Texture:
        return glDeleteTextures(1, &number);
    case ObjectKind::Sampler:
        return glDeleteSamplers(1, &number);
    case ObjectKind::Renderbuffer:
        return glDeleteRenderbuffers(1, &number);
    case ObjectKind::Shader:
        return glDeleteShader(number);
    case ObjectKind::Program:
        return glDeleteProgram(number);
    case ObjectKind::Framebuffer:
        return glDeleteFramebuffers(1, &number);
    case ObjectKind::VertexArray:
        return glDeleteVertexArrays(1, &number);
    case ObjectKind::Query:
        return glDeleteQueries(1, &number);
    }
}

} // namespace

void freeObject(ObjectKind kind, unsigned number, ObjectLedger& ledger) noexcept {
    const GLContext* context = GLContext::current();
    if (!context || !ledger.isReachedFrom(*context->ledger(), kind)) {
        std::fprintf(stderr, "PolypiaGL: %s %u is freed where %s is current on the thread\n",
                     std::string(kindName(kind)).c_str(), number,
                     context ? "a context that does not reach it" : "no context");
        std::abort();
    }
    deleteObject(kind, number);
    ledger.remove(kind);
}

BufferId createBuffer() {
    return make<ObjectKind::Buffer>([](GLuint& n) { glCreateBuffers(1, &n); });
}

TextureId createTexture(unsigned target) {
    return make<ObjectKind::Texture>([=](GLuint& n) { glCreateTextures(target, 1, &n); });
}

SamplerId createSampler() {
    return make<ObjectKind::Sampler>([](GLuint& n) { glCreateSamplers(1, &n); });
}

RenderbufferId createRenderbuffer() {
    return make<ObjectKind::Renderbuffer>([](GLuint& n) { glCreateRenderbuffers(1, &n); });
}

ShaderId createShader(unsigned type) {
    return make<ObjectKind::Shader>([=](GLuint& n) { n = glCreateShader(type); });
}

ProgramId createProgram() {
    return make<ObjectKind::Program>([](GLuint& n) { n = glCreateProgram(); });
}

FramebufferId createFramebuffer() {
    return make<ObjectKind::Framebuffer>([](GLuint& n) { glCreateFramebuffers(1, &n); });
}

VertexArrayId createVertexArray() {
    return make<ObjectKind::VertexArray>([](GLuint& n) { glCreateVertexArrays(1, &n); });
}

QueryId createQuery(unsigned target) {
    return make<ObjectKind::Query>([=](GLuint& n) { glCreateQueries(target, 1, &n); });
}

} // namespace Mirk::GL
