#pragma once
// The render cache of a graphics context; stands on keel's cache, lights and uniform buffers.

#include <Polypia/Interactor.hpp>
#include <Polypia/PixelBuffer.hpp>
#include <Polypia/Polyp.hpp>
#include <Polypia/RenderNamespace.hpp>
#include <Polypia/UniformBuffer.hpp>

#include <keel/Cache.hpp>
#include <keel/CacheQueue.hpp>
#include <keel/Interface.hpp>
#include <keel/SpinLock.hpp>
#include <keel/ThreadPool.hpp>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <vector>

namespace Mirk {

/// What the contexts of one graphics context, or of a group that shares its objects, have in
/// common: the cache that accounts for their polyps, lights, uniform buffers and the interactor.
///
/// It is the one place where GPU objects die. Any thread may give up a polyp, which then waits here
/// for the render thread, and queue work for that thread. Any thread may also hold a Seagrass for a
/// while; its end belongs to the render thread, which is the one that made it or, later, that
/// called cleanup(), lawn(), handleQueue() or drain() last. When the last pointer goes on that
/// thread, all polyps are destroyed and the Seagrass ends. On another thread it survives, holding
/// itself, and waits for its owner to drain() it. So an owner ends with
///
///     const Keel::WeakPtr<Seagrass> remains(seagrass);
///     seagrass = {};
///     while (!Seagrass::drain(remains)) std::this_thread::yield();
///
/// on the render thread and with the context current; only then may the context go.
class POLYPIA_EXPORT Seagrass : public Keel::ReferenceBase<Seagrass>,
                                public Keel::Intercube,
                                public RenderNamespace::Lighting,
                                public UniformBufferRegistry,
                                public Keel::ThreadPool {
public:
    using RenderFunction = std::function<void(VRenderContextBasin&)>;

    /// `maxCost` in bytes is the budget of the cache. The pool has 32 threads, and is free for use
    /// by anybody.
    Seagrass(unsigned long long maxCost, const std::string& name);
    /// On the render thread, with the context current. Has all creators give up their polyps and
    /// destroys these; functions that are still queued are dropped. Prints the names of polyps that
    /// somebody holds all the same, as their GPU objects will die without the context.
    ~Seagrass() override;

    /// See the class: on the render thread does the work of the destructor while nobody can be
    /// kept from giving up a polyp here, on any other saves the object for drain().
    void beforeLastRelease() override;
    /// Ends what is left of a Seagrass after its owner has let go: drops what is queued, so that
    /// nobody waits for it any more who holds the Seagrass, cleans up and, if nobody else
    /// holds it any more, destroys it. Returns whether it is gone; if not, somebody holds it at
    /// this moment, and the call is to be repeated. On the render thread, with the context current,
    /// and not from within a clean-up or a creator's forget(), where nothing can end.
    static bool drain(const Keel::WeakPtr<Seagrass>& seagrass);

    // For any thread.

    /// How many have ended so far in this process: as long as that stays, none has died.
    static std::uint64_t numberOfEnds() noexcept;

    /// Queues a function for the render thread; first in, first out for each thread that queues.
    void queue(const RenderFunction& function);
    bool hasQueue() const;
    /// Has the polyp destroyed by the next cleanup(), unless somebody else holds it still: whoever
    /// does must let go of it on the render thread. So a thread other than that should move its
    /// pointer here. An empty or dead pointer is ignored. May be called by destructors that
    /// cleanup() runs: that same cleanup() then destroys the polyp, too.
    void scheduleDeletion(Keel::StrongPtr<Polyp, Keel::Cacheable>&& polyp);
    void scheduleDeletion(const Keel::StrongPtr<Polyp, Keel::Cacheable>& polyp);
    /// Takes the polyp away from a creator, which will make a new one when it is asked to, and
    /// schedules its deletion. A dead creator is ignored.
    void prepareForDeletion(const Keel::WeakPtr<PolypCreatorBase>& creator);
    /// Has the polyp of the creator given up, by prepareForDeletion(), when the object dies. To be
    /// called again for each new polyp is fine.
    void addDependency(const Keel::WeakPtr<PolypCreatorBase>& creator, Keel::Intercube& object);
    /// The same for each live object of the list. Returns true.
    bool addDependencies(const Keel::WeakPtr<PolypCreatorBase>& creator,
                         const std::list<Keel::WeakPtr<Keel::Creature>>& objects);

    // For the render thread, with the context current.

    /// Runs queued functions, one that is queued meanwhile included, until there are none left or
    /// `stop`, which is asked ahead of each, returns true. Returns the number of functions taken.
    /// What a function throws is printed, and the next one follows. An empty `stop` throws
    /// std::bad_function_call.
    int handleQueue(VRenderContextBasin& context, const std::function<bool()>& stop);
    /// Destroys the polyps that wait for it. To be called between any two frames, also if
    /// cleanable() is 0, as that doesn't count polyps without size.
    void cleanup();
    /// Has the creators give up all polyps that aren't pinned, destroys these and drops the pixel
    /// buffer. Returns the number of polyps given up.
    int lawn();
    /// Bytes of the polyps that wait for cleanup().
    std::size_t cleanable() const;
    /// Number of polyps that wait for cleanup().
    std::size_t getNumberOfDeletions() const;
    /// Bytes of everything in the cache: as last reported, or asked anew of each object.
    std::size_t memsize(bool recompute) const;
    /// Evicts polyps of at least `reserve` bytes, the oldest first, and keeps the budget there.
    /// With 0 it freezes at the present usage. With more than the present usage it becomes as good
    /// as unlimited.
    void setMaxCostFromCurrentUsage(unsigned long long reserve);

    /// Number and bytes of the polyps in the cache, those included that wait for cleanup() without
    /// having been evicted; bytes as tentacles tell them now, and as last reported. Slow walks, for
    /// display.
    std::size_t getNumberOfPolyps() const;
    std::size_t computePolypsMemory() const;
    std::size_t getCachedPolypsMemory() const;
    /// Prints number and bytes of polyps in the cache, by state, and of those that wait for
    /// cleanup(), and the number of queued functions, to standard output.
    void list_info() const;

    const Keel::StrongPtr<Keel::Cache, Keel::CacheBase>& getCache() const noexcept { return cache; }
    /// For read-back on the render thread; kept until lawn() drops it. Empty at first. Any thread
    /// may get and set it.
    Keel::StrongPtr<PixelBuffer> getPixelBuffer() const;
    void setPixelBuffer(const Keel::StrongPtr<PixelBuffer>& buffer);

private:
    friend class RenderBasin;
    class Cleaning;

    std::unique_lock<std::mutex> lockDeletions() const;
    void destroyScheduled();
    void evictAll() noexcept;
    void reportSurvivors() const noexcept;
    Keel::StrongPtr<Seagrass> takeSaved();
    void dropQueue();

protected:
    // The order of the fields, which is that of their end in reverse, is part of the interface.
    std::list<Keel::StrongPtr<Polyp, Keel::Cacheable>> deletionList;
    Keel::StrongPtr<Keel::CacheQueue, Keel::Cacheable> deletionQueue;
    const Keel::StrongPtr<Keel::Cache, Keel::CacheBase> cache;
    mutable std::mutex deletionMutex; // guards deletionList and deletionQueue, while they die, too
    mutable std::mutex queueMutex;    // guards renderQueue
    std::deque<RenderFunction> renderQueue;
    Keel::StrongPtr<PixelBuffer> pixelBuffer;
    Keel::WeakPtr<Interactor> interactor;

private:
    mutable std::mutex interactorMutex; // guards interactor
    mutable Keel::SpinLock _pixelLock;  // leaf: guards pixelBuffer
    /// Numbers of threads, see threadNumber().
    std::atomic<std::uint64_t> _renderThread;
    std::atomic<std::uint64_t> _cleaner{0}; // the thread that destroys polyps, or 0
    // Polyps that outlived their deletion, and at the end all of the cache; the render thread's.
    std::vector<Keel::WeakPtr<Polyp, Keel::Cacheable>> _survivors;
    std::atomic<bool> _isEnding{false};
    mutable std::mutex _savedMutex;   // guards _saved
    Keel::StrongPtr<Seagrass> _saved; // itself, from the last release elsewhere to drain()
};

} // namespace Mirk
