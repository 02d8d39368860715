#include <sorrel/valueTraits.hpp>

#include "commaLocale.hpp"

#include <sorrel/TypedSlotCreator.hpp>
#include <sorrel/VValue.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Mirk::VValueCompareTrait;
using Mirk::VValueTrait;
using Skua::FixedArray;
using Skua::rgba_float_t;
using Skua::PhysicalSpace::AABB;
using Skua::PhysicalSpace::HessianNormalPlane;
using Skua::PhysicalSpace::point;
using Skua::PhysicalSpace::vector;
using Skua::PhysicalSpace::Viewport;

template<class T>
std::string textOf(const T& value) {
    return VValueTrait<T>::Text(value);
}

template<class T>
bool read(T& value, const std::string& text) {
    return VValueTrait<T>::setValueFromText(value, text);
}

template<class T>
bool differs(const T& a, const T& b) {
    return VValueCompareTrait<T>::isDifferent(a, b);
}

template<class T>
std::string bitsOf(const T& value) {
    return std::string(reinterpret_cast<const char*>(&value), sizeof(T));
}

template<class T>
T readFrom(const std::string& text) {
    T value{};
    EXPECT_TRUE(read(value, text)) << '"' << text << '"';
    return value;
}

/// What can't be read leaves the value bit for bit as it was.
template<class T>
void expectUnreadable(const T& value, const std::string& text) {
    T target(value);
    EXPECT_FALSE(read(target, text)) << '"' << text << '"';
    EXPECT_EQ(bitsOf(value), bitsOf(target)) << '"' << text << '"';
}

template<class T>
void expectSameBitsBack(const T& value) {
    T back{};
    ASSERT_TRUE(read(back, textOf(value))) << textOf(value);
    EXPECT_EQ(bitsOf(value), bitsOf(back)) << textOf(value);
    EXPECT_FALSE(differs(value, back));
}

template<class T>
class VValueTraitOfNumbers : public testing::Test {};

using NumberTypes = testing::Types<int, unsigned, long, unsigned long, long long,
                                   unsigned long long, float, double>;
TYPED_TEST_SUITE(VValueTraitOfNumbers, NumberTypes);

TYPED_TEST(VValueTraitOfNumbers, ReadsItsLimitsBack) {
    using Limits = std::numeric_limits<TypeParam>;
    for (const TypeParam number :
         {Limits::min(), Limits::max(), Limits::lowest(), TypeParam(0), TypeParam(1)}) {
        expectSameBitsBack(number);
    }
}

TYPED_TEST(VValueTraitOfNumbers, TakesWhiteSpaceAroundAndAPlus) {
    EXPECT_EQ(TypeParam(42), readFrom<TypeParam>(" \t\r\n42 \n"));
    EXPECT_EQ(TypeParam(42), readFrom<TypeParam>("+42"));
    EXPECT_EQ(TypeParam(7), readFrom<TypeParam>("007"));
}

TYPED_TEST(VValueTraitOfNumbers, IsStrictOtherwise) {
    for (const char* const text : {"",      " ",
                                   "x",     "1x",
                                   "x1",    "1 2",
                                   "1,",    ",1",
                                   "+-1",   "-+1",
                                   "++1",   "--1",
                                   "+ 1",   "- 1",
                                   "0x10",  "1_000",
                                   "1'000", "1e",
                                   "e1",    ".",
                                   "+",     "-",
                                   "1.2.3", "\"1\"",
                                   "true",  "99999999999999999999999999999999999999999999e9999"}) {
        expectUnreadable(TypeParam(5), text);
    }
    expectUnreadable(TypeParam(5), std::string("1\0", 2));
    expectUnreadable(TypeParam(5), std::string("1\v", 2));
}

TYPED_TEST(VValueTraitOfNumbers, TextHasNothingOfTheLocale) {
    const CommaLocale comma;
    EXPECT_EQ("1234567", textOf(TypeParam(1234567)));
    EXPECT_EQ(TypeParam(1234567), readFrom<TypeParam>("1234567"));
    expectUnreadable(TypeParam(5), "1.234.567");
}

template<class T>
class VValueTraitOfIntegers : public testing::Test {};

using IntegerTypes =
    testing::Types<int, unsigned, long, unsigned long, long long, unsigned long long>;
TYPED_TEST_SUITE(VValueTraitOfIntegers, IntegerTypes);

TYPED_TEST(VValueTraitOfIntegers, RefusesWhatDoesNotFit) {
    expectUnreadable(TypeParam(5), "18446744073709551616");
    expectUnreadable(TypeParam(5), "-9223372036854775809");
    expectUnreadable(TypeParam(5), "1.0");
    expectUnreadable(TypeParam(5), "1e3");
    expectUnreadable(TypeParam(5), "inf");
    if (std::is_unsigned_v<TypeParam>) expectUnreadable(TypeParam(5), "-1");
}

template<class T>
class VValueTraitOfFloats : public testing::Test {};

using FloatTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(VValueTraitOfFloats, FloatTypes);

TYPED_TEST(VValueTraitOfFloats, ReadsWhatIsNoOrdinaryNumberBack) {
    using Limits = std::numeric_limits<TypeParam>;
    for (const TypeParam number :
         {Limits::denorm_min(), -Limits::denorm_min(), Limits::infinity(), -Limits::infinity(),
          Limits::quiet_NaN(), -Limits::quiet_NaN(), TypeParam(-0.0), Limits::epsilon()}) {
        expectSameBitsBack(number);
    }
    EXPECT_EQ("inf", textOf(Limits::infinity()));
    EXPECT_EQ("-inf", textOf(-Limits::infinity()));
    EXPECT_EQ("nan", textOf(Limits::quiet_NaN()));
    EXPECT_EQ("-0", textOf(TypeParam(-0.0)));
}

TYPED_TEST(VValueTraitOfFloats, ReadsNumbersOfAllMagnitudesBack) {
    using Bits = std::conditional_t<sizeof(TypeParam) == 4, std::uint32_t, std::uint64_t>;
    std::mt19937_64 random(17);
    for (int i = 0; i < 20'000; ++i) {
        const auto number = std::bit_cast<TypeParam>(static_cast<Bits>(random()));
        if (!std::isnan(number)) expectSameBitsBack(number);
    }
}

TYPED_TEST(VValueTraitOfFloats, RefusesWhatIsTooLargeOrTooSmall) {
    expectUnreadable(TypeParam(5), "1e400");
    expectUnreadable(TypeParam(5), "-1e400");
    expectUnreadable(TypeParam(5), "1e-400");
    expectUnreadable(TypeParam(5), "1,5");
}

TYPED_TEST(VValueTraitOfFloats, WritesTheShortestDecimal) {
    EXPECT_EQ("0.1", textOf(TypeParam(0.1)));
    EXPECT_EQ("1e+30", textOf(TypeParam(1e30)));
    EXPECT_EQ("6378137", textOf(TypeParam(6378137)));
}

TYPED_TEST(VValueTraitOfFloats, IsStableUnderACommaLocale) {
    const CommaLocale comma;
    EXPECT_EQ("0.25", textOf(TypeParam(0.25)));
    EXPECT_EQ(TypeParam(0.25), readFrom<TypeParam>("0.25"));
    expectUnreadable(TypeParam(5), "0,25");
}

TYPED_TEST(VValueTraitOfFloats, DifferByBits) {
    const TypeParam nan = std::numeric_limits<TypeParam>::quiet_NaN();
    EXPECT_FALSE(differs(nan, nan));
    EXPECT_TRUE(differs(TypeParam(0.0), TypeParam(-0.0)));
    EXPECT_TRUE(differs(TypeParam(1), std::nextafter(TypeParam(1), TypeParam(2))));
}

class VValueTraits : public testing::Test {};

TEST_F(VValueTraits, ABoolIsAWord) {
    EXPECT_EQ("true", textOf(true));
    EXPECT_EQ("false", textOf(false));
    for (const char* const text : {"true", " yes\n", "ON", "1", "True"}) {
        EXPECT_TRUE(readFrom<bool>(text)) << text;
    }
    for (const char* const text : {"false", "No", "off ", "0"}) {
        bool value = true;
        EXPECT_TRUE(read(value, text)) << text;
        EXPECT_FALSE(value) << text;
    }
    for (const char* const text : {"", "2", "tru", "true false", "wahr", "t", "-1", "1.0"}) {
        expectUnreadable(true, text);
        expectUnreadable(false, text);
    }
    EXPECT_TRUE(differs(true, false));
    EXPECT_FALSE(differs(true, true));
    const CommaLocale comma;
    EXPECT_EQ("true", textOf(true));
}

TEST_F(VValueTraits, AStringIsItsTextAsItStands) {
    const std::string text(" a,\n\"b\"\0 ", 9);
    EXPECT_EQ(text, textOf(text));
    EXPECT_EQ(text, readFrom<std::string>(text));
    EXPECT_TRUE(differs(std::string("a"), std::string("a ")));
}

TEST_F(VValueTraits, RowsOfNumbersArePartedByOneBlank) {
    EXPECT_EQ("1 -2.5 3e+300", textOf(point{1.0, -2.5, 3e300}));
    EXPECT_EQ("1 0 -0", textOf(vector{1.0, 0.0, -0.0}));
    EXPECT_EQ("0 0 1 5", textOf(HessianNormalPlane{{0.0, 0.0, 1.0}, 5.0}));
    EXPECT_EQ("-1 1 -0.5 0.5", textOf(Viewport{-1.0, 1.0, -0.5, 0.5}));
    EXPECT_EQ("0 1 2 3 4 5", textOf(AABB{{0.0, 1.0, 2.0}, {3.0, 4.0, 5.0}}));
    EXPECT_EQ("0.1 0.2 0.3 0.5", textOf(rgba_float_t{0.1f, 0.2f, 0.3f, 0.5f}));
    EXPECT_EQ("1 2 3", textOf(FixedArray<int, 3>{1, 2, 3}));
    EXPECT_EQ("0 255", textOf(FixedArray<unsigned char, 2>{0, 255}));
    EXPECT_EQ("1 2 3 4", textOf(Skua::Quadratic<2, float>{1.0f, 2.0f, 3.0f, 4.0f}));
}

TEST_F(VValueTraits, RowsOfNumbersAreReadBackToTheSameBits) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    expectSameBitsBack(point{0.1, -0.0, 6378137.0 + 1e-9});
    expectSameBitsBack(vector{nan, infinite, -infinite});
    expectSameBitsBack(HessianNormalPlane{{1.0 / 3.0, 2.0 / 3.0, -2.0 / 3.0}, 5e-324});
    expectSameBitsBack(Viewport{-1.0, 1.0 / 7.0, -0.5, 0.5});
    expectSameBitsBack(AABB{{0.1, 1.0, 2.0}, {3.0, 4.0, 1e308}});
    expectSameBitsBack(rgba_float_t{0.1f, 1.0f / 3.0f, 1e-45f, 3e38f});
    expectSameBitsBack(FixedArray<int, 4>{1, -2, INT32_MAX, INT32_MIN});
    expectSameBitsBack(FixedArray<float, 2>{0.1f, -0.0f});
    expectSameBitsBack(FixedArray<unsigned char, 3>{0, 127, 255});
    expectSameBitsBack(Skua::Quadratic<4, double>::identity());
}

TEST_F(VValueTraits, RowsOfNumbersTakeCommasAndAnyWhiteSpace) {
    for (const char* const text :
         {"1 2 3", " 1\t2\n3\r\n", "1,2,3", "1, 2 ,3", "1 ,\n2 3", "+1 2.0 3e0"}) {
        EXPECT_EQ((point{1.0, 2.0, 3.0}), readFrom<point>(text)) << text;
    }
}

TEST_F(VValueTraits, RowsOfNumbersMayStandInBraces) {
    for (const char* const text : {"{1,2,3}", "{1 2 3}", " { 1, 2,\t3 }\n", "{1.0,2.0,3.0}"}) {
        EXPECT_EQ((vector{1, 2, 3}), readFrom<vector>(text)) << text;
    }
    EXPECT_EQ((rgba_float_t{1, 2, 3, 1}), readFrom<rgba_float_t>("{1,2,3}"));
    for (const char* const text : {"{1,2,3", "1,2,3}", "{}", "{1,2}", "{{1,2,3}}", "{1},{2},{3}",
                                   "{1,2,3},", "(1,2,3)", "{1,2,3} 4", "{,1,2,3}"}) {
        expectUnreadable(vector{7.0, -0.0, 9.0}, text);
    }
    expectUnreadable(5.0, "{1}");
    expectUnreadable(5.0F, "{1}");
}

TEST_F(VValueTraits, RowsOfNumbersAreStrictOtherwise) {
    for (const char* const text : {"", "1", "1 2", "1 2 3 4", "1 2 x", "x 2 3", "1 2 3 x", "1,,2 3",
                                   ",1 2 3", "1 2 3,", "1;2;3", "[1 2 3]", "1 2 1e400", ","}) {
        expectUnreadable(point{7.0, -0.0, 9.0}, text);
        expectUnreadable(vector{7.0, -0.0, 9.0}, text);
        expectUnreadable(FixedArray<float, 3>{7.0f, -0.0f, 9.0f}, text);
        expectUnreadable(FixedArray<int, 3>{7, 8, 9}, text);
    }
    expectUnreadable(FixedArray<unsigned char, 2>{1, 2}, "1 256");
    expectUnreadable(FixedArray<unsigned char, 2>{1, 2}, "1 -1");
    expectUnreadable(HessianNormalPlane{{0.0, 0.0, 1.0}, 5.0}, "0 0 1");
    expectUnreadable(Viewport{}, "1 2 3");
    expectUnreadable(rgba_float_t{1.0f, 2.0f, 3.0f, 4.0f}, "1 2");
    expectUnreadable(rgba_float_t{1.0f, 2.0f, 3.0f, 4.0f}, "1 2 3 4 5");
}

TEST_F(VValueTraits, AColorOfThreeNumbersIsOpaque) {
    EXPECT_EQ((rgba_float_t{1.0f, 0.5f, 0.0f, 1.0f}), readFrom<rgba_float_t>("1 0.5 0"));
    EXPECT_EQ((rgba_float_t{1.0f, 0.5f, 0.0f, 0.25f}), readFrom<rgba_float_t>("1 0.5 0 0.25"));
}

TEST_F(VValueTraits, RowsOfNumbersAreStableUnderACommaLocale) {
    const CommaLocale comma;
    EXPECT_EQ("1234.5 0.25 0", textOf(point{1234.5, 0.25, 0.0}));
    expectSameBitsBack(point{1234.5, 0.25, 0.0});
    EXPECT_EQ((point{0.0, 25.0, 1.0}), readFrom<point>("0,25,1"));
}

TEST_F(VValueTraits, RowsOfNumbersDifferByBits) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(differs(point{nan, 0.0, 0.0}, point{nan, 0.0, 0.0}));
    EXPECT_TRUE(differs(point{0.0, 0.0, 0.0}, point{0.0, -0.0, 0.0}));
    EXPECT_TRUE(
        differs(rgba_float_t{0.0f, 0.0f, 0.0f, 0.0f}, rgba_float_t{0.0f, 0.0f, 0.0f, 1e-45f}));
}

TEST_F(VValueTraits, ASharedBoundingBoxIsComparedByIdentityAndHasAFixedText) {
    using Box = Keel::StrongPtr<Skua::BoundingBox, Keel::InterfaceBase>;
    const Box box(new Skua::BoundingBox(point{}, point{1.0, 1.0, 1.0}));
    const Box equalBox(new Skua::BoundingBox(point{}, point{1.0, 1.0, 1.0}));
    Mirk::SharedBoundingBox shared(box);
    EXPECT_EQ("A bounding box.", textOf(shared));
    EXPECT_EQ("A bounding box.", textOf(Mirk::SharedBoundingBox()));
    EXPECT_FALSE(read(shared, textOf(shared)));
    EXPECT_TRUE(shared.read() == box);
    EXPECT_FALSE(differs(shared, Mirk::SharedBoundingBox(box)));
    EXPECT_TRUE(differs(shared, Mirk::SharedBoundingBox(equalBox)));
    EXPECT_TRUE(differs(shared, Mirk::SharedBoundingBox()));
    EXPECT_FALSE(differs(Mirk::SharedBoundingBox(), Mirk::SharedBoundingBox()));
}

TEST_F(VValueTraits, ATypeWithoutTraitsHasNoTextAndEachWriteIsAChange) {
    struct Plain {
        int number = 3;
    };
    Plain plain;
    EXPECT_EQ("", textOf(plain));
    EXPECT_FALSE(read(plain, ""));
    EXPECT_EQ(3, plain.number);
    EXPECT_FALSE(Mirk::ComparableValue<Plain>);
    Mirk::VValue<Plain> value(plain);
    EXPECT_TRUE(value.set(plain));
}

TEST_F(VValueTraits, AnInputStartsWithTheDefaultAndReadsAsTheValueDoes) {
    double number = 7.0;
    Mirk::VInputValueTrait<double>::init(number);
    EXPECT_EQ(0.0, number);
    EXPECT_TRUE(Mirk::VInputValueTrait<double>::setValueFromText(number, "2.5"));
    EXPECT_EQ(2.5, number);
    EXPECT_FALSE(Mirk::VInputValueTrait<double>::setValueFromText(number, "x"));
    EXPECT_EQ(2.5, number);
}

TEST_F(VValueTraits, AllTypesAreKnownByName) {
    EXPECT_THAT(
        Mirk::VValueCreator::typeNames(),
        testing::IsSupersetOf(
            {"bool",    "bounding box", "box",    "color",    "double",        "double2",
             "double3", "double4",      "float",  "float2",   "float3",        "float4",
             "int",     "int2",         "int3",   "int4",     "long",          "long long",
             "plane",   "point",        "string", "unsigned", "unsigned long", "unsigned long long",
             "vector",  "viewport"}));
    EXPECT_EQ("point", Mirk::VValueCreator::typeName(typeid(point)));
    const auto creator = Mirk::VValueCreator::find("point");
    ASSERT_TRUE(creator);
    EXPECT_TRUE(creator->type() == typeid(point));
    EXPECT_EQ("0 0 0", creator->create()->text());
}

TEST_F(VValueTraits, AValueTellsWhatBecameOfAText) {
    const Mirk::VValuePtr value = Mirk::VValueCreator::find("point")->create();
    EXPECT_EQ(Mirk::TextResult::Changed, value->setText("1 2 3"));
    EXPECT_EQ(Mirk::TextResult::Same, value->setText("1, 2, 3"));
    EXPECT_EQ(Mirk::TextResult::Unreadable, value->setText("1 2"));
    EXPECT_EQ("1 2 3", value->text());
}

} // namespace
