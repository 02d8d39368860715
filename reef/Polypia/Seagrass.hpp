#pragma once
// The render cache of a graphics context; stands on keel's cache, lights and uniform buffers.

#include <Polypia/Interactor.hpp>
#include <Polypia/RenderNamespace.hpp>
#include <Polypia/UniformBuffer.hpp>

#include <keel/Cache.hpp>
#include <keel/Interface.hpp>
#include <keel/ThreadPool.hpp>

#include <mutex>
#include <string>

namespace Mirk {

/// What the contexts of one graphics context, or of a group that shares its objects, have in
/// common: the cache that accounts for their polyps, lights, uniform buffers and the interactor.
class POLYPIA_EXPORT Seagrass : public Keel::ReferenceBase<Seagrass>,
                                public Keel::Intercube,
                                public RenderNamespace::Lighting,
                                public UniformBufferRegistry,
                                public Keel::ThreadPool {
public:
    /// `maxCost` in bytes is the budget of the cache. The pool has 32 threads.
    Seagrass(unsigned long long maxCost, const std::string& name);
    /// On the render thread, with the context current.
    ~Seagrass() override;

    const Keel::StrongPtr<Keel::Cache, Keel::CacheBase>& getCache() const noexcept { return cache; }

private:
    friend class RenderBasin;

    const Keel::StrongPtr<Keel::Cache, Keel::CacheBase> cache;
    mutable std::mutex interactorMutex;
    Keel::WeakPtr<Interactor> interactor;
};

} // namespace Mirk
