// Telling the watchers of a parameter that a value has changed, against calls of as many virtual
// functions through a copied vector of plain pointers. What is left out: what watchers do.

#include "../sideBySide.hpp"

#include <sorrel/VParameter.hpp>

#include <vector>

namespace {

class Watcher : public Mirk::ValueNotifier {
public:
    void touched(const Mirk::ValueNotifierList&, const Mirk::VValuePtr&,
                 const Mirk::ValuePoolPtr&) override {
        ++changes;
    }
    long changes = 0;
};

void ValueNotifierList_notifyValueChange(benchmark::State& state) {
    const Mirk::VParameterPtr parameter(new Mirk::VValueParameter<double>(0.0, "x"));
    const Mirk::VValuePtr value = parameter->DefaultValue();
    std::vector<Keel::StrongPtr<Mirk::ValueNotifier>> owners;
    std::vector<Mirk::ValueNotifier*> watchers;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        owners.emplace_back(new Watcher);
        watchers.push_back(owners.back().get());
        parameter->addNotifier(owners.back());
    }
    const int changes = static_cast<int>(20000 / state.range(0));
    const auto notify = [&] {
        for (int i = 0; i < changes; ++i) parameter->notifyValueChange(value, {});
    };
    const auto call = [&] {
        for (int i = 0; i < changes; ++i) {
            const std::vector<Mirk::ValueNotifier*> copied = watchers;
            for (Mirk::ValueNotifier* watcher : copied) watcher->touched(*parameter, value, {});
        }
    };
    sideBySide(state, changes, notify, call);
}
BENCHMARK(ValueNotifierList_notifyValueChange)
    ->Apply(withSpread)
    ->Repetitions(15)
    ->Arg(1)
    ->Arg(1000);

} // namespace
