#include <PolypiaGL/GLFactory.hpp>

#include "glBasin.hpp"

#include <cmath>

using namespace Mirk;
using namespace Mirk::GLTest;
using testing::ElementsAre;
using testing::HasSubstr;
using BitPrecision = RenderBasin::BitPrecision;
using Format = RenderBasin::TextureStorageFormat;

namespace {

class GLTextureTest : public BasinTest {
protected:
    RenderBasin::TexturePtr create(const RenderBasin::ChunkPtr& data, const Format& format,
                                   int dimensions = 1, int rowTexels = 0, int unit = 0,
                                   const RenderBasin::TexturePtr& previous = {}) const {
        return basin->createTexture(data, 0, dimensions, rowTexels, unit, format, 0, bool(previous),
                                    previous);
    }
    /// Fills the picture with what the fragment text makes of the texture.
    Color shown(const RenderBasin::TexturePtr& texture, const std::string& declaration,
                const std::string& expression) {
        polyp->clear();
        fillPicture(program(passVertex, "#version 330\n" + declaration +
                                            " out vec4 result;\n"
                                            "void main() { result = " +
                                            expression + "; }\n"));
        texture->samplerName = "image";
        polyp->insert(texture);
        waveKeepingState();
        return center();
    }
    GLint internalFormat(const RenderBasin::TexturePtr& texture) const {
        GLint format = 0;
        texture->activate(*polyp);
        GLint number = 0;
        const auto unit = static_cast<GLuint>(texture->getTextureUnit());
        glGetIntegeri_v(GL_TEXTURE_BINDING_1D, unit, &number);
        if (number == 0) glGetIntegeri_v(GL_TEXTURE_BINDING_2D, unit, &number);
        glGetTextureLevelParameteriv(static_cast<GLuint>(number), 0, GL_TEXTURE_INTERNAL_FORMAT,
                                     &format);
        texture->deactivate(*polyp);
        return format;
    }
};

/// A format, how many bits of each component must survive, and what kind of data goes in.
struct FormatCase {
    Format format;
    int channels;
    BitPrecision precision;
    bool isInteger;
    bool isSigned;
};

std::vector<FormatCase> formatCases() {
    std::vector<FormatCase> cases;
    const auto modes = {Format::ColorMode::Red, Format::ColorMode::RedGreen, Format::ColorMode::Rgb,
                        Format::ColorMode::Rgba, Format::ColorMode::Automatic};
    for (const auto mode : modes) {
        for (int p = 0; p <= 9; ++p) {
            for (const bool isInteger : {false, true}) {
                for (const bool isSigned : {false, true}) {
                    const bool isRgba = mode == Format::ColorMode::Rgba;
                    const auto precision = BitPrecision(p);
                    Format format(isRgba, mode, precision, precision, true);
                    format.setInteger(isInteger);
                    format.setNegativeValues(isSigned);
                    const int channels = isRgba                                 ? 4
                                         : mode == Format::ColorMode::Automatic ? 2
                                                                                : int(mode);
                    cases.push_back({format, channels, precision, isInteger, isSigned});
                }
            }
        }
    }
    return cases;
}

int bitsOf(BitPrecision precision) {
    constexpr std::array<int, 7> bits{8, 4, 5, 8, 12, 16, 32};
    return bits[static_cast<std::size_t>(precision)];
}

bool isFloat(BitPrecision precision) {
    return precision >= BitPrecision::Float16;
}

/// Texels of 1 to 4 components from a list of values.
template<class T>
RenderBasin::ChunkPtr texels(const std::vector<T>& values, int channels) {
    const auto cut = [&]<std::size_t N>(Skua::FixedArray<T, N>) {
        std::vector<Skua::FixedArray<T, N>> rows(values.size() / N);
        for (std::size_t i = 0; i < rows.size() * N; ++i) rows[i / N][i % N] = values[i];
        return chunk(rows);
    };
    switch (channels) {
    case 1:
        return chunk(values);
    case 2:
        return cut(Skua::FixedArray<T, 2>());
    case 3:
        return cut(Skua::FixedArray<T, 3>());
    default:
        return cut(Skua::FixedArray<T, 4>());
    }
}

template<class T>
std::vector<double> components(const RenderBasin::ChunkPtr& data) {
    const T* const first = static_cast<const T*>(data->data());
    return std::vector<double>(first, first + data->bytes() / sizeof(T));
}

TEST_F(GLTextureTest, EveryFormatHoldsWhatItPromises) {
    constexpr std::size_t number = 24; // whole texels for 1 to 4 channels
    for (const FormatCase& asked : formatCases()) {
        SCOPED_TRACE(asked.format.str());
        RenderBasin::ChunkPtr data;
        double bound = 0.0;
        // 32 bits without a point are integers, whether that is said twice or not.
        const bool isInteger = asked.isInteger || asked.precision == BitPrecision::Integer32;
        const bool isFloating = isFloat(asked.precision);
        if (isInteger && !isFloating) {
            const int bits = std::min(bitsOf(asked.precision), 31);
            const auto greatest = static_cast<int>((1LL << (asked.isSigned ? bits - 1 : bits)) - 1);
            std::vector<int> values(number);
            for (std::size_t i = 0; i < number; ++i) {
                values[i] = greatest - static_cast<int>(i % 7);
                if (asked.isSigned && i % 2 == 1) values[i] = -values[i];
            }
            if (asked.isSigned) {
                data = texels(values, asked.channels);
            } else {
                data = texels(std::vector<unsigned>(values.begin(), values.end()), asked.channels);
            }
        } else {
            std::vector<float> values(number);
            for (std::size_t i = 0; i < number; ++i) {
                values[i] = static_cast<float>(i) / 23.0F;
                if (asked.isSigned && i % 2 == 1) values[i] = -values[i];
            }
            data = texels(values, asked.channels);
            if (!isFloating) {
                // Half a step of the grid, and the rounding of a float at 1.
                const int bits = bitsOf(asked.precision) - (asked.isSigned ? 1 : 0);
                bound = 0.5 / ((1 << bits) - 1) + 0x1p-23;
            } else if (asked.precision == BitPrecision::Float16) {
                bound = 0x1p-11; // a unit in the last of 11 places below 1, as drivers may cut
            }
        }
        for (const int dimensions : {1, 2}) {
            const int rowTexels = dimensions == 2 ? 2 : 0;
            const auto texture = create(data, asked.format, dimensions, rowTexels);
            if (asked.isInteger && isFloating) {
                EXPECT_FALSE(texture);
                continue;
            }
            ASSERT_TRUE(texture);
            const auto back = texture->readBack();
            ASSERT_TRUE(back);
            ASSERT_EQ(back->elementType(), data->elementType());
            ASSERT_EQ(back->numberOfElements(), data->numberOfElements());
            std::vector<double> given;
            std::vector<double> got;
            if (isInteger && asked.isSigned) {
                given = components<int>(data);
                got = components<int>(back);
            } else if (isInteger) {
                given = components<unsigned>(data);
                got = components<unsigned>(back);
            } else {
                given = components<float>(data);
                got = components<float>(back);
            }
            for (std::size_t i = 0; i < given.size(); ++i) EXPECT_NEAR(got[i], given[i], bound);
        }
    }
}

TEST_F(GLTextureTest, ComponentsOf8And16BitsComeBackExactly) {
    std::vector<unsigned char> bytes(256);
    std::vector<unsigned short> shorts(256);
    for (std::size_t i = 0; i < 256; ++i) {
        bytes[i] = static_cast<unsigned char>(i);
        shorts[i] = static_cast<unsigned short>(i * 257 - i % 2);
    }
    for (int channels = 1; channels <= 4; ++channels) {
        const auto narrow =
            create(texels(bytes, channels),
                   RenderBasin::MultichannelTexture(channels, 8, false, false, false, false));
        EXPECT_EQ(components<unsigned char>(narrow->readBack()),
                  components<unsigned char>(texels(bytes, channels)));
        const auto wide =
            create(texels(shorts, channels),
                   RenderBasin::MultichannelTexture(channels, 16, false, false, false, false));
        EXPECT_EQ(components<unsigned short>(wide->readBack()),
                  components<unsigned short>(texels(shorts, channels)));
    }
}

TEST_F(GLTextureTest, AlphaHasThePrecisionThatItAsksFor) {
    using Texel = Skua::FixedArray<float, 4>;
    const std::vector<Texel> texel{{1.0F, 0.0F, 1.0F, 0.31F}};
    const struct {
        BitPrecision color;
        BitPrecision alpha;
        double bound;
    } cases[] = {
        {BitPrecision::Integer5, BitPrecision::Integer5, 0.5 / 31},
        {BitPrecision::Integer8, BitPrecision::Integer16, 0.5 / 65535 + 0x1p-23},
        {BitPrecision::Integer8, BitPrecision::Float32, 0.0},
        {BitPrecision::Integer16, BitPrecision::Integer4, 0.5 / 15},
        {BitPrecision::Unspecified, BitPrecision::Float32, 0.0},
    };
    for (const auto& asked : cases) {
        const auto texture = create(chunk(texel), RenderBasin::RgbAlpha(asked.color, asked.alpha));
        ASSERT_TRUE(texture);
        const auto got = elements<Texel>(texture->readBack());
        ASSERT_EQ(got.size(), 1U);
        EXPECT_NEAR(got[0][3], 0.31F, asked.bound);
    }
}

TEST_F(GLTextureTest, TakesFormatsOfOpenGLAsTheyStand) {
    using Texel = Skua::FixedArray<unsigned char, 4>;
    const std::vector<Texel> texel{{10, 20, 30, 40}};
    const auto texture =
        create(chunk(texel), RenderBasin::OpenGLTexture(GL_RGBA8UI, GL_BGRA_INTEGER, true));
    ASSERT_TRUE(texture);
    EXPECT_EQ(internalFormat(texture), GL_RGBA8UI);
    EXPECT_EQ(elements<Texel>(texture->readBack()), texel);
    EXPECT_EQ(texture->getSamplerType(), GL_UNSIGNED_INT_SAMPLER_1D);
    // What is the first component to the data is the third in the texture.
    EXPECT_EQ(shown(texture, "uniform usampler1D image;", "vec4(texelFetch(image, 0, 0)) / 255.0"),
              (Color{30, 20, 10, 40}));
}

TEST_F(GLTextureTest, RefusesDataThatAreShorterThanTheFormatOfOpenGLSays) {
    EXPECT_FALSE(create(chunk(std::vector<unsigned char>{1}),
                        RenderBasin::OpenGLTexture(GL_RGBA8, GL_RGBA, false)));
}

TEST_F(GLTextureTest, TellsTheSamplerThatItNeeds) {
    using BytesOf = std::vector<unsigned char>;
    const auto bytes = chunk(BytesOf{1, 2, 3, 4});
    const auto integers = chunk(std::vector<int>{1, -2, 3, -4});
    Format unsignedInteger = RenderBasin::Red(BitPrecision::Integer32);
    unsignedInteger.setInteger(true);
    Format signedInteger = unsignedInteger;
    signedInteger.setNegativeValues(true);
    const auto plain = RenderBasin::Red(BitPrecision::Integer8);
    EXPECT_EQ(create(bytes, plain)->getSamplerType(), GL_SAMPLER_1D);
    EXPECT_EQ(create(bytes, plain, 2)->getSamplerType(), GL_SAMPLER_2D);
    // The format decides, not the data.
    EXPECT_EQ(create(integers, signedInteger)->getSamplerType(), GL_INT_SAMPLER_1D);
    EXPECT_EQ(create(integers, unsignedInteger)->getSamplerType(), GL_UNSIGNED_INT_SAMPLER_1D);
    EXPECT_EQ(create(bytes, signedInteger, 2)->getSamplerType(), GL_INT_SAMPLER_2D);
    EXPECT_EQ(create(bytes, unsignedInteger, 2)->getSamplerType(), GL_UNSIGNED_INT_SAMPLER_2D);
    EXPECT_EQ(basin->createBufferTexture(bytes, 0)->getSamplerType(), GL_SAMPLER_BUFFER);
    EXPECT_EQ(basin->createBufferTexture(integers, 0)->getSamplerType(), GL_INT_SAMPLER_BUFFER);
    EXPECT_EQ(basin->createBufferTexture(chunk(std::vector<unsigned>{1}), 0)->getSamplerType(),
              GL_UNSIGNED_INT_SAMPLER_BUFFER);
}

TEST_F(GLTextureTest, UnknownDataGiveAnEmptyPointer) {
    const auto format = RenderBasin::Red(BitPrecision::Integer8);
    EXPECT_FALSE(create({}, format));
    EXPECT_FALSE(create(chunk(std::vector<float>{}), format));
    EXPECT_FALSE(create(chunk(std::vector<std::string>{"text"}), format));
    EXPECT_FALSE(create(chunk(std::vector<double>{1.0}), format));
    EXPECT_FALSE(create(chunk(std::vector<float>{1, 2}), format, 3));
    EXPECT_FALSE(create(chunk(std::vector<float>{1, 2, 3}), format, 2));    // no square
    EXPECT_FALSE(create(chunk(std::vector<float>{1, 2, 3}), format, 2, 2)); // no whole rows
    Format integer = format;
    integer.setInteger(true);
    EXPECT_FALSE(create(chunk(std::vector<float>{1, 2, 3}), integer)); // no integers
    EXPECT_FALSE(basin->createBufferTexture({}, 0));
    EXPECT_FALSE(basin->createBufferTexture(chunk(std::vector<std::string>{"text"}), 0));
    EXPECT_FALSE(basin->createBufferTexture(chunk(std::vector<double>{1}), 0));
    EXPECT_FALSE(basin->createTargetTexture(0, 4, 0, format));
    EXPECT_FALSE(basin->createTargetTexture(4, -1, 0, format));
}

TEST_F(GLTextureTest, BeyondALimitSaysWhichOne) {
    const int greatest = context->limits().maxTextureSize;
    const std::vector<unsigned char> row(static_cast<std::size_t>(greatest) + 1);
    const auto message = [](const auto& call) -> std::string {
        try {
            call();
        } catch (const RenderException& exception) {
            return exception.str();
        }
        return "no exception";
    };
    const auto format = RenderBasin::Red(BitPrecision::Integer8);
    EXPECT_THAT(message([&] { create(chunk(row), format); }),
                HasSubstr(std::to_string(greatest + 1) +
                          " x 1 texels is not possible, expected "
                          "at most " +
                          std::to_string(greatest)));
    EXPECT_THAT(message([&] { basin->createTargetTexture(1, greatest + 1, 0, format); }),
                HasSubstr("1 x " + std::to_string(greatest + 1)));
    const int units = context->limits().maxTextureUnits;
    for (const int unit : {-1, units}) {
        EXPECT_THAT(message([&] { create(chunk(std::vector<float>{1}), format, 1, 0, unit); }),
                    HasSubstr("unit " + std::to_string(unit) + " is not possible, expected 0 to " +
                              std::to_string(units - 1)));
    }
}

TEST_F(GLTextureTest, UploadsAtTheFirstActivationAndLetsTheChunkGo) {
    auto data = chunk(std::vector<float>{0.25F, 0.5F});
    const Keel::WeakPtr<Keel::ChunkBase> watched(data);
    const auto texture = create(data, RenderBasin::Red(BitPrecision::Float32));
    data = {};
    EXPECT_TRUE(Keel::StrongPtr<Keel::ChunkBase>(watched));
    EXPECT_EQ(texture->memsize(), 8U);
    texture->activate(*polyp);
    texture->deactivate(*polyp);
    EXPECT_FALSE(Keel::StrongPtr<Keel::ChunkBase>(watched));
    EXPECT_EQ(texture->memsize(), 8U);
    EXPECT_THAT(elements<float>(texture->readBack()), ElementsAre(0.25F, 0.5F));
}

TEST_F(GLTextureTest, APreviousTextureIsRefilled) {
    const auto format = RenderBasin::Red(BitPrecision::Float32);
    const auto first = create(chunk(std::vector<float>{1, 2}), format, 1, 0, 3);
    EXPECT_THAT(elements<float>(first->readBack()), ElementsAre(1, 2));
    const auto same = create(chunk(std::vector<float>{3, 4}), format, 1, 0, 3, first);
    EXPECT_EQ(same, first);
    EXPECT_THAT(elements<float>(first->readBack()), ElementsAre(3, 4));
    const auto longer = create(chunk(std::vector<float>{5, 6, 7}), format, 1, 0, 3, first);
    EXPECT_EQ(longer, first);
    EXPECT_THAT(elements<float>(first->readBack()), ElementsAre(5, 6, 7));
    const auto moved = create(chunk(std::vector<float>{8}), format, 1, 0, 5, first);
    EXPECT_EQ(moved, first);
    EXPECT_EQ(first->getTextureUnit(), 5);
    EXPECT_THAT(elements<float>(first->readBack()), ElementsAre(8));
}

TEST_F(GLTextureTest, ATextureOfAnotherContextIsNotRefilled) {
    const auto format = RenderBasin::Red(BitPrecision::Float32);
    GLRenderBasin other(*context, Keel::WeakPtr<Seagrass>());
    const auto foreign =
        other.createTexture(chunk(std::vector<float>{1}), 1, 1, 0, 0, format, 0, false, {});
    EXPECT_NE(create(chunk(std::vector<float>{2}), format, 1, 0, 0, foreign), foreign);
    EXPECT_THAT(elements<float>(foreign->readBack()), ElementsAre(1));
}

TEST_F(GLTextureTest, RowsAreStackedFromTheBottom) {
    const auto texture = create(chunk(std::vector<float>{0, 0.2F, 0.4F, 0.6F, 0.8F, 1}),
                                RenderBasin::Red(BitPrecision::Float32), 2, 3);
    // Column 1 of row 1.
    EXPECT_EQ(
        shown(texture, "uniform sampler2D image;", "vec4(texelFetch(image, ivec2(1, 1), 0).r)"),
        (Color{204, 204, 204, 204}));
}

TEST_F(GLTextureTest, IsSampledByAProgramThatKeepsItToo) {
    const auto texture =
        create(chunk(std::vector<float>{0, 1}), RenderBasin::Red(BitPrecision::Float32), 1, 0, 4);
    const auto shader =
        fillPicture(program(passVertex, "#version 330\n"
                                        "uniform sampler1D table;\n"
                                        "out vec4 result;\n"
                                        "void main() {\n"
                                        "    result = vec4(texture(table, 0.9).r);\n"
                                        "}\n"));
    EXPECT_EQ(shader->memsize(), 0U);
    shader->SamplerBindings["table"] = texture;
    EXPECT_EQ(shader->memsize(), 8U);
    waveKeepingState();
    EXPECT_EQ(center(), (Color{255, 255, 255, 255}));
    // In the polyp as well, it is bound twice and must be unbound all the same.
    polyp->insert(texture);
    waveKeepingState();
}

TEST_F(GLTextureTest, IsSampledBehindItsKeyToo) {
    const auto texture =
        create(chunk(std::vector<float>{1}), RenderBasin::Red(BitPrecision::Float32), 1, 0, 4);
    texture->samplerName = "table";
    fillPicture(program(passVertex, "#version 330\n"
                                    "uniform sampler1D table; out vec4 result;\n"
                                    "void main() { result = texture(table, 0.5).rrrr; }\n"));
    polyp->insert(texture, 7);
    waveKeepingState();
    EXPECT_EQ(center(), white);
}

TEST_F(GLTextureTest, ParametersTakeNamesAndNumbers) {
    const auto texture =
        create(chunk(std::vector<float>{0, 1}), RenderBasin::Red(BitPrecision::Float32));
    const auto setName = [&](const char* key, const char* value) {
        return texture->setParameter(key, typeid(const char*), &value, 1);
    };
    const std::string declaration = "uniform sampler1D image;";
    // Half way between two texels.
    EXPECT_EQ(shown(texture, declaration, "vec4(texture(image, 0.5).r)")[0], 128);
    EXPECT_TRUE(setName("GL_TEXTURE_MAG_FILTER", "GL_NEAREST"));
    EXPECT_EQ(shown(texture, declaration, "vec4(texture(image, 0.51).r)")[0], 255);
    const int linear = GL_LINEAR;
    EXPECT_TRUE(texture->setParameter("GL_TEXTURE_MAG_FILTER", typeid(int), &linear, 1));
    EXPECT_EQ(shown(texture, declaration, "vec4(texture(image, 0.5).r)")[0], 128);
    const auto repeat = static_cast<float>(GL_REPEAT);
    EXPECT_TRUE(texture->setParameter("GL_TEXTURE_WRAP_S", typeid(float), &repeat, 1));
    EXPECT_EQ(shown(texture, declaration, "vec4(texture(image, 1.75).r)")[0], 255);
    EXPECT_EQ(shown(texture, declaration, "vec4(texture(image, 1.25).r)")[0], 0);
    EXPECT_TRUE(setName("GL_TEXTURE_WRAP_S", "GL_CLAMP_TO_BORDER"));
    const std::array<float, 4> border{0.2F, 0, 0, 0};
    EXPECT_TRUE(texture->setParameter("GL_TEXTURE_BORDER_COLOR", typeid(float), border.data(), 4));
    EXPECT_EQ(shown(texture, declaration, "vec4(texture(image, 9.0).r)")[0], 51);
}

TEST_F(GLTextureTest, AnErrorFromElsewhereIsNoReasonToRefuseAParameter) {
    const auto texture =
        create(chunk(std::vector<float>{0, 1}), RenderBasin::Red(BitPrecision::Float32));
    const int value = GL_NEAREST;
    for (const bool areChecksOn : {true, false}) {
        basin->factory().setErrorChecks(areChecksOn);
        glEnable(GL_NONE);
        EXPECT_TRUE(texture->setParameter("GL_TEXTURE_MIN_FILTER", typeid(int), &value, 1));
    }
}

TEST_F(GLTextureTest, UnknownParametersAreRefused) {
    const auto texture =
        create(chunk(std::vector<float>{0, 1}), RenderBasin::Red(BitPrecision::Float32));
    const auto setName = [&](const char* key, const char* value) {
        return texture->setParameter(key, typeid(const char*), &value, 1);
    };
    EXPECT_FALSE(setName("GL_TEXTURE_TASTE", "GL_LINEAR"));
    EXPECT_FALSE(setName("GL_TEXTURE_MAG_FILTER", "GL_SWEET"));
    EXPECT_FALSE(setName("GL_TEXTURE_MAG_FILTER", nullptr));
    EXPECT_FALSE(setName("GL_TEXTURE_MAG_FILTER", "GL_REPEAT"));
    EXPECT_FALSE(texture->setParameter("GL_TEXTURE_MAG_FILTER", typeid(int), nullptr, 1));
    const int linear = GL_LINEAR;
    EXPECT_FALSE(texture->setParameter("GL_TEXTURE_MAG_FILTER", typeid(int), &linear, 0));
    EXPECT_FALSE(texture->setParameter("GL_TEXTURE_MAG_FILTER", typeid(int), &linear, 2));
    const double number = 1.0;
    EXPECT_FALSE(texture->setParameter("GL_TEXTURE_LOD_BIAS", typeid(double), &number, 1));
    const std::array<float, 4> border{};
    EXPECT_FALSE(texture->setParameter("GL_TEXTURE_BORDER_COLOR", typeid(float), border.data(), 3));
    const auto buffer = basin->createBufferTexture(chunk(std::vector<float>{1}), 0);
    EXPECT_FALSE(buffer->setParameter("GL_TEXTURE_MAG_FILTER", typeid(int), &linear, 1));
}

TEST_F(GLTextureTest, BufferTexturesAreReadByIndex) {
    using Texel = Skua::FixedArray<float, 3>;
    const std::vector<Texel> data{{0, 0, 0}, {1, 0.2F, 0.4F}};
    const auto texture = basin->createBufferTexture(chunk(data), 1);
    EXPECT_EQ(texture->memsize(), 24U);
    EXPECT_EQ(shown(texture, "uniform samplerBuffer image;", "vec4(texelFetch(image, 1).rgb, 1.0)"),
              (Color{255, 51, 102, 255}));
    EXPECT_EQ(elements<Texel>(texture->readBack()), data);
    const auto numbers = basin->createBufferTexture(chunk(std::vector<int>{-1, -7}), 1);
    EXPECT_EQ(shown(numbers, "uniform isamplerBuffer image;",
                    "texelFetch(image, 1).r == -7 ? vec4(1.0) : vec4(0.0)"),
              white);
}

TEST_F(GLTextureTest, ATargetIsDrawnInto) {
    const auto target = basin->createTargetTexture(
        2, 1, 0, RenderBasin::RgbAlpha(BitPrecision::Float32, BitPrecision::Float32));
    ASSERT_TRUE(target);
    EXPECT_EQ(target->memsize(), 32U);
    target->activate(*polyp);
    GLint number = 0;
    glGetIntegeri_v(GL_TEXTURE_BINDING_2D, 0, &number);
    target->deactivate(*polyp);
    const GL::FramebufferId frame = GL::createFramebuffer();
    glNamedFramebufferTexture(frame.number(), GL_COLOR_ATTACHMENT0, static_cast<GLuint>(number), 0);
    const std::array<float, 4> color{0.1F, -2.0F, 1e6F, 1.0F};
    glClearNamedFramebufferfv(frame.number(), GL_COLOR, 0, color.data());
    using Texel = Skua::FixedArray<float, 4>;
    const Texel texel{color[0], color[1], color[2], color[3]};
    EXPECT_THAT(elements<Texel>(target->readBack()), ElementsAre(texel, texel));
}

TEST_F(GLTextureTest, ATargetIsWrittenByAComputeProgram) {
    Format format = RenderBasin::Red(BitPrecision::Integer32);
    format.setInteger(true);
    const auto target = basin->createTargetTexture(4, 2, 0, format);
    ASSERT_TRUE(target);
    target->activate(*polyp);
    GLint number = 0;
    glGetIntegeri_v(GL_TEXTURE_BINDING_2D, 0, &number);
    target->deactivate(*polyp);
    polyp->insert(compute("#version 430\n"
                          "layout(local_size_x = 1) in;\n"
                          "layout(r32ui, binding = 0) uniform writeonly uimage2D image;\n"
                          "void main() {\n"
                          "    ivec2 at = ivec2(gl_GlobalInvocationID.xy);\n"
                          "    imageStore(image, at, uvec4(10 * at.y + at.x));\n"
                          "}\n"));
    polyp->insert(basin->createDispatcher(4, 2, 1));
    glBindImageTexture(0, static_cast<GLuint>(number), 0, GL_FALSE, 0, GL_WRITE_ONLY, GL_R32UI);
    waveKeepingState();
    glBindImageTexture(0, 0, 0, GL_FALSE, 0, GL_WRITE_ONLY, GL_R32UI);
    EXPECT_THAT(elements<unsigned>(target->readBack()), ElementsAre(0, 1, 2, 3, 10, 11, 12, 13));
}

TEST_F(GLTextureTest, EveryFormatCanBeATarget) {
    for (const FormatCase& asked : formatCases()) {
        SCOPED_TRACE(asked.format.str());
        const auto target = basin->createTargetTexture(3, 2, 0, asked.format);
        EXPECT_EQ(bool(target), !(asked.isInteger && isFloat(asked.precision)));
        if (!target) continue;
        EXPECT_EQ(target->readBack()->numberOfElements(), 6U);
    }
    const auto depth = basin->createTargetTexture(
        3, 2, 0, RenderBasin::OpenGLTexture(GL_DEPTH_COMPONENT24, GL_DEPTH_COMPONENT, false));
    ASSERT_TRUE(depth);
    EXPECT_EQ(depth->readBack()->elementType(), typeid(float));
}

} // namespace
