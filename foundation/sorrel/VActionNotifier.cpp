#include <sorrel/VActionNotifier.hpp>

#include <sorrel/VCreatorBase.hpp>

#include <algorithm>
#include <cstdio>
#include <list>
#include <mutex>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace Mirk {

namespace {

/// Never destroyed, as objects may be announced by static objects.
struct Shell {
    std::mutex mutex; // leaf
    std::vector<Keel::WeakPtr<VActionNotifier>> listeners;
    std::list<VObjectPtr> objects; // in order of announcement
    std::unordered_map<const Keel::ControlBlock*, std::list<VObjectPtr>::iterator> places;
};

Shell& theShell() {
    static Shell& instance = *new Shell;
    return instance;
}

std::vector<Keel::StrongPtr<VActionNotifier>> liveListeners() {
    std::vector<Keel::WeakPtr<VActionNotifier>> listeners;
    {
        const std::lock_guard lock(theShell().mutex);
        listeners = theShell().listeners;
    }
    std::vector<Keel::StrongPtr<VActionNotifier>> live;
    for (const Keel::WeakPtr<VActionNotifier>& listener : listeners) {
        if (Keel::StrongPtr<VActionNotifier> upgraded{listener}) {
            live.push_back(std::move(upgraded));
        }
    }
    return live;
}

/// Detaches every input of any object that is connected to an output of some objects.
class ConsumerDetacher : public VManagedObjectIterator {
public:
    explicit ConsumerDetacher(const std::vector<VObjectPtr>& sources)
        : _sources(sources.begin(), sources.end()) {}

    bool apply(const VManagedObjectPtr& object) override {
        const VObjectPtr consumer(object);
        if (!consumer) return true;
        const VSlotContainer::InputTable table = consumer->inputTable();
        for (const VSlotContainer::Input& input : table->inputs) {
            if (input.parameter == nullptr || !input.parameter->hasSource()) continue;
            const VObjectPtr source(input.parameter->source());
            if (source && _sources.contains(source)) consumer->detach(VSlotPtr(*input.slot));
        }
        return true;
    }

private:
    const std::unordered_set<VObjectPtr> _sources;
};

void disconnect(const std::vector<VObjectPtr>& objects) {
    for (const VObjectPtr& object : objects) object->detachAll();
    ConsumerDetacher detacher(objects);
    VManagedObject::traverse(typeid(VObject), detacher);
}

} // namespace

VActionNotifier::VActionNotifier() = default;
VActionNotifier::~VActionNotifier() = default;
void VActionNotifier::objectCreated(const VObjectPtr&, const Keel::Intercube&,
                                    const Keel::WeakPtr<VCreatorBase>&) {}
void VActionNotifier::objectRemoved(const VObjectPtr&) {}
void VActionNotifier::warning(const std::string&) {}

void VActionNotifier::addListener(const Keel::WeakPtr<VActionNotifier>& listener) {
    std::vector<Keel::WeakPtr<VActionNotifier>> dead;
    const std::lock_guard lock(theShell().mutex);
    auto& listeners = theShell().listeners;
    if (std::find(listeners.begin(), listeners.end(), listener) != listeners.end()) return;
    const auto firstDead = std::stable_partition(listeners.begin(), listeners.end(),
                                                 [](const auto& entry) { return bool(entry); });
    dead.assign(std::make_move_iterator(firstDead), std::make_move_iterator(listeners.end()));
    listeners.erase(firstDead, listeners.end());
    listeners.push_back(listener);
}

void VActionNotifier::removeListener(const Keel::WeakPtr<VActionNotifier>& listener) {
    const std::lock_guard lock(theShell().mutex);
    std::erase(theShell().listeners, listener);
}

void VActionNotifier::VObjectCreation(const VObjectPtr& object, const Keel::Intercube& context,
                                      const Keel::WeakPtr<VCreatorBase>& creator) {
    if (!object) return;
    {
        Shell& shell = theShell();
        const std::lock_guard lock(shell.mutex);
        if (shell.places.contains(object.controlBlock())) return;
        shell.places.emplace(object.controlBlock(),
                             shell.objects.insert(shell.objects.end(), object));
    }
    for (const auto& listener : liveListeners()) listener->objectCreated(object, context, creator);
}

bool VActionNotifier::remove(const VObjectPtr& object) {
    VObjectPtr held;
    {
        Shell& shell = theShell();
        const std::lock_guard lock(shell.mutex);
        const auto place = shell.places.find(object.controlBlock());
        if (place == shell.places.end()) return false;
        held = std::move(*place->second);
        shell.objects.erase(place->second);
        shell.places.erase(place);
    }
    disconnect({held});
    for (const auto& listener : liveListeners()) listener->objectRemoved(held);
    return true;
}

void VActionNotifier::clear() {
    std::vector<VObjectPtr> held;
    {
        Shell& shell = theShell();
        const std::lock_guard lock(shell.mutex);
        held.assign(shell.objects.begin(), shell.objects.end());
        shell.objects.clear();
        shell.places.clear();
    }
    disconnect(held);
    const auto listeners = liveListeners();
    for (; !held.empty(); held.pop_back()) {
        for (const auto& listener : listeners) listener->objectRemoved(held.back());
    }
}

std::vector<VObjectPtr> VActionNotifier::objects() {
    const std::lock_guard lock(theShell().mutex);
    const auto& objects = theShell().objects;
    return {objects.begin(), objects.end()};
}

void VActionNotifier::Warning(const std::string& text) {
    const auto listeners = liveListeners();
    for (const auto& listener : listeners) listener->warning(text);
    if (!listeners.empty()) return;
    std::printf("Warning: %s\n", text.c_str());
    std::fflush(stdout);
}

} // namespace Mirk
