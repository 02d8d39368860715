#pragma once
// Texture formats, textures in polyps and textures in the cache; stands on RenderBasin.

#include <Polypia/RenderBasin.hpp>

#include <keel/Ageable.hpp>
#include <keel/Creator.hpp>
#include <keel/Interface.hpp>

#include <cstdint>
#include <string>

namespace Mirk {

/// Precision of a colour or alpha component.
enum class RenderBasin::BitPrecision : int {
    Unspecified = 0,
    Integer4 = 1,
    Integer5 = 2,
    Integer8 = 3,
    Integer12 = 4,
    Integer16 = 5,
    Integer32 = 6,
    Float16 = 7,
    Float32 = 8,
    Float32Alternative = 9, ///< a second number for Float32
};

/// What a texture can store, told without naming a constant of a graphics API, in two words that
/// are passed by value.
///
///     bit 0        has alpha
///     bits 1-4     precision of alpha
///     bits 5-7     colour mode
///     bits 8-11    precision of the colours
///     bit 12       the last flag of the constructor; set by all factory functions
///     bit 13       integers: isampler2D or usampler2D in shaders
///     bit 14       negative values possible
///     bit 15       always set
class POLYPIA_EXPORT RenderBasin::TextureStorageFormat {
public:
    using BitPrecision = RenderBasin::BitPrecision;
    enum class ColorMode : int {
        None = 0,
        Red = 1,
        RedGreen = 2,
        Rgb = 3,
        Rgba = 4,
        Automatic = 6,
    };
    /// `nativeFormat` of a format that does not come from OpenGLTexture.
    static constexpr std::uint32_t NoNativeFormat = 0xFFFFFFFFU;

    TextureStorageFormat(bool hasAlpha, ColorMode mode, BitPrecision alpha, BitPrecision color,
                         bool lastFlag);

    friend bool operator==(const TextureStorageFormat&, const TextureStorageFormat&) = default;

    bool hasAlpha() const { return (flags & 1U) != 0; }
    BitPrecision alphaPrecision() const { return BitPrecision((flags >> 1) & 0xFU); }
    ColorMode colorMode() const { return ColorMode((flags >> 5) & 0x7U); }
    BitPrecision colorPrecision() const { return BitPrecision((flags >> 8) & 0xFU); }
    bool isInteger() const { return (flags & 0x2000U) != 0; }
    bool hasNegativeValues() const { return (flags & 0x4000U) != 0; }
    void setAlphaPrecision(BitPrecision precision);
    void setColorPrecision(BitPrecision precision);
    void setInteger(bool integer);
    void setNegativeValues(bool possible);

    /// The numbers given to OpenGLTexture, which takes 16 bits of each; 0 without native format.
    bool hasNativeFormat() const { return nativeFormat != NoNativeFormat; }
    std::uint32_t nativeInternalFormat() const;
    std::uint32_t nativeDataFormat() const;

    static std::string BitPrecisionToStr(BitPrecision precision);
    /// The format in words.
    std::string str() const;

    std::uint32_t flags;
    /// Internal format in the low half, format of the data in the high half.
    std::uint32_t nativeFormat = NoNativeFormat;

private:
    void setBits(unsigned shift, std::uint32_t mask, std::uint32_t value);
};

/// A texture in a polyp.
class POLYPIA_EXPORT RenderBasin::TextureTentacle
    : public Polyp::SpecializedTentacle<Polyp::TextureKey> {
public:
    TextureTentacle();
    ~TextureTentacle() override;

    // The order of the virtual operations is part of the interface.

    /// Sets a parameter by its name in the graphics API, such as "GL_TEXTURE_MAG_FILTER".
    /// `value` is the address of `number` values of the type; a name such as "GL_LINEAR" goes as
    /// the address of a const char*. False if key, type or value are unknown.
    virtual bool setParameter(const std::string& key, const std::type_info& type, const void* value,
                              int number) = 0;
    /// The texels as a new chunk of the element type that the texture was filled with or, for an
    /// empty one, of float or an integer type as its format has it.
    virtual ChunkPtr readBack() const = 0;

    /// Uniform name of the sampler; empty if the program finds the texture by other means.
    std::string samplerName;
    std::string textureName;
};

/// A texture in the cache, which several polyps can share.
class POLYPIA_EXPORT TextureBase : public Keel::Cacheable,
                                   public Keel::Ageable,
                                   public Keel::Intercube {
public:
    /// Base of what makes textures.
    class POLYPIA_EXPORT Generator {
    public:
        virtual ~Generator() = 0;
    };

    TextureBase();
    explicit TextureBase(const Keel::WeakPtr<Keel::Creature>& creator);
    ~TextureBase() override;

    // The order of the virtual operations is part of the interface.

    /// Binds the texture to a unit; false if it cannot be used.
    virtual bool bind(int textureUnit) = 0;
    /// The backend's handle of the texture.
    virtual std::uint64_t nativeHandle() const = 0;

    bool setActiveTexture(int texture);

    int activeTexture = 0;
};

using TextureBasePtr = Keel::StrongPtr<TextureBase, Keel::Cacheable>;

/// Holds a texture for the cache, which may have it back.
class POLYPIA_EXPORT TextureCreator : public Keel::AlzheimerCreator<TextureBase> {
public:
    /// Without cache: nothing evicts the texture.
    TextureCreator();
    explicit TextureCreator(const Keel::WeakPtr<Keel::Cache, Keel::CacheBase>& cache);
    ~TextureCreator() override;

    /// Makes the texture by the Producer in the creator's table of interfaces, which is the only
    /// way; without one the creator becomes empty.
    TextureBasePtr create() override;
    /// Puts a texture in place of the present one.
    void setTexture(const TextureBasePtr& texture);
    /// Gives up the texture; it dies if nobody else holds it.
    void release();

    /// Stands for the absence of a texture: compare with it to tell that none has been assigned.
    static TextureCreator& INVALID();
};

} // namespace Mirk
