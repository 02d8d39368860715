#include <Polypia/TextureModel.hpp>

#include "RecordingBasin.hpp"
#include "memberOrder.hpp"
#include "virtualSlot.hpp"

#include <Polypia/RenderException.hpp>

#include <keel/Cache.hpp>

#include <gmock/gmock.h>

#include <string>
#include <type_traits>

using Keel::StrongPtr;
using Mirk::TextureCreator;

namespace {

using Basin = Mirk::RenderBasin;
using Format = Basin::TextureStorageFormat;
using Precision = Basin::BitPrecision;
using Mode = Format::ColorMode;

class TextureModel : public testing::Test {
protected:
    class Texture : public Mirk::TextureBase {
    public:
        explicit Texture(bool& isAlive) : alive(isAlive) { alive = true; }
        ~Texture() override { alive = false; }
        std::size_t memsize() const override { return 100; }
        bool bind(int) override { return true; }
        std::uint64_t nativeHandle() const override { return 1; }
        bool& alive;
    };
    using TexturePtr = StrongPtr<Texture, Keel::Cacheable>;

    static TexturePtr texture(bool& alive) { return TexturePtr(new Texture(alive)); }
};

// ---------------------------------------------------------------------------- Formats

TEST_F(TextureModel, FormatIsTheBitsOfItsTable) {
    EXPECT_EQ(Format(false, Mode(0), Precision(0), Precision(0), false).flags, 0x8000U);
    EXPECT_EQ(Format(true, Mode(0), Precision(0), Precision(0), false).flags, 0x8001U);
    EXPECT_EQ(Format(false, Mode(0), Precision(15), Precision(0), false).flags, 0x801EU);
    EXPECT_EQ(Format(false, Mode(7), Precision(0), Precision(0), false).flags, 0x80E0U);
    EXPECT_EQ(Format(false, Mode(0), Precision(0), Precision(15), false).flags, 0x8F00U);
    EXPECT_EQ(Format(false, Mode(0), Precision(0), Precision(0), true).flags, 0x9000U);
    EXPECT_EQ(Format(true, Mode(4), Precision(7), Precision(3), true).nativeFormat, 0xFFFFFFFFU);
    static_assert(std::is_same_v<decltype(Format::flags), std::uint32_t>);
    static_assert(std::is_same_v<decltype(Format::nativeFormat), std::uint32_t>);
    static_assert(sizeof(Format) == 8);
}

TEST_F(TextureModel, FactoriesMakeTheFlagsOfTheirChannels) {
    EXPECT_EQ(Basin::Red(Precision(3)).flags, 0x9326U);
    EXPECT_EQ(Basin::RedGreen(Precision(3)).flags, 0x9346U);
    EXPECT_EQ(Basin::Rgb(Precision(3)).flags, 0x9366U);
    EXPECT_EQ(Basin::RgbAlpha(Precision(3), Precision(7)).flags, 0x938FU);
    EXPECT_FALSE(Basin::Red(Precision(3)).hasNativeFormat());
}

TEST_F(TextureModel, FlagsOfColormapsCanBeSet) {
    Format rgb = Basin::Rgb(Precision(5));
    EXPECT_EQ(rgb.flags, 0x956AU);
    rgb.setInteger(true);
    EXPECT_EQ(rgb.flags, 0xB56AU);
    Format rgba = Basin::RgbAlpha(Precision(5), Precision(5));
    EXPECT_EQ(rgba.flags, 0x958BU);
    rgba.setInteger(true);
    EXPECT_EQ(rgba.flags, 0xB58BU);
    rgba.setNegativeValues(true);
    EXPECT_EQ(rgba.flags, 0xF58BU);
    rgba.setInteger(false);
    rgba.setNegativeValues(false);
    rgba.setColorPrecision(Precision(8));
    rgba.setAlphaPrecision(Precision(7));
    EXPECT_EQ(rgba, Basin::RgbAlpha(Precision(8), Precision(7)));
}

TEST_F(TextureModel, FormatGivesItsPartsBack) {
    const Format format = Basin::RgbAlpha(Precision(3), Precision(7));
    EXPECT_TRUE(format.hasAlpha());
    EXPECT_EQ(format.alphaPrecision(), Precision::Float16);
    EXPECT_EQ(format.colorPrecision(), Precision::Integer8);
    EXPECT_EQ(format.colorMode(), Mode::Rgba);
    EXPECT_FALSE(format.isInteger());
    EXPECT_FALSE(format.hasNegativeValues());
    EXPECT_FALSE(Basin::Rgb(Precision(3)).hasAlpha());
}

TEST_F(TextureModel, ChannelsOfAPrecisionChooseTheFactory) {
    const auto make = [](int channels) {
        return Basin::MultichannelTexture(channels, Precision(3), false, false, false, false);
    };
    EXPECT_EQ(make(1), Basin::Red(Precision(3)));
    EXPECT_EQ(make(2), Basin::RedGreen(Precision(3)));
    EXPECT_EQ(make(3), Basin::Rgb(Precision(3)));
    EXPECT_EQ(make(4), Basin::RgbAlpha(Precision(3), Precision(3)));
    for (const int channels : {-1, 0, 5, 100}) EXPECT_EQ(make(channels), Basin::Red(Precision(3)));
}

TEST_F(TextureModel, BitsAreMappedToAPrecision) {
    struct Case {
        int bits;
        bool integer32, float16;
        int precision;
    };
    for (const Case& one :
         {Case{4, false, false, 1}, Case{5, false, false, 2}, Case{8, false, false, 3},
          Case{12, false, false, 4}, Case{16, false, false, 5}, Case{16, true, false, 5},
          Case{16, false, true, 7}, Case{32, false, false, 8}, Case{32, false, true, 8},
          Case{32, true, false, 6}, Case{8, true, true, 3}, Case{0, true, true, 0},
          Case{33, false, false, 0}, Case{3, false, false, 0}, Case{64, true, false, 0},
          Case{-8, false, false, 0}}) {
        EXPECT_EQ(Basin::MultichannelTexture(3, one.bits, one.integer32, false, one.float16, false),
                  Basin::Rgb(Precision(one.precision)))
            << one.bits << one.integer32 << one.float16;
    }
    EXPECT_EQ(Basin::MultichannelTexture(1, 33, false, false, false, false),
              Basin::Red(Precision(0)));
    EXPECT_FALSE(Basin::MultichannelTexture(3, 32, true, false, false, false).isInteger())
        << "32-bit integers alone do not make a texture of integers";
}

TEST_F(TextureModel, BitsAndPrecisionsAreTwoOverloads) {
    static_assert(!std::is_convertible_v<int, Precision>);
    EXPECT_EQ(Basin::MultichannelTexture(3, 3, false, false, false, false),
              Basin::Rgb(Precision(0)))
        << "3 bits";
    EXPECT_EQ(Basin::MultichannelTexture(3, Precision(3), false, false, false, false),
              Basin::Rgb(Precision(3)));
}

TEST_F(TextureModel, NativeFormatKeepsBothNumbers) {
    const Format plain = Basin::OpenGLTexture(0x8058, 0x1908, false);
    EXPECT_EQ(plain.flags, 0x9000U);
    EXPECT_TRUE(plain.hasNativeFormat());
    EXPECT_EQ(plain.nativeInternalFormat(), 0x8058U);
    EXPECT_EQ(plain.nativeDataFormat(), 0x1908U);
    const Format integer = Basin::OpenGLTexture(0x8058, 0x1908, true);
    EXPECT_EQ(integer.flags, 0xB000U);
    EXPECT_TRUE(integer.isInteger());
    const Format none = Basin::Red(Precision(3));
    EXPECT_EQ(none.nativeInternalFormat(), 0U);
    EXPECT_EQ(none.nativeDataFormat(), 0U);
}

TEST_F(TextureModel, NativeFormatBeyondSixteenBitsIsRefused) {
    EXPECT_THROW(Basin::OpenGLTexture(0x10000, 0x1908, false), Mirk::RenderException);
    EXPECT_THROW(Basin::OpenGLTexture(0x8058, -1, false), Mirk::RenderException);
    try {
        Basin::OpenGLTexture(70000, 5, false);
    } catch (const Mirk::RenderException& refused) {
        EXPECT_THAT(refused.str(),
                    testing::HasSubstr("expected two formats from 0 to 65534, got 70000 and 5"));
    }
}

TEST_F(TextureModel, PrecisionsHaveTheirTexts) {
    const char* const texts[] = {"unspecified",
                                 "4 Bit integer",
                                 "5 Bit integer",
                                 "8 Bit integer",
                                 "12 Bit integer",
                                 "16 Bit integer",
                                 "invalid",
                                 "16 Bit floating point format",
                                 "32 Bit floating point format",
                                 "32 Bit floating point format",
                                 "invalid",
                                 "invalid"};
    int precision = 0;
    for (const char* const text : texts) {
        EXPECT_EQ(Format::BitPrecisionToStr(Precision(precision)), text) << precision;
        ++precision;
    }
    EXPECT_EQ(Format::BitPrecisionToStr(Precision(-1)), "invalid");
    EXPECT_EQ(Format::BitPrecisionToStr(Precision(1000)), "invalid");
}

TEST_F(TextureModel, FormatIsToldInWords) {
    EXPECT_EQ(Basin::Red(Precision(3)).str(), "red component with 8 Bit integer colors");
    EXPECT_EQ(Basin::RgbAlpha(Precision(3), Precision(7)).str(),
              "rgba components with 8 Bit integer colors, alpha channel as 16 Bit floating point "
              "format");
    EXPECT_EQ(Basin::MultichannelTexture(1, 32, true, false, false, false).str(),
              "red component with invalid colors");
    EXPECT_EQ(Basin::RedGreen(Precision(0)).str(),
              "red and green component with unspecified colors");
    EXPECT_EQ(Basin::Rgb(Precision(1)).str(),
              "red,green, blue components with 4 Bit integer colors");
    Format all = Basin::RgbAlpha(Precision(5), Precision(5));
    all.setInteger(true);
    all.setNegativeValues(true);
    EXPECT_EQ(all.str(), "rgba components with 16 Bit integer colors, alpha channel as 16 Bit "
                         "integer, using integers (requiring isampler2D or usampler2D in the "
                         "shader code), negative values possible");
}

TEST_F(TextureModel, ModesHaveTheirWordsAndTwoNumbersHaveNone) {
    const auto words = [](int mode) {
        return Format(false, Mode(mode), Precision(0), Precision(0), true).str();
    };
    const std::string rest = " with unspecified colors";
    EXPECT_EQ(words(0), "no colors" + rest);
    EXPECT_EQ(words(1), "red component" + rest);
    EXPECT_EQ(words(2), "red and green component" + rest);
    EXPECT_EQ(words(3), "red,green, blue components" + rest);
    EXPECT_EQ(words(4), "rgba components" + rest);
    EXPECT_EQ(words(5), rest);
    EXPECT_EQ(words(6), "automatic" + rest);
    EXPECT_EQ(words(7), rest);
}

// ---------------------------------------------------------------------------- Tentacle

TEST_F(TextureModel, TentacleHasTwoNames) {
    RecordingTexture tentacle(std::make_shared<CallLog>(), 3, Basin::Red(Precision(3)));
    EXPECT_EQ(tentacle.samplerName, "");
    EXPECT_EQ(tentacle.textureName, "");
    const Mirk::Polyp::Tentacle& base = tentacle;
    EXPECT_EQ(base.getTextureUnit(), 3) << "overridden by the backend";
}

// ---------------------------------------------------------------------------- Cache

TEST_F(TextureModel, TextureHasItsBasesAndOperationsInOrder) {
    using Base = Mirk::TextureBase;
    bool alive = false;
    const TexturePtr made = texture(alive);
    const Base& base = *made;
    EXPECT_TRUE(standInOrder(static_cast<const Keel::Cacheable&>(base),
                             static_cast<const Keel::Ageable&>(base),
                             static_cast<const Keel::Intercube&>(base), base.activeTexture));
    EXPECT_EQ((std::vector{virtualSlot(&Base::bind), virtualSlot(&Base::nativeHandle)}),
              slotsFrom(7, 2));
    static_assert(std::has_virtual_destructor_v<Base::Generator>);
    static_assert(std::is_abstract_v<Base::Generator>);
}

TEST_F(TextureModel, TextureStoresItsActiveNumber) {
    bool alive = false;
    const TexturePtr made = texture(alive);
    EXPECT_EQ(made->activeTexture, 0);
    EXPECT_TRUE(made->setActiveTexture(7));
    EXPECT_EQ(made->activeTexture, 7);
}

TEST_F(TextureModel, CreatorWithoutCacheHoldsItsTexture) {
    static_assert(std::is_base_of_v<Keel::CreatorBase<Mirk::TextureBase>, TextureCreator>);
    bool alive = false;
    {
        const StrongPtr<TextureCreator> creator(new TextureCreator);
        EXPECT_FALSE(creator->hasData());
        creator->setTexture(texture(alive));
        EXPECT_TRUE(alive);
        EXPECT_TRUE(creator->hasData());
        EXPECT_TRUE(creator->getPolyp()->creator() == creator);
        EXPECT_EQ(creator->getDataType(), typeid(Texture));
        EXPECT_FALSE(creator->getPolyp()->isEnrolled());
    }
    EXPECT_FALSE(alive);
}

TEST_F(TextureModel, CreatorReleasesItsTexture) {
    bool alive = false;
    const auto cache = Keel::make<Keel::Cache>(1000ULL, "test");
    const StrongPtr<TextureCreator> creator(new TextureCreator(cache));
    creator->setTexture(texture(alive));
    EXPECT_EQ(cache->memsize(false), 100U);
    creator->release();
    EXPECT_FALSE(alive);
    EXPECT_FALSE(creator->hasData());
    EXPECT_EQ(cache->size(), 0U) << "it has left the cache";
    creator->release();
}

TEST_F(TextureModel, CreatorReleasesATextureThatOthersHoldFromItselfOnly) {
    bool alive = false;
    const StrongPtr<TextureCreator> creator(new TextureCreator);
    const TexturePtr held = texture(alive);
    creator->setTexture(held);
    creator->release();
    EXPECT_TRUE(alive);
    EXPECT_FALSE(held->creator()) << "evicting it must not release the creator's next texture";
}

TEST_F(TextureModel, CreatorTakesTheSameTextureAgain) {
    bool alive = false;
    const auto cache = Keel::make<Keel::Cache>(1000ULL, "test");
    const StrongPtr<TextureCreator> creator(new TextureCreator(cache));
    const TexturePtr held = texture(alive);
    creator->setTexture(held);
    creator->setTexture(held);
    EXPECT_TRUE(held->creator() == creator);
    EXPECT_EQ(cache->memsize(false), 100U);
    EXPECT_EQ(cache->size(), 1U);
}

TEST_F(TextureModel, CreatorForgetsWhenTheCacheIsFull) {
    bool first = false, second = false;
    const auto cache = Keel::make<Keel::Cache>(150ULL, "test");
    const StrongPtr<TextureCreator> one(new TextureCreator(cache)), two(new TextureCreator(cache));
    one->setTexture(texture(first));
    two->setTexture(texture(second));
    EXPECT_FALSE(first);
    EXPECT_TRUE(second);
    EXPECT_FALSE(one->hasData());
}

TEST_F(TextureModel, CreatorMakesItsTextureByAProducer) {
    class Producer : public Keel::CreatorBase<Mirk::TextureBase>::Producer {
    public:
        explicit Producer(bool& isAlive) : alive(isAlive) {}
        Mirk::TextureBasePtr value() override { return TexturePtr(new Texture(alive)); }
        unsigned long long cost() const override { return 5; }
        std::string name() const override { return "produced"; }
        bool assign(const Mirk::TextureBasePtr&) override { return true; }
        bool& alive;
    };
    bool alive = false;
    const StrongPtr<TextureCreator> creator(new TextureCreator);
    EXPECT_FALSE(creator->create());
    creator->addInterface(StrongPtr<Producer, Keel::InterfaceBase>(new Producer(alive)));
    const auto made = creator->create();
    EXPECT_TRUE(made);
    EXPECT_TRUE(creator->getPolyp() == made);
    EXPECT_EQ(creator->producerName(), "produced");
}

TEST_F(TextureModel, InvalidIsOneObject) {
    EXPECT_EQ(&TextureCreator::INVALID(), &TextureCreator::INVALID());
    { const StrongPtr<TextureCreator> shared(TextureCreator::INVALID()); }
    EXPECT_FALSE(TextureCreator::INVALID().hasData()) << "a pointer to it does not destroy it";
    const StrongPtr<TextureCreator> other(new TextureCreator);
    EXPECT_NE(other.get(), &TextureCreator::INVALID());
}

} // namespace
