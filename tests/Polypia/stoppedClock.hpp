#pragma once
// A system clock that tests can stop; stands on the standard library.

/// As long as one exists the system clock stands still on its thread. The source replaces the clock
/// of the standard library for the whole program.
class StoppedClock {
public:
    StoppedClock();
    ~StoppedClock();
    StoppedClock(const StoppedClock&) = delete;
    StoppedClock& operator=(const StoppedClock&) = delete;
};
