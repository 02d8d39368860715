#include <Polypia/Interactor.hpp>

#include <keel/StrongPtr.hpp>
#include <keel/WeakPtr.hpp>

#include <gmock/gmock.h>

#include <type_traits>

namespace {

TEST(Interactor, TellsByItsLifeThatInteractionGoesOn) {
    static_assert(std::is_base_of_v<Keel::ReferenceBase<Mirk::Interactor>, Mirk::Interactor>);
    static_assert(!std::is_abstract_v<Mirk::Interactor>);
    Keel::StrongPtr<Mirk::Interactor> held(new Mirk::Interactor);
    const Keel::WeakPtr<Mirk::Interactor> seen(held);
    EXPECT_TRUE(seen);
    held = {};
    EXPECT_FALSE(seen);
}

TEST(Interactor, HasOneFieldOfItsOwn) {
    EXPECT_EQ(Mirk::Interactor().state, 0U);
    static_assert(sizeof(Mirk::Interactor) ==
                  sizeof(Keel::ReferenceBase<Mirk::Interactor>) + sizeof(std::uint64_t));
    static_assert(sizeof(Mirk::Interactor::state) == 8);
}

} // namespace
