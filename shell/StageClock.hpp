#pragma once
// Times of the stages of a run; stands on the standard library.

#include <chrono>
#include <string>
#include <vector>

namespace Shell {

/// Stages one after the other; each lasts until the next begins.
class StageClock {
public:
    struct Stage {
        std::string name;
        double seconds;
    };

    StageClock();

    void begin(const std::string& stage);
    /// Ends the last stage.
    void end();
    /// Those that have ended.
    const std::vector<Stage>& stages() const { return _stages; }
    /// Since the clock was made.
    double totalSeconds() const;
    /// "read 123.4 ms, convert 5.6 ms, ..., total 200.0 ms"
    std::string str() const;

private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point _started;
    Clock::time_point _stageStarted;
    std::string _stage;
    std::vector<Stage> _stages;
};

} // namespace Shell
