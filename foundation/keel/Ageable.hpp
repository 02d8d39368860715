#pragma once
// Ages by which caches tell what is out of date; stands on nothing.

#include <keel/export.hpp>

#include <atomic>
#include <cstdint>

namespace Keel {

/// Holds an age, a point on a counter that the whole process shares: a greater age is more recent.
/// Ages are read and set by any thread. A copy has the age of its source.
class KEEL_EXPORT Ageable {
public:
    using Age = std::uint64_t;

    /// Lower than any age that an object gets by rejuvenate(); what an object has until then.
    static constexpr Age Ooooold = 0;
    /// The youngest age so far.
    static std::atomic<Age> GlobalTime;
    /// How many ages were set so far. Raised behind the setting: if the count is what it was before
    /// ages were looked at, they are still what they were. Never 0.
    static std::atomic<std::uint64_t> Changes;

    /// Raises GlobalTime and returns its new value.
    static Age newAge() noexcept { return GlobalTime.fetch_add(1) + 1; }
    /// Counts a change by which an age is read elsewhere than before.
    static void noteChange() noexcept { Changes.fetch_add(1); }
    /// Makes an age that is kept apart the youngest of all, and returns it. Of two threads that do
    /// so the younger age stays.
    static Age stamp(std::atomic<Age>& age) noexcept {
        const Age youngest = newAge();
        Age present = age.load();
        while (present < youngest && !age.compare_exchange_weak(present, youngest)) {
        }
        noteChange();
        return youngest;
    }

    Ageable() noexcept = default;
    Ageable(const Ageable& other) noexcept : _age(other.age()) {}
    Ageable& operator=(const Ageable& other) noexcept {
        setAge(other.age());
        return *this;
    }

    Age age() const noexcept { return _age.load(); }
    void setAge(Age age) noexcept {
        _age.store(age);
        noteChange();
    }
    /// Makes this the youngest object of all, and returns its age.
    Age rejuvenate() noexcept { return stamp(_age); }
    bool isYoungerThan(const Ageable& other) const noexcept { return age() > other.age(); }

protected:
    ~Ageable() = default;

private:
    std::atomic<Age> _age{Ooooold};
};

} // namespace Keel
