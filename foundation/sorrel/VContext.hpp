#pragma once
// Where something is shown or computed; stands on ValuePool.

#include <sorrel/ValuePool.hpp>

#include <chrono>
#include <mutex>

namespace Mirk {

/// A place with values of its own, such as one drawing surface.
class SORREL_EXPORT VContext {
public:
    /// What a caller adds to a context, as interfaces.
    class SORREL_EXPORT Addendum : public Keel::ReferenceBase<Addendum>, public Keel::Intercube {
    public:
        Addendum();
        ~Addendum() override;
    };

    /// Without pool: global values are read until one is set.
    explicit VContext(const Keel::StrongPtr<Addendum>& contextAddendum);
    virtual ~VContext();

    /// Notes the present time as that of the context.
    void setTime();
    std::chrono::system_clock::time_point time() const noexcept { return _time; }

    /// How fast time passes here; 1 is as on the clock.
    double timeScale = 1.0;
    /// The pool of the context. Set it ahead of the first use.
    ValuePoolPtr pool;
    const Keel::StrongPtr<Addendum> addendum;
    /// Guards what a frame puts into the context for others to read. Never held while drawing.
    mutable std::mutex mutex;

private:
    std::chrono::system_clock::time_point _time{};
};

} // namespace Mirk
