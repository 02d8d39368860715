#include <keel/typemap.hpp>

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

class typemapTest : public testing::Test {
protected:
    struct Walk : Keel::typemap<std::string>::Iterator {
        bool apply(const std::type_info& type, const std::string& value) override {
            seen.push_back(value);
            types.push_back(&type);
            return seen.size() < limit;
        }
        std::vector<std::string> seen;
        std::vector<const std::type_info*> types;
        std::size_t limit = 100;
    };
    Keel::typemap<std::string> map;
};

TEST_F(typemapTest, MakesAValueAtTheFirstQuestionAndKeepsIt) {
    EXPECT_EQ(map.find(typeid(int)), nullptr);
    EXPECT_EQ(map[typeid(int)], "");
    map[typeid(int)] = "int";
    map[typeid(float)] = "float";
    EXPECT_EQ(map[typeid(int)], "int");
    ASSERT_NE(map.find(typeid(float)), nullptr);
    EXPECT_EQ(*map.find(typeid(float)), "float");
    EXPECT_EQ(map.find(typeid(double)), nullptr);
    EXPECT_EQ(map.size(), 2u);
}

TEST_F(typemapTest, WalkVisitsEachEntryOnceWithItsType) {
    map[typeid(int)] = "int";
    map[typeid(float)] = "float";
    Walk walk;
    EXPECT_TRUE(map.iterate(walk));
    EXPECT_THAT(walk.seen, testing::UnorderedElementsAre("int", "float"));
    for (std::size_t i = 0; i < walk.types.size(); ++i) {
        EXPECT_EQ(*map.find(*walk.types[i]), walk.seen[i]);
    }
}

TEST_F(typemapTest, WalkEndsAtFalse) {
    map[typeid(int)] = "int";
    map[typeid(float)] = "float";
    Walk walk;
    walk.limit = 1;
    EXPECT_FALSE(map.iterate(walk));
    EXPECT_EQ(walk.seen.size(), 1u);
}

TEST_F(typemapTest, AddressesOfValuesStay) {
    std::string* const value = &map[typeid(int)];
    map[typeid(float)];
    map[typeid(double)];
    EXPECT_EQ(&map[typeid(int)], value);
}

} // namespace
