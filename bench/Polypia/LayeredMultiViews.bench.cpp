// Copying a layer of views to the next one, against memcpy of as many bytes at the same places; and
// telling the programs of a polyp where the cameras are, against the same assignments by names that
// are at hand. What is left out: the upload of the values.

#include "../sideBySide.hpp"

#include <Polypia/LayeredMultiViews.hpp>

#include <array>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Mirk::LayeredMultiViews;

constexpr unsigned Top = LayeredMultiViews::NumberOfLayers - 1;

/// Nanoseconds are for each elevation, of the number of eyes that is the argument.
void LayeredMultiViews_elevateView(benchmark::State& state) {
    constexpr int repetitions = 50;
    LayeredMultiViews views;
    views.setNumberOfEyes(static_cast<unsigned>(state.range(0)));
    const auto elevate = [&] {
        for (int i = 0; i < repetitions; ++i) {
            views.CurrentLayer = 0;
            while (views.CurrentLayer < Top) views.elevateView();
            benchmark::ClobberMemory();
        }
    };
    const auto copy = [&] {
        for (int i = 0; i < repetitions; ++i) {
            for (unsigned layer = 0; layer < Top; ++layer) {
                for (auto& eye : views.EyeViews) {
                    std::memcpy(static_cast<void*>(&eye[layer + 1]), &eye[layer],
                                sizeof(eye[layer]));
                }
            }
            benchmark::ClobberMemory();
        }
    };
    sideBySide(state, repetitions * Top, elevate, copy);
}
BENCHMARK(LayeredMultiViews_elevateView)
    ->Arg(1)
    ->Arg(2)
    ->Arg(5)
    ->Apply(withSpread)
    ->Repetitions(15);

/// Nanoseconds are for each update of the variables of a program, for the number of eyes that is
/// the argument.
void LayeredMultiViews_updateTranslatedViews(benchmark::State& state) {
    constexpr int repetitions = 2000;
    using Vec4 = Skua::FixedArray<float, 4>;
    LayeredMultiViews views;
    views.setNumberOfEyes(static_cast<unsigned>(state.range(0)));
    const auto references = views.getViews(0, 0);
    LayeredMultiViews::ProgramVariables variables;
    std::vector<std::string> names{"theVertexOffset"};
    for (std::size_t eye = 0; eye < references.size(); ++eye) {
        for (const char* const member : {"Translation", "CameraObserver", "CameraLookAt"}) {
            names.push_back("TranslatedViews[" + std::to_string(eye) + "]." + member);
        }
    }
    const auto update = [&] {
        for (int i = 0; i < repetitions; ++i) {
            LayeredMultiViews::updateTranslatedViews(variables, references,
                                                     {static_cast<double>(i), 0, 0});
        }
    };
    const auto assign = [&] {
        for (int i = 0; i < repetitions; ++i) {
            for (const std::string& name : names) {
                variables[name] = Vec4{static_cast<float>(i), 0, 0, 0};
            }
        }
    };
    sideBySide(state, repetitions, update, assign);
}
BENCHMARK(LayeredMultiViews_updateTranslatedViews)
    ->Arg(1)
    ->Arg(2)
    ->Apply(withSpread)
    ->Repetitions(15);

} // namespace
