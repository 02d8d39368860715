#include <Displays/DisplayShowings.hpp>

#include <Displays/displayData.hpp>
#include <Displays/originThreshold.hpp>

#include <Polypia/FloatOrigin.hpp>
#include <Polypia/Seagrass.hpp>
#include <Polypia/VRenderContext.hpp>

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

namespace Mirk {

namespace {

/// Empty if it is no RenderException.
std::string reportOf(const std::exception_ptr& failure) {
    if (!failure) return {};
    try {
        std::rethrow_exception(failure);
    } catch (const RenderException& exception) {
        return exception.str();
    } catch (...) {
        return {};
    }
}

} // namespace

DisplayObject::Showing::Showing(const Seagrass& seagrass, const VRenderContext& context)
    : _seagrass(seagrass),
      _pool(context.pool),
      _eyes(context.EyeViews.size()),
      _outputViews(context.OutputViews),
      _takesFiles(context.ShaderFileOverrides) {}

bool DisplayObject::Showing::isFor(const Seagrass& seagrass, const VRenderContext& context) const {
    return isIn(seagrass) && isOf(context.pool) && _eyes == context.EyeViews.size() &&
           _outputViews == context.OutputViews && _takesFiles == context.ShaderFileOverrides;
}

bool DisplayObject::Showing::isIn(const Seagrass& seagrass) const {
    return _seagrass == Keel::WeakPtr<Seagrass>(seagrass);
}

bool DisplayObject::Showing::isOf(const ValuePoolPtr& pool) const {
    return _pool == Keel::WeakPtr<ValuePool>(pool);
}

bool DisplayObject::Showing::isAlive() const {
    return _seagrass && _pool;
}

bool DisplayObject::Showing::clear() {
    _coming.reset();
    _shown.reset();
    return !_compiled || !_compiled->failure();
}

bool DisplayObject::Showing::isOriginComing() const {
    return _coming && _shown && _coming->generation().origin != _shown->generation().origin;
}

/// By the eye that is in the greatest need of an origin near to it.
DisplayObject::point DisplayObject::Showing::originIn(VRenderContext& context,
                                                      const ContentPtr& content,
                                                      bool isTransformed) {
    vector origin = FloatOrigin::getTranslationVector(_place);
    if (isOriginComing()) return point() + origin;
    _nearest.resize(context.EyeViews.size());
    std::optional<unsigned> needing;
    double least = std::numeric_limits<double>::infinity();
    for (unsigned eye = 0; eye < _nearest.size(); ++eye) {
        const VCamera& camera = context.CurrentView(eye, 0).camera;
        if (!isFinite(camera.position)) continue;
        // Where an operator puts things is not known, but they are what is looked at.
        const double nearest = isTransformed ? norm(camera.lookAt - camera.position)
                                             : nearestTo(eye, camera.position, content);
        const double threshold = originThreshold(context, eye, nearest);
        const bool isFar = norm(camera.position - point() - origin) > threshold;
        if (!isFar || threshold >= least) continue;
        needing = eye;
        least = threshold;
    }
    if (!needing) return point() + origin;
    const unsigned currentEye = std::exchange(context.CurrentEye, *needing);
    FloatOrigin::getTranslationVector(context, _place, origin, least);
    context.CurrentEye = currentEye;
    return point() + origin;
}

/// Looks through the content only if the camera or the content is another one.
double DisplayObject::Showing::nearestTo(unsigned eye, const point& camera,
                                         const ContentPtr& content) {
    Nearest& nearest = _nearest[eye];
    if (nearest.content.lock() != content || !(nearest.camera == camera)) {
        nearest = {content, camera, content->distanceFrom(camera)};
    }
    return nearest.distance;
}

bool DisplayObject::Showing::isOther(const Generation& generation) const {
    return !_compiled || !_wanted.isOfSameInputs(generation);
}

void DisplayObject::Showing::setWanted(const Generation& generation, const CompiledPtr& compiled) {
    _wanted = generation;
    _compiled = compiled;
}

DisplayObject::Showing::Drawn DisplayObject::Showing::draw(const DisplayObject& display,
                                                           VRenderContext& context,
                                                           const Content& content) {
    _wanted.program = _compiled->program(context);
    const bool isWhole = drawBest(display, context, content);
    const std::exception_ptr notCompiled = _compiled->failure();
    display._isDrawnAsBefore = isWhole && notCompiled;
    return {isWhole, notCompiled ? notCompiled : _notSupplied};
}

bool DisplayObject::Showing::drawBest(const DisplayObject& display, VRenderContext& context,
                                      const Content& content) {
    if (!_wanted.program) {
        // Nothing else may ever be drawn.
        if (_shown) _shown->keep(true);
        drawShown(context);
        return false;
    }
    provideWanted(display, content);
    Pieces::Supply supply;
    if (_coming && _coming->prepare(context, content, supply)) showComing();
    const bool isWhole = !_coming && _shown->draw(context, content, level, supply);
    if (_coming) drawShown(context);
    noteSupply(supply.failure);
    return isWhole;
}

void DisplayObject::Showing::drawShown(VRenderContext& context) const {
    if (_shown) _shown->drawPresent(context, level);
}

/// Has what is wanted be what is shown or coming. What can't be drawn is not worth to be kept on
/// show.
void DisplayObject::Showing::provideWanted(const DisplayObject& display, const Content& content) {
    if (_shown && _shown->isOf(_wanted)) return setComing({});
    if (_shown && _shown->isEmpty()) showComing();
    const Pieces* const last = _coming ? _coming.get() : _shown.get();
    if (last != nullptr && last->isOf(_wanted)) return;
    const Keel::StrongPtr<Seagrass> seagrass(_seagrass);
    auto pieces = std::make_unique<Pieces>(display, *seagrass, _wanted, content, _compiled);
    if (_shown) return setComing(std::move(pieces));
    _shown = std::move(pieces);
}

void DisplayObject::Showing::setComing(std::unique_ptr<Pieces> pieces) {
    _coming = std::move(pieces);
    // Neither is of use in parts: what the cache evicts of the one that is shown may never come
    // back, and the other would never be complete.
    _shown->keep(bool(_coming));
    if (_coming) _coming->keep(true);
}

void DisplayObject::Showing::showComing() {
    _shown = std::move(_coming);
    if (_shown) _shown->keep(false);
}

/// What fails in the same way in each frame is one failure.
void DisplayObject::Showing::noteSupply(const std::exception_ptr& failure) {
    const std::string text = reportOf(failure);
    const bool isSame = !text.empty() && text == reportOf(_notSupplied);
    if (!isSame) _notSupplied = failure;
}

bool DisplayObject::Showings::draw(VRenderContext& context, const Seagrass& seagrass,
                                   const ContentPtr& content) {
    Showing& showing = showingFor(seagrass, context);
    showing.level = _display.levelIn(context, showing.level);
    showing.needsLevels = showing.needsLevels || showing.level > 0;
    const Form form = _display.wholeForm(context.pool);
    const TransformOperator transform = _display.transformIn(context.pool);
    const Generation wanted{content, showing.originIn(context, content, bool(transform.functor)),
                            form | (showing.needsLevels ? hasLevels : 0), transform};
    // Other lights are another text for those who ask for light; nothing is compiled for the same.
    if (showing.isOther(wanted) || !context.hasValidLighting(showing)) {
        showing.rejuvenate(); // first: what changes meanwhile is not to be missed
        try {
            showing.setWanted(wanted,
                              compiledFor(context, seagrass, *content, form, wanted.transform));
        } catch (...) {
            showing.setWanted({}, {}); // to be tried again
            throw;
        }
    }
    const Showing::Drawn drawn = showing.draw(_display, context, *content);
    if (tell(seagrass, context.pool, drawn.failure)) {
        _display._hasThrown = true;
        std::rethrow_exception(drawn.failure);
    }
    const bool isAllWell = std::none_of(_told.begin(), _told.end(), [&](const Told& told) {
        return told.pool == Keel::WeakPtr<ValuePool>(context.pool);
    });
    _display._isWell = drawn.isWhole && !drawn.failure;
    return _display._isWell && isAllWell;
}

/// Notes what fails now, which is null if nothing does. Whether it is to be thrown.
bool DisplayObject::Showings::tell(const Seagrass& seagrass, const ValuePoolPtr& pool,
                                   const std::exception_ptr& failure) {
    if (_told.empty() && !failure) return false;
    // Where nothing has been drawn for so long the pool isn't shown any more.
    constexpr std::uint64_t aLongWhile = 1000;
    std::erase_if(_told, [&](const Told& told) {
        return !told.seagrass || !told.pool || told.drawing + aLongWhile < _allDrawings;
    });
    const auto known = std::find_if(_told.begin(), _told.end(), [&](const Told& told) {
        return told.seagrass == Keel::WeakPtr<Seagrass>(seagrass) &&
               told.pool == Keel::WeakPtr<ValuePool>(pool);
    });
    if (known != _told.end()) {
        known->drawing = _allDrawings;
        if (known->failure == failure) return false;
        _told.erase(known);
    }
    if (failure) _told.push_back({seagrass, pool, failure, {}, _allDrawings});
    return bool(failure);
}

void DisplayObject::Showings::noteReport(const std::string& report) {
    if (!_told.empty()) _told.back().report = report;
}

void DisplayObject::Showings::restoreReport(const ValuePoolPtr& pool) const {
    if (_told.empty()) return;
    const TypedSlot<VObjectStatus>& status = _display.renderStatusSlot();
    const std::string present = status.value(pool).text;
    const Told* last = nullptr;
    for (const Told& told : _told) {
        if (told.report.empty() || !(told.pool == Keel::WeakPtr<ValuePool>(pool))) continue;
        if (told.report == present) return;
        last = &told;
    }
    if (last != nullptr) status.set(pool, VObjectStatus(last->report));
}

void DisplayObject::Showings::drop(const ValuePoolPtr& pool) {
    std::erase_if(_all,
                  [&](const auto& showing) { return showing->isOf(pool) && showing->clear(); });
}

Programmable::FileTimes DisplayObject::Showings::fileTimes() const {
    Programmable::FileTimes times;
    for (const std::weak_ptr<Compiled>& known : _programs) {
        const CompiledPtr compiled = known.lock();
        if (!compiled) continue;
        for (const auto& [file, time] : compiled->fileTimes()) {
            const auto [entry, isNew] = times.try_emplace(file, time);
            if (!isNew) entry->second = std::min(entry->second, time);
        }
    }
    return times;
}

DisplayObject::Showing& DisplayObject::Showings::showingFor(const Seagrass& seagrass,
                                                            const VRenderContext& context) {
    constexpr std::uint64_t aWhile = 100;
    std::erase_if(_drawings, [](const auto& entry) { return !entry.first; });
    const std::uint64_t drawing = ++_drawings[Keel::WeakPtr<Seagrass>(seagrass)];
    ++_allDrawings;
    std::erase_if(_all, [&](const auto& showing) {
        const bool isLeft = showing->isIn(seagrass) && showing->lastDrawn + aWhile < drawing;
        return !showing->isAlive() || (isLeft && showing->clear());
    });
    auto found = std::find_if(_all.begin(), _all.end(), [&](const auto& showing) {
        return showing->isFor(seagrass, context);
    });
    if (found == _all.end()) {
        _all.push_back(std::make_unique<Showing>(seagrass, context));
        found = std::prev(_all.end());
    }
    (*found)->lastDrawn = drawing;
    return **found;
}

/// One with the same text, or a new one, which nobody has asked yet to be compiled.
DisplayObject::CompiledPtr
DisplayObject::Showings::compiledFor(VRenderContext& context, const Seagrass& seagrass,
                                     const Content& content, Form form,
                                     const TransformOperator& transform) {
    const Composer composer(_display, context, content, form, transform);
    const bool takesFiles = context.ShaderFileOverrides;
    std::erase_if(_programs, [](const auto& program) { return program.expired(); });
    for (const std::weak_ptr<Compiled>& known : _programs) {
        const CompiledPtr compiled = known.lock();
        if (compiled->isFor(seagrass, composer, takesFiles)) return compiled;
    }
    const std::string folder = _display._shaderFolder.empty() ? "" : _display._shaderFolder + "/";
    const auto compiled =
        std::make_shared<Compiled>(seagrass, composer, folder + _display.shaderStem(), takesFiles,
                                   _display._missingShaderFiles);
    _programs.push_back(compiled);
    return compiled;
}

} // namespace Mirk
