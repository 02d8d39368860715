#pragma once
// The creators of a display object, one for each cache; stands on PolypCreator.

#include <Polypia/PolypCreator.hpp>

#include <cstdint>
#include <functional>
#include <map>
#include <shared_mutex>

namespace Mirk {

/// Holds one creator for each Seagrass in which a display object is shown, for the life of that
/// Seagrass or of the keeper. Any thread may let go of a keeper; the creators then give up their
/// polyps. Thread-safe.
class POLYPIA_EXPORT PolypCreatorKeeper {
public:
    using CreatorPtr = Keel::StrongPtr<PolypCreatorBase>;
    using Factory = std::function<CreatorPtr(const Seagrass&)>;

    PolypCreatorKeeper();
    PolypCreatorKeeper(const PolypCreatorKeeper&) = delete;
    PolypCreatorKeeper& operator=(const PolypCreatorKeeper&) = delete;
    ~PolypCreatorKeeper();

    /// A creator that leaves the filling of its polyps to the display object.
    static CreatorPtr DefaultFactory(const Seagrass& seagrass);

    /// The creator for a Seagrass; if there is none, what the factory makes is kept and returned,
    /// which may be an empty pointer: then the next call asks the factory again. Of several threads
    /// that ask at once all get the same one. Drops the creators of all caches that have gone.
    ///
    /// The factory runs under the lock of the keeper and must not come back here. What it throws
    /// passes through; an empty one throws std::bad_function_call.
    CreatorPtr operator()(const Seagrass& seagrass, const Factory& factory);

private:
    using Creators = std::map<Keel::WeakPtr<Seagrass>, CreatorPtr>;

    void takeDead(Creators& dead);

    // The order of the fields is part of the interface.
    std::shared_mutex lock;
    Creators creators;
    std::uint64_t _endsSeen = 0; // Seagrass::numberOfEnds() at the last sweep
};

} // namespace Mirk
