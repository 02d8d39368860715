#pragma once
// Owners of OpenGL object numbers, one type for each kind; stand on ObjectLedger and GLContext.

#include <PolypiaGL/ObjectLedger.hpp>
#include <PolypiaGL/export.hpp>

#include <memory>
#include <utility>

namespace Mirk::GL {

/// Deletes the object and takes it off the ledger. Prints and aborts unless a context is current on
/// this thread that reaches the object: freeing elsewhere would delete a stranger's object.
POLYPIAGL_EXPORT void freeObject(ObjectKind kind, unsigned number, ObjectLedger& ledger) noexcept;

/// Owns one object of the context that was current when it was made. Number 0 is empty. Classes
/// that hold ids default their moves.
template<ObjectKind kind>
class ObjectId {
public:
    ObjectId() = default;

    /// Takes over an object that was just made; number 0 stays uncounted.
    ObjectId(unsigned number, std::shared_ptr<ObjectLedger> ledger)
        : _number(number), _ledger(std::move(ledger)) {
        if (_number != 0) _ledger->add(kind);
    }
    ObjectId(ObjectId&& other) noexcept
        : _number(std::exchange(other._number, 0)), _ledger(std::move(other._ledger)) {}
    ObjectId& operator=(ObjectId&& other) noexcept {
        ObjectId(std::move(other)).swap(*this);
        return *this;
    }
    ~ObjectId() { reset(); }

    void reset() noexcept {
        if (_number != 0) freeObject(kind, std::exchange(_number, 0), *_ledger);
        _ledger.reset();
    }
    void swap(ObjectId& other) noexcept {
        std::swap(_number, other._number);
        _ledger.swap(other._ledger);
    }

    unsigned number() const { return _number; }
    explicit operator bool() const { return _number != 0; }

private:
    unsigned _number = 0;
    std::shared_ptr<ObjectLedger> _ledger;
};

using BufferId = ObjectId<ObjectKind::Buffer>;
using TextureId = ObjectId<ObjectKind::Texture>;
using SamplerId = ObjectId<ObjectKind::Sampler>;
using RenderbufferId = ObjectId<ObjectKind::Renderbuffer>;
using ShaderId = ObjectId<ObjectKind::Shader>;
using ProgramId = ObjectId<ObjectKind::Program>;
using FramebufferId = ObjectId<ObjectKind::Framebuffer>;
using VertexArrayId = ObjectId<ObjectKind::VertexArray>;
using QueryId = ObjectId<ObjectKind::Query>;

// Each makes an object in the context that is current on this thread; without one it prints and
// aborts. Empty if the driver refuses, which leaves an error to drain.
POLYPIAGL_EXPORT BufferId createBuffer();
POLYPIAGL_EXPORT TextureId createTexture(unsigned target);
POLYPIAGL_EXPORT SamplerId createSampler();
POLYPIAGL_EXPORT RenderbufferId createRenderbuffer();
POLYPIAGL_EXPORT ShaderId createShader(unsigned type);
POLYPIAGL_EXPORT ProgramId createProgram();
POLYPIAGL_EXPORT FramebufferId createFramebuffer();
POLYPIAGL_EXPORT VertexArrayId createVertexArray();
POLYPIAGL_EXPORT QueryId createQuery(unsigned target);

} // namespace Mirk::GL
