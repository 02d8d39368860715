#include <Displays/PolypDisplay.hpp>

#include <Polypia/RenderTentacles.hpp>

#include <cmath>

namespace Mirk {

namespace {

/// Something that is infinite must not take all else with it.
Skua::PhysicalSpace::point originOf(const Skua::BoundingBox& bounds) {
    Skua::PhysicalSpace::point middle = bounds.boxCentre();
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (!std::isfinite(middle[axis])) middle[axis] = 0.0;
    }
    return middle;
}

/// Has all programs of a polyp read the views. False without a Seagrass, where the buffer is.
bool bindViews(Polyp& polyp, VRenderContext& context) {
    const UniformBufferPtr views =
        context.mkUniformBuffer("MultiView", [&] { return context.createUniformBuffer(0); });
    if (!polyp.insert(views)) return false;
    const auto [first, last] = polyp.get_programs();
    for (auto entry = first; entry != last; ++entry) {
        const RenderBasin::ProgramPtr program(entry->second);
        if (program) program->bindUniformBlock("MultiView", views);
    }
    return true;
}

} // namespace

/// Fills the polyp of a display for one Seagrass. What it holds is for the render thread, and
/// nothing of it is GPU state: that belongs to the polyp alone.
class DISPLAYS_EXPORT PolypDisplay::Filler {
public:
    explicit Filler(const PolypDisplay& display) : _display(display) {}

    bool initializePolyp(Polyp& polyp, VRenderContext& context) const {
        _isAdmitted = false;
        // Read once, as another thread may change the inputs meanwhile.
        _form = _display.form(context.pool);
        if (!_display.fill(polyp, context, _form) || !bindViews(polyp, context)) return false;
        context.setNumberOfViews(polyp);
        return true;
    }
    bool isValidPolyp(const Polyp& polyp, VRenderContext& context, const PolypCreatorBase&) const {
        return context.isValid(polyp) && _display.form(context.pool) == _form;
    }

    /// Whether the polyp may be brought to the GPU, or is there already.
    bool admit(Polyp& polyp, VRenderContext& context) const {
        if (!_isAdmitted) _isAdmitted = context.allowRendering(polyp);
        return _isAdmitted;
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
    const PolypDisplay& _display;
    mutable bool _isAdmitted = false;
    mutable int _form = 0;
    mutable LayeredMultiViews::ViewReferences _views;
};

PolypDisplay::PolypDisplay(const std::string& displayName, const Skua::BoundingBox& dataBounds)
    : RenderAble(displayName, 0, {}),
      _bounds(new Skua::BoundingBox(dataBounds)),
      _origin(originOf(dataBounds)) {}

PolypDisplay::~PolypDisplay() = default;

bool PolypDisplay::environment_render(VRenderContext& context) const {
    using DisplayCreator = PolypCreator<Filler>;
    const Seagrass* const seagrass = context.getSeagrass();
    if (seagrass == nullptr) return false;
    const PolypCreatorKeeper::CreatorPtr kept =
        _creators(*seagrass, [this](const Seagrass& newcomer) {
            return PolypCreatorKeeper::CreatorPtr(new DisplayCreator(newcomer, PolypPtr(), *this));
        });
    auto& creator = static_cast<DisplayCreator&>(*kept);
    const PolypPtr polyp = creator.acquire(context);
    if (!polyp || !creator.admit(*polyp, context)) return false;
    context.updateTranslatedViews(*polyp, creator.viewsOf(context), point() - _origin);
    if (!polyp->updateValues(context)) return false;
    polyp->wave(~Activity_t{0});
    polyp->complete(context);
    return true;
}

bool PolypDisplay::multiview_render(VRenderContext& context,
                                    const LayeredMultiViews::ViewReferences& views,
                                    SubContext& sub) {
    return render(context, views.front(), sub);
}

RenderAble::BoundingBallPtr PolypDisplay::getBoundingBall(const ValuePoolPtr&) const {
    return _bounds;
}

double PolypDisplay::marginPixels(const ValuePoolPtr&) const {
    return 0.0;
}

int PolypDisplay::form(const ValuePoolPtr&) const {
    return 0;
}

} // namespace Mirk
