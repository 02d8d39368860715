#pragma once
// Textures; internal to the backend, stands on Machine.

#include <Polypia/TextureModel.hpp>
#include <PolypiaGL/elementFormat.hpp>
#include <PolypiaGL/glBuffers.hpp>
#include <PolypiaGL/glMachine.hpp>

#include <optional>
#include <string>
#include <vector>

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
/// for the first time. What was bound to its unit comes back when it is deactivated.
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

    explicit GLTexture(MachinePtr machine);

    /// Makes the texture anew, or refills it if it has this shape already. An empty chunk leaves
    /// the texels undefined. Throws if the shape or the unit is beyond the driver's limits.
    void fill(const Shape& shape, int textureUnit, const RenderBasin::ChunkPtr& data);

    bool activate(const Polyp& polyp) override;
    bool deactivate(const Polyp& polyp) override;
    std::size_t memsize() const override;
    int getTextureUnit() const override { return _unit; }
    int getSamplerType() const override;
    bool setParameter(const std::string& key, const std::type_info& type, const void* value,
                      int number) override;
    RenderBasin::ChunkPtr readBack() const override;

    const MachinePtr& machine() const { return _machine; }

private:
    void checkLimits(const Shape& shape, int textureUnit) const;
    void allocate();
    void uploadSource() const;
    void uploadTexels(const Keel::ChunkBase& data) const;
    std::size_t texels() const;

    MachinePtr _machine;
    int _unit = 0;
    Shape _shape{};
    TextureId _id;
    mutable BufferMemory _buffer; // of a buffer texture
    mutable RenderBasin::ChunkPtr _source;
    /// A unit as it was found; one for each time that the texture is active.
    struct Caller {
        unsigned unit;
        unsigned target;
        unsigned texture;
    };
    std::vector<Caller> _callers;
};

/// Shape of a texture from the rows of a chunk; empty if it cannot be one.
std::optional<GLTexture::Shape> textureShape(const RenderBasin::ChunkPtr& data, int dimensions,
                                             int rowTexels,
                                             const RenderBasin::TextureStorageFormat& format);
std::optional<GLTexture::Shape> bufferTextureShape(const RenderBasin::ChunkPtr& data);
std::optional<GLTexture::Shape> targetTextureShape(int width, int height,
                                                   const RenderBasin::TextureStorageFormat& format);

} // namespace Mirk::GL
