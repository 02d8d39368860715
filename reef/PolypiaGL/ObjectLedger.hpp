#pragma once
// Counts the live OpenGL objects of one context; stands on the standard library.

#include <PolypiaGL/export.hpp>

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace Mirk::GL {

enum class ObjectKind {
    Buffer,
    Texture,
    Sampler,
    Renderbuffer,
    Shader,
    Program,
    // Those from here on belong to one context, contexts that share do not see them.
    Framebuffer,
    VertexArray,
    Query
};
inline constexpr std::size_t objectKindCount = 9;

constexpr bool isShared(ObjectKind kind) {
    return kind < ObjectKind::Framebuffer;
}

/// "buffer", "vertex array" and so on.
POLYPIAGL_EXPORT std::string_view kindName(ObjectKind kind);

/// Outlives its context as long as an id of it lives, so that a late id is found out rather than
/// followed into the void. Counting is safe from all threads.
class POLYPIAGL_EXPORT ObjectLedger {
public:
    /// Contexts that share objects have the same group.
    explicit ObjectLedger(std::shared_ptr<const void> group);

    void add(ObjectKind kind) { count(kind).fetch_add(1, std::memory_order_relaxed); }
    void remove(ObjectKind kind) { count(kind).fetch_sub(1, std::memory_order_relaxed); }
    long live(ObjectKind kind) const;
    long live() const;

    /// "2 textures, 1 vertex array"; empty if none lives.
    std::string report() const;

    /// True if an object of this ledger may be freed under a context with the other ledger.
    bool isReachedFrom(const ObjectLedger& other, ObjectKind kind) const {
        return this == &other || (isShared(kind) && _group == other._group);
    }
    const std::shared_ptr<const void>& group() const { return _group; }

private:
    std::atomic<long>& count(ObjectKind kind) { return _counts[static_cast<std::size_t>(kind)]; }

    std::shared_ptr<const void> _group;
    std::array<std::atomic<long>, objectKindCount> _counts{};
};

} // namespace Mirk::GL
