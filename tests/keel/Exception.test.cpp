#include <keel/Exception.hpp>

#include "thrower.hpp"

#include <gmock/gmock.h>

#include <type_traits>

#include <dlfcn.h>

namespace {

using Keel::Exception;

TEST(Exception, IsEmptyByDefault) {
    const Exception error;
    EXPECT_EQ(error.function, "");
    EXPECT_EQ(error.file, "");
    EXPECT_EQ(error.line, 0);
    EXPECT_STREQ(error.what(), "Keel::Exception");
}

TEST(Exception, StoresItsFirstArgumentAsFunction) {
    const Exception error("message", "file.cpp", 12);
    EXPECT_EQ(error.function, "message");
    EXPECT_EQ(error.file, "file.cpp");
    EXPECT_EQ(error.line, 12);
    EXPECT_STREQ(error.what(), "message");
}

TEST(Exception, TakesNullPointersAsEmpty) {
    const Exception error(nullptr, nullptr, -1);
    EXPECT_TRUE(error.function.empty());
    EXPECT_TRUE(error.file.empty());
    EXPECT_EQ(error.line, -1);
}

TEST(Exception, CopiesAllFieldsWithoutThrowing) {
    static_assert(std::is_nothrow_copy_constructible_v<Exception>);
    static_assert(std::is_nothrow_copy_assignable_v<Exception>);
    const Exception error("message", "file.cpp", 12);
    const Exception copy = error;
    EXPECT_EQ(copy.function, "message");
    EXPECT_EQ(copy.file, "file.cpp");
    EXPECT_EQ(copy.line, 12);
}

TEST(Exception, KeepsItsTextWhenTheSourceOfTheTextGoes) {
    std::string message = "a message that lived on the heap of a module";
    const Exception error(message.c_str(), "", 0);
    message.assign(message.size(), '?');
    EXPECT_EQ(error.function, "a message that lived on the heap of a module");
}

TEST(Exception, IsAStandardException) {
    static_assert(std::is_base_of_v<std::exception, Exception>);
    static_assert(noexcept(std::declval<const Exception&>().what()));
    EXPECT_THROW(throw Exception("", "", 0), std::exception);
}

TEST(Exception, IsCaughtAcrossLibraries) {
    try {
        throwKeelException();
        FAIL() << "nothing was thrown";
    } catch (const Exception& error) {
        EXPECT_EQ(error.function, "throwKeelException");
        EXPECT_EQ(error.line, 7);
    }
}

TEST(Exception, HasOneTypeInfoThatIsExported) {
    EXPECT_NE(dlsym(RTLD_DEFAULT, "_ZTIN4Keel9ExceptionE"), nullptr);
}

} // namespace
