#pragma once
// What the display objects of this library have in common; stands on VRenderObject.

#include <Displays/export.hpp>

#include <Polypia/ClippingPlanes.hpp>
#include <Polypia/MultiviewRenderable.hpp>
#include <Polypia/PixelMargin.hpp>
#include <Polypia/Programmable.hpp>
#include <Polypia/RenderBasin.hpp>
#include <Polypia/RenderException.hpp>
#include <Polypia/VRenderObject.hpp>
#include <rookery/BoundingBox.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Mirk {

/// Why an object's inputs can't be drawn, for its report.
class DISPLAYS_EXPORT DisplayFailure : public RenderException {
public:
    explicit DisplayFailure(const std::string& reason);
    ~DisplayFailure() override;
};

/// An object that draws what its inputs hold, by one program and a polyp for each piece of the
/// data, for each pool and number of eyes in each Seagrass. It has a transformation, two clipping
/// planes, a box in each pool, and viewpoints around that: "front" (towards -z), "back", "left",
/// "right", "top" and "bottom".
///
/// A request reads the inputs, see update(). What goes to the GPU is relative to an origin near the
/// camera, see FloatOrigin: it follows when single precision would be seen in the picture, by a
/// tenth of a pixel at what is nearest (originThreshold()), whatever FloatOrigin's own threshold
/// is. Shaders see the views as LayeredMultiViews offers them. Pieces are of at most
/// `pieceVertices`: a frame with a small allowance of memory brings as many of them to the GPU as
/// fit, and draws these. If something else was drawn before, that stays as it is until all of the
/// new is on the GPU; then one takes the place of the other, in one frame. As long as there are
/// both, neither leaves the cache, unless the object isn't drawn for a while. Data that change
/// faster than they can go to the GPU are shown one after the other, those in between left out.
/// What the GPU has no memory for is reported once, and tried again in each frame, while what was
/// drawn before stays. Where the operator of its transformation says no, see
/// TransformOperator::Functor::begin(), nothing is drawn, whatever was there before.
///
/// Where the frames take too long (VRenderPrecision::precision below 1) an object that takes more
/// than a hundredth of their time draws itself with about that part of its vertices, the nearest
/// power of 1/2, until it would take less than half of that as a whole. It gets more vertices for
/// that only once it is needed.
///
/// A program that can't be compiled is reported once for each Seagrass, and drawing is false from
/// then on: the last good picture stays, and nothing is compiled until the program is to be another
/// one, but once in a hundred drawings if it isn't the text that fails. As long as something fails
/// wherever a pool is shown, "RenderStatus" tells of something that does, whatever was reported and
/// mended in between. Shaders may be edited while they are drawn, see Programmable: a file that has
/// changed is such a case, and as long as what it holds is faulty the last good program goes on,
/// with new data as well. Where that draws all that there is, safe_render() is true, though the
/// report stays.
class DISPLAYS_EXPORT DisplayObject : public VRenderObject,
                                      public MultiviewRenderable,
                                      public PixelMargin {
public:
    using point = Skua::PhysicalSpace::point;
    using vector = Skua::PhysicalSpace::vector;
    /// What there is to draw in one pool; it doesn't change.
    class DISPLAYS_EXPORT Content {
    public:
        /// `bounds` are those of the data, in world space.
        Content(const Skua::BoundingBox& dataBounds, std::size_t numberOfPieces);
        virtual ~Content();
        Content(const Content&) = delete;
        Content& operator=(const Content&) = delete;

        const Skua::BoundingBox bounds;
        const std::size_t pieces;

        /// How near to a place something is drawn, or less. Here the distance of the bounds.
        virtual double distanceFrom(const point& place) const;

        /// Bytes that a piece takes on the GPU at least, for the allowance to be asked ahead of
        /// filling it. Here 0: not known.
        virtual std::size_t leastBytes(std::size_t piece) const;
    };
    using ContentPtr = std::shared_ptr<const Content>;

    /// Vertices of a piece.
    static constexpr std::size_t pieceVertices = std::size_t{1} << 16U;

    ~DisplayObject() override;

    /// Reads the inputs, and publishes box and viewpoints, of which there are none round a box that
    /// is not finite. False if the inputs can't be drawn: the object then has neither, and each
    /// drawing ends with the reason, as a DisplayFailure.
    bool update(VRequest& request, double precision) override;

    bool safe_render(VRenderContext& context, double begin, double end) const override;
    using RenderAble::environment_render;
    /// Draws with the views of the context's current layer. False if not all of it could be drawn:
    /// ahead of the first update(), without a live Seagrass, or as long as a piece waits for
    /// VRenderContext::allowRendering(). A piece is filled if there is none, if the views or what
    /// the inputs ask for take another program, or if the data are others; but none behind one that
    /// was refused in the same frame.
    bool environment_render(VRenderContext& context) const override;
    /// Draws all views at once, as its programs know them all.
    bool multiview_render(VRenderContext& context, const LayeredMultiViews::ViewReferences& views,
                          SubContext& sub) override;

    /// Here 0.
    double marginPixels(const ValuePoolPtr& pool) const override;
    const ClippingPlanes& clippingPlanes() const noexcept { return _clippingPlanes; }
    /// What becomes of files for the main code of stages that aren't there.
    enum class MissingShaderFiles {
        Left,
        Requested ///< made, and empty, so that they are filled with the texts in use
    };
    /// The folder of the files that take part in the program, see Programmable; "" for the working
    /// directory. To be set ahead of the first drawing. Throws std::invalid_argument if that can't
    /// be one.
    void setShaderFolder(const std::string& folder,
                         MissingShaderFiles missing = MissingShaderFiles::Left);
    /// Whether a path has only letters that names of shaders keep, as others would be left out of
    /// it, and none that ends comments in their texts: ASCII without control characters and `*`.
    static bool canBeShaderFolder(const std::string& path);
    /// The files that took part in what was compiled last, also if that failed, with their times;
    /// those among them that aren't there may be made. For viewers that draw only when one has
    /// changed. Any thread, with the object's mutex free.
    Programmable::FileTimes shaderFiles() const;
    /// Whether the last drawing was whole, but by a program that is older than its files, as these
    /// are faulty. On the render thread, or between frames.
    bool isDrawnAsBefore() const noexcept { return _isDrawnAsBefore; }
    /// What the names of these files begin with, behind the folder.
    virtual std::string shaderStem() const = 0;

protected:
    /// What of the inputs takes another program when it changes; the low 16 bits are those of the
    /// class.
    using Form = std::uint32_t;
    static constexpr Form formOfClass = 0xFFFFU;
    static constexpr Form isClipped = 1U << 16U;
    static constexpr Form hasLevels = 1U << 17U; ///< can be drawn with fewer vertices
    /// First and number of what a painter draws, of the whole and of each half of what is before.
    using Levels = std::vector<std::pair<std::int32_t, std::int32_t>>;
    static constexpr std::size_t numberOfLevels = 7;
    /// Main code of the stages, for Programmable, in texts that last. Vertex stages find the views,
    /// TransformOperator's functions and cut() of clip.glsl; geometry stages the views, and CLIPPED
    /// is defined if they are to hand the clip distances on.
    struct Stages {
        std::string_view vertex;
        std::string_view fragment;
        std::string_view geometry = {}; ///< none if empty
        GeometryInputType input = NoGeometryInput;
        GeometryOutputType output = NoGeometryOutput;
        std::string defines = {};          ///< lines ahead of the code of all stages
        std::string vertexPrefix = {};     ///< what the vertex stage needs beside that
        std::string vertexExtensions = {}; ///< lines of the head
        std::string fragmentVersion = "330";
        /// Whether the fragment stage finds getLightAtVertex(), see Lighting.glsl. Then polyps are
        /// filled with a RenderBasin::Illumination.
        bool isLit = false;

        bool operator==(const Stages&) const = default;
    };
    struct Drawing {
        RenderBasin::PainterPtr painter; ///< a RangedPainter if there are several levels
        Levels levels;                   ///< of these one at least, if there are any
    };

    explicit DisplayObject(const std::string& name);

    /// What the inputs hold in a pool: the present one, which may be null, if the data are still
    /// the same. Throws std::runtime_error with the reason if they can't be drawn. With the
    /// object's mutex held.
    virtual ContentPtr read(const ValuePoolPtr& pool, const ContentPtr& present) const = 0;
    /// Here 0, for all pools.
    virtual Form form(const ValuePoolPtr& pool) const;
    /// The program for a form and data.
    virtual Stages stages(Form form, const Content& content) const = 0;
    /// Inserts attributes, parameters and painter behind the program, of vertices that are relative
    /// to `origin`. Without painter it has failed; it may throw a RenderException.
    virtual Drawing fill(Polyp& polyp, VRenderContext& context, RenderBasin::Program& program,
                         const Content& content, const point& origin, std::size_t piece,
                         Form form) const = 0;

private:
    struct PoolState;
    class Composer;
    class Compiled;
    using CompiledPtr = std::shared_ptr<Compiled>;
    class Filler;
    struct Generation;
    class Pieces;
    class Showing;
    class Showings;

    Keel::StrongPtr<State> newState() const override;
    Form wholeForm(const ValuePoolPtr& pool) const;
    std::size_t levelIn(VRenderContext& context, std::size_t drawnLevel) const;
    void announceViewpoints(const Skua::BoundingBox& box, const ValuePoolPtr& pool) const;

    const ClippingPlanes _clippingPlanes;
    std::string _shaderFolder;
    MissingShaderFiles _missingShaderFiles = MissingShaderFiles::Left;
    mutable bool _isDrawnAsBefore = false;     // by the render thread, as the next two
    mutable bool _isWell = false;              // nothing fails where it was drawn last
    mutable bool _hasThrown = false;           // what the last drawing has found to fail
    const std::unique_ptr<Showings> _showings; // of it, only render threads know
};

} // namespace Mirk
