#include <Polypia/RenderException.hpp>

#include "memberOrder.hpp"
#include "virtualSlot.hpp"

#include <gmock/gmock.h>
#include <zlib.h>

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include <dlfcn.h>

namespace {

using Mirk::RenderException;
using testing::StartsWith;

/// A backend's exception, which knows the words of its API.
struct BackendException : RenderException {
    using RenderException::RenderException;
    std::string GLdescription() const override { return "invalid operation"; }
};

RenderException shaderFailure() {
    RenderException error(0, "fn", "f", 1);
    error.description = "D";
    error.shaderLog = "0(3) : error\n";
    error.shaderCode = "void main(){}\n";
    error.concernedVariable = "u";
    return error;
}

TEST(RenderException, IsEmptyByDefault) {
    const RenderException error;
    EXPECT_EQ(error.function, "");
    EXPECT_EQ(error.file, "");
    EXPECT_EQ(error.line, 0);
    EXPECT_EQ(error.description, "");
    EXPECT_EQ(error.glError, 0);
    EXPECT_EQ(error.shaderLog, "");
    EXPECT_EQ(error.shaderCode, "");
    EXPECT_EQ(error.concernedVariable, "");
}

TEST(RenderException, HasItsFieldsAndVirtualOperationsInOrder) {
    const RenderException error;
    EXPECT_TRUE(standInOrder(static_cast<const Keel::Exception&>(error), error.description,
                             error.glError, error.shaderLog, error.shaderCode,
                             error.concernedVariable));
    static_assert(std::is_same_v<decltype(error.glError), std::int32_t>);
    // Ahead of them are the two destructors.
    EXPECT_EQ((std::vector{virtualSlot(&RenderException::what),
                           virtualSlot(&RenderException::GLdescription)}),
              slotsFrom(2, 2));
}

TEST(RenderException, DefaultHasAHeadOnly) {
    EXPECT_EQ(RenderException().str(), "Error during rendering at :0 []");
}

TEST(RenderException, StoresItsArgumentsAndAGenericDescription) {
    const RenderException error(0x502, "draw", "f.cpp", 7);
    EXPECT_EQ(error.glError, 0x502);
    EXPECT_EQ(error.function, "draw");
    EXPECT_EQ(error.file, "f.cpp");
    EXPECT_EQ(error.line, 7);
    EXPECT_EQ(error.description, "Generic Render Exception");
    EXPECT_EQ(error.shaderLog, "");
    EXPECT_EQ(error.shaderCode, "");
    EXPECT_EQ(error.concernedVariable, "");
}

TEST(RenderException, CopiesAllFields) {
    const RenderException error = shaderFailure();
    const RenderException copy = error;
    EXPECT_EQ(copy.str(), error.str());
    EXPECT_EQ(copy.glError, error.glError);
    EXPECT_EQ(copy.shaderCode, "void main(){}\n");
    RenderException assigned(5, "other", "other", 5);
    assigned = error;
    EXPECT_EQ(assigned.str(), error.str());
    EXPECT_EQ(assigned.glError, 0);
}

TEST(RenderException, CopyingCannotThrow) {
    static_assert(std::is_nothrow_copy_constructible_v<RenderException>);
    static_assert(std::is_nothrow_copy_assignable_v<RenderException>);
}

TEST(RenderException, WhatIsTheSameForAnyException) {
    static_assert(noexcept(std::declval<const RenderException&>().what()));
    EXPECT_STREQ(RenderException().what(), "RenderException Error");
    EXPECT_STREQ(shaderFailure().what(), "RenderException Error");
    EXPECT_STREQ(BackendException(0x502, "draw", "f.cpp", 7).what(), "RenderException Error");
}

TEST(RenderException, IsCaughtAsItsBases) {
    EXPECT_THROW(throw shaderFailure(), Keel::Exception);
    EXPECT_THROW(throw shaderFailure(), std::exception);
    EXPECT_NE(dlsym(RTLD_DEFAULT, "_ZTIN4Mirk15RenderExceptionE"), nullptr)
        << "one type for all libraries";
}

TEST(RenderException, DescriptionServesAsWordsOfTheError) {
    RenderException error(1, "", "", 0);
    EXPECT_EQ(error.GLdescription(), "Generic Render Exception");
    error.description = "other words";
    EXPECT_EQ(error.GLdescription(), "other words");
}

TEST(RenderException, HeadNamesTheError) {
    EXPECT_EQ(RenderException(0x502, "draw", "f.cpp", 7).str(),
              "OpenGL Error 502(Generic Render Exception) at f.cpp:7 [draw]");
}

TEST(RenderException, HeadHasTheErrorInLowerCaseHexadecimal) {
    EXPECT_THAT(RenderException(0xABC, "", "", 0).str(), StartsWith("OpenGL Error abc("));
    EXPECT_THAT(RenderException(-1, "", "", 0).str(), StartsWith("OpenGL Error -1("));
    EXPECT_THAT(RenderException(std::numeric_limits<int>::min(), "", "", 0).str(),
                StartsWith("OpenGL Error -80000000("));
}

TEST(RenderException, HeadWithoutErrorHasNoDescription) {
    EXPECT_EQ(RenderException(0, "draw", "f.cpp", 7).str(),
              "Error during rendering at f.cpp:7 [draw]");
}

TEST(RenderException, HeadHasTheWordsOfTheBackend) {
    const BackendException error(0x502, "draw", "f.cpp", 7);
    EXPECT_EQ(error.str(), "OpenGL Error 502(invalid operation) at f.cpp:7 [draw]");
    const RenderException& base = error;
    EXPECT_EQ(base.str(), error.str());
}

TEST(RenderException, ReportHasThreeSections) {
    const std::string report = shaderFailure().str();
    EXPECT_EQ(report, "Error during rendering at f:1 [fn]"
                      "\nD: 0(3) : error\n"
                      "-------- FAULTY SHADER CODE START --------- f\n"
                      "void main(){}\n"
                      "-------- FAULTY SHADER CODE END   --------- f\n"
                      "0(3) : error\n"
                      "----------------------------------------------\n"
                      "Concerned Variable: u");
    // The sums of the same bytes, so that a slip of the hand here would be seen.
    EXPECT_EQ(report.size(), 238u);
    EXPECT_EQ(
        ::crc32(0, reinterpret_cast<const Bytef*>(report.data()), static_cast<uInt>(report.size())),
        0x18f6a2ddu);
}

TEST(RenderException, ShaderSectionHasTheDescriptionNotTheWordsOfTheBackend) {
    BackendException error(0x502, "fn", "f", 1);
    error.shaderLog = "log\n";
    EXPECT_THAT(error.str(), StartsWith("OpenGL Error 502(invalid operation) at f:1 [fn]\n"
                                        "Generic Render Exception: log\n"));
}

TEST(RenderException, VariableFollowsTheHeadIfThereIsNoLog) {
    RenderException error(0, "fn", "f", 1);
    error.shaderCode = "void main(){}\n";
    error.concernedVariable = "u";
    EXPECT_EQ(error.str(), "Error during rendering at f:1 [fn]Concerned Variable: u");
}

TEST(RenderException, ShaderSectionEndsTheReportIfThereIsNoVariable) {
    RenderException error = shaderFailure();
    error.concernedVariable = "";
    EXPECT_THAT(error.str(), testing::EndsWith("----------------------------------------------\n"));
}

TEST(RenderException, RethrownKeepsTheWordsOfTheBackend) {
    try {
        try {
            throw BackendException(0x502, "draw", "f.cpp", 7);
        } catch (const RenderException&) {
            throw;
        }
    } catch (const RenderException& error) {
        EXPECT_THAT(error.str(), StartsWith("OpenGL Error 502(invalid operation)"));
    }
}

} // namespace
