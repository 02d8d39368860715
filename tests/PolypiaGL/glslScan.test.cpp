#include <PolypiaGL/glslScan.hpp>

#include <gmock/gmock.h>

#include <string>

using Mirk::GL::GlslScan;
using testing::HasSubstr;
using testing::Not;

namespace {

std::string active(const std::string& text, const std::string& others = "") {
    return GlslScan(text).withoutInactive(others);
}

TEST(GlslScan, NamesThatNothingDefinesLeaveTheirPartOut) {
    const std::string text = "#ifdef A\nfirst\n#else\nsecond\n#endif\nthird\n";
    EXPECT_THAT(active(text), Not(HasSubstr("first")));
    EXPECT_THAT(active(text), HasSubstr("second"));
    EXPECT_THAT(active(text), HasSubstr("third"));
    EXPECT_EQ(active(text).size(), text.size());
    const std::string inverse = "# ifndef A\nfirst\n# else\nsecond\n#endif\n";
    EXPECT_THAT(active(inverse), HasSubstr("first"));
    EXPECT_THAT(active(inverse), Not(HasSubstr("second")));
}

TEST(GlslScan, WhatIsNotPlainIsActive) {
    for (const char* const text :
         {"#define A\n#ifdef A\nx\n#endif\n", "#ifdef GL_ES\nx\n#endif\n",
          "#ifdef __VERSION__\nx\n#endif\n", "#if A\nx\n#endif\n", "#ifdef\nx\n#endif\n",
          "#ifdef A\n#elif B\nx\n#endif\n", "#ifndef A\n#define A\n#endif\n#ifdef A\nx\n#endif\n",
          "#endif\nx\n", "#else\nx\n"}) {
        EXPECT_THAT(active(text), HasSubstr("x\n")) << text;
    }
    EXPECT_THAT(active("#ifdef A\nx\n#endif\n", "#define A 1\n"), HasSubstr("x\n"));
}

TEST(GlslScan, NothingBehindAPartThatIsAlwaysTakenIsActive) {
    const std::string text = "#ifndef A\ny\n#elif B\nx\n#else\nx\n#endif\ny\n";
    EXPECT_THAT(active(text), Not(HasSubstr("x")));
    EXPECT_THAT(active(text), HasSubstr("y"));
}

TEST(GlslScan, PartsWithinWhatIsLeftOutAreLeftOut) {
    const std::string text = "#ifdef A\n#ifndef B\nx\n#else\nx\n#endif\nx\n#endif\ny\n#ifndef "
                             "C\n#ifdef A\nx\n#endif\ny\n#endif\n";
    EXPECT_THAT(active(text), Not(HasSubstr("x")));
    EXPECT_THAT(active(text), HasSubstr("y"));
}

} // namespace
