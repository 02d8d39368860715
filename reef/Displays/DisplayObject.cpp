#include <Displays/DisplayObject.hpp>

#include <clip.glsl.hpp>

#include <Polypia/RenderTentacles.hpp>
#include <Polypia/Seagrass.hpp>
#include <fennel/VCamera.hpp>
#include <keel/File.hpp>
#include <sorrel/VRequest.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <mutex>
#include <numbers>
#include <tuple>
#include <utility>

namespace Mirk {

namespace {

/// Something that is infinite must not take all else with it.
Skua::PhysicalSpace::point originOf(const Skua::BoundingBox& bounds) {
    if (bounds.empty()) return {};
    Skua::PhysicalSpace::point middle = bounds.boxCentre();
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (!std::isfinite(middle[axis])) middle[axis] = 0.0;
    }
    return middle;
}

/// Has a program read the views. False without a Seagrass, where the buffer is.
bool bindViews(Polyp& polyp, RenderBasin::Program& program, VRenderContext& context) {
    const UniformBufferPtr views =
        context.mkUniformBuffer("MultiView", [&] { return context.createUniformBuffer(0); });
    if (!polyp.insert(views)) return false;
    program.bindUniformBlock("MultiView", views);
    return true;
}

bool isOn(const Skua::PhysicalSpace::HessianNormalPlane& plane) {
    return dot(plane.normal, plane.normal) > 0.0;
}

} // namespace

DisplayFailure::DisplayFailure(const std::string& reason) {
    description = reason.c_str();
    glError = -1; // or the report leaves out the words
}

DisplayFailure::~DisplayFailure() = default;

DisplayObject::Content::Content(const Skua::BoundingBox& dataBounds, std::size_t numberOfPieces)
    : bounds(dataBounds), origin(originOf(dataBounds)), pieces(numberOfPieces) {}

DisplayObject::Content::~Content() = default;

/// What the last update found in a pool.
struct DisplayObject::PoolState : State {
    ContentPtr read() {
        const std::lock_guard lock(mutex);
        return content;
    }

    std::mutex mutex; // leaf
    ContentPtr content;
    std::string failure;
};

/// The program of one Seagrass, which the polyps keep alive.
struct DisplayObject::Compiled {
    /// What the text of a program depends on, beside files.
    struct Key {
        Form form = 0;
        std::size_t eyes = 0;
        unsigned outputViews = 0;
        Keel::Ageable::Age transform{};
        const Content* content = nullptr;
        bool takesFiles = false;

        bool operator==(const Key&) const = default;
    };

    Keel::WeakPtr<Seagrass> seagrass;
    Keel::WeakPtr<RenderBasin::Program, Polyp::Tentacle> program;
    Key key;
    std::weak_ptr<const Content> content; ///< of the key, whose pointer may be used again
    bool isFaulty = false;                ///< the program is older than the files
    std::exception_ptr failure;           ///< to be reported once
    bool needsLevels = false;
};

/// Fills the polyp of a piece for one Seagrass. What it holds is for the render thread, and nothing
/// of it is GPU state: that belongs to the polyp alone.
class DISPLAYS_EXPORT DisplayObject::Filler {
public:
    Filler(const DisplayObject& display, std::size_t piece) : _display(display), _piece(piece) {}

    /// What acquire() is to look for.
    void ask(const ContentPtr& content, const RenderBasin::ProgramPtr& program, Form form) const {
        _wanted = {content, Keel::WeakPtr<RenderBasin::Program, Polyp::Tentacle>(program), form};
    }

    bool initializePolyp(Polyp& polyp, VRenderContext& context) const {
        _isAdmitted = false;
        _present = _wanted;
        const RenderBasin::ProgramPtr program(_wanted.program);
        const ContentPtr content = _wanted.content.lock();
        polyp.insert(program);
        const Drawing drawing =
            _display.fill(polyp, context, *program, *content, _piece, _wanted.form);
        if (!drawing.painter || !bindViews(polyp, *program, context)) return false;
        if ((_wanted.form & isClipped) != 0) {
            _display._clippingPlanes.initializeRelativePolyp(polyp, context,
                                                             content->origin - point());
        }
        if (!_display.initializePolypTransformation(polyp, context)) return false;
        const Keel::StrongPtr<RenderBasin::RangedPainter, Polyp::Tentacle> ranged(drawing.painter);
        _painter = ranged;
        _levels = drawing.levels;
        context.setNumberOfViews(polyp);
        return true;
    }
    bool isValidPolyp(const Polyp& polyp, VRenderContext& context, const PolypCreatorBase&) const {
        return context.isValid(polyp) && _present.content.lock() == _wanted.content.lock() &&
               _present.form == _wanted.form && _present.program == _wanted.program;
    }

    /// Whether the polyp may be brought to the GPU, or is there already.
    bool admit(Polyp& polyp, VRenderContext& context) const {
        if (!_isAdmitted) _isAdmitted = context.allowRendering(polyp);
        return _isAdmitted;
    }
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
    struct Filling {
        std::weak_ptr<const Content> content; // the caller of acquire() holds it
        Keel::WeakPtr<RenderBasin::Program, Polyp::Tentacle> program;
        Form form = 0;
    };

    const DisplayObject& _display;
    const std::size_t _piece;
    mutable Filling _wanted;
    mutable Filling _present;
    mutable Keel::WeakPtr<RenderBasin::RangedPainter, Polyp::Tentacle> _painter;
    mutable Levels _levels;
    mutable bool _isAdmitted = false;
    mutable LayeredMultiViews::ViewReferences _views;
};

/// Puts a program together.
class DisplayObject::Composer final : public Programmable {
public:
    Composer(const DisplayObject& display, Stages&& stages, Form form)
        : _display(display), _stages(std::move(stages)) {
        setGLSLVersion("330", _stages.fragmentVersion);
        VertexHeader += _stages.vertexExtensions;
        GeometryInput = _stages.input;
        GeometryOutput = _stages.output;
        if ((form & isClipped) != 0) _stages.defines += "#define CLIPPED\n";
    }

    std::string vertex_shader(VRenderContext&) const override {
        return std::string(_stages.vertex);
    }
    std::string fragment_shader(VRenderContext&) const override {
        return std::string(_stages.fragment);
    }
    std::string geometry_shader(VRenderContext&) const override {
        return std::string(_stages.geometry);
    }
    std::string VertexShaderPrefix(VRenderContext& context) const override {
        return _stages.defines + _display.getTransformationShaderFunctions(context) +
               std::string(glsl::clip) + _stages.vertexPrefix;
    }
    std::string FragmentShaderPrefix(VRenderContext&) const override { return _stages.defines; }
    std::string GeometryShaderPrefix(VRenderContext& context) const override {
        return _stages.defines + context.defineMultiView(context.EyeViews.size(), true, 0);
    }

private:
    const DisplayObject& _display;
    Stages _stages;
};

DisplayObject::DisplayObject(const std::string& displayName)
    : VRenderObject(displayName, 0, {}), _clippingPlanes(this) {
    enableRequestProcessing();
}

DisplayObject::~DisplayObject() = default;

bool DisplayObject::update(VRequest& request, double) {
    const Keel::StrongPtr<State> kept = myState(request.pool);
    if (!kept) return false;
    auto& state = static_cast<PoolState&>(*kept);
    const ContentPtr present = state.read();
    ContentPtr content;
    std::string failure;
    try {
        content = read(request.pool, present);
    } catch (const std::exception& exception) {
        failure = exception.what();
    } catch (...) {
        failure = "an exception of an unknown kind"; // in place of what was there before
    }
    {
        const std::lock_guard lock(state.mutex);
        state.content = content;
        state.failure = failure;
    }
    if (!content) {
        resetBBox(request.pool);
        return false;
    }
    if (content == present) return true;
    setBoundingBox(request.pool, BoundingBoxPtr(new Skua::BoundingBox(content->bounds)));
    announceViewpoints(content->bounds, request.pool);
    return true;
}

void DisplayObject::announceViewpoints(const Skua::BoundingBox& box,
                                       const ValuePoolPtr& pool) const {
    if (box.empty()) return;
    struct Direction {
        const char* name;
        vector towardsEye;
        vector up;
    };
    constexpr vector upwards{0, 1, 0};
    const std::array<Direction, 6> directions{{{"front", {0, 0, 1}, upwards},
                                               {"back", {0, 0, -1}, upwards},
                                               {"left", {-1, 0, 0}, upwards},
                                               {"right", {1, 0, 0}, upwards},
                                               {"top", {0, 1, 0}, {0, 0, -1}},
                                               {"bottom", {0, -1, 0}, {0, 0, 1}}}};
    VCamera camera;
    camera.lookAt = box.boxCentre();
    const double radius = norm(box.max - box.min) / 2.0;
    const double halfAngle = camera.fieldOfView / 2.0 * std::numbers::pi / 180.0;
    const double distance = radius > 0.0 ? radius / std::sin(halfAngle) : 1.0;
    for (const Direction& direction : directions) {
        camera.position = camera.lookAt + direction.towardsEye * distance;
        camera.up = direction.up;
        announce(direction.name, camera, pool);
    }
}

Keel::StrongPtr<VStateCreatorBase::State> DisplayObject::newState() const {
    return Keel::StrongPtr<State>(new PoolState);
}

DisplayObject::Form DisplayObject::wholeForm(const ValuePoolPtr& pool) const {
    const bool isCut =
        isOn(_clippingPlanes.clip0.value(pool)) || isOn(_clippingPlanes.clip1.value(pool));
    return form(pool) | (isCut ? isClipped : 0);
}

/// 0 for all vertices, 1 for half of them and so on.
std::size_t DisplayObject::levelIn(VRenderContext& context) const {
    constexpr double noticeable = 0.01;
    double precision = 1.0, contribution = 0.0;
    getRenderPrecision(context, precision, contribution);
    if (!(precision < 1.0) || contribution <= noticeable) return 0;
    constexpr double last = numberOfLevels - 1;
    return static_cast<std::size_t>(
        std::clamp(std::round(-std::log2(std::max(precision, 1e-9))), 0.0, last));
}

bool DisplayObject::environment_render(VRenderContext& context) const {
    const Keel::StrongPtr<Seagrass> seagrass(context.getSeagrass());
    const Keel::StrongPtr<State> kept = myState(context.pool);
    if (!seagrass || !kept) return false;
    ContentPtr content;
    {
        auto& state = static_cast<PoolState&>(*kept);
        const std::lock_guard lock(state.mutex);
        if (!state.failure.empty()) throw DisplayFailure(state.failure);
        content = state.content;
    }
    if (!content) return false;
    Compiled& compiled = compiledFor(*seagrass);
    const std::size_t level = levelIn(context);
    compiled.needsLevels = compiled.needsLevels || level > 0;
    const Form whole = wholeForm(context.pool);
    const RenderBasin::ProgramPtr program = programFor(context, content, whole, compiled);
    if (!program) return false;
    const Form form = whole | (compiled.needsLevels ? hasLevels : 0);
    const bool isWhole = transformIn(context.pool).draw(context, [&] {
        bool areAllDrawn = true;
        for (std::size_t piece = 0; piece < content->pieces; ++piece) {
            const bool isDrawn =
                drawPiece(context, *seagrass, content, program, piece, form, level);
            areAllDrawn = isDrawn && areAllDrawn;
        }
        return areAllDrawn;
    });
    if (compiled.failure) std::rethrow_exception(std::exchange(compiled.failure, nullptr));
    // A success would clear the report.
    return isWhole && !compiled.isFaulty;
}

bool DisplayObject::drawPiece(VRenderContext& context, const Seagrass& seagrass,
                              const ContentPtr& content, const RenderBasin::ProgramPtr& program,
                              std::size_t piece, Form form, std::size_t level) const {
    using DisplayCreator = PolypCreator<Filler>;
    while (_creators.size() <= piece) _creators.push_back(std::make_unique<PolypCreatorKeeper>());
    const PolypCreatorKeeper::CreatorPtr kept =
        (*_creators[piece])(seagrass, [this, piece](const Seagrass& newcomer) {
            return PolypCreatorKeeper::CreatorPtr(
                new DisplayCreator(newcomer, PolypPtr(), *this, piece));
        });
    auto& creator = static_cast<DisplayCreator&>(*kept);
    creator.ask(content, program, form);
    const PolypPtr polyp = creator.acquire(context);
    if (!polyp || !creator.admit(*polyp, context)) return false;
    creator.setLevel(level);
    context.updateTranslatedViews(*polyp, creator.viewsOf(context), point() - content->origin);
    if (!polyp->updateValues(context)) return false;
    polyp->wave(~Activity_t{0});
    polyp->complete(context);
    return true;
}

DisplayObject::Compiled& DisplayObject::compiledFor(const Seagrass& seagrass) const {
    std::erase_if(_compiled, [](const auto& compiled) { return !compiled->seagrass; });
    const Keel::WeakPtr<Seagrass> wanted(seagrass);
    const auto found = std::find_if(_compiled.begin(), _compiled.end(), [&](const auto& compiled) {
        return compiled->seagrass == wanted;
    });
    if (found != _compiled.end()) return **found;
    _compiled.push_back(std::make_unique<Compiled>());
    _compiled.back()->seagrass = wanted;
    return *_compiled.back();
}

RenderBasin::ProgramPtr DisplayObject::programFor(VRenderContext& context,
                                                  const ContentPtr& content, Form form,
                                                  Compiled& compiled) const {
    const Compiled::Key key{form,
                            context.EyeViews.size(),
                            context.OutputViews,
                            transformSlot()->age(context.pool),
                            content.get(),
                            context.ShaderFileOverrides};
    RenderBasin::ProgramPtr present(compiled.program);
    const bool isOfThese = present && compiled.key == key && compiled.content.lock() == content;
    const bool isUpToDate =
        isOfThese && !(context.ShaderFileOverrides && present->SourceHasChanged());
    if (isUpToDate) return present;
    const Composer composer(*this, stages(form, *content), form);
    const std::string folder = _shaderFolder.empty() ? "" : _shaderFolder + "/";
    try {
        present = composer.CompileShader(context, folder + shaderStem(), {}, {}, {}, {}, {});
        compiled.isFaulty = false;
    } catch (const RenderException&) {
        if (!isOfThese) throw;
        // Not to be tried again until a file changes again, also one that only this program has.
        for (auto& [file, time] : present->ProgramFileTimes) {
            time = std::max(time, Keel::FileInfo(file).modified);
        }
        for (const auto& [file, time] : composer.lastFileTimes) {
            present->ProgramFileTimes[file] = time;
        }
        compiled.isFaulty = true;
        compiled.failure = std::current_exception();
        return present;
    }
    compiled.program = Keel::WeakPtr<RenderBasin::Program, Polyp::Tentacle>(present);
    compiled.key = key;
    compiled.content = content;
    return present;
}

DisplayObject::Form DisplayObject::form(const ValuePoolPtr&) const {
    return 0;
}

bool DisplayObject::multiview_render(VRenderContext& context,
                                     const LayeredMultiViews::ViewReferences& views,
                                     SubContext& sub) {
    return render(context, views.front(), sub);
}

double DisplayObject::marginPixels(const ValuePoolPtr&) const {
    return 0.0;
}

} // namespace Mirk
