// A request over 10,000 objects of which none is due, against a recursive walk over plain pointers
// that compares ages. What is left out: the first request, which updates all objects.

#include "../sideBySide.hpp"

#include <sorrel/TypedSlot.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace {

constexpr std::size_t Objects = 10000;

struct Adder : Mirk::VObject {
    explicit Adder(std::size_t number) : VObject("adder" + std::to_string(number), 0, {}) {
        enableRequestProcessing();
    }
    Mirk::TypedSlot<double> in{this, "in", 0.0, 0};
    Mirk::VOutput<double> out{this, "out", 0.0};
};

/// What a walk needs and no more.
struct Node {
    std::vector<Node*> sources;
    Keel::Ageable::Age output = 1;
    Keel::Ageable::Age updated = 2;
    unsigned visit = 0;
};

/// How many nodes are due.
std::size_t walk(Node& node, unsigned visit) {
    if (node.visit == visit) return 0;
    node.visit = visit;
    std::size_t due = 0;
    bool isDue = false;
    for (Node* const source : node.sources) {
        due += walk(*source, visit);
        isDue = isDue || source->output > node.updated;
    }
    return due + (isDue ? 1 : 0);
}

struct Graph {
    Graph() : nodes(Objects) {
        for (std::size_t i = 0; i < Objects; ++i) objects.emplace_back(new Adder(i));
    }
    void connect(std::size_t consumer, std::size_t source) {
        static_cast<Adder&>(*objects[consumer])
            .addParameter("source", 0, static_cast<Adder&>(*objects[source]).out, true);
        nodes[consumer].sources.push_back(&nodes[source]);
    }
    /// Nanoseconds for a whole request of the first object.
    void measure(benchmark::State& state) {
        const Mirk::ValuePoolPtr pool(new Mirk::ValuePool);
        Mirk::VRequest first(pool);
        first.process(*objects[0], 1.0);
        if (first.numberOfUpdates() != Objects) state.SkipWithError("not all are connected");
        unsigned visit = 0;
        const auto request = [&] {
            Mirk::VRequest again(pool);
            again.process(*objects[0], 1.0);
            if (again.numberOfUpdates() != 0) state.SkipWithError("something was due");
        };
        const auto reference = [&] {
            std::size_t due = walk(nodes[0], ++visit);
            benchmark::DoNotOptimize(due);
        };
        sideBySide(state, 1, request, reference);
    }

    std::vector<Mirk::VObjectPtr> objects;
    std::vector<Node> nodes;
};

/// Each object has the next one as its source. At most 1 ms.
void VRequest_cleanChain(benchmark::State& state) {
    Graph graph;
    for (std::size_t i = 1; i < Objects; ++i) graph.connect(i - 1, i);
    graph.measure(state);
}
/// One object has all others as its sources. At most 1 ms.
void VRequest_cleanFan(benchmark::State& state) {
    Graph graph;
    for (std::size_t i = 1; i < Objects; ++i) graph.connect(0, i);
    graph.measure(state);
}
BENCHMARK(VRequest_cleanChain)->Apply(withSpread)->Repetitions(15);
BENCHMARK(VRequest_cleanFan)->Apply(withSpread)->Repetitions(15);

} // namespace
