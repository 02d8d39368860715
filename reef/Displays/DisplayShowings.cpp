#include <Displays/DisplayShowings.hpp>

#include <Polypia/Seagrass.hpp>
#include <Polypia/VRenderContext.hpp>

#include <algorithm>
#include <utility>

namespace Mirk {

DisplayObject::Showing::Showing(const Seagrass& seagrass, const VRenderContext& context)
    : _seagrass(seagrass),
      _pool(context.pool),
      _eyes(context.EyeViews.size()),
      _outputViews(context.OutputViews),
      _takesFiles(context.ShaderFileOverrides) {}

bool DisplayObject::Showing::isFor(const Seagrass& seagrass, const VRenderContext& context) const {
    return _seagrass == Keel::WeakPtr<Seagrass>(seagrass) && isOf(context.pool) &&
           _eyes == context.EyeViews.size() && _outputViews == context.OutputViews &&
           _takesFiles == context.ShaderFileOverrides;
}

bool DisplayObject::Showing::isOf(const ValuePoolPtr& pool) const {
    return _pool == Keel::WeakPtr<ValuePool>(pool);
}

bool DisplayObject::Showing::isAlive() const {
    return _seagrass && _pool;
}

bool DisplayObject::Showing::isOtherWay(const Way& way) const {
    return !_compiled || !_way.isSame(way);
}

void DisplayObject::Showing::setWay(const Way& way, const CompiledPtr& compiled) {
    _way = way;
    _compiled = compiled;
}

bool DisplayObject::Showing::draw(const DisplayObject& display, VRenderContext& context,
                                  const Content& content) {
    const bool isWhole = drawBest(display, context, content, _compiled->program(context));
    const std::exception_ptr failure = _compiled->failure();
    display._isDrawnAsBefore = isWhole && failure;
    if (failure != std::exchange(_told, failure) && failure) std::rethrow_exception(failure);
    // A success would clear the report.
    return isWhole && !failure;
}

bool DisplayObject::Showing::drawBest(const DisplayObject& display, VRenderContext& context,
                                      const Content& content,
                                      const RenderBasin::ProgramPtr& program) {
    if (!program) {
        drawShown(context);
        return false;
    }
    Pieces& pieces = wanted(display, content, program);
    if (&pieces == _coming.get()) {
        bool isComplete = false;
        try {
            isComplete = pieces.prepare(context, content);
        } catch (const RenderException&) {
            drawShown(context);
            throw;
        }
        if (!isComplete) {
            drawShown(context);
            return false;
        }
        _shown = std::move(_coming);
    }
    return _shown->draw(context, content, level);
}

void DisplayObject::Showing::drawShown(VRenderContext& context) const {
    if (_shown) _shown->drawPresent(context, level);
}

/// Those that are shown or coming. What can't be drawn is not worth to be kept on show.
DisplayObject::Pieces& DisplayObject::Showing::wanted(const DisplayObject& display,
                                                      const Content& content,
                                                      const RenderBasin::ProgramPtr& program) {
    if (_shown && _shown->isOf(_way, program)) {
        _coming.reset();
        return *_shown;
    }
    if (_shown && _shown->isEmpty()) _shown = std::move(_coming);
    if (_shown && _shown->isOf(_way, program)) return *_shown;
    if (_coming && _coming->isOf(_way, program)) return *_coming;
    const Keel::StrongPtr<Seagrass> seagrass(_seagrass);
    std::unique_ptr<Pieces>& place = _shown ? _coming : _shown;
    place = std::make_unique<Pieces>(display, *seagrass, _way, content, _compiled, program);
    return *place;
}

bool DisplayObject::Showings::draw(VRenderContext& context, const Seagrass& seagrass,
                                   const ContentPtr& content) {
    Showing& showing = showingFor(seagrass, context);
    showing.level = _display.levelIn(context, showing.level);
    showing.needsLevels = showing.needsLevels || showing.level > 0;
    const Form form = _display.wholeForm(context.pool);
    const Way way{content, form | (showing.needsLevels ? hasLevels : 0),
                  _display.transformIn(context.pool)};
    if (showing.isOtherWay(way)) {
        showing.setWay(way, compiledFor(context, seagrass, *content, form, way.transform));
    }
    return showing.draw(_display, context, *content);
}

void DisplayObject::Showings::drop(const ValuePoolPtr& pool) {
    std::erase_if(_all, [&](const auto& showing) { return showing->isOf(pool); });
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
    ++_drawings;
    std::erase_if(_all, [&](const auto& showing) {
        return !showing->isAlive() || showing->lastDrawn + aWhile < _drawings;
    });
    auto found = std::find_if(_all.begin(), _all.end(), [&](const auto& showing) {
        return showing->isFor(seagrass, context);
    });
    if (found == _all.end()) {
        _all.push_back(std::make_unique<Showing>(seagrass, context));
        found = std::prev(_all.end());
    }
    (*found)->lastDrawn = _drawings;
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
