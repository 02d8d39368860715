#include <StageClock.hpp>

#include <cstdio>

namespace Shell {

namespace {

double milliseconds(std::chrono::steady_clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

} // namespace

StageClock::StageClock() : _started(Clock::now()) {}

void StageClock::begin(const std::string& stage) {
    end();
    _stage = stage;
    _stageStarted = Clock::now();
}

void StageClock::end() {
    if (!_stage.empty()) {
        _milliseconds.emplace_back(_stage, milliseconds(Clock::now() - _stageStarted));
    }
    _stage.clear();
}

std::string StageClock::str() const {
    std::string text;
    char number[64];
    for (const auto& [stage, time] : _milliseconds) {
        std::snprintf(number, sizeof number, " %.1f ms, ", time);
        text += stage + number;
    }
    std::snprintf(number, sizeof number, "total %.1f ms", milliseconds(Clock::now() - _started));
    return text + number;
}

} // namespace Shell
