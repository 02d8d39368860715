#include <sorrel/VRequest.hpp>

#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VObject.hpp>

#include <keel/ThreadPool.hpp>
#include <keel/VerboseStream.hpp>

#include <algorithm>
#include <deque>
#include <exception>
#include <mutex>
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

thread_local bool isRequestThread = false;

void callDone(const RequestThread::Done& done, const VRequest& request) {
    try {
        if (done) done(request);
    } catch (const std::exception& exception) {
        Keel::VerboseStream("sorrel").print("after a request: %s", exception.what());
    }
}

void serveNext() {
    isRequestThread = true;
    Posted posted;
    {
        Requests& requests = theRequests();
        const std::lock_guard lock(requests.mutex);
        if (requests.waiting.empty()) return;
        posted = std::move(requests.waiting.front());
        requests.waiting.pop_front();
    }
    VRequest request(posted.pool);
    if (const VObjectPtr object{posted.object}) {
        object->request(request, posted.precision, {}, Keel::WeakPtr<VManagedObjectBase>(object));
    }
    for (const RequestThread::Done& done : posted.done) callDone(done, request);
}

} // namespace

/// An object that waits for its sources, and the next of its inputs to be looked at.
struct VRequest::Pending {
    VObjectPtr object;
    VSlotContainer::InputTable inputs;
    std::size_t next = 0;
};

VRequest::VRequest(const ValuePoolPtr& requestPool) : pool(requestPool) {}
VRequest::~VRequest() = default;

VRequest::Visit& VRequest::visitOf(const VObject& object) {
    const std::uint64_t serial = object.serialNumber();
    const std::uint64_t page = serial / PageSize;
    if (page != _lastPage) {
        _page = &_visited[page];
        _lastPage = page;
    }
    return (*_page)[serial % PageSize];
}

void VRequest::open(VObject& object, std::vector<Pending>& path) {
    visitOf(object) = Visit::Waiting;
    ++_visits;
    path.push_back({VObjectPtr(object), object.inputTable(), 0});
}

bool VRequest::process(VObject& object, double precision) {
    const std::size_t reportsBefore = _failures.size() + _cycles.size();
    if (visitOf(object) == Visit::None) {
        std::vector<Pending> path;
        open(object, path);
        while (!path.empty()) {
            Pending& pending = path.back();
            if (pending.next == pending.inputs->size()) {
                bringUpToDate(*pending.object, precision);
                visitOf(*pending.object) = Visit::Done;
                path.pop_back();
                continue;
            }
            const VSlotPtr& input = (*pending.inputs)[pending.next++];
            if (pending.object->ignoreInput(input)) continue;
            const VParameterPtr parameter = input->parameter();
            if (!parameter || !parameter->hasSource()) continue;
            const auto container = parameter->sourceContainer();
            VObject* const source = container ? container->asObject() : nullptr;
            if (source == nullptr || !source->isPublished()) continue;
            const Visit visit = visitOf(*source);
            if (visit == Visit::Waiting) reportCycle(path, *source);
            if (visit == Visit::None) open(*source, path);
        }
    }
    return _failures.size() + _cycles.size() == reportsBefore && !object.hasFailed(pool);
}

void VRequest::bringUpToDate(VObject& object, double precision) {
    if (!object.processesRequests() || !object.must_update(*this, precision)) return;
    const Keel::Ageable::Age before = object.lastUpdate(pool);
    // Stamped ahead of the reading: what changes meanwhile is younger.
    const Keel::Ageable::Age age = Keel::Ageable::newAge();
    bool succeeded = false;
    std::string reason;
    try {
        succeeded = object.unsychronized_update(*this, precision);
        if (succeeded) {
            const std::lock_guard lock(object.mutex);
            // Another request may have done it while this one waited.
            if (object.lastUpdate(pool) != before && !object.must_update(*this, precision)) return;
            ++_updates;
            succeeded = object.update(*this, precision);
        }
        if (!succeeded) reason = "its update returned false";
    } catch (const std::exception& exception) {
        succeeded = false;
        reason = exception.what();
    } catch (...) {
        succeeded = false;
        reason = "its update threw something that is no exception";
    }
    object.recordUpdate(pool, age, !succeeded, reason);
    if (!succeeded) _failures.push_back({object.Name(), reason});
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
    _cycles.push_back(names + closing.Name());
    VActionNotifier::Warning("The connections form a cycle: " + _cycles.back());
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
    requests.thread.post(serveNext);
}

void RequestThread::finish() {
    theRequests().thread.submit([] {}).wait();
}

bool RequestThread::isCurrent() {
    return isRequestThread;
}

} // namespace Mirk
