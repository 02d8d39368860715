#pragma once
// The polyps of a display object; stands on its programs and PolypCreator.

#include <Displays/DisplayPrograms.hpp>
#include <Displays/Exchanges.hpp>

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

using LightsPtr = std::shared_ptr<const RenderBasin::Lighting>;

/// The pieces of one generation, a polyp for each. For the render thread.
class DisplayObject::Pieces {
public:
    /// What became of what was to go to the GPU in one frame.
    struct Supply {
        bool isStopped = false; ///< nothing, or nothing more, goes there in this frame
        bool isMoving = false;  ///< something went there
        bool isStuck = false;   ///< something can't be filled or activated
        bool isRefused = false; ///< something waits for the allowance of another frame
        bool isCut = false;     ///< something was left out at the end of the frame's time
        bool isPartly = false;  ///< something isn't drawn, whatever the reason
        // The first ones.
        std::exception_ptr failure = nullptr;  ///< why something isn't there
        std::exception_ptr notDrawn = nullptr; ///< why something that is there isn't drawn
    };

    /// The lights are those of the program's text.
    Pieces(const DisplayObject& display, const Seagrass& seagrass, const Generation& generation,
           const Content& content, const CompiledPtr& compiled, const LightsPtr& lights);
    ~Pieces();
    Pieces(const Pieces&) = delete;
    Pieces& operator=(const Pieces&) = delete;

    bool isOf(const Generation& generation) const { return _generation.isSame(generation); }
    const Generation& generation() const { return _generation; }
    /// Other lights for the same text.
    void replaceLights(const CompiledPtr& compiled, const LightsPtr& lights);
    /// Whether none of the pieces can be drawn.
    bool isEmpty() const;
    /// What has gone to the GPU, each piece once.
    std::size_t bytes() const;
    /// What the pieces that aren't there take, as far as that is known.
    std::size_t missingBytes(const Content& content) const;
    /// Has the cache evict none of those that are there or come, as long as this is called for each
    /// drawing.
    void keep(Exchanges& all) { all.renew(_lease); }
    void endKeeping() { _lease->end(); }

    /// Brings the pieces that are missing to the GPU, as far as the allowance of the frame goes,
    /// and draws nothing. True if all are there, and can be drawn.
    bool prepare(VRenderContext& context, const Content& content, Supply& supply);
    /// Brings what is missing to the GPU in the same way, and draws what is there. True if that is
    /// all.
    bool draw(VRenderContext& context, const Content& content, std::size_t level, Supply& supply);
    /// Draws what is there, of data that may have gone.
    void drawPresent(VRenderContext& context, std::size_t level, Supply& supply) const;

private:
    friend class Filler;
    using PieceCreator = PolypCreator<Filler>;
    using PieceCreatorPtr = Keel::StrongPtr<PieceCreator, PolypCreatorBase::ReferenceRoot>;

    static std::vector<PieceCreatorPtr> creatorsFor(const Pieces& pieces, const Seagrass& seagrass,
                                                    std::size_t number);
    Exchanges::LeasePtr newLease() const;
    static bool isReady(const PieceCreator& creator);
    PolypPtr provide(PieceCreator& creator, VRenderContext& context, const Content& content,
                     Supply& supply) const;
    PolypPtr upload(const PolypPtr& polyp, PieceCreator& creator, VRenderContext& context) const;
    bool update(VRenderContext& context, const PieceCreator& creator, Polyp& polyp) const;
    bool drawPiece(VRenderContext& context, const PieceCreator& creator, Polyp& polyp,
                   std::size_t level, Supply& supply) const;
    void mergeLights(const Polyp& polyp, RenderBasin::Program& program) const;

    const DisplayObject& _display;
    const Generation _generation;
    const CompiledPtr _compiled; // to be there when it is asked for again
    LightsPtr _lights;
    const std::vector<PieceCreatorPtr> _creators;
    const Exchanges::LeasePtr _lease;
};

} // namespace Mirk
