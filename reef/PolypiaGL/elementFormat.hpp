#pragma once
// What OpenGL calls the element types of chunks; internal to the backend.

#include <PolypiaGL/glHeaders.hpp>

#include <keel/Chunk.hpp>

#include <cstddef>
#include <optional>
#include <typeinfo>

namespace Mirk::GL {

/// Layout of one element of a chunk.
struct ElementFormat {
    unsigned type;     ///< GL_FLOAT and so on
    int components;    ///< 1 to 4
    std::size_t bytes; ///< of one component

    bool isDouble() const { return type == GL_DOUBLE; }
    bool isFloatingPoint() const { return type == GL_FLOAT || type == GL_DOUBLE; }
};

/// The layout of an element type; empty for one that OpenGL does not know.
std::optional<ElementFormat> elementFormat(const std::type_info& element);

/// A new chunk of `number` elements of this type, or an empty pointer.
Keel::StrongPtr<Keel::ChunkBase> makeChunk(const std::type_info& element, std::size_t number);

/// The element type with this layout, where doubles are none; null if there is none.
const std::type_info* elementType(unsigned type, int components);

} // namespace Mirk::GL
