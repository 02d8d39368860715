#pragma once
// The order in which a request takes the objects that it depends on, kept for the next request;
// stands on VObject.

#include <sorrel/VObject.hpp>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace Mirk {

/// What a walk over the sources of an object has found: all objects that it depends on, sources
/// first, itself last. It holds as long as nothing is connected or disconnected in the process.
///
/// To walk from source to source is to wait for memory at each of them. In a plan it is known what
/// will be looked at, so that it can be fetched ahead.
class RequestPlan {
public:
    using Ptr = std::shared_ptr<const RequestPlan>;

    struct Step {
        Keel::WeakPtr<VObject, VManagedObjectBase> object;
        std::uint64_t serial = 0;
        std::size_t sourcesEnd = 0; // in the table of the plan
        // Never read from: what lay there may be gone.
        std::array<const void*, 3> addresses = {};
    };

    /// The plan holds for the connections as they are now, so make it ahead of the walk.
    RequestPlan();

    /// Adds an object, whose sources have been added already.
    void add(const VObjectPtr& object, const std::vector<std::uint64_t>& sources);
    bool isValid() const noexcept;

    std::size_t size() const noexcept { return _steps.size(); }
    const Step& operator[](std::size_t step) const { return _steps[step]; }
    /// Whether a condition holds for the serial number of any source of a step.
    template<class Condition>
    bool anySource(std::size_t step, const Condition& condition) const {
        for (std::size_t i = step > 0 ? _steps[step - 1].sourcesEnd : 0;
             i < _steps[step].sourcesEnd; ++i) {
            if (condition(_sources[i])) return true;
        }
        return false;
    }
    /// Has the processor fetch what a step will look at. Nothing happens behind the last one.
    void prefetch(std::size_t step) const noexcept;

    /// The plan that was kept for an object last, if it still holds; null if there is none.
    static Ptr find(const VObject& root);
    /// Keeps a plan; only those of the latest few objects stay.
    static void keep(const VObject& root, Ptr plan);

private:
    const std::uint64_t _connectionChanges;
    std::vector<Step> _steps;
    std::vector<std::uint64_t> _sources; // serial numbers
};

} // namespace Mirk
