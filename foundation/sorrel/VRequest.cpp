#include <sorrel/VRequest.hpp>

#include <sorrel/RequestPlan.hpp>
#include <sorrel/VActionNotifier.hpp>

#include <keel/ThreadPool.hpp>
#include <keel/VerboseStream.hpp>

#include <algorithm>
#include <deque>
#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

namespace Mirk {

namespace {

using WeakObject = Keel::WeakPtr<VObject, VManagedObjectBase>;

struct Posted {
    WeakObject object;
    ValuePoolPtr pool;
    double precision;
    std::vector<RequestThread::Done> done;
};

/// Never destroyed: requests may be posted until the process ends.
struct Requests {
    std::mutex mutex; // leaf
    std::deque<Posted> waiting;
    Keel::ThreadPool thread{1, "requests"};
};

Requests& theRequests() {
    static Requests& instance = *new Requests;
    return instance;
}

/// Cycles that were warned of. A viewer makes a request for each frame: one warning is enough until
/// the object that closes the cycle is connected anew.
struct WarnedCycles {
    /// False if it was added already. `connected`: the age of that object's connections.
    bool add(const std::string& names, Keel::Ageable::Age connected) {
        constexpr std::size_t most = 1000;
        const std::lock_guard lock(mutex);
        if (cycles.size() > most) cycles.clear();
        const auto [entry, isNew] = cycles.emplace(names, connected);
        return isNew || std::exchange(entry->second, connected) != connected;
    }
    std::mutex mutex; // leaf
    std::map<std::string, Keel::Ageable::Age> cycles;
};

WarnedCycles& theWarnedCycles() {
    static WarnedCycles& instance = *new WarnedCycles;
    return instance;
}

thread_local bool isRequestThread = false;

void callDone(const RequestThread::Done& done, const VRequest& request) {
    try {
        if (done) done(request);
    } catch (const std::exception& exception) {
        Keel::VerboseStream("sorrel").print("after a request: %s", exception.what());
    } catch (...) {
        Keel::VerboseStream("sorrel").print("after a request: an exception of an unknown kind");
    }
}

/// Tells for its life that requests are served by this thread.
struct Serving {
    Serving() { isRequestThread = true; }
    ~Serving() { isRequestThread = false; }
};

bool serveNext() {
    const Serving serving;
    Posted posted;
    {
        Requests& requests = theRequests();
        const std::lock_guard lock(requests.mutex);
        if (requests.waiting.empty()) return false;
        posted = std::move(requests.waiting.front());
        requests.waiting.pop_front();
    }
    VRequest request(posted.pool);
    try {
        if (const VObjectPtr object{posted.object}) {
            object->request(request, posted.precision, {},
                            Keel::WeakPtr<VManagedObjectBase>(object));
        }
    } catch (const std::exception& exception) {
        Keel::VerboseStream("sorrel").print("in a request: %s", exception.what());
    } catch (...) {
        Keel::VerboseStream("sorrel").print("in a request: an exception of an unknown kind");
    }
    for (const RequestThread::Done& done : posted.done) callDone(done, request);
    return true;
}

/// Serves what waits now, whatever comes meanwhile.
void serveWaiting() {
    std::size_t number = 0;
    {
        const std::lock_guard lock(theRequests().mutex);
        number = theRequests().waiting.size();
    }
    for (; number > 0 && serveNext(); --number) {
    }
}

/// Runs a part of an update: the reason of its failure, if it fails.
template<class Part>
std::optional<std::string> failureOf(const Part& part) {
    try {
        if (part()) return {};
        return "its update returned false";
    } catch (const std::exception& exception) {
        return exception.what();
    } catch (...) {
        return "its update threw something that is no exception";
    }
}

} // namespace

/// An object that waits for its sources, and the next of its inputs to be looked at.
struct VRequest::Pending {
    /// Whether a source has changed the inputs of this object, which waits for it: then all are
    /// looked at again, of which those that are up to date cost nothing.
    bool takesNewInputs() {
        const VSlotContainer::InputTable present = object->inputTable();
        if (present == inputs) return false;
        inputs = present;
        next = 0;
        sources.clear();
        return true;
    }

    VObjectPtr object;
    VSlotContainer::InputTable inputs;
    std::size_t next = 0;
    bool failed = false;
    std::vector<std::uint64_t> sources; // serial numbers of those that were found
};

VRequest::VRequest(const ValuePoolPtr& requestPool) : pool(requestPool) {}
VRequest::~VRequest() = default;

VRequest::Visit& VRequest::visitOf(std::uint64_t serial) {
    const std::uint64_t page = serial / PageSize;
    if (page != _lastPage) {
        _page = &_visited[page];
        _lastPage = page;
    }
    return (*_page)[serial % PageSize];
}

bool VRequest::process(VObject& object, double precision) {
    ++_calls;
    const std::uint64_t serial = object.serialNumber();
    if (visitOf(serial) == Visit::Waiting) {
        reportCycle({}, object);
        return false;
    }
    if (visitOf(serial) == Visit::None && !followPlan(object, precision)) walk(object, precision);
    return visitOf(serial) == Visit::Done;
}

/// Returns whether the object has been reached. If not, the rest is left to a walk.
bool VRequest::followPlan(const VObject& root, double precision) {
    constexpr std::size_t Ahead = 4;
    const RequestPlan::Ptr plan = RequestPlan::find(root);
    if (!plan) return false;
    for (std::size_t i = 0; i < plan->size(); ++i) {
        plan->prefetch(i + Ahead);
        const RequestPlan::Step& step = (*plan)[i];
        const Visit before = visitOf(step.serial);
        if (before == Visit::Waiting) return false;
        if (before != Visit::None) continue;
        const VObjectPtr object(step.object);
        if (!object) return false;
        visitOf(step.serial) = Visit::Waiting;
        ++_visits;
        const std::size_t updates = _updates;
        const bool succeeded = bringUpToDate(*object, precision);
        const bool sourceFailed = plan->anySource(
            i, [this](std::uint64_t source) { return visitOf(source) == Visit::Failed; });
        visitOf(step.serial) = succeeded && !sourceFailed ? Visit::Done : Visit::Failed;
        // An update may connect something.
        if (_updates != updates && !plan->isValid()) break;
    }
    return visitOf(root.serialNumber()) != Visit::None;
}

void VRequest::walk(VObject& root, double precision) {
    // A plan is what is found from an untouched state, without cycles and all in one walk.
    const bool isFresh = _visits == 0;
    const std::size_t calls = _calls;
    const auto plan = std::make_shared<RequestPlan>();
    const std::size_t cycles = _cycles.size();
    std::vector<Pending> path;
    open(root, path);
    while (!path.empty()) {
        if (path.back().next < path.back().inputs->inputs.size()) {
            lookAtNextInput(path);
            continue;
        }
        if (path.back().takesNewInputs()) continue;
        const Pending finished = std::move(path.back());
        const bool succeeded = bringUpToDate(*finished.object, precision) && !finished.failed;
        path.pop_back();
        visitOf(finished.object->serialNumber()) = succeeded ? Visit::Done : Visit::Failed;
        if (!succeeded && !path.empty()) path.back().failed = true;
        if (isFresh) plan->add(finished.object, finished.sources);
    }
    if (isFresh && calls == _calls && cycles == _cycles.size() && plan->isValid()) {
        RequestPlan::keep(root, plan);
    }
}

void VRequest::open(VObject& object, std::vector<Pending>& path) {
    visitOf(object.serialNumber()) = Visit::Waiting;
    ++_visits;
    path.push_back({VObjectPtr(object), object.inputTable(), 0, false, {}});
}

void VRequest::lookAtNextInput(std::vector<Pending>& path) {
    Pending& pending = path.back();
    const VSlotContainer::Input& input = pending.inputs->inputs[pending.next++];
    if (input.ignored || input.parameter == nullptr || !input.parameter->hasSource()) return;
    const auto container = input.parameter->sourceContainer();
    VObject* const source = container ? container->asObject() : nullptr;
    if (source == nullptr || !source->isPublished()) return;
    pending.sources.push_back(source->serialNumber());
    const Visit visit = visitOf(source->serialNumber());
    if (visit == Visit::Waiting) reportCycle(path, *source);
    if (visit == Visit::Waiting || visit == Visit::Failed) pending.failed = true;
    if (visit == Visit::None) open(*source, path);
}

/// Returns whether the last update of the object has succeeded, be it this one or an earlier one.
bool VRequest::bringUpToDate(VObject& object, double precision) {
    if (!object.processesRequests()) return true;
    bool succeeded = false;
    // Also what must_update() throws.
    const auto failure = failureOf([&] {
        succeeded = updateIfDue(object, precision);
        return true;
    });
    return failure ? record(object, Keel::Ageable::newAge(), &*failure) : succeeded;
}

bool VRequest::updateIfDue(VObject& object, double precision) {
    const VObject::LastUpdate before = object.lastUpdate(pool);
    if (!object.must_update(*this, precision)) return !before.failed;
    // Stamped ahead of the reading: what changes meanwhile is younger.
    const Keel::Ageable::Age age = Keel::Ageable::newAge();
    auto failure = failureOf([&] { return object.unsychronized_update(*this, precision); });
    if (failure) return record(object, age, &*failure);
    const std::lock_guard lock(object.mutex);
    // Another request may have done it while this one waited.
    const VObject::LastUpdate present = object.lastUpdate(pool);
    if (present.age != before.age && !object.must_update(*this, precision)) return !present.failed;
    ++_updates;
    failure = failureOf([&] { return object.update(*this, precision); });
    return record(object, age, failure ? &*failure : nullptr);
}

/// Notes how an update went. Returns whether it succeeded: there is no failure.
bool VRequest::record(VObject& object, Keel::Ageable::Age age, const std::string* failure) {
    object.recordUpdate(pool, age, failure != nullptr, failure != nullptr ? *failure : "");
    if (failure != nullptr) _failures.push_back({object.Name(), *failure});
    return failure == nullptr;
}

void VRequest::reportCycle(const std::vector<Pending>& path, const VObject& closing) {
    // A request from within an update has a path of its own: what closes the cycle may lie in the
    // outer one.
    auto entry = std::find_if(path.begin(), path.end(), [&](const Pending& pending) {
        return pending.object.get() == &closing;
    });
    std::string names;
    if (entry == path.end()) {
        names = closing.Name() + " -> ... -> ";
        entry = path.begin();
    }
    for (; entry != path.end(); ++entry) names += entry->object->Name() + " -> ";
    names += closing.Name();
    // Two connections between the same objects close the same cycle.
    if (std::find(_cycles.begin(), _cycles.end(), names) != _cycles.end()) return;
    _cycles.push_back(names);
    const Keel::Ageable::Age connected = path.empty() ? 0 : path.back().object->connectionAge();
    if (theWarnedCycles().add(names, connected)) {
        VActionNotifier::Warning("The connections form a cycle: " + names);
    }
}

void RequestThread::post(const WeakObject& object, const ValuePoolPtr& pool, double precision,
                         const Done& done) {
    Requests& requests = theRequests();
    {
        const std::lock_guard lock(requests.mutex);
        const auto same = std::find_if(
            requests.waiting.begin(), requests.waiting.end(),
            [&](const Posted& posted) { return posted.object == object && posted.pool == pool; });
        if (same != requests.waiting.end()) {
            same->precision = std::max(same->precision, precision);
            same->done.push_back(done);
            return;
        }
        requests.waiting.push_back({object, pool, precision, {done}});
    }
    requests.thread.post([] { serveNext(); });
}

void RequestThread::finish() {
    // The task that was posted for a request may still be on its way.
    theRequests().thread.submit(serveWaiting).wait();
}

bool RequestThread::isCurrent() {
    return isRequestThread;
}

} // namespace Mirk
