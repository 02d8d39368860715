#pragma once
// The base of function objects; stands on nothing.

#include <keel/export.hpp>

namespace Keel {

/// Base of function objects that are held and deleted through this class.
class KEEL_EXPORT Functor {
public:
    virtual ~Functor();

protected:
    Functor() = default;
    Functor(const Functor&) = default;
    Functor& operator=(const Functor&) = default;
};

} // namespace Keel
