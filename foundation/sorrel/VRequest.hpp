#pragma once
// Bringing objects up to date; stands on VObject's sources and ages.

#include <sorrel/ValuePool.hpp>
#include <sorrel/fwd.hpp>

#include <keel/Ageable.hpp>
#include <keel/WeakPtr.hpp>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace Mirk {

/// One request: an object and all that it depends on are brought up to date in a pool. What an
/// update() reads, it reads in `pool`. Used by one thread.
///
/// Objects are taken depth first: what an object's inputs are connected to comes before the object,
/// in the order of the inputs, each object once. An object is updated only if must_update() says
/// so. Connections that lead back to an object that is still waiting for them are a cycle, which is
/// reported and not followed; a warning comes once, until the object that closes it is connected
/// anew. How deep the sources lie is limited by memory only, as the walk is no recursion.
class SORREL_EXPORT VRequest {
public:
    explicit VRequest(const ValuePoolPtr& requestPool);
    ~VRequest();
    VRequest(const VRequest&) = delete;
    VRequest& operator=(const VRequest&) = delete;

    /// An object whose update failed, and why.
    struct Failure {
        std::string object;
        std::string reason;
    };

    /// The pool in which values are read; null reads global values.
    const ValuePoolPtr pool;

    /// Brings an object up to date, see above. `precision` goes to update(). False if the last
    /// update of the object in this pool failed, or that of anything it depends on, or if it
    /// depends on itself. An update() may call this for further objects, which keeps its own object
    /// locked: two that do so for each other's objects, on two threads, wait for ever.
    bool process(VObject& object, double precision);

    /// How many objects update() was called on.
    std::size_t numberOfUpdates() const noexcept { return _updates; }
    /// How many objects were looked at.
    std::size_t numberOfVisits() const noexcept { return _visits; }
    const std::vector<Failure>& failures() const noexcept { return _failures; }
    /// Each cycle as the names along it, the first one again at the end: "a -> b -> a".
    const std::vector<std::string>& cycles() const noexcept { return _cycles; }

private:
    enum class Visit : std::uint8_t { None, Waiting, Done, Failed };
    struct Pending;

    Visit& visitOf(std::uint64_t serial);
    bool followPlan(const VObject& root, double precision);
    void walk(VObject& root, double precision);
    void open(VObject& object, std::vector<Pending>& path);
    void lookAtNextInput(std::vector<Pending>& path);
    bool bringUpToDate(VObject& object, double precision);
    bool updateIfDue(VObject& object, double precision);
    bool record(VObject& object, Keel::Ageable::Age age, const std::string* failure);
    void reportCycle(const std::vector<Pending>& path, const VObject& closing);

    // Objects are numbered in order of construction, so that their marks lie close together.
    static constexpr std::size_t PageSize = 1024;
    std::unordered_map<std::uint64_t, std::array<Visit, PageSize>> _visited;
    std::uint64_t _lastPage = UINT64_MAX;
    std::array<Visit, PageSize>* _page = nullptr;

    std::size_t _updates = 0;
    std::size_t _visits = 0;
    std::size_t _calls = 0; // of process()
    std::vector<Failure> _failures;
    std::vector<std::string> _cycles;
};

/// The thread that serves requests, one after the other. It starts with the first one.
class SORREL_EXPORT RequestThread {
public:
    using Done = std::function<void(const VRequest&)>;

    /// Has an object brought up to date in a pool, and returns at once. A request for the same
    /// object and pool that still waits is not made twice; `done`, which may be empty, is called
    /// for each. It runs on the request thread, as `update` does; an exception from it is logged.
    /// The object isn't kept alive: if it goes, `done` is called after a request that did nothing.
    static void post(const Keel::WeakPtr<VObject, VManagedObjectBase>& object,
                     const ValuePoolPtr& pool, double precision, const Done& done = {});
    /// Waits until all requests that were posted before have been served. Not for the request
    /// thread itself.
    static void finish();
    /// Whether the calling thread is the request thread.
    static bool isCurrent();
};

} // namespace Mirk
