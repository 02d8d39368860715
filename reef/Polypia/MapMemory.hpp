#pragma once
// The memory of a buffer on the GPU; stands on nothing.

#include <Polypia/export.hpp>

#include <cstddef>
#include <cstdint>

namespace Mirk {

/// The memory behind a buffer. All operations on the render thread with the context current.
class POLYPIA_EXPORT MapMemory {
public:
    virtual ~MapMemory() = default;

    // The order of the virtual operations is part of the interface.

    /// Size in bytes.
    virtual std::size_t bytes() const = 0;
    /// Gives the buffer a new size; its content is undefined then. False if that is refused.
    virtual bool resize(std::size_t bytes) = 0;
    /// Makes the buffer as large as the data and copies them; null and 0 empty it.
    virtual bool upload(const void* data, std::size_t bytes) = 0;
    /// Copies into the buffer, and out of it; false, and nothing is done, if the range is not
    /// within its size.
    virtual bool write(std::size_t offset, const void* data, std::size_t bytes) = 0;
    virtual bool read(std::size_t offset, void* data, std::size_t bytes) const = 0;
    /// The whole buffer in the memory of the process until unmap(), or null if that is refused.
    /// Programs must not use the buffer meanwhile.
    virtual void* map() = 0;
    /// False if the content was lost meanwhile.
    virtual bool unmap() = 0;
    /// The backend's handle of the buffer.
    virtual std::uint64_t native() const = 0;
};

} // namespace Mirk
