#include <Polypia/TextureModel.hpp>

#include <Polypia/RenderException.hpp>

namespace Mirk {

using Format = RenderBasin::TextureStorageFormat;
using BitPrecision = RenderBasin::BitPrecision;

namespace {

constexpr std::uint32_t ValidFlag = 0x8000U;
constexpr std::uint32_t LastFlag = 0x1000U;

std::uint32_t bits(BitPrecision precision) {
    return static_cast<std::uint32_t>(precision) & 0xFU;
}

/// Precision of a number of bits; Unspecified for a number that no format has.
BitPrecision precisionOf(int bits, bool integer32, bool float16) {
    switch (bits) {
    case 4:
        return BitPrecision::Integer4;
    case 5:
        return BitPrecision::Integer5;
    case 8:
        return BitPrecision::Integer8;
    case 12:
        return BitPrecision::Integer12;
    case 16:
        return float16 ? BitPrecision::Float16 : BitPrecision::Integer16;
    case 32:
        return integer32 ? BitPrecision::Integer32 : BitPrecision::Float32;
    default:
        return BitPrecision::Unspecified;
    }
}

const char* modeText(Format::ColorMode mode) {
    switch (mode) {
    case Format::ColorMode::None:
        return "no colors";
    case Format::ColorMode::Red:
        return "red component";
    case Format::ColorMode::RedGreen:
        return "red and green component";
    case Format::ColorMode::Rgb:
        return "red,green, blue components";
    case Format::ColorMode::Rgba:
        return "rgba components";
    case Format::ColorMode::Automatic:
        return "automatic";
    }
    return "";
}

} // namespace

Format::TextureStorageFormat(bool hasAlpha, ColorMode mode, BitPrecision alpha, BitPrecision color,
                             bool lastFlag)
    : flags((hasAlpha ? 1U : 0U) | bits(alpha) << 1 |
            (static_cast<std::uint32_t>(mode) & 0x7U) << 5 | bits(color) << 8 |
            (lastFlag ? LastFlag : 0U) | ValidFlag) {}

void Format::setBits(unsigned shift, std::uint32_t mask, std::uint32_t value) {
    flags = (flags & ~(mask << shift)) | (value & mask) << shift;
}

void Format::setAlphaPrecision(BitPrecision precision) {
    setBits(1, 0xFU, bits(precision));
}

void Format::setColorPrecision(BitPrecision precision) {
    setBits(8, 0xFU, bits(precision));
}

void Format::setInteger(bool integer) {
    setBits(13, 1U, integer ? 1U : 0U);
}

void Format::setNegativeValues(bool possible) {
    setBits(14, 1U, possible ? 1U : 0U);
}

std::uint32_t Format::nativeInternalFormat() const {
    return hasNativeFormat() ? nativeFormat & 0xFFFFU : 0;
}

std::uint32_t Format::nativeDataFormat() const {
    return hasNativeFormat() ? nativeFormat >> 16 : 0;
}

std::string Format::BitPrecisionToStr(BitPrecision precision) {
    switch (precision) {
    case BitPrecision::Unspecified:
        return "unspecified";
    case BitPrecision::Integer4:
        return "4 Bit integer";
    case BitPrecision::Integer5:
        return "5 Bit integer";
    case BitPrecision::Integer8:
        return "8 Bit integer";
    case BitPrecision::Integer12:
        return "12 Bit integer";
    case BitPrecision::Integer16:
        return "16 Bit integer";
    case BitPrecision::Integer32:
        // On purpose without a text of its own: reports of such a format have always read so.
        return "invalid";
    case BitPrecision::Float16:
        return "16 Bit floating point format";
    case BitPrecision::Float32:
    case BitPrecision::Float32Alternative:
        return "32 Bit floating point format";
    }
    return "invalid";
}

std::string Format::str() const {
    std::string text = modeText(colorMode());
    text += " with " + BitPrecisionToStr(colorPrecision()) + " colors";
    if (hasAlpha()) text += ", alpha channel as " + BitPrecisionToStr(alphaPrecision());
    if (isInteger()) {
        text += ", using integers (requiring isampler2D or usampler2D in the shader code)";
    }
    if (hasNegativeValues()) text += ", negative values possible";
    return text;
}

Format RenderBasin::OpenGLTexture(int internalFormat, int format, bool integer) {
    const auto fits = [](int number) { return number >= 0 && number < 0xFFFF; };
    if (!fits(internalFormat) || !fits(format)) {
        RenderException exception(0, "RenderBasin::OpenGLTexture", __FILE__, __LINE__);
        exception.concernedVariable = "expected two formats from 0 to 65534, got " +
                                      std::to_string(internalFormat) + " and " +
                                      std::to_string(format);
        throw exception;
    }
    Format result(false, Format::ColorMode::None, BitPrecision::Unspecified,
                  BitPrecision::Unspecified, true);
    result.setInteger(integer);
    result.nativeFormat =
        static_cast<std::uint32_t>(internalFormat) | static_cast<std::uint32_t>(format) << 16;
    return result;
}

Format RenderBasin::MultichannelTexture(int channels, BitPrecision precision, bool, bool, bool,
                                        bool) {
    switch (channels) {
    case 2:
        return RedGreen(precision);
    case 3:
        return Rgb(precision);
    case 4:
        return RgbAlpha(precision, precision);
    default:
        return Red(precision);
    }
}

Format RenderBasin::MultichannelTexture(int channels, int bits, bool integer32, bool, bool float16,
                                        bool) {
    return MultichannelTexture(channels, precisionOf(bits, integer32, float16), false, false, false,
                               false);
}

Format RenderBasin::Red(BitPrecision precision) {
    return {false, Format::ColorMode::Red, precision, precision, true};
}

Format RenderBasin::RedGreen(BitPrecision precision) {
    return {false, Format::ColorMode::RedGreen, precision, precision, true};
}

Format RenderBasin::Rgb(BitPrecision precision) {
    return {false, Format::ColorMode::Rgb, precision, precision, true};
}

Format RenderBasin::RgbAlpha(BitPrecision color, BitPrecision alpha) {
    return {true, Format::ColorMode::Rgba, alpha, color, true};
}

RenderBasin::TextureTentacle::TextureTentacle() = default;

RenderBasin::TextureTentacle::~TextureTentacle() = default;

TextureBase::Generator::~Generator() = default;

TextureBase::TextureBase() = default;

TextureBase::TextureBase(const Keel::WeakPtr<Keel::Creature>& creator) : Cacheable(creator) {}

TextureBase::~TextureBase() = default;

bool TextureBase::setActiveTexture(int texture) {
    activeTexture = texture;
    return true;
}

TextureCreator::TextureCreator() : TextureCreator(Keel::WeakPtr<Keel::Cache, Keel::CacheBase>()) {}

TextureCreator::TextureCreator(const Keel::WeakPtr<Keel::Cache, Keel::CacheBase>& cache)
    : AlzheimerCreator(cache) {}

TextureCreator::~TextureCreator() = default;

TextureBasePtr TextureCreator::create() {
    const TextureBasePtr texture = producerValue();
    setTexture(texture);
    return texture;
}

void TextureCreator::setTexture(const TextureBasePtr& texture) {
    store(texture);
    enableCaching(false);
}

void TextureCreator::release() {
    forget();
}

TextureCreator& TextureCreator::INVALID() {
    static const Keel::StrongPtr<TextureCreator> invalid(new TextureCreator);
    return *invalid;
}

} // namespace Mirk
