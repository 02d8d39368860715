#include <keel/LoaderProgress.hpp>

#include <keel/StrongPtr.hpp>

#include <gmock/gmock.h>

#include <limits>
#include <thread>

namespace {

using Keel::LoaderProgress;

TEST(LoaderProgress, StartsWithNothing) {
    const LoaderProgress progress;
    EXPECT_EQ(progress.fraction(), 0.0);
    EXPECT_EQ(progress.text(), "");
}

TEST(LoaderProgress, KeepsTheLastReport) {
    LoaderProgress progress;
    progress.report(0.25, "reading");
    progress.report(0.5, "decoding");
    EXPECT_EQ(progress.fraction(), 0.5);
    EXPECT_EQ(progress.text(), "decoding");
}

TEST(LoaderProgress, LimitsTheFraction) {
    LoaderProgress progress;
    progress.report(1.5, "");
    EXPECT_EQ(progress.fraction(), 1.0);
    progress.report(-1, "");
    EXPECT_EQ(progress.fraction(), 0.0);
    progress.report(std::numeric_limits<double>::quiet_NaN(), "");
    EXPECT_EQ(progress.fraction(), 0.0);
}

struct Watched : LoaderProgress {
    explicit Watched(bool& flag) : destroyed(flag) {}
    ~Watched() override { destroyed = true; }
    bool& destroyed;
};

TEST(LoaderProgress, LivesAsLongAsAPointerToIt) {
    bool destroyed = false;
    Keel::StrongPtr<LoaderProgress> first(new Watched(destroyed));
    Keel::StrongPtr<LoaderProgress> second(first);
    first = {};
    EXPECT_FALSE(destroyed);
    second->report(0.5, "half");
    EXPECT_EQ(second->fraction(), 0.5);
    second = {};
    EXPECT_TRUE(destroyed);
}

TEST(LoaderProgress, IsReadWhileItIsReported) {
    LoaderProgress progress;
    std::thread loader([&progress] {
        for (int i = 0; i <= 100; ++i) progress.report(i / 100.0, std::to_string(i));
    });
    double last = 0;
    while (last < 1) {
        const double now = progress.fraction();
        EXPECT_GE(now, last);
        last = now;
    }
    loader.join();
    EXPECT_EQ(progress.text(), "100");
}

} // namespace
