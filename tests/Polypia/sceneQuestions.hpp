#pragma once
// What tests of scenes and viewers ask; stands on ObjectSelection and VRenderPrecision.

#include <Polypia/ObjectSelection.hpp>
#include <Polypia/VRenderPrecision.hpp>

#include <sorrel/VObject.hpp>

#include <future>
#include <mutex>
#include <string>
#include <vector>

/// Layer and name of each entry: "3a", or "3 dead".
inline std::vector<std::string> names(const Mirk::ObjectSelection& selection) {
    std::vector<std::string> names;
    selection.iterate([&](int layer, const Mirk::ObjectSelection::WeakObject& entry) {
        names.push_back(std::to_string(layer) + (entry ? entry->BaseName() : " dead"));
        return true;
    });
    return names;
}

/// Whether another thread could take it.
inline bool isFree(std::mutex& mutex) {
    return std::async(std::launch::async,
                      [&] {
                          const std::unique_lock lock(mutex, std::try_to_lock);
                          return lock.owns_lock();
                      })
        .get();
}

/// Adapts nothing.
class PlainPrecision : public Mirk::VRenderPrecision {
public:
    void adaptPrecision() override {}
};
