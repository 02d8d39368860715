#pragma once
// A system clock that tests can stop; stands on the standard library.

#include <functional>

/// As long as one exists the system clock stands still on its thread. The source replaces the clock
/// of the standard library for the whole program.
class StoppedClock {
public:
    StoppedClock();
    ~StoppedClock();
    StoppedClock(const StoppedClock&) = delete;
    StoppedClock& operator=(const StoppedClock&) = delete;
};

/// As long as one exists a function is called whenever this thread asks for the time.
class WatchedClock {
public:
    explicit WatchedClock(const std::function<void()>& asked);
    ~WatchedClock();
    WatchedClock(const WatchedClock&) = delete;
    WatchedClock& operator=(const WatchedClock&) = delete;
};
