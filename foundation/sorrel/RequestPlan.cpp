#include <sorrel/RequestPlan.hpp>

#include <sorrel/connectionChanges.hpp>

#include <algorithm>
#include <deque>
#include <utility>

namespace Mirk {

std::atomic<std::uint64_t> connectionChanges{0};

namespace {

/// Never destroyed: requests may run until the process ends.
struct Kept {
    static constexpr std::size_t Most = 16;

    struct Entry {
        Keel::WeakPtr<VManagedObjectBase> root;
        RequestPlan::Ptr plan;
    };

    std::mutex mutex; // leaf
    std::deque<Entry> entries;
};

Kept& theKept() {
    static Kept& instance = *new Kept;
    return instance;
}

} // namespace

RequestPlan::RequestPlan() : _connectionChanges(connectionChanges.load()) {}

void RequestPlan::add(const VObjectPtr& object, const std::vector<std::uint64_t>& sources) {
    _sources.insert(_sources.end(), sources.begin(), sources.end());
    const VObject& content = *object;
    _steps.push_back({Keel::WeakPtr<VObject, VManagedObjectBase>(object),
                      content.serialNumber(),
                      _sources.size(),
                      {&content, &content.controlBlock(), &content._latestUpdate}});
}

bool RequestPlan::isValid() const noexcept {
    return connectionChanges.load() == _connectionChanges;
}

void RequestPlan::prefetch(std::size_t step) const noexcept {
    if (step >= _steps.size()) return;
    for (const void* const address : _steps[step].addresses) __builtin_prefetch(address);
}

RequestPlan::Ptr RequestPlan::find(const VObject& root) {
    Kept& kept = theKept();
    const std::lock_guard lock(kept.mutex);
    for (const Kept::Entry& entry : kept.entries) {
        if (entry.root.controlBlock() != &root.controlBlock()) continue;
        return entry.plan->isValid() ? entry.plan : Ptr();
    }
    return {};
}

void RequestPlan::keep(const VObject& root, Ptr plan) {
    Kept::Entry added{Keel::WeakPtr<VManagedObjectBase>(root), std::move(plan)};
    Kept::Entry dropped;
    Kept& kept = theKept();
    const std::lock_guard lock(kept.mutex);
    auto& entries = kept.entries;
    const auto same = std::find_if(entries.begin(), entries.end(), [&](const Kept::Entry& entry) {
        return entry.root == added.root;
    });
    if (same != entries.end()) {
        std::swap(*same, dropped);
        entries.erase(same);
    } else if (entries.size() == Kept::Most) {
        std::swap(entries.back(), dropped);
        entries.pop_back();
    }
    entries.push_front(std::move(added));
}

} // namespace Mirk
