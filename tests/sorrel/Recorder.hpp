#pragma once
// Listeners that write down what they are told; stands on sorrel.

#include <sorrel/VActionNotifier.hpp>

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

/// Counts the changes of what it watches.
class Watcher : public Mirk::ValueNotifier {
public:
    void touched(const Mirk::ValueNotifierList& parameter, const Mirk::VValuePtr& value,
                 const Mirk::ValuePoolPtr& pool) override {
        ++changes;
        lastParameter = &parameter;
        lastValue = value;
        lastPool = pool;
        if (value) ageWhenTold = value->ageable().age();
    }

    int changes = 0;
    const Mirk::ValueNotifierList* lastParameter = nullptr;
    Mirk::VValuePtr lastValue;
    Mirk::ValuePoolPtr lastPool;
    Keel::Ageable::Age ageWhenTold = 0;
};

using WatcherPtr = Keel::StrongPtr<Watcher, Mirk::ValueNotifier>;

/// Listens to the shell as long as it lives.
class ShellRecorder : public Mirk::VActionNotifier {
public:
    void objectCreated(const Mirk::VObjectPtr& object, const Keel::Intercube&,
                       const Keel::WeakPtr<Mirk::VCreatorBase>&) override {
        note("created " + object->Name());
    }
    void objectRemoved(const Mirk::VObjectPtr& object) override {
        note("removed " + object->Name());
    }
    void warning(const std::string& text) override { note("warning " + text); }

    std::vector<std::string> events() const {
        const std::lock_guard lock(_mutex);
        return _events;
    }

private:
    void note(const std::string& event) {
        const std::lock_guard lock(_mutex);
        _events.push_back(event);
    }

    mutable std::mutex _mutex;
    std::vector<std::string> _events;
};

using ShellRecorderPtr = Keel::StrongPtr<ShellRecorder, Mirk::VActionNotifier>;

inline ShellRecorderPtr listenToShell() {
    const ShellRecorderPtr recorder(new ShellRecorder);
    Mirk::VActionNotifier::addListener(recorder);
    return recorder;
}
