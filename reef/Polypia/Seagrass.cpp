#include <Polypia/Seagrass.hpp>

#include <Polypia/PolypCreator.hpp>
#include <Polypia/RenderException.hpp>

#include <keel/VerboseStream.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <set>
#include <utility>

namespace Mirk {

namespace {

/// A number of its own for each thread, above 0; unlike a std::thread::id it never comes again.
std::uint64_t threadNumber() noexcept {
    static std::atomic<std::uint64_t> threads{0};
    thread_local const std::uint64_t number = threads.fetch_add(1) + 1;
    return number;
}

std::atomic<std::uint64_t> seagrassEnds{0};

/// Calls `visit(Polyp&)` for each live polyp of a cache.
template<class Visit>
void forEachPolyp(const Keel::Cache& cache, const Visit& visit) {
    struct Visitor : Keel::CacheQueue::Iterator {
        explicit Visitor(const Visit& theVisit) : visitPolyp(theVisit) {}
        bool apply(const Keel::WeakPtr<Keel::Cacheable>* object) override {
            if (const PolypPtr polyp(*object); polyp) visitPolyp(*polyp);
            return true;
        }
        const Visit& visitPolyp;
    } visitor(visit);
    cache.iterate(visitor);
}

std::string bytesText(std::size_t bytes) {
    return Keel::VerboseStream::MemString(static_cast<long long>(bytes));
}

/// What somebody else's function has thrown, in the middle of a catch.
std::string exceptionText() {
    try {
        throw;
    } catch (const RenderException& exception) {
        return exception.str();
    } catch (const std::exception& exception) {
        return exception.what();
    } catch (...) {
        return "an exception of unknown type";
    }
}

/// At its end has a creator's polyp given up.
class DeferredPolypDestructor : public Keel::ReferenceBase<DeferredPolypDestructor> {
public:
    DeferredPolypDestructor(const Keel::WeakPtr<Seagrass>& theSeagrass,
                            const Keel::WeakPtr<PolypCreatorBase>& theCreator)
        : seagrass(theSeagrass), creator(theCreator) {}
    ~DeferredPolypDestructor() override {
        const Keel::StrongPtr<Seagrass> alive(seagrass);
        if (creator && alive) alive->prepareForDeletion(creator);
    }
    bool isVoid() const { return !seagrass || !creator; }

    const Keel::WeakPtr<Seagrass> seagrass;
    const Keel::WeakPtr<PolypCreatorBase> creator;
};

/// Lives in the table of an object on which polyps depend, and lets go of its list when that dies.
class DestructionScheduler : public Keel::Interface<DestructionScheduler> {
public:
    void add(const Keel::WeakPtr<Seagrass>& seagrass,
             const Keel::WeakPtr<PolypCreatorBase>& creator) {
        Destructors dead; // dies behind the lock
        const std::lock_guard guard(_mutex);
        // A polyp that is made anew again and again depends on the same object each time.
        if (!_known.emplace(creator, seagrass).second) return;
        if (destructors.size() >= _nextSweep) takeVoid(dead);
        destructors.emplace_front(new DeferredPolypDestructor(seagrass, creator));
    }

private:
    using Destructors = std::list<Keel::StrongPtr<DeferredPolypDestructor>>;
    using Dependent = std::pair<Keel::WeakPtr<PolypCreatorBase>, Keel::WeakPtr<Seagrass>>;
    static constexpr std::size_t FirstSweep = 16;

    /// Display objects come and go while the object lives. The caller holds the lock.
    void takeVoid(Destructors& dead) {
        for (auto entry = destructors.begin(); entry != destructors.end();) {
            const auto next = std::next(entry);
            if ((*entry)->isVoid()) {
                _known.erase({(*entry)->creator, (*entry)->seagrass});
                dead.splice(dead.end(), destructors, entry);
            }
            entry = next;
        }
        _nextSweep = std::max(FirstSweep, 2 * destructors.size());
    }

    std::mutex _mutex; // guards all below, of which nothing dies with it
    std::set<Dependent> _known;
    std::size_t _nextSweep = FirstSweep;
    Destructors destructors;
};

} // namespace

/// While it exists, the current thread holds the deletion mutex and may schedule deletions without
/// taking it: what it destroys may let go of other polyps.
class Seagrass::Cleaning {
public:
    explicit Cleaning(Seagrass& seagrass)
        : _lock(seagrass.deletionMutex), _seagrass(seagrass), _outer(_innermost) {
        _seagrass._cleaner = threadNumber();
        _innermost = this;
    }
    ~Cleaning() {
        _innermost = _outer;
        _seagrass._cleaner = 0;
        _lock.unlock();
        if (_outer != nullptr) {
            _outer->_postponed.splice(_outer->_postponed.end(), _postponed);
            return;
        }
        for (auto& [seagrass, polyp] : _postponed) seagrass->scheduleDeletion(std::move(polyp));
    }
    Cleaning(const Cleaning&) = delete;
    Cleaning& operator=(const Cleaning&) = delete;

    /// Whether this thread cleans up any Seagrass.
    static bool isUnderWay() { return _innermost != nullptr; }
    /// Has a polyp scheduled when this thread holds no deletion mutex any more.
    static void postpone(const Seagrass& seagrass, PolypPtr&& polyp) {
        _innermost->_postponed.emplace_back(Keel::StrongPtr<Seagrass>(seagrass), std::move(polyp));
    }

private:
    static thread_local Cleaning* _innermost;
    std::unique_lock<std::mutex> _lock;
    Seagrass& _seagrass;
    Cleaning* const _outer;
    std::list<std::pair<Keel::StrongPtr<Seagrass>, PolypPtr>> _postponed;
};

thread_local Seagrass::Cleaning* Seagrass::Cleaning::_innermost = nullptr;

Seagrass::Seagrass(unsigned long long maxCost, const std::string& name)
    : ThreadPool(32, "Seagrass Thread Pool " + name),
      cache(new Keel::Cache(maxCost, name)),
      _renderThread(threadNumber()) {}

Seagrass::~Seagrass() {
    ++seagrassEnds;
    // Tasks may use what is about to end, or wait for what they have queued.
    _isEnding = true;
    dropQueue();
    endThreads();
    const Cleaning cleaning(*this);
    destroyScheduled();
    evictAll();
    // What the creators have scheduled, as they do for a Seagrass that no pointer has owned.
    destroyScheduled();
    reportSurvivors();
}

void Seagrass::beforeLastRelease() {
    // In the middle of a clean-up or an eviction there are locks and other caches that wait.
    const bool isFree = !Cleaning::isUnderWay() && !Keel::Cache::isEvicting();
    if (isFree && _renderThread == threadNumber()) {
        // While this object is alive: any thread that takes a polyp from its creator either finds
        // it so and hands the polyp in, or comes too late to find a polyp at all.
        evictAll();
        // What another thread has chosen comes here when its creator gives it up.
        cache->waitForEvictions();
        cleanup();
        return;
    }
    const std::lock_guard guard(_savedMutex);
    _saved = Keel::StrongPtr<Seagrass>(*this);
}

Keel::StrongPtr<Seagrass> Seagrass::takeSaved() {
    const std::lock_guard guard(_savedMutex);
    return std::move(_saved);
}

bool Seagrass::drain(const Keel::WeakPtr<Seagrass>& seagrass) {
    if (Keel::StrongPtr<Seagrass> alive(seagrass); alive) {
        const Keel::StrongPtr<Seagrass> saved = alive->takeSaved();
        alive->dropQueue();
        alive->cleanup();
    }
    return !seagrass;
}

std::uint64_t Seagrass::numberOfEnds() noexcept {
    return seagrassEnds;
}

void Seagrass::queue(const RenderFunction& function) {
    RenderFunction copy(function);
    const std::lock_guard guard(queueMutex);
    if (_isEnding) return;
    renderQueue.push_front(std::move(copy));
}

/// Destroyed without the lock, as what they hold may queue others.
void Seagrass::dropQueue() {
    std::deque<RenderFunction> dropped;
    const std::lock_guard guard(queueMutex);
    dropped.swap(renderQueue);
}

bool Seagrass::hasQueue() const {
    const std::lock_guard guard(queueMutex);
    return !renderQueue.empty();
}

int Seagrass::handleQueue(VRenderContextBasin& context, const std::function<bool()>& stop) {
    // A function may let go of the last pointer.
    const Keel::StrongPtr<Seagrass> self(*this);
    _renderThread = threadNumber();
    int taken = 0;
    while (!stop()) {
        RenderFunction function;
        {
            const std::lock_guard guard(queueMutex);
            if (renderQueue.empty()) break;
            function = std::move(renderQueue.back());
            renderQueue.pop_back();
        }
        try {
            if (function) function(context);
        } catch (...) {
            Keel::VerboseStream("Polypia").print("Seagrass::handleQueue: a queued function failed: "
                                                 "%s",
                                                 exceptionText().c_str());
        }
        ++taken;
    }
    return taken;
}

/// The deletion mutex, unless this thread holds it while it destroys polyps.
std::unique_lock<std::mutex> Seagrass::lockDeletions() const {
    if (_cleaner == threadNumber()) return {};
    return std::unique_lock(deletionMutex);
}

void Seagrass::scheduleDeletion(Keel::StrongPtr<Polyp, Keel::Cacheable>&& polyp) {
    if (!polyp) return;
    const Keel::WeakPtr<Keel::Cacheable> entry(polyp);
    std::list<PolypPtr> node;
    node.push_back(std::move(polyp));
    std::unique_lock<std::mutex> guard;
    if (_cleaner != threadNumber()) {
        guard = std::unique_lock(deletionMutex, std::defer_lock);
        // Two threads that clean up and let go of polyps of each other's Seagrass must not wait.
        if (!Cleaning::isUnderWay()) {
            guard.lock();
        } else if (!guard.try_lock()) {
            Cleaning::postpone(*this, std::move(node.front()));
            return;
        }
    }
    if (!deletionQueue) {
        deletionQueue = Keel::make<Keel::CacheQueue>();
        deletionQueue->setName("Waiting for deletion");
    }
    deletionList.splice(deletionList.end(), node);
    deletionQueue->push_front(entry);
}

void Seagrass::scheduleDeletion(const Keel::StrongPtr<Polyp, Keel::Cacheable>& polyp) {
    scheduleDeletion(PolypPtr(polyp));
}

void Seagrass::prepareForDeletion(const Keel::WeakPtr<PolypCreatorBase>& creator) {
    if (const Keel::StrongPtr<PolypCreatorBase> alive(creator); alive) {
        scheduleDeletion(alive->releasePolyp());
    }
}

void Seagrass::addDependency(const Keel::WeakPtr<PolypCreatorBase>& creator,
                             Keel::Intercube& object) {
    const auto scheduler = object.provideInterface<DestructionScheduler>(
        [] { return Keel::make<DestructionScheduler>(); });
    scheduler->add(*this, creator);
}

bool Seagrass::addDependencies(const Keel::WeakPtr<PolypCreatorBase>& creator,
                               const std::list<Keel::WeakPtr<Keel::Creature>>& objects) {
    for (const Keel::WeakPtr<Keel::Creature>& object : objects) {
        if (const Keel::StrongPtr<Keel::Creature> alive(object); alive) {
            addDependency(creator, *alive);
        }
    }
    return true;
}

void Seagrass::cleanup() {
    // A polyp may hold the last pointer.
    const Keel::StrongPtr<Seagrass> self(*this);
    _renderThread = threadNumber();
    // Asked for by what dies in a clean-up, which will see to everything.
    if (_cleaner == threadNumber()) return;
    const Cleaning cleaning(*this);
    destroyScheduled();
}

/// In a Cleaning. Until nothing is left, as what is destroyed may schedule others.
void Seagrass::destroyScheduled() {
    while (!deletionList.empty()) {
        PolypPtr polyp = std::move(deletionList.front());
        deletionList.pop_front();
        if (polyp.controlBlock()->strong() == 1) continue; // and dies
        const Keel::WeakPtr<Polyp, Keel::Cacheable> held(polyp);
        polyp = {};
        _survivors.push_back(held);
    }
    std::erase_if(_survivors, [](const auto& polyp) { return !polyp; });
    if (deletionQueue) deletionQueue->purge();
}

/// Has all creators give up their polyps.
void Seagrass::evictAll() noexcept try {
    forEachPolyp(*cache, [this](Polyp& polyp) {
        polyp.pin(false);
        _survivors.emplace_back(polyp);
    });
    cache->purge();
} catch (...) {
    Keel::VerboseStream("Polypia").print("Seagrass: emptying the cache \"%s\" failed: %s",
                                         cache->name().c_str(), exceptionText().c_str());
}

void Seagrass::reportSurvivors() const noexcept try {
    std::vector<PolypPtr> survivors;
    for (const auto& survivor : _survivors) {
        PolypPtr polyp(survivor);
        const bool isNew =
            polyp && std::find(survivors.begin(), survivors.end(), polyp) == survivors.end();
        if (isNew) survivors.push_back(std::move(polyp));
    }
    if (survivors.empty()) return;
    std::string names;
    for (const PolypPtr& polyp : survivors) names += (names.empty() ? "" : ", ") + polyp->name();
    Keel::VerboseStream("Polypia").print(
        "~Seagrass: expected that nobody holds polyps of \"%s\" any more, got %zu that will die "
        "without the context: %s",
        cache->name().c_str(), survivors.size(), names.c_str());
} catch (...) {
    // Nothing may leave the destructor.
}

int Seagrass::lawn() {
    const Keel::StrongPtr<Seagrass> self(*this);
    const std::size_t purged = cache->purge();
    cleanup();
    setPixelBuffer({});
    return static_cast<int>(purged);
}

Keel::StrongPtr<PixelBuffer> Seagrass::getPixelBuffer() const {
    const std::lock_guard guard(_pixelLock);
    return pixelBuffer;
}

void Seagrass::setPixelBuffer(const Keel::StrongPtr<PixelBuffer>& buffer) {
    // The one before dies behind the lock.
    Keel::StrongPtr<PixelBuffer> other = buffer;
    const std::lock_guard guard(_pixelLock);
    pixelBuffer.swap(other);
}

std::size_t Seagrass::cleanable() const {
    Keel::StrongPtr<Keel::CacheQueue, Keel::Cacheable> waiting;
    {
        const auto guard = lockDeletions();
        waiting = deletionQueue;
    }
    return waiting ? waiting->memsize() : 0;
}

std::size_t Seagrass::getNumberOfDeletions() const {
    const auto guard = lockDeletions();
    return deletionList.size();
}

std::size_t Seagrass::memsize(bool recompute) const {
    return cache->memsize(recompute);
}

void Seagrass::setMaxCostFromCurrentUsage(unsigned long long reserve) {
    // Wraps around on purpose.
    cache->maxCost = getCachedPolypsMemory() - reserve;
    cache->adjust(typeid(void), typeid(void), 0);
}

std::size_t Seagrass::getNumberOfPolyps() const {
    std::size_t number = 0;
    forEachPolyp(*cache, [&](const Polyp&) { ++number; });
    return number;
}

std::size_t Seagrass::computePolypsMemory() const {
    std::size_t bytes = 0;
    forEachPolyp(*cache, [&](const Polyp& polyp) { bytes += polyp.computeMemsize(); });
    return bytes;
}

std::size_t Seagrass::getCachedPolypsMemory() const {
    std::size_t bytes = 0;
    forEachPolyp(*cache, [&](const Polyp& polyp) { bytes += polyp.memsize(); });
    return bytes;
}

void Seagrass::list_info() const {
    const std::size_t polyps = getNumberOfPolyps();
    const std::size_t computedBytes = computePolypsMemory();
    const std::size_t cachedBytes = getCachedPolypsMemory();
    std::size_t functions = 0;
    {
        const std::lock_guard guard(queueMutex);
        functions = renderQueue.size();
    }
    std::printf("Seagrass %s: %zu polyps of %s, accounted for as %s; %zu polyps of %s wait for "
                "deletion, %zu functions for the render thread\n",
                cache->name().c_str(), polyps, bytesText(computedBytes).c_str(),
                bytesText(cachedBytes).c_str(), getNumberOfDeletions(),
                bytesText(cleanable()).c_str(), functions);
    std::fflush(stdout);
    cache->list_info();
    Keel::StrongPtr<Keel::CacheQueue, Keel::Cacheable> waiting;
    {
        const auto guard = lockDeletions();
        waiting = deletionQueue;
    }
    if (waiting) waiting->list_info(50);
}

} // namespace Mirk
