#pragma once
// Textures; internal to the backend, stands on Machine.

#include <Polypia/TextureModel.hpp>
#include <PolypiaGL/elementFormat.hpp>
#include <PolypiaGL/glBuffers.hpp>
#include <PolypiaGL/glMachine.hpp>

#include <optional>
#include <string>

namespace Mirk::GL {

/// What OpenGL makes of a TextureStorageFormat.
struct TextureFormat {
    unsigned internal; ///< GL_RGBA8 and so on
    bool isInteger;
};

/// The format in the numbers of OpenGL; for a colour mode without colours, and an automatic one,
/// the number of channels of the data decides. Empty for what OpenGL does not have, which is a
/// floating point precision asked for as integers.
std::optional<TextureFormat> textureFormat(const RenderBasin::TextureStorageFormat& format,
                                           int dataChannels);

/// A texture of one or two dimensions, or over a buffer. Its data are uploaded when it is activated
/// for the first time.
class GLTexture : public RenderBasin::TextureTentacle {
public:
    /// `target`: GL_TEXTURE_1D, GL_TEXTURE_2D or GL_TEXTURE_BUFFER. Sizes in texels.
    struct Shape {
        unsigned target;
        int width;
        int height;
        TextureFormat format;
        unsigned dataFormat; ///< GL_RED and so on; that of the data
        ElementFormat element;
    };

    GLTexture(MachinePtr machine, int textureUnit);

    /// Makes the texture anew, or refills it if it has this shape already. An empty chunk leaves
    /// the texels undefined.
    void fill(const Shape& shape, const RenderBasin::ChunkPtr& data);

    bool activate(const Polyp& polyp) override;
    bool deactivate(const Polyp& polyp) override;
    std::size_t memsize() const override;
    std::size_t NumberOfElements() const override { return 0; }
    int getTextureUnit() const override { return _unit; }
    int getSamplerType() const override;
    bool setParameter(const std::string& key, const std::type_info& type, const void* value,
                      int number) override;
    RenderBasin::ChunkPtr readBack() const override;

    unsigned number() const { return _id.number(); }

private:
    void uploadSource() const;
    void uploadTexels(const Keel::ChunkBase& data) const;
    std::size_t texels() const;

    MachinePtr _machine;
    int _unit;
    Shape _shape{};
    TextureId _id;
    mutable BufferMemory _buffer; // of a buffer texture
    mutable RenderBasin::ChunkPtr _source;
};

/// Shape of a texture from the rows of a chunk; empty if it cannot be one.
std::optional<GLTexture::Shape> textureShape(const RenderBasin::ChunkPtr& data, int dimensions,
                                             int rowTexels,
                                             const RenderBasin::TextureStorageFormat& format);
std::optional<GLTexture::Shape> bufferTextureShape(const RenderBasin::ChunkPtr& data);
std::optional<GLTexture::Shape> targetTextureShape(int width, int height,
                                                   const RenderBasin::TextureStorageFormat& format);

} // namespace Mirk::GL
