#pragma once
// Times of the stages of a run; stands on the standard library.

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace Shell {

/// Stages one after the other; each lasts until the next begins.
class StageClock {
public:
    StageClock();

    void begin(const std::string& stage);
    /// Ends the last stage.
    void end();
    /// "read 123.4 ms, convert 5.6 ms, ..., total 200.0 ms"
    std::string str() const;

private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point _started;
    Clock::time_point _stageStarted;
    std::string _stage;
    std::vector<std::pair<std::string, double>> _milliseconds;
};

} // namespace Shell
