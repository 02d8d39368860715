#include <Displays/DisplayShowings.hpp>

#include <Displays/ElementBoxes.hpp>
#include <Displays/displayData.hpp>
#include <Displays/originThreshold.hpp>

#include <Polypia/FloatOrigin.hpp>
#include <Polypia/Seagrass.hpp>
#include <Polypia/VRenderContext.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace Mirk {

namespace {

/// What tells a failure that is reportable from others; empty if there is none.
std::string identityOf(const std::exception_ptr& failure) {
    if (!failure) return {};
    try {
        std::rethrow_exception(failure);
    } catch (const RenderException& exception) {
        return exception.description.str() + '\n' + exception.str();
    }
}

/// What fails in the same way in each frame is one failure.
void noteFailure(std::exception_ptr& noted, const std::exception_ptr& failure) {
    const std::exception_ptr report = reportable(failure);
    if (!report || identityOf(report) != identityOf(noted)) noted = report;
}

/// Less than what makes a difference to any camera.
constexpr double anyDistance = std::numeric_limits<double>::min();

/// A transformation that comes out of a file is of a kind that leaves all where it is.
bool movesThings(const TransformOperator& transform) {
    return transform.functor &&
           dynamic_cast<const TransformOperator::Shift*>(transform.functor.get()) == nullptr;
}

/// Where an operator puts things is not known but for their box, and that they are looked at. For a
/// camera within the box there is only the latter.
double nearestOfMoved(const DisplayObject& display, const ValuePoolPtr& pool,
                      const VCamera& camera) {
    const double ofLook = norm(camera.lookAt - camera.position);
    try {
        const auto box = VTransformable::drawnBounds(display, &display, pool);
        const double ofBox = box ? distanceToBox(*box, camera.position) : 0.0;
        return ofBox > 0.0 ? std::min(ofLook, ofBox) : ofLook;
    } catch (...) {
        return ofLook; // it fails to tell its box to those who cull as well
    }
}

} // namespace

DisplayObject::Showing::Showing(const Seagrass& seagrass, const VRenderContext& context)
    : _seagrass(seagrass),
      _pool(context.pool),
      _eyes(context.EyeViews.size()),
      _outputViews(context.OutputViews),
      _takesFiles(context.ShaderFileOverrides),
      _exchanges(Exchanges::of(seagrass)) {}

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
    setComing({});
    _shown.reset();
    return !_compiled || !_compiled->isIrreplaceable();
}

void DisplayObject::Showing::begin(const VRenderContext& context) {
    _exchanges->noteDrawing(_frame, context.renderAllowance);
    _turns = Turns::of(context);
    _turns->noteDrawing(this, context.renderAllowance);
    _hasMost = _turns->isMost(context.renderAllowance);
    _hasTurn = true;
    _originNeed = 0.0;
}

bool DisplayObject::Showing::isOriginComing() const {
    return _coming && _shown && _coming->generation().origin != _shown->generation().origin;
}

bool DisplayObject::Showing::hasNothingThere() const {
    return (!_shown || _shown->isEmpty()) && (!_coming || _coming->isEmpty());
}

/// Whether an eye is farther from that origin than it had to be.
bool DisplayObject::Showing::isTooFar(const point& origin, const Content& content,
                                      const TransformOperator& transform) const {
    const double need = greatestNeed(origin);
    if (!(need > 1.0)) return false;
    if (!movesThings(transform) && isAmong(content, origin)) return false;
    return bestEye(need) != nullptr;
}

/// What it takes on the GPU, as far as that is known.
std::size_t DisplayObject::Showing::bytesOf(const Content& content) const {
    std::size_t bytes = 0;
    for (std::size_t piece = 0; piece < content.pieces; ++piece) bytes += content.leastBytes(piece);
    const bool isShown = _shown && _shown->generation().content.lock().get() == &content;
    return isShown ? std::max(bytes, _shown->bytes()) : bytes;
}

/// Whether what is there may give way to another origin. Where one frame isn't enough, for it alone
/// or for all, that begins ahead of time, and those in greater need come first.
bool DisplayObject::Showing::mayBegin(const VRenderContext& context, const Content& content,
                                      double need) {
    // That would be in vain, and isn't to hold up the others.
    if (_isStuck || !_wanted.program) return false;
    const std::size_t bytes = bytesOf(content);
    const bool isUpAtOnce = context.renderAllowance >= static_cast<std::int64_t>(bytes);
    if (isUpAtOnce && !_turns->isShort()) {
        _turns->noteSoon(bytes);
        return need > 1.0;
    }
    const bool isTurn = _turns->isTurn(ageing() * need, bytes, context.renderAllowance);
    if (!isTurn) _originNeed = ageing() * need;
    return isTurn;
}

/// Follows the eye that leaves all of them in the least need: what helps one of them and harms
/// another as much would come and go.
DisplayObject::point DisplayObject::Showing::originIn(const DisplayObject& display,
                                                      VRenderContext& context,
                                                      const ContentPtr& content,
                                                      const TransformOperator& transform) {
    vector origin = FloatOrigin::getTranslationVector(_place);
    const point present = point() + origin;
    findNeeds(display, context, content, transform);
    _isOriginDue = false;
    const bool isComing = isOriginComing();
    if (isComing && !_coming->isEmpty() && !_isStuck) {
        _isOriginDue = isTooFar(present, *content, transform);
        return present;
    }
    const double need = greatestNeed(present);
    constexpr double early = 0.5;
    if (need <= early) return present;
    if (!movesThings(transform) && isAmong(*content, present)) return present;
    const Need* const best = bestEye(need);
    if (best == nullptr) return present;
    const bool isBound = !isComing && !hasNothingThere();
    if (isBound && !mayBegin(context, *content, need)) {
        _isOriginDue = need > 1.0;
        return present;
    }
    const unsigned currentEye = std::exchange(context.CurrentEye, best->eye);
    FloatOrigin::getTranslationVector(context, _place, origin, anyDistance);
    context.CurrentEye = currentEye;
    return point() + origin;
}

void DisplayObject::Showing::findNeeds(const DisplayObject& display, VRenderContext& context,
                                       const ContentPtr& content,
                                       const TransformOperator& transform) {
    const auto eyes = static_cast<unsigned>(context.EyeViews.size());
    _nearest.resize(eyes);
    _needs.clear();
    for (unsigned eye = 0; eye < eyes; ++eye) {
        const VCamera& camera = context.CurrentView(eye, 0).camera;
        if (!isFinite(camera.position)) continue;
        const double nearest = movesThings(transform)
                                   ? nearestOfMoved(display, context.pool, camera)
                                   : nearestTo(eye, camera.position, content);
        _needs.push_back({eye, camera.position, nearest, originThreshold(context, eye, nearest)});
    }
}

/// How many times as much need it is to have waited for so long: one who waits is in twice the need
/// after every other drawing, as others may be in any need again and again.
double DisplayObject::Showing::ageing() const {
    constexpr std::uint64_t most = 1000; // as none is to be in infinite need
    return std::exp2(static_cast<double>(std::min(_waited, most)) / 2.0);
}

/// Of another origin that by which what is shown is off. What is missing in the picture is in as
/// much need as what is off by a tenth of a pixel, and other data are after ten drawings.
double DisplayObject::Showing::needOfWaiting() const {
    if (!_coming) return ageing();
    if (isOriginComing()) return ageing() * greatestNeed(_shown->generation().origin);
    constexpr double ofData = 1.0 / 32.0;
    return ageing() * ofData;
}

/// Until something of it is on the GPU others may come first.
bool DisplayObject::Showing::isTurnOfComing(const VRenderContext& context) const {
    if (!_coming->isEmpty() || _shown->isEmpty()) return true;
    return _turns->isTurn(needOfWaiting(), _coming->missingBytes(*_comingContent),
                          context.renderAllowance);
}

std::size_t DisplayObject::Showing::missingBytes(const Content& content) const {
    return _coming ? _coming->missingBytes(*_comingContent) : _shown->missingBytes(content);
}

/// Counts at the end of a drawing what waits for the allowance. Whoever has less of it than others
/// may have to be more patient. Who waited, and finds that the time of the frame is over, waits on
/// as before; that tells nothing of whether it does so in vain. If it is so time and again, others
/// needn't wait for it in three frames of four, by chance, as there may be time in every n-th one.
void DisplayObject::Showing::noteWaiting(const Content& content, const Pieces::Supply& supply) {
    const bool isCut = supply.isCut && !supply.isMoving && _waited > 0;
    const bool isWaiting = isCut || supply.isRefused || !_hasTurn;
    const bool isVainly = isWaiting && !supply.isMoving;
    _waited = isVainly || _originNeed > 0.0 ? _waited + 1 : 0;
    if (isCut) {
        ++_cuts;
        if (_cuts > mostCuts && _chance() % 4 != 0) return;
    } else {
        if (!isVainly) _cuts = 0;
        _wasRefused = supply.isRefused && !supply.isMoving;
        _vainly = isVainly ? _vainly + (_hasMost && _hasTurn ? withChance : 1) : 0;
    }
    noteNeeds(content, isWaiting);
}

/// Tells the others of it. Who waits in vain for too long may do so for ever, and is not to hold
/// them up.
void DisplayObject::Showing::noteNeeds(const Content& content, bool isWaiting) {
    if (_isStuck || isVain()) return;
    if (!isWaiting) {
        if (_originNeed > 0.0) _turns->noteNeed(this, _originNeed, bytesOf(content));
        return;
    }
    const double need = std::max(_originNeed, needOfWaiting());
    if (_wasRefused) return _turns->noteRefusal(this, need);
    _turns->noteNeed(this, need, missingBytes(content));
}

/// The one at whose camera the origin leaves all eyes in the least need; null if that is no help.
/// Cameras that move, and can't be served by one origin, would have it follow for nothing.
const DisplayObject::Showing::Need* DisplayObject::Showing::bestEye(double presentNeed) const {
    const Need* best = nullptr;
    double least = presentNeed;
    for (const Need& need : _needs) {
        const double greatest = greatestNeed(need.camera);
        if (!(greatest < least)) continue;
        best = &need;
        least = greatest;
    }
    const bool isHelp = least <= 0.5 * presentNeed || (presentNeed > 1.0 && least <= 1.0);
    return isHelp ? best : nullptr;
}

/// Whether an origin is nearer to all that is drawn than any eye: at the camera it would be worse.
/// That is so through long lenses, and from far away without perspective. What is off by the place
/// of the camera is off for all vertices alike.
bool DisplayObject::Showing::isAmong(const Content& content, const point& origin) const {
    const auto farther = [](double a, double b) { return std::max(std::abs(a), std::abs(b)); };
    const vector toMin = content.bounds.min - origin, toMax = content.bounds.max - origin;
    const double farthest = norm(
        vector{farther(toMin.x, toMax.x), farther(toMin.y, toMax.y), farther(toMin.z, toMax.z)});
    return std::all_of(_needs.begin(), _needs.end(),
                       [&](const Need& need) { return farthest <= need.nearest; });
}

/// Above 1 if an origin is too far away from an eye.
double DisplayObject::Showing::greatestNeed(const point& origin) const {
    double greatest = 0.0;
    for (const Need& need : _needs) {
        greatest = std::max(greatest, norm(need.camera - origin) / need.threshold);
    }
    return greatest;
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

void DisplayObject::Showing::setWanted(const Generation& generation, const CompiledPtr& compiled,
                                       const RenderBasin::Lighting& lights) {
    _wanted = generation;
    _compiled = compiled;
    _lights = std::make_shared<const RenderBasin::Lighting>(lights);
    for (Pieces* const pieces : {_shown.get(), _coming.get()}) {
        if (pieces != nullptr) pieces->replaceLights(_compiled, _lights);
    }
}

void DisplayObject::Showing::setFailed(const std::exception_ptr& failure) {
    _wanted = {};
    _compiled.reset();
    noteFailure(_notComposed, failure);
}

DisplayObject::Showing::Drawn DisplayObject::Showing::draw(const DisplayObject& display,
                                                           VRenderContext& context,
                                                           std::size_t level) {
    if (_compiled) _wanted.program = _compiled->program(context);
    Pieces::Supply supply;
    bool isWhole = false;
    try {
        isWhole = drawBest(display, context, level, supply);
    } catch (...) {
        supply.notDrawn = std::current_exception();
    }
    _isStuck = supply.isStuck;
    if (const ContentPtr content = _wanted.content.lock()) noteWaiting(*content, supply);
    // What has to wait, or isn't tried, is not mended by that.
    if (supply.failure || !supply.isStopped) noteFailure(_notSupplied, supply.failure);
    if (supply.notDrawn || !supply.isPartly) noteFailure(_notDrawn, supply.notDrawn);
    keepPieces();
    const bool isLeveled = _shown && (_shown->generation().form & hasLevels) != 0;
    _drawnLevel = isLeveled ? level : 0;
    if (!_compiled) return {false, _notComposed};
    const std::exception_ptr notCompiled = _compiled->failure();
    display._isDrawnAsBefore = isWhole && notCompiled;
    const std::exception_ptr notThere = notCompiled ? notCompiled : _notSupplied;
    return {isWhole, notThere ? notThere : _notDrawn};
}

/// Whether all that is wanted was drawn.
bool DisplayObject::Showing::drawBest(const DisplayObject& display, VRenderContext& context,
                                      std::size_t level, Pieces::Supply& supply) {
    if (isLeftOut(context)) {
        supply.isStopped = supply.isStuck = supply.isPartly = true;
        return false;
    }
    if (!_wanted.program) {
        setComing({});
        if (_shown) _shown->drawPresent(context, level, supply);
        return false;
    }
    provideWanted(display, supply);
    keepPieces();
    _hasTurn = !_coming || isTurnOfComing(context);
    if (!_hasTurn) {
        supply.isStopped = true;
    } else if (_coming && prepareComing(context, supply)) {
        showComing();
    }
    if (_shown->isOf(_wanted)) {
        return _shown->draw(context, *_wanted.content.lock(), level, supply) && !_isOriginDue;
    }
    _shown->drawPresent(context, level, supply);
    return false;
}

/// Whether the operator that is wanted says no where another one would draw.
bool DisplayObject::Showing::isLeftOut(VRenderContext& context) const {
    if (!_shown || _shown->generation().transform.functor == _wanted.transform.functor) {
        return false;
    }
    try {
        return !_wanted.transform.draw(context, [] { return true; });
    } catch (...) {
        return false; // it will throw where its own are prepared
    }
}

/// What the operator throws, too, is no reason not to draw what is shown.
bool DisplayObject::Showing::prepareComing(VRenderContext& context, Pieces::Supply& supply) {
    try {
        return _coming->prepare(context, *_comingContent, supply);
    } catch (...) {
        supply.isStopped = supply.isStuck = true;
        supply.failure = std::current_exception();
        return false;
    }
}

/// Has what is wanted be what is shown or coming, if nothing is to be finished ahead of it. What
/// can't be drawn is not worth to be kept on show. What the GPU had no memory for is given up a
/// frame ahead of what takes its place: until the next one it has that of both.
void DisplayObject::Showing::provideWanted(const DisplayObject& display, Pieces::Supply& supply) {
    if (_shown && _shown->isOf(_wanted)) return setComing({});
    if (_shown && _shown->isEmpty()) showComing();
    const Pieces* const last = _coming ? _coming.get() : _shown.get();
    if (last != nullptr && last->isOf(_wanted)) return;
    if (_coming && isToBeFinished(*_coming)) return;
    if (_coming && _isStuck && _notSupplied && !_coming->isEmpty()) {
        supply.isStopped = true;
        return setComing({});
    }
    const Keel::StrongPtr<Seagrass> seagrass(_seagrass);
    auto pieces = std::make_unique<Pieces>(display, *seagrass, _wanted, *_wanted.content.lock(),
                                           _compiled, _lights);
    if (_shown) return setComing(std::move(pieces));
    _shown = std::move(pieces);
}

/// Data that change faster than they can go to the GPU would never be shown if each took the place
/// of those before. What is of another form, or may never be all there, is better given up.
bool DisplayObject::Showing::isToBeFinished(const Pieces& pieces) const {
    const Generation& coming = pieces.generation();
    const bool mayEnd = !_isStuck && !isVain();
    return mayEnd && !pieces.isEmpty() && coming.program && coming.form == _wanted.form;
}

void DisplayObject::Showing::setComing(std::unique_ptr<Pieces> pieces) {
    _coming = std::move(pieces);
    _comingContent = _coming ? _wanted.content.lock() : ContentPtr();
}

void DisplayObject::Showing::showComing() {
    _shown = std::move(_coming);
    _comingContent.reset();
}

/// Where one is to take the place of the other, neither is of use in parts: what the cache evicts
/// of the one that is shown may never come back, and the other would never be complete. Without a
/// program what is shown may be all that is ever drawn.
void DisplayObject::Showing::keepPieces() {
    if (_coming) _coming->keep(*_exchanges);
    if (!_shown) return;
    if (_coming || !_shown->isOf(_wanted)) {
        _shown->keep(*_exchanges);
    } else {
        _shown->endKeeping();
    }
}

bool DisplayObject::Showings::draw(VRenderContext& context, const Seagrass& seagrass,
                                   const ContentPtr& content) {
    Showing& showing = showingFor(seagrass, context);
    showing.begin(context);
    const std::size_t level = _display.levelIn(context, showing.drawnLevel());
    showing.needsLevels = showing.needsLevels || level > 0;
    const Form form = _display.wholeForm(context.pool);
    const TransformOperator transform = _display.transformIn(context.pool);
    const Generation wanted{content, showing.originIn(_display, context, content, transform),
                            form | (showing.needsLevels ? hasLevels : 0), transform};
    // Other lights are another text for those who ask for light; nothing is compiled for the same.
    if (showing.isOther(wanted) || !context.hasValidLighting(showing)) {
        showing.rejuvenate(); // first: what changes meanwhile is not to be missed
        try {
            showing.setWanted(
                wanted, compiledFor(context, seagrass, *content, form, wanted.transform), seagrass);
        } catch (...) {
            showing.setFailed(std::current_exception());
        }
    }
    const Showing::Drawn drawn = showing.draw(_display, context, level);
    if (tell(seagrass, context, drawn.failure)) {
        _display._hasThrown = true;
        std::rethrow_exception(drawn.failure);
    }
    const bool isAllWell = std::none_of(_told.begin(), _told.end(), [&](const Told& told) {
        return told.pool == Keel::WeakPtr<ValuePool>(context.pool) && isCurrent(told);
    });
    _display._isWell = drawn.isWhole && !drawn.failure;
    return _display._isWell && isAllWell;
}

/// Notes what fails now, which is null if nothing does. Whether it is to be thrown.
bool DisplayObject::Showings::tell(const Seagrass& seagrass, const VRenderContext& context,
                                   const std::exception_ptr& failure) {
    if (_told.empty() && !failure) return false;
    std::erase_if(_told, [](const Told& told) { return !told.seagrass || !told.pool; });
    Told now{seagrass,
             context.pool,
             {context.EyeViews.size(), context.OutputViews, context.ShaderFileOverrides},
             identityOf(failure),
             {},
             _allDrawings,
             _drawings[Keel::WeakPtr<Seagrass>(seagrass)]};
    const auto known = std::find_if(_told.begin(), _told.end(), [&](const Told& told) {
        return told.isAt(now) && told.way == now.way;
    });
    if (known != _told.end()) {
        known->drawing = now.drawing;
        known->drawingThere = now.drawingThere;
        if (known->failure == now.failure) return false;
        _told.erase(known);
    }
    if (!failure) return false;
    // Others of them may fail for the same reason.
    const auto same = std::find_if(_told.begin(), _told.end(), [&](const Told& told) {
        return told.isAt(now) && told.failure == now.failure;
    });
    const bool isNew = same == _told.end();
    if (!isNew) now.report = same->report;
    _told.push_back(std::move(now));
    return isNew;
}

/// Whether its pool, and that way to show it, are still drawn there.
bool DisplayObject::Showings::isCurrent(const Told& told) const {
    constexpr std::uint64_t aLongWhile = 1000;
    if (told.drawing + aLongWhile < _allDrawings) return false;
    // Other ways, which a few viewers of one Seagrass may take in turn.
    constexpr std::uint64_t aFewViewers = 8;
    const auto drawings = _drawings.find(told.seagrass);
    return drawings != _drawings.end() && drawings->second <= told.drawingThere + aFewViewers;
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
        if (!isCurrent(told)) continue;
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
    for (const auto& showing : _all) {
        if (!showing->compiled() || isLeft(*showing)) continue;
        for (const auto& [file, time] : showing->compiled()->fileTimes()) {
            const auto [entry, isNew] = times.try_emplace(file, time);
            if (!isNew) entry->second = std::min(entry->second, time);
        }
    }
    return times;
}

/// Whether its Seagrass has drawn others for a while.
bool DisplayObject::Showings::isLeft(const Showing& showing) const {
    constexpr std::uint64_t aWhile = 100;
    const auto drawings = _drawings.find(showing.seagrass());
    return drawings != _drawings.end() && showing.lastDrawn + aWhile < drawings->second;
}

DisplayObject::Showing& DisplayObject::Showings::showingFor(const Seagrass& seagrass,
                                                            const VRenderContext& context) {
    std::erase_if(_drawings, [](const auto& entry) { return !entry.first; });
    const std::uint64_t drawing = ++_drawings[Keel::WeakPtr<Seagrass>(seagrass)];
    ++_allDrawings;
    // The files of what is left may have been mended, and drawn so elsewhere.
    const auto isMended = [&](const Showing& left) {
        return left.compiled()->isOutdated() &&
               std::any_of(_all.begin(), _all.end(), [](const auto& other) {
                   return other->compiled() && !other->compiled()->failure();
               });
    };
    std::erase_if(_all, [&](const auto& showing) {
        if (!showing->isAlive()) return true;
        return showing->isIn(seagrass) && isLeft(*showing) &&
               (showing->clear() || isMended(*showing));
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
                                   _display._missingShaderFiles, fileTimes());
    _programs.push_back(compiled);
    return compiled;
}

} // namespace Mirk
