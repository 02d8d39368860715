#include <Polypia/UniformBuffer.hpp>

#include <mutex>

namespace Mirk {

UniformBuffer::UniformBuffer() = default;

UniformBuffer::~UniformBuffer() = default;

bool UniformBuffer::activate(const Polyp&) {
    return true;
}

bool UniformBuffer::deactivate(const Polyp&) {
    return true;
}

UniformBufferRegistry::UniformBufferRegistry() = default;

UniformBufferRegistry::~UniformBufferRegistry() = default;

UniformBufferPtr UniformBufferRegistry::getUniformBuffer(const std::string& name) const {
    const std::shared_lock shared(lock);
    const auto found = uniformBuffers.find(name);
    if (found == uniformBuffers.end()) return {};
    const UniformBufferPtr buffer(found->second);
    return buffer ? buffer : UniformBufferPtr();
}

UniformBufferPtr UniformBufferRegistry::setUniformBuffer(
    const std::string& name, const Keel::WeakPtr<UniformBuffer, Polyp::Tentacle>& buffer) {
    const std::unique_lock exclusive(lock);
    ++_written;
    return UniformBufferPtr(uniformBuffers.insert_or_assign(name, buffer).first->second);
}

UniformBufferPtr
UniformBufferRegistry::mkUniformBuffer(const std::string& name,
                                       const std::function<UniformBufferPtr()>& factory) {
    const std::unique_lock exclusive(lock);
    const auto found = uniformBuffers.find(name);
    if (found != uniformBuffers.end()) {
        if (UniformBufferPtr buffer(found->second); buffer) return buffer;
    }
    // Stored only when the factory has returned, so that one that throws leaves no entry behind.
    const UniformBufferPtr made = factory();
    ++_written;
    uniformBuffers.insert_or_assign(name, Keel::WeakPtr<UniformBuffer, Polyp::Tentacle>(made));
    return made;
}

} // namespace Mirk
