#include <PolypiaGL/glTexture.hpp>

#include <array>
#include <cmath>
#include <string_view>

namespace Mirk::GL {

namespace {

using Format = RenderBasin::TextureStorageFormat;
using BitPrecision = RenderBasin::BitPrecision;

/// A kind of texel, with the internal formats of 1 to 4 channels.
struct FormatRow {
    BitPrecision precision;
    bool isInteger;
    bool isSigned;
    std::array<unsigned, 4> internal;
};

// Where OpenGL has no format with so few bits for a number of channels, the next greater one.
constexpr std::array<FormatRow, 19> formatTable{{
    {BitPrecision::Unspecified, false, false, {GL_R8, GL_RG8, GL_RGB8, GL_RGBA8}},
    {BitPrecision::Integer4, false, false, {GL_R8, GL_RG8, GL_RGB4, GL_RGBA4}},
    {BitPrecision::Integer5, false, false, {GL_R8, GL_RG8, GL_RGB5, GL_RGB5_A1}},
    {BitPrecision::Integer8, false, false, {GL_R8, GL_RG8, GL_RGB8, GL_RGBA8}},
    {BitPrecision::Integer12, false, false, {GL_R16, GL_RG16, GL_RGB12, GL_RGBA12}},
    {BitPrecision::Integer16, false, false, {GL_R16, GL_RG16, GL_RGB16, GL_RGBA16}},
    {BitPrecision::Unspecified,
     false,
     true,
     {GL_R8_SNORM, GL_RG8_SNORM, GL_RGB8_SNORM, GL_RGBA8_SNORM}},
    {BitPrecision::Integer8,
     false,
     true,
     {GL_R8_SNORM, GL_RG8_SNORM, GL_RGB8_SNORM, GL_RGBA8_SNORM}},
    {BitPrecision::Integer16,
     false,
     true,
     {GL_R16_SNORM, GL_RG16_SNORM, GL_RGB16_SNORM, GL_RGBA16_SNORM}},
    {BitPrecision::Float16, false, false, {GL_R16F, GL_RG16F, GL_RGB16F, GL_RGBA16F}},
    {BitPrecision::Float32, false, false, {GL_R32F, GL_RG32F, GL_RGB32F, GL_RGBA32F}},
    {BitPrecision::Unspecified, true, false, {GL_R8UI, GL_RG8UI, GL_RGB8UI, GL_RGBA8UI}},
    {BitPrecision::Integer8, true, false, {GL_R8UI, GL_RG8UI, GL_RGB8UI, GL_RGBA8UI}},
    {BitPrecision::Integer16, true, false, {GL_R16UI, GL_RG16UI, GL_RGB16UI, GL_RGBA16UI}},
    {BitPrecision::Integer32, true, false, {GL_R32UI, GL_RG32UI, GL_RGB32UI, GL_RGBA32UI}},
    {BitPrecision::Unspecified, true, true, {GL_R8I, GL_RG8I, GL_RGB8I, GL_RGBA8I}},
    {BitPrecision::Integer8, true, true, {GL_R8I, GL_RG8I, GL_RGB8I, GL_RGBA8I}},
    {BitPrecision::Integer16, true, true, {GL_R16I, GL_RG16I, GL_RGB16I, GL_RGBA16I}},
    {BitPrecision::Integer32, true, true, {GL_R32I, GL_RG32I, GL_RGB32I, GL_RGBA32I}},
}};

/// The precision that the table has a row for.
BitPrecision tablePrecision(BitPrecision precision, bool isInteger, bool isSigned) {
    if (precision == BitPrecision::Float32Alternative) return BitPrecision::Float32;
    if (!isInteger && !isSigned) return precision;
    if (precision == BitPrecision::Integer4 || precision == BitPrecision::Integer5) {
        return BitPrecision::Integer8;
    }
    return precision == BitPrecision::Integer12 ? BitPrecision::Integer16 : precision;
}

bool isFloat(BitPrecision precision) {
    return precision == BitPrecision::Float16 || precision == BitPrecision::Float32 ||
           precision == BitPrecision::Float32Alternative;
}

int channelsOf(const Format& format, int dataChannels) {
    if (format.hasAlpha()) return 4;
    switch (format.colorMode()) {
    case Format::ColorMode::Red:
        return 1;
    case Format::ColorMode::RedGreen:
        return 2;
    case Format::ColorMode::Rgb:
        return 3;
    case Format::ColorMode::Rgba:
        return 4;
    default:
        return dataChannels;
    }
}

unsigned dataFormatOf(int channels, bool isInteger) {
    constexpr std::array<unsigned, 4> plain{GL_RED, GL_RG, GL_RGB, GL_RGBA};
    constexpr std::array<unsigned, 4> integer{GL_RED_INTEGER, GL_RG_INTEGER, GL_RGB_INTEGER,
                                              GL_RGBA_INTEGER};
    return (isInteger ? integer : plain)[static_cast<std::size_t>(channels - 1)];
}

/// Internal format of a buffer texture; 0 if there is none.
unsigned bufferFormatOf(const ElementFormat& element) {
    const auto channel = static_cast<std::size_t>(element.components - 1);
    switch (element.type) {
    case GL_UNSIGNED_BYTE:
        return std::array<unsigned, 4>{GL_R8, GL_RG8, 0, GL_RGBA8}[channel];
    case GL_UNSIGNED_SHORT:
        return std::array<unsigned, 4>{GL_R16, GL_RG16, 0, GL_RGBA16}[channel];
    case GL_INT:
        return std::array<unsigned, 4>{GL_R32I, GL_RG32I, GL_RGB32I, GL_RGBA32I}[channel];
    case GL_UNSIGNED_INT:
        return std::array<unsigned, 4>{GL_R32UI, GL_RG32UI, GL_RGB32UI, GL_RGBA32UI}[channel];
    case GL_FLOAT:
        return std::array<unsigned, 4>{GL_R32F, GL_RG32F, GL_RGB32F, GL_RGBA32F}[channel];
    default:
        return 0;
    }
}

struct NamedNumber {
    std::string_view name;
    unsigned number;
};

constexpr std::array<NamedNumber, 11> parameterKeys{{
    {"GL_TEXTURE_MAG_FILTER", GL_TEXTURE_MAG_FILTER},
    {"GL_TEXTURE_MIN_FILTER", GL_TEXTURE_MIN_FILTER},
    {"GL_TEXTURE_WRAP_S", GL_TEXTURE_WRAP_S},
    {"GL_TEXTURE_WRAP_T", GL_TEXTURE_WRAP_T},
    {"GL_TEXTURE_WRAP_R", GL_TEXTURE_WRAP_R},
    {"GL_TEXTURE_BASE_LEVEL", GL_TEXTURE_BASE_LEVEL},
    {"GL_TEXTURE_MAX_LEVEL", GL_TEXTURE_MAX_LEVEL},
    {"GL_TEXTURE_COMPARE_MODE", GL_TEXTURE_COMPARE_MODE},
    {"GL_TEXTURE_COMPARE_FUNC", GL_TEXTURE_COMPARE_FUNC},
    {"GL_TEXTURE_LOD_BIAS", GL_TEXTURE_LOD_BIAS},
    {"GL_TEXTURE_BORDER_COLOR", GL_TEXTURE_BORDER_COLOR},
}};

constexpr std::array<NamedNumber, 14> parameterValues{{
    {"GL_NEAREST", GL_NEAREST},
    {"GL_LINEAR", GL_LINEAR},
    {"GL_NEAREST_MIPMAP_NEAREST", GL_NEAREST_MIPMAP_NEAREST},
    {"GL_LINEAR_MIPMAP_NEAREST", GL_LINEAR_MIPMAP_NEAREST},
    {"GL_NEAREST_MIPMAP_LINEAR", GL_NEAREST_MIPMAP_LINEAR},
    {"GL_LINEAR_MIPMAP_LINEAR", GL_LINEAR_MIPMAP_LINEAR},
    {"GL_REPEAT", GL_REPEAT},
    {"GL_MIRRORED_REPEAT", GL_MIRRORED_REPEAT},
    {"GL_CLAMP_TO_EDGE", GL_CLAMP_TO_EDGE},
    {"GL_CLAMP_TO_BORDER", GL_CLAMP_TO_BORDER},
    {"GL_NONE", GL_NONE},
    {"GL_COMPARE_REF_TO_TEXTURE", GL_COMPARE_REF_TO_TEXTURE},
    {"GL_LEQUAL", GL_LEQUAL},
    {"GL_GEQUAL", GL_GEQUAL},
}};

template<class Table>
std::optional<unsigned> numberOf(const Table& table, std::string_view name) {
    for (const NamedNumber& known : table) {
        if (known.name == name) return known.number;
    }
    return {};
}

} // namespace

std::optional<TextureFormat> textureFormat(const Format& format, int dataChannels) {
    if (format.hasNativeFormat())
        return TextureFormat{format.nativeInternalFormat(), format.isInteger()};
    const BitPrecision asked = format.colorPrecision();
    // 32 bits of an integer are stored as such only, never as a fraction.
    const bool isInteger = format.isInteger() || asked == BitPrecision::Integer32;
    if (isInteger && isFloat(asked)) return {};
    const bool isSigned = format.hasNegativeValues() && !isFloat(asked);
    const BitPrecision precision = tablePrecision(asked, isInteger, isSigned);
    const int channels = channelsOf(format, dataChannels);
    for (const FormatRow& row : formatTable) {
        if (row.precision != precision || row.isInteger != isInteger || row.isSigned != isSigned) {
            continue;
        }
        return TextureFormat{row.internal[static_cast<std::size_t>(channels - 1)], isInteger};
    }
    return {};
}

GLTexture::GLTexture(MachinePtr machine, int textureUnit)
    : _machine(machine), _unit(textureUnit), _buffer(std::move(machine)) {}

void GLTexture::fill(const Shape& shape, const RenderBasin::ChunkPtr& data) {
    const bool fits = _id && _shape.target == shape.target && _shape.width == shape.width &&
                      _shape.height == shape.height &&
                      _shape.format.internal == shape.format.internal;
    _shape = shape;
    _source = data;
    if (fits) return;
    _id = createTexture(shape.target);
    if (shape.target == GL_TEXTURE_BUFFER) return;
    if (shape.target == GL_TEXTURE_1D) {
        glTextureStorage1D(_id.number(), 1, shape.format.internal, shape.width);
    } else {
        glTextureStorage2D(_id.number(), 1, shape.format.internal, shape.width, shape.height);
    }
    // Filtering of integers makes a texture incomplete.
    const GLint filter = shape.format.isInteger ? GL_NEAREST : GL_LINEAR;
    glTextureParameteri(_id.number(), GL_TEXTURE_MIN_FILTER, filter);
    glTextureParameteri(_id.number(), GL_TEXTURE_MAG_FILTER, filter);
    glTextureParameteri(_id.number(), GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTextureParameteri(_id.number(), GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    _machine->check("RenderBasin::createTexture");
}

std::size_t GLTexture::texels() const {
    return static_cast<std::size_t>(_shape.width) * static_cast<std::size_t>(_shape.height);
}

void GLTexture::uploadSource() const {
    if (!_source) return;
    const RenderBasin::ChunkPtr source = std::move(_source);
    if (_shape.target != GL_TEXTURE_BUFFER) {
        uploadTexels(*source);
        return;
    }
    _buffer.upload(source->data(), source->bytes());
    glTextureBuffer(_id.number(), _shape.format.internal, _buffer.number());
}

void GLTexture::uploadTexels(const Keel::ChunkBase& data) const {
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    if (_shape.target == GL_TEXTURE_1D) {
        glTextureSubImage1D(_id.number(), 0, 0, _shape.width, _shape.dataFormat,
                            _shape.element.type, data.data());
    } else {
        glTextureSubImage2D(_id.number(), 0, 0, 0, _shape.width, _shape.height, _shape.dataFormat,
                            _shape.element.type, data.data());
    }
}

bool GLTexture::activate(const Polyp&) {
    uploadSource();
    glBindTextureUnit(static_cast<GLuint>(_unit), _id.number());
    _machine->check("TextureTentacle::activate");
    return true;
}

bool GLTexture::deactivate(const Polyp&) {
    glBindTextureUnit(static_cast<GLuint>(_unit), 0);
    return true;
}

std::size_t GLTexture::memsize() const {
    // As much as the data take; the driver does not tell what it makes of them.
    return texels() * _shape.element.bytes * static_cast<std::size_t>(_shape.element.components);
}

int GLTexture::getSamplerType() const {
    const bool isSigned = _shape.element.isSigned();
    const auto choose = [&](unsigned plain, unsigned integer, unsigned natural) {
        const unsigned chosen = !_shape.format.isInteger ? plain : isSigned ? integer : natural;
        return static_cast<int>(chosen);
    };
    switch (_shape.target) {
    case GL_TEXTURE_1D:
        return choose(GL_SAMPLER_1D, GL_INT_SAMPLER_1D, GL_UNSIGNED_INT_SAMPLER_1D);
    case GL_TEXTURE_2D:
        return choose(GL_SAMPLER_2D, GL_INT_SAMPLER_2D, GL_UNSIGNED_INT_SAMPLER_2D);
    default:
        return choose(GL_SAMPLER_BUFFER, GL_INT_SAMPLER_BUFFER, GL_UNSIGNED_INT_SAMPLER_BUFFER);
    }
}

bool GLTexture::setParameter(const std::string& key, const std::type_info& type, const void* value,
                             int number) {
    const std::optional<unsigned> parameter = numberOf(parameterKeys, key);
    if (!parameter || value == nullptr || number < 1 || _shape.target == GL_TEXTURE_BUFFER) {
        return false;
    }
    if (*parameter == GL_TEXTURE_BORDER_COLOR) {
        if (type != typeid(float) || number != 4) return false;
        glTextureParameterfv(_id.number(), *parameter, static_cast<const float*>(value));
    } else if (type == typeid(const char*)) {
        const char* const name = *static_cast<const char* const*>(value);
        const std::optional<unsigned> named =
            name != nullptr ? numberOf(parameterValues, name) : std::nullopt;
        if (!named) return false;
        glTextureParameteri(_id.number(), *parameter, static_cast<GLint>(*named));
    } else if (type == typeid(int)) {
        glTextureParameteri(_id.number(), *parameter, *static_cast<const int*>(value));
    } else if (type == typeid(float)) {
        glTextureParameterf(_id.number(), *parameter, *static_cast<const float*>(value));
    } else {
        return false;
    }
    return glGetError() == GL_NO_ERROR;
}

RenderBasin::ChunkPtr GLTexture::readBack() const {
    uploadSource();
    const std::type_info* const element =
        elementType(_shape.element.type, _shape.element.components);
    if (element == nullptr) return {};
    const RenderBasin::ChunkPtr chunk = makeChunk(*element, texels());
    if (_shape.target == GL_TEXTURE_BUFFER) {
        _buffer.read(0, chunk->data(), chunk->bytes());
        return chunk;
    }
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glGetTextureImage(_id.number(), 0, _shape.dataFormat, _shape.element.type,
                      static_cast<GLsizei>(chunk->bytes()), chunk->data());
    _machine->check("TextureTentacle::readBack");
    return chunk;
}

std::optional<GLTexture::Shape> textureShape(const RenderBasin::ChunkPtr& data, int dimensions,
                                             int rowTexels, const Format& format) {
    if (!data || data->numberOfElements() == 0) return {};
    const std::optional<ElementFormat> element = elementFormat(data->elementType());
    if (!element || element->isDouble()) return {};
    const std::optional<TextureFormat> internal = textureFormat(format, element->components);
    if (!internal) return {};
    const auto number = static_cast<int>(data->numberOfElements());
    const unsigned dataFormat = format.hasNativeFormat()
                                    ? format.nativeDataFormat()
                                    : dataFormatOf(element->components, internal->isInteger);
    if (dimensions == 1)
        return GLTexture::Shape{GL_TEXTURE_1D, number, 1, *internal, dataFormat, *element};
    if (dimensions != 2) return {};
    const int width = rowTexels > 0 ? rowTexels : static_cast<int>(std::lround(std::sqrt(number)));
    if (number % width != 0 || (rowTexels == 0 && width * width != number)) return {};
    return GLTexture::Shape{GL_TEXTURE_2D, width, number / width, *internal, dataFormat, *element};
}

std::optional<GLTexture::Shape> bufferTextureShape(const RenderBasin::ChunkPtr& data) {
    if (!data || data->numberOfElements() == 0) return {};
    const std::optional<ElementFormat> element = elementFormat(data->elementType());
    if (!element) return {};
    const unsigned internal = bufferFormatOf(*element);
    if (internal == 0) return {};
    const bool isInteger = element->type == GL_INT || element->type == GL_UNSIGNED_INT;
    return GLTexture::Shape{
        GL_TEXTURE_BUFFER, static_cast<int>(data->numberOfElements()), 1, {internal, isInteger}, 0,
        *element};
}

std::optional<GLTexture::Shape> targetTextureShape(int width, int height, const Format& format) {
    constexpr int unspecifiedChannels = 4;
    if (width < 1 || height < 1) return {};
    const std::optional<TextureFormat> internal = textureFormat(format, unspecifiedChannels);
    if (!internal) return {};
    const int channels =
        format.hasNativeFormat() ? unspecifiedChannels : channelsOf(format, unspecifiedChannels);
    const unsigned type = !internal->isInteger         ? GL_FLOAT
                          : format.hasNegativeValues() ? GL_INT
                                                       : GL_UNSIGNED_INT;
    return GLTexture::Shape{
        GL_TEXTURE_2D,      width, height, *internal, dataFormatOf(channels, internal->isInteger),
        {type, channels, 4}};
}

} // namespace Mirk::GL
