#include <Studio.hpp>

#include <CapturedOutput.hpp>
#include <onOneLine.hpp>
#include <pixels.hpp>

#include <Readers/ReaderRegistry.hpp>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <utility>
#include <variant>

namespace Shell {

namespace {

Mirk::Dataset readFile(const std::string& file, const PictureOptions& options) {
    Mirk::ReadOptions readOptions;
    readOptions.coordinates = Mirk::CoordinateSystem::EarthCentred;
    readOptions.groundingLine = options.groundingLine;
    return Mirk::readFile(file, readOptions);
}

Mirk::OffscreenViewer::Settings settingsOf(const PictureOptions& options,
                                           const Skua::rgba_float_t& background) {
    Mirk::OffscreenViewer::Settings settings;
    settings.widthPixels = options.widthPixels;
    settings.heightPixels = options.heightPixels;
    settings.samples = options.samples;
    settings.background = premultiplied(background);
    // Data may be near and far at once, and the near plane close to the eye.
    settings.depths = Mirk::GLContext::Depths::Reversed;
    settings.context.device = options.device;
    return settings;
}

/// Standard output belongs to what commands tell. What libraries have printed there goes to
/// standard error, but for the failures, which their callers tell.
void passOn(std::string printed, const std::vector<Mirk::GLRenderContext::Failure>& failures) {
    for (const Mirk::GLRenderContext::Failure& failure : failures) {
        const std::string report = "VRenderObject: " + failure.report;
        const std::size_t place = printed.find(report);
        if (place != std::string::npos) printed.erase(place, report.size());
    }
    std::fputs(printed.c_str(), stderr);
}

/// Fills in what each kind has of its own.
struct KindFacts {
    void operator()(const Mirk::PointSet&) const { facts.kind = "points"; }
    void operator()(const Mirk::TriangleMesh& mesh) const {
        facts.kind = "mesh";
        facts.counts["triangles"] = mesh.triangles->elements().size() / 3;
    }
    void operator()(const Mirk::Polylines& lines) const {
        facts.kind = "lines";
        const auto starts = lines.starts->elements();
        std::size_t segments = 0;
        for (std::size_t i = 1; i < starts.size(); ++i) {
            const std::size_t points = starts[i] - starts[i - 1];
            segments += points > 0 ? points - 1 : 0;
        }
        facts.counts["lines"] = starts.empty() ? 0 : starts.size() - 1;
        facts.counts["lineSegments"] = segments;
    }

    FileFacts& facts;
};

} // namespace

std::string wordsOf(const Mirk::GLRenderContext::Failure& failure) {
    // It begins and ends with line feeds.
    const std::string& log = failure.shaderLog;
    if (log.empty()) return failure.report;
    return "the shaders are faulty" + log.substr(0, log.find_last_not_of('\n') + 1);
}

FileFacts factsOf(const std::string& file, const Mirk::Dataset& data) {
    FileFacts facts;
    facts.file = file;
    const auto& points = std::visit([](const auto& content) { return content.points; }, data);
    for (const point& p : points->elements()) facts.bounds.add(p);
    facts.counts["points"] = points->elements().size();
    std::visit(KindFacts{facts}, data);
    return facts;
}

Studio::Studio(const std::string& name, const PictureOptions& options,
               const Skua::rgba_float_t& background)
    : _options(options), _scene(options) {
    read();
    _clock.begin("context");
    _viewer = Keel::StrongPtr<Mirk::OffscreenViewer, Mirk::VManagedObjectBase>(
        new Mirk::OffscreenViewer(name, settingsOf(options, background)));
    // Each frame is a picture, and none is to be coarser to save time for the next one.
    _viewer->precision()->lowerTime = 0.0;
    _viewer->precision()->upperTime = std::numeric_limits<double>::infinity();
    checkSize();
}

/// Ahead of the driver and its threads: some files are read in a child process, which must not be
/// made while another thread holds a lock.
void Studio::read() {
    _clock.begin("read");
    std::vector<Mirk::Dataset> data;
    for (const std::string& file : _options.files) data.push_back(readFile(file, _options));

    _clock.begin("convert");
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (_options.report) _facts.push_back(factsOf(_options.files[i], data[i]));
        _scene.add(_options.files[i], std::move(data[i]));
    }
    _scene.complete();
}

/// Before anything is drawn, and in the words of the option.
void Studio::checkSize() const {
    const auto [widest, highest] = _viewer->greatestPicture();
    if (_options.widthPixels <= widest && _options.heightPixels <= highest) return;
    throw std::runtime_error("--resolution: expected at most " + std::to_string(widest) + "," +
                             std::to_string(highest) + " (" + _viewer->device() + "), got " +
                             std::to_string(_options.widthPixels) + "," +
                             std::to_string(_options.heightPixels));
}

void Studio::editShaders(const std::string& folder) {
    for (const Scene::Object& object : _scene.objects()) {
        object.display->setShaderFolder(folder, Mirk::DisplayObject::MissingShaderFiles::Requested);
    }
    _viewer->onRenderThread(
        [](Mirk::GLRenderContext& context) { context.ShaderFileOverrides = true; });
}

void Studio::draw(const std::vector<Mirk::GLRenderContext::Eye>& eyes) {
    attempt(eyes);
    checkFrame();
    _viewer->onRenderThread(
        [this](const Mirk::GLRenderContext& context) { _objectSeconds = context.objectSeconds(); });
}

const Mirk::OffscreenViewer::Frame&
Studio::attempt(const std::vector<Mirk::GLRenderContext::Eye>& eyes) {
    _clock.begin("draw");
    _viewer->onRenderThread(
        [this](Mirk::GLRenderContext& context) { context.collectObjectSeconds(_options.report); });
    CapturedOutput captured;
    _frame = _viewer->drawWhole(eyes);
    passOn(captured.end(), _frame.failures);
    return _frame;
}

/// A picture without one of its objects would be a wrong one.
void Studio::checkFrame() const {
    if (isWhole()) return;
    if (_frame.failures.empty()) throw std::runtime_error("not all objects could be drawn");
    const Mirk::GLRenderContext::Failure& failure = _frame.failures.front();
    const std::string text = "cannot draw " + onOneLine(failure.object) + ": " + wordsOf(failure);
    if (!failure.shaderLog.empty()) throw FaultyShader(text);
    throw std::runtime_error(text);
}

bool Studio::isWhole() const {
    constexpr auto partly = Mirk::GLRenderContext::Incomplete | Mirk::GLRenderContext::Interrupted;
    if ((_frame.result & partly) != 0) return false;
    if ((_frame.result & Mirk::GLRenderContext::Failed) == 0) return true;
    return std::all_of(_frame.failures.begin(), _frame.failures.end(),
                       [this](const auto& failure) { return isDrawnAsBefore(failure.object); });
}

bool Studio::isDrawnAsBefore(const std::string& object) const {
    const std::vector<Scene::Object>& all = _scene.objects();
    return std::any_of(all.begin(), all.end(), [&](const Scene::Object& each) {
        return each.display->Name() == object && each.display->isDrawnAsBefore();
    });
}

std::string Studio::story() const {
    return _viewer->device() + "\n" + _clock.str() + "\n";
}

} // namespace Shell
