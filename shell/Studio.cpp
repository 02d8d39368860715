#include <Studio.hpp>

#include <pixels.hpp>

#include <Readers/ReaderRegistry.hpp>

#include <stdexcept>
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
    settings.context.device = options.device;
    return settings;
}

/// A picture without one of its objects would be a wrong one.
void checkFrame(const Mirk::OffscreenViewer::Frame& frame) {
    if (!frame.failures.empty()) {
        const Mirk::GLRenderContext::Failure& failure = frame.failures.front();
        throw std::runtime_error("cannot draw " + failure.object + ": " + failure.report);
    }
    constexpr auto partly = Mirk::GLRenderContext::Incomplete | Mirk::GLRenderContext::Interrupted;
    if ((frame.result & partly) != 0) {
        throw std::runtime_error("not all objects could be drawn");
    }
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

void Studio::draw(const std::vector<Mirk::GLRenderContext::Eye>& eyes) {
    _clock.begin("draw");
    _viewer->onRenderThread(
        [this](Mirk::GLRenderContext& context) { context.collectObjectSeconds(_options.report); });
    _frame = _viewer->drawWhole(eyes);
    checkFrame(_frame);
    _viewer->onRenderThread(
        [this](const Mirk::GLRenderContext& context) { _objectSeconds = context.objectSeconds(); });
}

std::string Studio::story() const {
    return _viewer->device() + "\n" + _clock.str() + "\n";
}

} // namespace Shell
