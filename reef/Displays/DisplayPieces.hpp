#pragma once
// The polyps of a display object; stands on its programs and PolypCreator.

#include <Displays/DisplayPrograms.hpp>

#include <memory>
#include <vector>

namespace Mirk {

/// What of the inputs polyps are made for.
struct DisplayObject::Way {
    std::weak_ptr<const Content> content;
    Form form = 0;
    TransformOperator transform;

    bool isSame(const Way& other) const {
        return content.lock() == other.content.lock() && form == other.form &&
               transform.functor == other.transform.functor;
    }
};

/// A polyp for each piece of what is drawn in one way by one program. For the render thread.
class DisplayObject::Pieces {
public:
    Pieces(const DisplayObject& display, const Seagrass& seagrass, const Way& way,
           const Content& content, const CompiledPtr& compiled,
           const RenderBasin::ProgramPtr& program);
    ~Pieces();
    Pieces(const Pieces&) = delete;
    Pieces& operator=(const Pieces&) = delete;

    bool isOf(const Way& way, const RenderBasin::ProgramPtr& program) const;
    /// Whether none of the pieces can be drawn.
    bool isEmpty() const;

    /// Fills the pieces that have never been there, as far as the allowance of the frame goes. True
    /// if all have been there.
    bool prepare(VRenderContext& context, const Content& content);
    /// Fills what is missing in the same way, and draws what is there. True if that is all.
    bool draw(VRenderContext& context, const Content& content, std::size_t level);
    /// Draws what is there, of data that may have gone.
    void drawPresent(VRenderContext& context, std::size_t level) const;

private:
    friend class Filler;
    using PieceCreator = PolypCreator<Filler>;
    using PieceCreatorPtr = Keel::StrongPtr<PieceCreator, PolypCreatorBase::ReferenceRoot>;

    static bool isReady(const PieceCreator& creator);
    static PolypPtr provide(PieceCreator& creator, VRenderContext& context, const Content& content,
                            bool& isRefused);
    bool drawPiece(VRenderContext& context, const PieceCreator& creator, Polyp& polyp,
                   std::size_t level) const;

    const DisplayObject& _display;
    const Way _way;
    const point _origin;         // of the content
    const CompiledPtr _compiled; // to be there when it is asked for again
    const Keel::WeakPtr<RenderBasin::Program, Polyp::Tentacle> _program;
    std::vector<PieceCreatorPtr> _creators;
};

} // namespace Mirk
