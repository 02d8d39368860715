#include <keel/simplestring.hpp>

#include <gmock/gmock.h>

#include <map>
#include <sstream>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using Keel::simplestring;

TEST(simplestring, IsEmptyByDefault) {
    const simplestring text;
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.length(), 0u);
    EXPECT_STREQ(text.c_str(), "");
    EXPECT_EQ(text.str(), "");
}

TEST(simplestring, LengthZeroMeansStrlen) {
    const simplestring text("abc", 0);
    EXPECT_EQ(text.str(), "abc");
    EXPECT_EQ(text.length(), 3u);
    EXPECT_FALSE(text.empty());
}

TEST(simplestring, LengthLimitsTheTextAndClosesIt) {
    const simplestring text("abcdef", 2);
    EXPECT_STREQ(text.c_str(), "ab");
    EXPECT_EQ(text.length(), 2u);
}

TEST(simplestring, EmptyPieceOfALongerBufferIsItsWholeRest) {
    const char buffer[] = "head|rest";
    EXPECT_EQ(simplestring(buffer + 5, 0).str(), "rest");
}

TEST(simplestring, NullPointerIsEmptyWhateverTheLength) {
    EXPECT_TRUE(simplestring(nullptr, 0).empty());
    EXPECT_TRUE(simplestring(nullptr, 5).empty());
    EXPECT_STREQ(simplestring(nullptr, 5).c_str(), "");
}

TEST(simplestring, TakesAllBytesOfAString) {
    const std::string bytes("a\0b", 3);
    const simplestring text(bytes);
    EXPECT_EQ(text.length(), 3u);
    EXPECT_EQ(text.str(), bytes);
    EXPECT_TRUE(simplestring(std::string()).empty());
}

TEST(simplestring, CopiesItsInput) {
    char buffer[] = "before";
    const simplestring text(buffer);
    buffer[0] = 'X';
    EXPECT_EQ(text.str(), "before");
}

TEST(simplestring, CopiesShareTheTextAndCannotThrow) {
    static_assert(std::is_nothrow_copy_constructible_v<simplestring>);
    static_assert(std::is_nothrow_copy_assignable_v<simplestring>);
    const simplestring text("shared");
    const simplestring copy = text;
    simplestring assigned("other");
    assigned = text;
    EXPECT_EQ(copy.c_str(), text.c_str());
    EXPECT_EQ(assigned.c_str(), text.c_str());
}

TEST(simplestring, CopyOutlivesItsSource) {
    simplestring copy;
    {
        const simplestring text("a text that is too long for any small buffer");
        copy = text;
    }
    EXPECT_EQ(copy, "a text that is too long for any small buffer");
}

TEST(simplestring, SurvivesAssignmentToItself) {
    simplestring text("self");
    const simplestring& same = text;
    text = same;
    EXPECT_EQ(text, "self");
}

TEST(simplestring, MovesWithoutACopy) {
    simplestring text("moved");
    const char* bytes = text.c_str();
    simplestring target(std::move(text));
    EXPECT_EQ(target.c_str(), bytes);
    simplestring assigned("other");
    assigned = std::move(target);
    EXPECT_EQ(assigned.c_str(), bytes);
}

TEST(simplestring, ComparesByBytesWithAllKindsOfText) {
    const simplestring a("a"), b("b");
    EXPECT_EQ(a, simplestring("a"));
    EXPECT_NE(a, b);
    EXPECT_LT(a, b);
    EXPECT_GT(b, "a");
    EXPECT_LT(a, std::string("aa"));
    EXPECT_EQ(a, std::string("a"));
    EXPECT_EQ("a", a);
    EXPECT_EQ(simplestring(), static_cast<const char*>(nullptr));
    EXPECT_LT(simplestring(), a);
    EXPECT_LT(simplestring("z"), simplestring("\xC3\xA4")) << "bytes compare unsigned";
}

TEST(simplestring, ServesAsKey) {
    const std::map<simplestring, int> numbers{{"two", 2}, {"one", 1}};
    EXPECT_EQ(numbers.at("two"), 2);
}

TEST(simplestring, PrintsAllItsBytes) {
    std::ostringstream stream;
    stream << simplestring("text") << simplestring() << simplestring(std::string("\0", 1));
    EXPECT_EQ(stream.str(), std::string("text\0", 5));
}

TEST(simplestring, IsCopiedByManyThreadsAtOnce) {
    const simplestring text("shared by threads");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&text] {
            for (int n = 0; n < 1000; ++n) {
                simplestring copy = text;
                EXPECT_EQ(copy, "shared by threads");
                copy = simplestring("own");
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(text, "shared by threads");
}

} // namespace
