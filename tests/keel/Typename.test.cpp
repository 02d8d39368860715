#include <keel/Typename.hpp>

#include <gmock/gmock.h>

#include <vector>

namespace Zoo {
struct Animal {
    virtual ~Animal() = default;
};
struct Fish : Animal {};
} // namespace Zoo

namespace {

using Keel::Typename;

TEST(Typename, IsTheNameAsWritten) {
    EXPECT_EQ(Typename(typeid(int)), "int");
    EXPECT_EQ(Typename(typeid(void)), "void");
    EXPECT_EQ(Typename(typeid(Zoo::Fish)), "Zoo::Fish");
    EXPECT_EQ(Typename(typeid(const char*)), "char const*");
}

TEST(Typename, IsThatOfTheObjectNotOfTheReference) {
    const Zoo::Fish fish;
    const Zoo::Animal& animal = fish;
    EXPECT_EQ(Typename(typeid(animal)), "Zoo::Fish");
}

TEST(Typename, NamesTheArgumentsOfTemplates) {
    EXPECT_THAT(Typename(typeid(std::vector<Zoo::Fish>)),
                testing::StartsWith("std::vector<Zoo::Fish"));
}

} // namespace
