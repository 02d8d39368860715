#pragma once
// Contiguous data of one type, shared by reference; stands on the counted pointers and Intercube.

#include <keel/Interface.hpp>

#include <atomic>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Keel {

/// A run of elements whose type is known at run time only.
class KEEL_EXPORT ChunkBase : public ReferenceBase<ChunkBase>, public Intercube {
public:
    /// Capacity in bytes of all chunks that exist. A statistic, raised and lowered without
    /// synchronisation, so that threads may lose counts.
    struct alignas(64) ByteCounter {
        std::atomic<long long> value{0};
        void add(long long bytes) noexcept {
            value.store(value.load(std::memory_order_relaxed) + bytes, std::memory_order_relaxed);
        }
        operator long long() const noexcept { return value.load(std::memory_order_relaxed); }
    };
    static ByteCounter TotalMemsize;

    ~ChunkBase() override;

    virtual std::size_t numberOfElements() const = 0;
    /// Bytes of one element.
    virtual std::size_t elementSize() const = 0;
    /// The first element; may be null if there is none.
    virtual const void* data() const = 0;
    virtual void* data() = 0;
    virtual const std::type_info& elementType() const = 0;
    /// The std::vector<T> that stores the elements, T being the element type.
    virtual void* storingVector() = 0;
    /// A new chunk with a copy of the elements, and an empty table of interfaces.
    virtual StrongPtr<ChunkBase> clone() const = 0;

    std::size_t bytes() const { return numberOfElements() * elementSize(); }

protected:
    explicit ChunkBase(std::size_t capacityBytes);
    ChunkBase(const ChunkBase&) = delete;
    ChunkBase& operator=(const ChunkBase&) = delete;

private:
    // What the constructor has added to TotalMemsize, to be taken off again whatever the capacity
    // has become.
    const long long _countedBytes;
};

/// Access to the elements as T.
template<class T>
class KEEL_EXPORT TypedChunkBase : public ChunkBase {
public:
    std::size_t elementSize() const final { return sizeof(T); }
    const std::type_info& elementType() const final { return typeid(T); }

    std::span<const T> elements() const {
        return {static_cast<const T*>(data()), numberOfElements()};
    }
    std::span<T> elements() { return {static_cast<T*>(data()), numberOfElements()}; }

protected:
    using ChunkBase::ChunkBase;
};

/// Access to the vector of T that stores the elements.
template<class T>
class KEEL_EXPORT TypedChunk : public TypedChunkBase<T> {
public:
    virtual const std::vector<T>& vector() const = 0;
    virtual std::vector<T>& vector() = 0;

    std::size_t numberOfElements() const final { return vector().size(); }
    const void* data() const final { return vector().data(); }
    void* data() final { return vector().data(); }
    void* storingVector() final { return &vector(); }

protected:
    using TypedChunkBase<T>::TypedChunkBase;
};

/// A chunk with its vector.
template<class T>
class KEEL_EXPORT Chunk : public TypedChunk<T> {
public:
    explicit Chunk(std::vector<T> content = {})
        : TypedChunk<T>(content.capacity() * sizeof(T)), _elements(std::move(content)) {}
    /// Without this, a list of one number would be taken for a size.
    explicit Chunk(std::initializer_list<T> content) : Chunk(std::vector<T>(content)) {}
    explicit Chunk(std::size_t size) : Chunk(std::vector<T>(size)) {}

    using TypedChunkBase<T>::elements;
    const std::vector<T>& vector() const final { return _elements; }
    std::vector<T>& vector() final { return _elements; }
    StrongPtr<ChunkBase> clone() const override {
        return StrongPtr<ChunkBase>(new Chunk(_elements));
    }

private:
    std::vector<T> _elements;
};

static_assert(std::is_same_v<RootOf_t<ChunkBase>, ChunkBase::ReferenceRoot>);

} // namespace Keel
