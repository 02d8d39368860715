#include <Displays/DisplayPieces.hpp>

#include <Polypia/RenderTentacles.hpp>
#include <Polypia/VRenderContext.hpp>

#include <algorithm>
#include <tuple>

namespace Mirk {

namespace {

/// What the painter of a piece has, so that a wave without it ends ahead of the drawing.
constexpr Activity_t drawing = 1;

/// Of a wave, which counts the tentacles of all.
std::size_t passesOf(const Polyp& polyp) {
    return polyp.chunkElements > 0 ? std::max<std::size_t>(polyp.chunkCount, 1) : 1;
}

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
        _isThere = false;
        _isRefused = isRefusedAhead(polyp, context);
        if (_isRefused) return false;
        const DisplayObject& display = _pieces._display;
        const Generation& generation = _pieces._generation;
        const RenderBasin::ProgramPtr program(generation.program);
        polyp.insert(program);
        const Drawing filled = display.fill(polyp, context, *program, *_content, generation.origin,
                                            _piece, generation.form);
        if (!filled.painter || !bindViews(polyp, *program, context)) return false;
        if ((generation.form & isClipped) != 0) {
            display._clippingPlanes.initializeRelativePolyp(polyp, context,
                                                            generation.origin - point());
        }
        if (!generation.transform.initializePolyp(polyp, context)) return false;
        filled.painter->activityMask = drawing;
        const Keel::StrongPtr<RenderBasin::RangedPainter, Polyp::Tentacle> ranged(filled.painter);
        _painter = ranged;
        _levels = filled.levels;
        context.setNumberOfViews(polyp);
        return true;
    }
    bool isValidPolyp(const Polyp& polyp, VRenderContext& context, const PolypCreatorBase&) const {
        return context.isValid(polyp);
    }

    /// Whether the polyp may be brought to the GPU.
    bool admits(Polyp& polyp, VRenderContext& context) const {
        _isRefused = isRefusedWith(polyp, polyp.memsize(), context);
        return !_isRefused;
    }
    /// The polyp is on the GPU now. Only here it is taken from the allowance, as it isn't when the
    /// GPU has no memory for it.
    void noteUpload(Polyp& polyp, VRenderContext& context) const {
        _bytes = polyp.memsize();
        context.renderAllowance -= static_cast<std::int64_t>(_bytes);
        _isThere = true;
    }
    /// Of the last polyp that was there; 0 ahead of it.
    std::size_t bytes() const { return _bytes; }
    /// Whether the last polyp was brought to the GPU; it may be gone.
    bool isThere() const { return _isThere; }
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
    static bool isRefusedWith(Polyp& polyp, std::size_t bytes, VRenderContext& context) {
        const bool isPossible =
            !context.isCancelled() && context.renderAllowance >= static_cast<std::int64_t>(bytes);
        if (isPossible) return false;
        // Asked all the same: a viewer counts what it has refused.
        polyp.expectMemsize(bytes);
        context.allowRendering(polyp);
        return true;
    }
    /// Nothing is filled in vain whose size is known, from the last time or from the data.
    bool isRefusedAhead(Polyp& polyp, VRenderContext& context) const {
        return isRefusedWith(polyp, std::max(polyp.memsize(), _content->leastBytes(_piece)),
                             context);
    }

    const Pieces& _pieces;
    const std::size_t _piece;
    mutable const Content* _content = nullptr;
    mutable Keel::WeakPtr<RenderBasin::RangedPainter, Polyp::Tentacle> _painter;
    mutable Levels _levels;
    mutable std::size_t _bytes = 0;
    mutable bool _isThere = false;
    mutable bool _isRefused = false;
    mutable LayeredMultiViews::ViewReferences _views;
};

DisplayObject::Pieces::Pieces(const DisplayObject& display, const Seagrass& seagrass,
                              const Generation& generation, const Content& content,
                              const CompiledPtr& compiled, const LightsPtr& lights)
    : _display(display),
      _generation(generation),
      _compiled(compiled),
      _lights(lights),
      _creators(creatorsFor(*this, seagrass, content.pieces)),
      _lease(newLease()) {}

DisplayObject::Pieces::~Pieces() = default;

std::vector<DisplayObject::Pieces::PieceCreatorPtr>
DisplayObject::Pieces::creatorsFor(const Pieces& pieces, const Seagrass& seagrass,
                                   std::size_t number) {
    std::vector<PieceCreatorPtr> creators;
    for (std::size_t piece = 0; piece < number; ++piece) {
        creators.emplace_back(new PieceCreator(seagrass, {}, pieces, piece));
    }
    return creators;
}

Exchanges::LeasePtr DisplayObject::Pieces::newLease() const {
    std::vector<Keel::WeakPtr<PolypCreatorBase>> creators(_creators.begin(), _creators.end());
    return std::make_shared<Exchanges::Lease>(std::move(creators));
}

void DisplayObject::Pieces::replaceLights(const CompiledPtr& compiled, const LightsPtr& lights) {
    if (compiled == _compiled) _lights = lights;
}

bool DisplayObject::Pieces::isReady(const PieceCreator& creator) {
    return creator.isThere() && creator.hasData();
}

bool DisplayObject::Pieces::isEmpty() const {
    return std::none_of(_creators.begin(), _creators.end(),
                        [](const PieceCreatorPtr& creator) { return isReady(*creator); });
}

std::size_t DisplayObject::Pieces::bytes() const {
    std::size_t bytes = 0;
    for (const PieceCreatorPtr& creator : _creators) bytes += creator->bytes();
    return bytes;
}

std::size_t DisplayObject::Pieces::missingBytes(const Content& content) const {
    std::size_t bytes = 0;
    for (std::size_t piece = 0; piece < _creators.size(); ++piece) {
        const PieceCreator& creator = *_creators[piece];
        if (!isReady(creator)) bytes += std::max(creator.bytes(), content.leastBytes(piece));
    }
    return bytes;
}

/// What is on the GPU; null if it has to wait. Behind a refusal or a failure nothing is filled.
PolypPtr DisplayObject::Pieces::provide(PieceCreator& creator, VRenderContext& context,
                                        const Content& content, Supply& supply) const {
    const bool wasReady = isReady(creator);
    if (supply.isStopped && !wasReady) return {};
    try {
        creator.setContent(content);
        const PolypPtr polyp = creator.acquire(context);
        if (polyp && creator.isThere()) return polyp;
        const PolypPtr uploaded =
            polyp && creator.admits(*polyp, context) ? upload(polyp, creator, context) : PolypPtr();
        supply.isStopped = creator.isRefused();
        if (supply.isStopped) (context.isCancelled() ? supply.isCut : supply.isRefused) = true;
        supply.isMoving = supply.isMoving || uploaded;
        supply.isStuck = supply.isStuck || (!uploaded && !supply.isStopped);
        return uploaded;
    } catch (...) {
        supply.isStopped = supply.isStuck = true;
        if (!supply.failure) supply.failure = std::current_exception();
        return {};
    }
}

/// By a wave that draws nothing. Null if a value can't be had for it, or if something refuses to be
/// activated: it stays, and is tried again.
PolypPtr DisplayObject::Pieces::upload(const PolypPtr& polyp, PieceCreator& creator,
                                       VRenderContext& context) const {
    if (!update(context, creator, *polyp)) return {};
    const std::size_t wanted =
        polyp->NumberOfTentacles(Polyp::TimerKey, Polyp::PainterKey - 1, ~drawing) *
        passesOf(*polyp);
    try {
        if (static_cast<std::size_t>(polyp->wave(~drawing)) < wanted) return {};
    } catch (...) {
        // What of it is on the GPU already is memory that others may have.
        creator.forget();
        throw;
    }
    creator.noteUpload(*polyp, context);
    polyp->pin(_lease->isKept());
    return polyp;
}

bool DisplayObject::Pieces::prepare(VRenderContext& context, const Content& content,
                                    Supply& supply) {
    bool hasBegun = false;
    const bool areAllThere = _generation.transform.draw(context, [&] {
        hasBegun = true;
        bool areThere = true;
        for (const PieceCreatorPtr& creator : _creators) {
            areThere = provide(*creator, context, content, supply) && areThere;
        }
        return areThere;
    });
    if (!hasBegun) supply.isStopped = supply.isStuck = true;
    return areAllThere;
}

bool DisplayObject::Pieces::draw(VRenderContext& context, const Content& content, std::size_t level,
                                 Supply& supply) {
    bool hasBegun = false;
    const bool isWhole = _generation.transform.draw(context, [&] {
        hasBegun = true;
        for (const PieceCreatorPtr& creator : _creators) {
            const PolypPtr polyp = provide(*creator, context, content, supply);
            const bool isDrawn = polyp && drawPiece(context, *creator, *polyp, level, supply);
            supply.isPartly = supply.isPartly || !isDrawn;
        }
        return !supply.isPartly;
    });
    if (!hasBegun) supply.isStopped = supply.isPartly = true;
    return isWhole;
}

void DisplayObject::Pieces::drawPresent(VRenderContext& context, std::size_t level,
                                        Supply& supply) const {
    bool hasBegun = false;
    _generation.transform.draw(context, [&] {
        hasBegun = true;
        for (const PieceCreatorPtr& creator : _creators) {
            const PolypPtr polyp = isReady(*creator) ? creator->getPolyp() : PolypPtr();
            const bool isDrawn = polyp && drawPiece(context, *creator, *polyp, level, supply);
            supply.isPartly = supply.isPartly || !isDrawn;
        }
        return true;
    });
    supply.isPartly = supply.isPartly || !hasBegun;
}

bool DisplayObject::Pieces::update(VRenderContext& context, const PieceCreator& creator,
                                   Polyp& polyp) const {
    context.updateTranslatedViews(polyp, creator.viewsOf(context), point() - _generation.origin);
    const RenderBasin::ProgramPtr program(_generation.program);
    if (!program) return false;
    mergeLights(polyp, *program);
    // Places of lights are relative to what the vertices are relative to.
    _compiled->tellOrigin(program, _generation.origin);
    return polyp.updateValues(context);
}

/// What fails is no reason to leave out the others. Nothing is drawn by a wave that ends at
/// something which refuses to be activated.
bool DisplayObject::Pieces::drawPiece(VRenderContext& context, const PieceCreator& creator,
                                      Polyp& polyp, std::size_t level, Supply& supply) const {
    try {
        creator.setLevel(level);
        if (!update(context, creator, polyp)) return false;
        const std::size_t wanted =
            polyp.NumberOfTentacles(Polyp::TimerKey, Polyp::PainterKey, ~Activity_t{0}) *
            passesOf(polyp);
        const bool isPainted = static_cast<std::size_t>(polyp.wave(~Activity_t{0})) >= wanted;
        polyp.complete(context);
        return isPainted;
    } catch (...) {
        if (!supply.notDrawn) supply.notDrawn = std::current_exception();
        return false;
    }
}

/// Brings the lights to the program, if the piece has a part in them. They are those that its text
/// was made for: while others wait for their program, or that is faulty, these shine on. Once one
/// of them has gone nothing can number the others, which stay as they are.
void DisplayObject::Pieces::mergeLights(const Polyp& polyp, RenderBasin::Program& program) const {
    if (!RenderBasin::Illumination::get(polyp)) return;
    if (_lights->empty() && program.IlluminationUniformNames.empty()) return;
    const bool areAllThere = std::all_of(_lights->begin(), _lights->end(),
                                         [](const auto& light) { return bool(light); });
    if (areAllThere) RenderBasin::mergeIlluminationUniforms(*_lights, program);
}

} // namespace Mirk
