#include <keel/Functor.hpp>

#include <gmock/gmock.h>

#include <memory>

namespace {

struct Watched : Keel::Functor {
    explicit Watched(bool& flag) : destroyed(flag) {}
    ~Watched() override { destroyed = true; }
    bool& destroyed;
};

TEST(Functor, IsDestroyedThroughItsBase) {
    bool destroyed = false;
    std::unique_ptr<Keel::Functor> functor = std::make_unique<Watched>(destroyed);
    functor.reset();
    EXPECT_TRUE(destroyed);
}

} // namespace
