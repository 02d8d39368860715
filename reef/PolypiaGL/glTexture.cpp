#include <PolypiaGL/glTexture.hpp>

#include <PolypiaGL/GLRenderException.hpp>
#include <PolypiaGL/glSavedState.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
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
    {BitPrecision::Integer5, false, false, {GL_R8, GL_RG8, GL_RGB5, GL_RGBA8}},
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

/// The least precision that holds what both hold.
BitPrecision wider(BitPrecision a, BitPrecision b) {
    if (a == BitPrecision::Unspecified || b == BitPrecision::Unspecified) return std::max(a, b);
    if (isFloat(a) == isFloat(b)) return std::max(a, b);
    // The 11 binary places of 16 bits hold integers of 8 bits.
    return std::min(a, b) <= BitPrecision::Integer8 ? std::max(a, b) : BitPrecision::Float32;
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

/// Channels of data in one of OpenGL's formats; 0 for a format that is not known here.
int channelsOfData(unsigned dataFormat) {
    switch (dataFormat) {
    case GL_RED:
    case GL_RED_INTEGER:
    case GL_DEPTH_COMPONENT:
        return 1;
    case GL_RG:
    case GL_RG_INTEGER:
        return 2;
    case GL_RGB:
    case GL_BGR:
    case GL_RGB_INTEGER:
    case GL_BGR_INTEGER:
        return 3;
    case GL_RGBA:
    case GL_BGRA:
    case GL_RGBA_INTEGER:
    case GL_BGRA_INTEGER:
        return 4;
    default:
        return 0;
    }
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

constexpr std::array<NamedNumber, 17> parameterKeys{{
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
    {"GL_TEXTURE_MIN_LOD", GL_TEXTURE_MIN_LOD},
    {"GL_TEXTURE_MAX_LOD", GL_TEXTURE_MAX_LOD},
    {"GL_TEXTURE_SWIZZLE_R", GL_TEXTURE_SWIZZLE_R},
    {"GL_TEXTURE_SWIZZLE_G", GL_TEXTURE_SWIZZLE_G},
    {"GL_TEXTURE_SWIZZLE_B", GL_TEXTURE_SWIZZLE_B},
    {"GL_TEXTURE_SWIZZLE_A", GL_TEXTURE_SWIZZLE_A},
}};

constexpr std::array<NamedNumber, 21> parameterValues{{
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
    {"GL_MIRROR_CLAMP_TO_EDGE", GL_MIRROR_CLAMP_TO_EDGE},
    {"GL_RED", GL_RED},
    {"GL_GREEN", GL_GREEN},
    {"GL_BLUE", GL_BLUE},
    {"GL_ALPHA", GL_ALPHA},
    {"GL_ZERO", GL_ZERO},
    {"GL_ONE", GL_ONE},
}};

/// What asks for the texture of a target that is bound to a unit.
unsigned bindingOf(unsigned target) {
    switch (target) {
    case GL_TEXTURE_1D:
        return GL_TEXTURE_BINDING_1D;
    case GL_TEXTURE_2D:
        return GL_TEXTURE_BINDING_2D;
    default:
        return GL_TEXTURE_BINDING_BUFFER;
    }
}

template<class Table>
std::optional<unsigned> numberOf(const Table& table, std::string_view name) {
    for (const NamedNumber& known : table) {
        if (known.name == name) return known.number;
    }
    return {};
}

/// Empty for none and for more than OpenGL counts.
std::optional<int> numberOfTexels(const RenderBasin::ChunkPtr& data) {
    if (!data || data->numberOfElements() == 0) return {};
    if (data->numberOfElements() > std::size_t{std::numeric_limits<int>::max()}) return {};
    return static_cast<int>(data->numberOfElements());
}

} // namespace

std::optional<TextureFormat> textureFormat(const Format& format, int dataChannels) {
    if (format.hasNativeFormat())
        return TextureFormat{format.nativeInternalFormat(), format.isInteger()};
    // OpenGL has one precision for all channels.
    const BitPrecision asked = format.hasAlpha()
                                   ? wider(format.colorPrecision(), format.alphaPrecision())
                                   : format.colorPrecision();
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

GLTexture::GLTexture(MachinePtr machine) : _machine(machine), _buffer(std::move(machine)) {}

void GLTexture::checkLimits(const Shape& shape, int textureUnit) const {
    constexpr const char* function = "RenderBasin::createTexture";
    const GLLimits& limits = _machine->context.limits();
    const int greatest =
        shape.target == GL_TEXTURE_BUFFER ? limits.maxTextureBufferTexels : limits.maxTextureSize;
    if (shape.width > greatest || shape.height > greatest) {
        throw GLRenderException(
            GL_INVALID_VALUE,
            "a texture of " + std::to_string(shape.width) + " x " + std::to_string(shape.height) +
                " texels is not possible, expected at most " + std::to_string(greatest),
            function, __FILE__, __LINE__);
    }
    if (textureUnit < 0 || textureUnit >= limits.maxTextureUnits) {
        throw GLRenderException(GL_INVALID_VALUE,
                                "texture unit " + std::to_string(textureUnit) +
                                    " is not possible, expected 0 to " +
                                    std::to_string(limits.maxTextureUnits - 1),
                                function, __FILE__, __LINE__);
    }
}

void GLTexture::fill(const Shape& shape, int textureUnit, const RenderBasin::ChunkPtr& data) {
    checkLimits(shape, textureUnit);
    const bool fits = _id && _shape.target == shape.target && _shape.width == shape.width &&
                      _shape.height == shape.height &&
                      _shape.format.internal == shape.format.internal;
    _unit = textureUnit;
    _shape = shape;
    _source = data;
    if (!fits) allocate();
}

void GLTexture::allocate() {
    // Until all is done the tentacle has no texture that a later filling could take for whole.
    _id.reset();
    TextureId made = createTexture(_shape.target);
    if (_shape.target == GL_TEXTURE_BUFFER) {
        _id = std::move(made);
        return;
    }
    if (_shape.target == GL_TEXTURE_1D) {
        glTextureStorage1D(made.number(), 1, _shape.format.internal, _shape.width);
    } else {
        glTextureStorage2D(made.number(), 1, _shape.format.internal, _shape.width, _shape.height);
    }
    // Filtering of integers makes a texture incomplete.
    const GLint filter = _shape.format.isInteger ? GL_NEAREST : GL_LINEAR;
    glTextureParameteri(made.number(), GL_TEXTURE_MIN_FILTER, filter);
    glTextureParameteri(made.number(), GL_TEXTURE_MAG_FILTER, filter);
    glTextureParameteri(made.number(), GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTextureParameteri(made.number(), GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    _machine->check("RenderBasin::createTexture");
    _id = std::move(made);
}

std::size_t GLTexture::texels() const {
    return static_cast<std::size_t>(_shape.width) * static_cast<std::size_t>(_shape.height);
}

void GLTexture::uploadSource() const {
    if (!_source) return;
    if (_shape.target != GL_TEXTURE_BUFFER) {
        uploadTexels(*_source);
    } else {
        _buffer.require(_source->data(), _source->bytes());
        glTextureBuffer(_id.number(), _shape.format.internal, _buffer.number());
    }
    // Kept until it has arrived, for a second try.
    _source = {};
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

bool GLTexture::activate(const Polyp& polyp) {
    uploadSource();
    const auto unit = static_cast<unsigned>(_unit);
    GLint texture = 0;
    glGetIntegeri_v(bindingOf(_shape.target), unit, &texture);
    _callers.push_back({unit, _shape.target, static_cast<unsigned>(texture)});
    glBindTextureUnit(unit, _id.number());
    _machine->check("TextureTentacle::activate", [&] { deactivate(polyp); });
    return true;
}

bool GLTexture::deactivate(const Polyp&) {
    if (_callers.empty()) return true;
    const Caller caller = _callers.back();
    _callers.pop_back();
    // Nothing, bound to a unit by its number, would unbind textures of all dimensions.
    GLint activeUnit = GL_TEXTURE0;
    glGetIntegerv(GL_ACTIVE_TEXTURE, &activeUnit);
    glActiveTexture(GL_TEXTURE0 + caller.unit);
    glBindTexture(caller.target, caller.texture);
    glActiveTexture(static_cast<GLenum>(activeUnit));
    return true;
}

std::size_t GLTexture::memsize() const {
    // As much as the data take; the driver does not tell what it makes of them.
    return texels() * _shape.element.bytes * static_cast<std::size_t>(_shape.element.components);
}

int GLTexture::getSamplerType() const {
    // The format decides, and native ones are known to the driver only.
    GLint component = _shape.element.type == GL_INT ? GL_INT : GL_UNSIGNED_INT;
    if (_shape.target != GL_TEXTURE_BUFFER) {
        glGetTextureLevelParameteriv(_id.number(), 0, GL_TEXTURE_RED_TYPE, &component);
    }
    const auto choose = [&](unsigned plain, unsigned integer, unsigned natural) {
        const unsigned chosen = !_shape.format.isInteger ? plain
                                : component == GL_INT    ? integer
                                                         : natural;
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
    const int wanted = parameter == unsigned{GL_TEXTURE_BORDER_COLOR} ? 4 : 1;
    if (!parameter || value == nullptr || number != wanted || _shape.target == GL_TEXTURE_BUFFER) {
        return false;
    }
    _machine->setErrorsAside("ahead of glTextureParameter");
    if (*parameter == GL_TEXTURE_BORDER_COLOR) {
        if (type != typeid(float)) return false;
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
    const PixelPacking packing;
    glGetTextureImage(_id.number(), 0, _shape.dataFormat, _shape.element.type,
                      static_cast<GLsizei>(chunk->bytes()), chunk->data());
    _machine->check("TextureTentacle::readBack");
    return chunk;
}

std::optional<GLTexture::Shape> textureShape(const RenderBasin::ChunkPtr& data, int dimensions,
                                             int rowTexels, const Format& format) {
    const std::optional<int> number = numberOfTexels(data);
    if (!number) return {};
    const std::optional<ElementFormat> element = elementFormat(data->elementType());
    if (!element || element->isDouble()) return {};
    const std::optional<TextureFormat> internal = textureFormat(format, element->components);
    if (!internal || (internal->isInteger && element->isFloatingPoint())) return {};
    const unsigned dataFormat = format.hasNativeFormat()
                                    ? format.nativeDataFormat()
                                    : dataFormatOf(element->components, internal->isInteger);
    // OpenGL reads as much as the format of the data says.
    if (channelsOfData(dataFormat) != element->components) return {};
    if (dimensions == 1) {
        return GLTexture::Shape{GL_TEXTURE_1D, *number, 1, *internal, dataFormat, *element};
    }
    if (dimensions != 2) return {};
    const int width = rowTexels > 0 ? rowTexels : static_cast<int>(std::lround(std::sqrt(*number)));
    if (*number % width != 0 || (rowTexels <= 0 && width * width != *number)) return {};
    return GLTexture::Shape{GL_TEXTURE_2D, width, *number / width, *internal, dataFormat, *element};
}

std::optional<GLTexture::Shape> bufferTextureShape(const RenderBasin::ChunkPtr& data) {
    const std::optional<int> number = numberOfTexels(data);
    if (!number) return {};
    const std::optional<ElementFormat> element = elementFormat(data->elementType());
    if (!element) return {};
    const unsigned internal = bufferFormatOf(*element);
    if (internal == 0) return {};
    const bool isInteger = element->type == GL_INT || element->type == GL_UNSIGNED_INT;
    return GLTexture::Shape{GL_TEXTURE_BUFFER, *number, 1, {internal, isInteger}, 0, *element};
}

std::optional<GLTexture::Shape> targetTextureShape(int width, int height, const Format& format) {
    constexpr int unspecifiedChannels = 4;
    if (width < 1 || height < 1) return {};
    const std::optional<TextureFormat> internal = textureFormat(format, unspecifiedChannels);
    if (!internal) return {};
    const unsigned dataFormat =
        format.hasNativeFormat()
            ? format.nativeDataFormat()
            : dataFormatOf(channelsOf(format, unspecifiedChannels), internal->isInteger);
    const int channels = channelsOfData(dataFormat);
    if (channels == 0) return {};
    const unsigned type = !internal->isInteger         ? GL_FLOAT
                          : format.hasNegativeValues() ? GL_INT
                                                       : GL_UNSIGNED_INT;
    return GLTexture::Shape{GL_TEXTURE_2D, width,      height,
                            *internal,     dataFormat, {type, channels, 4}};
}

} // namespace Mirk::GL
