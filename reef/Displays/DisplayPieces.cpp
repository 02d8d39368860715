#include <Displays/DisplayPieces.hpp>

#include <Polypia/RenderTentacles.hpp>
#include <Polypia/VRenderContext.hpp>

#include <algorithm>
#include <tuple>

namespace Mirk {

namespace {

/// Has a program read the views. False without a Seagrass, where the buffer is.
bool bindViews(Polyp& polyp, RenderBasin::Program& program, VRenderContext& context) {
    const UniformBufferPtr views =
        context.mkUniformBuffer("MultiView", [&] { return context.createUniformBuffer(0); });
    if (!polyp.insert(views)) return false;
    program.bindUniformBlock("MultiView", views);
    return true;
}

} // namespace

/// Fills the polyp of a piece. What it holds is for the render thread, and nothing of it is GPU
/// state: that belongs to the polyp alone.
class DISPLAYS_EXPORT DisplayObject::Filler {
public:
    Filler(const Pieces& pieces, std::size_t piece) : _pieces(pieces), _piece(piece) {}

    /// For the next acquire() alone.
    void setContent(const Content& content) const { _content = &content; }

    bool initializePolyp(Polyp& polyp, VRenderContext& context) const {
        _isAdmitted = false;
        _isRefused = isRefusedAhead(polyp, context);
        if (_isRefused) return false;
        const DisplayObject& display = _pieces._display;
        const Form form = _pieces._way.form;
        const RenderBasin::ProgramPtr program(_pieces._program);
        polyp.insert(program);
        const Drawing drawing = display.fill(polyp, context, *program, *_content, _piece, form);
        if (!drawing.painter || !bindViews(polyp, *program, context)) return false;
        if ((form & isClipped) != 0) {
            display._clippingPlanes.initializeRelativePolyp(polyp, context,
                                                            _content->origin - point());
        }
        if (!_pieces._way.transform.initializePolyp(polyp, context)) return false;
        const Keel::StrongPtr<RenderBasin::RangedPainter, Polyp::Tentacle> ranged(drawing.painter);
        _painter = ranged;
        _levels = drawing.levels;
        context.setNumberOfViews(polyp);
        return true;
    }
    bool isValidPolyp(const Polyp& polyp, VRenderContext& context, const PolypCreatorBase&) const {
        return context.isValid(polyp);
    }

    /// Whether the polyp may be brought to the GPU, or is there already.
    bool admit(Polyp& polyp, VRenderContext& context) const {
        if (!_isAdmitted) _isAdmitted = context.allowRendering(polyp);
        _isRefused = !_isAdmitted;
        return _isAdmitted;
    }
    /// Whether the last polyp was admitted; it may be gone.
    bool isAdmitted() const { return _isAdmitted; }
    /// Whether the last polyp was refused, ahead of its filling or after that.
    bool isRefused() const { return _isRefused; }
    void setLevel(std::size_t level) const {
        const Keel::StrongPtr<RenderBasin::RangedPainter, Polyp::Tentacle> painter(_painter);
        if (!painter || _levels.empty()) return;
        std::tie(painter->first, painter->count) = _levels[std::min(level, _levels.size() - 1)];
    }
    /// Those of the current layer; in a place that lasts, to spare each frame an allocation.
    const LayeredMultiViews::ViewReferences& viewsOf(const VRenderContext& context) const {
        _views.clear();
        for (unsigned eye = 0; eye < context.EyeViews.size(); ++eye) {
            _views.emplace_back(context.CurrentView(eye, 0));
        }
        return _views;
    }

private:
    /// Nothing is filled in vain whose size is known, from the last time or from the data.
    bool isRefusedAhead(Polyp& polyp, VRenderContext& context) const {
        const std::size_t bytes = std::max(polyp.memsize(), _content->leastBytes(_piece));
        const bool isPossible =
            !context.isCancelled() && context.renderAllowance >= static_cast<std::int64_t>(bytes);
        if (isPossible) return false;
        // Asked all the same: a viewer counts what it has refused.
        polyp.expectMemsize(bytes);
        return !context.allowRendering(polyp);
    }

    const Pieces& _pieces;
    const std::size_t _piece;
    mutable const Content* _content = nullptr;
    mutable Keel::WeakPtr<RenderBasin::RangedPainter, Polyp::Tentacle> _painter;
    mutable Levels _levels;
    mutable bool _isAdmitted = false;
    mutable bool _isRefused = false;
    mutable LayeredMultiViews::ViewReferences _views;
};

DisplayObject::Pieces::Pieces(const DisplayObject& display, const Seagrass& seagrass,
                              const Way& way, const Content& content, const CompiledPtr& compiled,
                              const RenderBasin::ProgramPtr& program)
    : _display(display),
      _way(way),
      _origin(content.origin),
      _compiled(compiled),
      _program(program) {
    for (std::size_t piece = 0; piece < content.pieces; ++piece) {
        _creators.emplace_back(new PieceCreator(seagrass, {}, *this, piece));
    }
}

DisplayObject::Pieces::~Pieces() = default;

bool DisplayObject::Pieces::isOf(const Way& way, const RenderBasin::ProgramPtr& program) const {
    return _way.isSame(way) &&
           _program == Keel::WeakPtr<RenderBasin::Program, Polyp::Tentacle>(program);
}

bool DisplayObject::Pieces::isReady(const PieceCreator& creator) {
    return creator.isAdmitted() && creator.hasData();
}

bool DisplayObject::Pieces::isEmpty() const {
    return std::none_of(_creators.begin(), _creators.end(),
                        [](const PieceCreatorPtr& creator) { return isReady(*creator); });
}

/// What may be drawn; null if it has to wait. Behind a refusal nothing is filled.
PolypPtr DisplayObject::Pieces::provide(PieceCreator& creator, VRenderContext& context,
                                        const Content& content, bool& isRefused) {
    if (isRefused && !isReady(creator)) return {};
    creator.setContent(content);
    PolypPtr polyp = creator.acquire(context);
    if (polyp && creator.admit(*polyp, context)) return polyp;
    isRefused = isRefused || creator.isRefused();
    return {};
}

bool DisplayObject::Pieces::prepare(VRenderContext& context, const Content& content) {
    bool isRefused = false;
    bool haveAllBeenThere = true;
    for (const PieceCreatorPtr& creator : _creators) {
        // One that was evicted since is filled again when it is drawn: where there is no room for
        // all at once they would never be complete.
        if (creator->isAdmitted()) continue;
        const PolypPtr polyp = provide(*creator, context, content, isRefused);
        haveAllBeenThere = haveAllBeenThere && polyp;
    }
    return haveAllBeenThere;
}

bool DisplayObject::Pieces::draw(VRenderContext& context, const Content& content,
                                 std::size_t level) {
    return _way.transform.draw(context, [&] {
        bool isRefused = false;
        bool areAllDrawn = true;
        for (const PieceCreatorPtr& creator : _creators) {
            const PolypPtr polyp = provide(*creator, context, content, isRefused);
            const bool isDrawn = polyp && drawPiece(context, *creator, *polyp, level);
            areAllDrawn = areAllDrawn && isDrawn;
        }
        return areAllDrawn;
    });
}

void DisplayObject::Pieces::drawPresent(VRenderContext& context, std::size_t level) const {
    _way.transform.draw(context, [&] {
        for (const PieceCreatorPtr& creator : _creators) {
            if (!isReady(*creator)) continue;
            if (const PolypPtr polyp = creator->getPolyp()) {
                drawPiece(context, *creator, *polyp, level);
            }
        }
        return true;
    });
}

bool DisplayObject::Pieces::drawPiece(VRenderContext& context, const PieceCreator& creator,
                                      Polyp& polyp, std::size_t level) const {
    creator.setLevel(level);
    context.updateTranslatedViews(polyp, creator.viewsOf(context), point() - _origin);
    if (!polyp.updateValues(context)) return false;
    polyp.wave(~Activity_t{0});
    polyp.complete(context);
    return true;
}

} // namespace Mirk
