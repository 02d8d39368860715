#pragma once
// A lock for a few instructions; stands on nothing.

#include <atomic>
#include <thread>

namespace Keel {

/// For critical sections of a few instructions that never wait and call nothing foreign, where a
/// mutex would cost more than what it guards. Works with std::lock_guard. A thread that does not
/// get it soon gives way to others.
class SpinLock {
public:
    void lock() noexcept {
        while (_locked.exchange(true, std::memory_order_acquire)) waitUntilFree();
    }
    bool try_lock() noexcept { return !_locked.exchange(true, std::memory_order_acquire); }
    void unlock() noexcept { _locked.store(false, std::memory_order_release); }

private:
    void waitUntilFree() const noexcept {
        // Reading alone leaves the owner its cache line.
        for (int spins = 0; _locked.load(std::memory_order_relaxed); ++spins) {
            if (spins > 100) std::this_thread::yield();
        }
    }

    std::atomic<bool> _locked{false};
};

} // namespace Keel
