#pragma once
// The link from a display object to its polyp in one cache; stands on keel's creators and Polyp.

#include <Polypia/Polyp.hpp>
#include <Polypia/Seagrass.hpp>

#include <keel/Creator.hpp>

#include <concepts>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

namespace Mirk {

using PolypPtr = Keel::StrongPtr<Polyp, Keel::Cacheable>;

/// The creator of a polyp, on which parts of a display object may hang creators of their own.
class POLYPIA_EXPORT PolypCreatorBase : public Keel::CreatorBase<Polyp>,
                                        public Keel::NamedCreatures {
public:
    explicit PolypCreatorBase(const Keel::WeakPtr<Keel::Cache, Keel::CacheBase>& cache)
        : CreatorBase(cache) {}
    ~PolypCreatorBase() override;
};

/// Creator of a polyp in the cache of a Seagrass. Its age is the time at which the present polyp
/// was made: what is younger has made the polyp stale.
///
/// A polyp that is given up goes to the Seagrass's scheduleDeletion(), on whatever thread that
/// happens. Only if the Seagrass has gone it is released on the spot; by then the Seagrass has seen
/// to it that its creators are empty.
class POLYPIA_EXPORT PolypBasicCreator : public Keel::AlzheimerCreator<Polyp, PolypCreatorBase> {
public:
    /// A polyp, if one is given, becomes this creator's, and counts as made now.
    PolypBasicCreator(const Seagrass& seagrass, const PolypPtr& polyp);
    ~PolypBasicCreator() override;

    /// Gives up the polyp, here already: as long as the creator lives, an ending Seagrass can still
    /// find it.
    void beforeLastRelease() override;
    /// Gives up the polyp. Any thread.
    bool forget() override;
    /// Makes an empty polyp, with which the creator gets the youngest age of all, and releases the
    /// present one. On the render thread.
    PolypPtr create() override;

    /// Replaces the polyp: schedules the present one for deletion, makes a new one, has it filled
    /// and prepares its wave. On the render thread, with the context current.
    ///
    /// `initialize` finds an empty polyp whose memsize() tells the size of the one that was filled
    /// last, 0 ahead of the first, so that it can ask for the memory before it takes it
    /// (VRenderContext::allowRendering). It returns false to decline: then, as when it throws, the
    /// new polyp is scheduled for deletion, and the creator has none. Returns the polyp, or an
    /// empty pointer if that was declined.
    PolypPtr recreate(const std::function<bool(Polyp&)>& initialize);

    const Keel::WeakPtr<Seagrass>& getSeagrass() const noexcept { return seagrass; }

private:
    class Filling;

    bool giveUpPolyp();

    const Keel::WeakPtr<Seagrass> seagrass;
    std::size_t _lastFilledBytes = 0; // the render thread's
};

/// Fills polyps with nothing, for creators whose display object fills them itself; see
/// PolypBasicCreator::recreate.
class POLYPIA_EXPORT DefaultPolypInitializer {};

/// Fills a polyp with tentacles. What the operation returns, if anything, is whether it did so; it
/// is the one to ask VRenderContext::allowRendering for the memory.
template<class T>
concept PolypInitializer = requires(const T& initializer, const Polyp& present, Polyp& polyp,
                                    VRenderContext& context, const PolypCreatorBase& creator) {
    initializer.initializePolyp(polyp, context);
    { initializer.isValidPolyp(present, context, creator) } -> std::convertible_to<bool>;
};

/// A creator that fills its polyps and knows when they have gone stale. The Initializer provides
///
///     bool initializePolyp(Polyp&, VRenderContext&) const;    // or void
///     bool isValidPolyp(const Polyp&, VRenderContext&, const PolypCreatorBase&) const;
///
/// which are called on the render thread of the context.
template<class Initializer>
class POLYPIA_EXPORT PolypCreator : public PolypBasicCreator, public Initializer {
public:
    /// What follows the polyp goes to the constructor of the Initializer.
    template<class... Arguments>
    PolypCreator(const Seagrass& theSeagrass, const PolypPtr& polyp, Arguments&&... arguments)
        : PolypBasicCreator(theSeagrass, polyp),
          Initializer(std::forward<Arguments>(arguments)...) {}

    /// The polyp, ready for updateValues(), wave() and complete(): the present one if it is valid,
    /// otherwise a new one. On the render thread, with the context current.
    ///
    /// The age of the creator is raised ahead of initializePolyp(), so that what changes while the
    /// polyp is being filled makes it stale. Empty if initializePolyp() returned false: then, as
    /// when it throws, nothing half-made stays behind, and the next call tries again.
    PolypPtr acquire(VRenderContext& context) requires PolypInitializer<Initializer> {
        const Initializer& initializer = *this;
        if (PolypPtr present = this->getPolyp()) {
            const PolypCreatorBase& self = *this;
            if (initializer.isValidPolyp(*present, context, self)) return present;
        }
        return this->recreate([&](Polyp& polyp) {
            if constexpr (std::is_void_v<decltype(initializer.initializePolyp(polyp, context))>) {
                initializer.initializePolyp(polyp, context);
                return true;
            } else {
                return bool(initializer.initializePolyp(polyp, context));
            }
        });
    }
};

/// What a test of validity looks at.
struct POLYPIA_EXPORT PolypCreatorContext {
    // The order of the fields is part of the interface.
    VRenderContext& context;
    Keel::StrongPtr<PolypCreatorBase> creator;
};

static_assert(std::is_same_v<Keel::RootOf_t<PolypCreatorBase>, PolypCreatorBase::ReferenceRoot>);
static_assert(std::is_same_v<Keel::RootOf_t<PolypBasicCreator>, PolypBasicCreator::ReferenceRoot>);

} // namespace Mirk
