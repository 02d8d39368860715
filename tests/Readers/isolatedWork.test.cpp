#include <Readers/isolatedWork.hpp>

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <sys/resource.h>

#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

using namespace Mirk;

namespace {

std::string text(std::span<const char> block) {
    return {block.begin(), block.end()};
}

TEST(IsolatedWork, GivesBackTheBlocksInOrderAndAligned) {
    const std::vector<double> numbers = {1, 2, 3};
    IsolatedWork work([&](IsolatedOutput& output) {
        output.append("abc", 3);
        output.append(nullptr, 0);
        output.append(numbers.data(), numbers.size() * sizeof(double));
    });
    ASSERT_TRUE(work.isDone());
    EXPECT_EQ(text(work.next()), "abc");
    EXPECT_TRUE(work.next().empty());
    const std::span<const char> block = work.next();
    ASSERT_EQ(block.size(), 24u);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block.data()) % 8, 0u);
    EXPECT_EQ(reinterpret_cast<const double*>(block.data())[2], 3.0);
    EXPECT_TRUE(work.next().empty());
}

TEST(IsolatedWork, IsNotDoneAfterACrash) {
    IsolatedWork work([](IsolatedOutput& output) {
        output.append("abc", 3);
        std::raise(SIGKILL);
    });
    EXPECT_FALSE(work.isDone());
    EXPECT_TRUE(work.next().empty());
}

TEST(IsolatedWork, IsNotDoneAfterAnException) {
    EXPECT_FALSE(IsolatedWork([](IsolatedOutput&) { throw std::runtime_error("no"); }).isDone());
}

TEST(IsolatedWork, IsNotDoneIfItEndsTheProcess) {
    EXPECT_FALSE(IsolatedWork([](IsolatedOutput&) { std::_Exit(0); }).isDone());
}

TEST(IsolatedWork, CannotComputeForEver) {
    IsolatedWork work([](IsolatedOutput& output) {
        rlimit limit{};
        getrlimit(RLIMIT_CPU, &limit);
        output.append(&limit, sizeof limit);
    });
    ASSERT_TRUE(work.isDone());
    EXPECT_EQ(reinterpret_cast<const rlimit*>(work.next().data())->rlim_max, 10u);
}

TEST(IsolatedWork, CannotTakeAnyAmountOfMemory) {
    IsolatedWork work([](IsolatedOutput& output) {
        const std::size_t bytes = std::size_t{2} << 30;
        void* const memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        const char refused = memory == MAP_FAILED;
        output.append(&refused, 1);
    });
    ASSERT_TRUE(work.isDone());
    EXPECT_EQ(work.next()[0], 1);
}

TEST(IsolatedWork, LeavesMemoryAndStandardErrorAlone) {
    int number = 1;
    testing::internal::CaptureStderr();
    IsolatedWork work([&](IsolatedOutput&) {
        number = 2;
        std::fputs("noise\n", stderr);
    });
    EXPECT_TRUE(work.isDone());
    EXPECT_EQ(number, 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(IsolatedWork, NeedsNoStatusOfTheChild) {
    const auto before = std::signal(SIGCHLD, SIG_IGN);
    const IsolatedWork work([](IsolatedOutput&) {});
    std::signal(SIGCHLD, before);
    EXPECT_TRUE(work.isDone());
}

} // namespace
