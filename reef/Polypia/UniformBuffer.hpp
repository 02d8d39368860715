#pragma once
// Blocks of uniform memory that programs of a context share; stands on Polyp and MapMemory.

#include <Polypia/MapMemory.hpp>
#include <Polypia/Polyp.hpp>

#include <atomic>
#include <cstdint>
#include <functional>
#include <shared_mutex>
#include <string>
#include <unordered_map>

namespace Mirk {

/// A block of uniform memory. It is a tentacle only so that a polyp keeps it and it takes part in
/// waves; binding is the matter of the programs, so that activation does nothing.
class POLYPIA_EXPORT UniformBuffer : public Polyp::SpecializedTentacle<Polyp::ParameterKey>,
                                     public virtual MapMemory {
public:
    UniformBuffer();
    ~UniformBuffer() override;

    bool activate(const Polyp& polyp) final;
    bool deactivate(const Polyp& polyp) final;

    // The order of the virtual operations is part of the interface; see MapMemory for what they do.
    std::size_t bytes() const override = 0;
    bool resize(std::size_t bytes) override = 0;
    bool upload(const void* data, std::size_t bytes) override = 0;
    bool write(std::size_t offset, const void* data, std::size_t bytes) override = 0;
    bool read(std::size_t offset, void* data, std::size_t bytes) const override = 0;
    void* map() override = 0;
    bool unmap() override = 0;
    std::uint64_t native() const override = 0;
};

using UniformBufferPtr = Keel::StrongPtr<UniformBuffer, Polyp::Tentacle>;

/// The uniform buffers of a context by name. It does not own them: a buffer lives as long as the
/// polyps that share it. Thread-safe.
class POLYPIA_EXPORT UniformBufferRegistry {
public:
    UniformBufferRegistry();
    virtual ~UniformBufferRegistry();

    /// Empty if the name is unknown or its buffer has died.
    UniformBufferPtr getUniformBuffer(const std::string& name) const;
    /// Inserts or overwrites, and returns the strong view of what is stored.
    UniformBufferPtr setUniformBuffer(const std::string& name,
                                      const Keel::WeakPtr<UniformBuffer, Polyp::Tentacle>& buffer);
    /// The live buffer of a name; if there is none, what the factory makes is stored and returned.
    /// The factory runs under the lock of the registry and must not come back here. An empty one
    /// throws std::bad_function_call.
    UniformBufferPtr mkUniformBuffer(const std::string& name,
                                     const std::function<UniformBufferPtr()>& factory);
    /// How often an entry was written: who has seen an entry need not look again before this rises.
    std::uint64_t numberOfEntriesWritten() const noexcept {
        return _written.load(std::memory_order_relaxed);
    }

private:
    std::unordered_map<std::string, Keel::WeakPtr<UniformBuffer, Polyp::Tentacle>> uniformBuffers;
    mutable std::shared_mutex lock;
    std::atomic<std::uint64_t> _written{0};
};

} // namespace Mirk
