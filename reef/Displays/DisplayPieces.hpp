#pragma once
// The polyps of a display object; stands on its programs and PolypCreator.

#include <Displays/DisplayPrograms.hpp>

#include <exception>
#include <memory>
#include <vector>

namespace Mirk {

/// All that polyps are made for: where one of these is another, all of them are made anew.
struct DisplayObject::Generation {
    std::weak_ptr<const Content> content;
    point origin{}; ///< that vertices are relative to
    Form form = 0;
    TransformOperator transform;
    Keel::WeakPtr<RenderBasin::Program, Polyp::Tentacle> program = {};

    /// But for the program, which comes of the others and of files.
    bool isOfSameInputs(const Generation& other) const {
        return content.lock() == other.content.lock() && origin == other.origin &&
               form == other.form && transform.functor == other.transform.functor;
    }
    bool isSame(const Generation& other) const {
        return isOfSameInputs(other) && program == other.program;
    }
};

/// The pieces of one generation, a polyp for each. For the render thread.
class DisplayObject::Pieces {
public:
    /// What became of what was to go to the GPU in one frame.
    struct Supply {
        bool isStopped = false; ///< nothing more goes there in this frame
        std::exception_ptr failure = nullptr;
    };

    Pieces(const DisplayObject& display, const Seagrass& seagrass, const Generation& generation,
           const Content& content, const CompiledPtr& compiled);
    ~Pieces();
    Pieces(const Pieces&) = delete;
    Pieces& operator=(const Pieces&) = delete;

    bool isOf(const Generation& generation) const { return _generation.isSame(generation); }
    const Generation& generation() const { return _generation; }
    /// Whether none of the pieces can be drawn.
    bool isEmpty() const;
    /// While they are kept, the cache evicts none of those that are there or come.
    void keep(bool kept);

    /// Brings the pieces that are missing to the GPU, as far as the allowance of the frame goes,
    /// and draws nothing. True if all are there, and can be drawn.
    bool prepare(VRenderContext& context, const Content& content, Supply& supply);
    /// Brings what is missing to the GPU in the same way, and draws what is there. True if that is
    /// all.
    bool draw(VRenderContext& context, const Content& content, std::size_t level, Supply& supply);
    /// Draws what is there, of data that may have gone.
    void drawPresent(VRenderContext& context, std::size_t level) const;

private:
    friend class Filler;
    using PieceCreator = PolypCreator<Filler>;
    using PieceCreatorPtr = Keel::StrongPtr<PieceCreator, PolypCreatorBase::ReferenceRoot>;

    static bool isReady(const PieceCreator& creator);
    PolypPtr provide(PieceCreator& creator, VRenderContext& context, const Content& content,
                     Supply& supply) const;
    PolypPtr upload(const PolypPtr& polyp, PieceCreator& creator, VRenderContext& context) const;
    bool update(VRenderContext& context, const PieceCreator& creator, Polyp& polyp) const;
    bool drawPiece(VRenderContext& context, const PieceCreator& creator, Polyp& polyp,
                   std::size_t level) const;
    static void mergeLights(const Polyp& polyp, const VRenderContext& context,
                            RenderBasin::Program& program);

    const DisplayObject& _display;
    const Generation _generation;
    const CompiledPtr _compiled; // to be there when it is asked for again
    bool _isKept = false;
    std::vector<PieceCreatorPtr> _creators;
};

} // namespace Mirk
