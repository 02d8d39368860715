#include <StageClock.hpp>

#include <cstdio>

namespace Shell {

namespace {

double seconds(std::chrono::steady_clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
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
        _stages.push_back({_stage, seconds(Clock::now() - _stageStarted)});
    }
    _stage.clear();
}

double StageClock::totalSeconds() const {
    return seconds(Clock::now() - _started);
}

std::string StageClock::str() const {
    std::string text;
    char number[64];
    for (const Stage& stage : _stages) {
        std::snprintf(number, sizeof number, " %.1f ms, ", 1e3 * stage.seconds);
        text += stage.name + number;
    }
    std::snprintf(number, sizeof number, "total %.1f ms", 1e3 * totalSeconds());
    return text + number;
}

} // namespace Shell
