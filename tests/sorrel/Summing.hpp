#pragma once
// An object whose output is the sum of its inputs, for graphs of them; stands on sorrel.

#include <sorrel/TypedSlot.hpp>

#include <stdexcept>
#include <string>

/// The output "sum" is that of all inputs of type double. Counts its updates, and fails on demand.
class Summing : public Mirk::VObject {
public:
    enum class Behaviour { Works, ReturnsFalse, Throws };

    explicit Summing(const std::string& objectName, int p = 0) : VObject(objectName, p, {}) {
        enableRequestProcessing();
    }

    bool update(Mirk::VRequest& request, double precision) override {
        ++updates;
        lastPrecision = precision;
        if (behaviour == Behaviour::ReturnsFalse) return false;
        if (behaviour == Behaviour::Throws) throw std::runtime_error("no sum today");
        double total = 0;
        for (const Mirk::VSlotPtr& input : inputs()) {
            double value = 0;
            if (Mirk::readSlot<double>(input, request.pool, value)) total += value;
        }
        return sum.set(request.pool, total);
    }

    /// Adds an input that is connected to the sum of another object.
    Mirk::VSlotPtr addSource(const Summing& source) {
        return addParameter("source", 0, source.sum, true);
    }

    Mirk::TypedSlot<double> own{this, "own", 0.0, 0};
    Mirk::VOutput<double> sum{this, "sum", 0.0};
    Behaviour behaviour = Behaviour::Works;
    int updates = 0;
    double lastPrecision = 0;
};

using SummingPtr = Keel::StrongPtr<Summing, Mirk::VManagedObjectBase>;

inline SummingPtr makeSumming(const std::string& name, int priority = 0) {
    return SummingPtr(new Summing(name, priority));
}
