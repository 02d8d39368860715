#include <Displays/DisplayObject.hpp>

#include <Displays/DisplayShowings.hpp>
#include <Displays/ElementBoxes.hpp>
#include <Displays/displayData.hpp>
#include <Displays/slotHelp.hpp>

#include <Polypia/Seagrass.hpp>
#include <fennel/VCamera.hpp>
#include <sorrel/VRequest.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <mutex>
#include <numbers>
#include <stdexcept>
#include <utility>

namespace Mirk {

namespace {

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
    : bounds(dataBounds), pieces(numberOfPieces) {}

DisplayObject::Content::~Content() = default;

double DisplayObject::Content::distanceFrom(const point& place) const {
    return bounds.empty() ? 0.0 : distanceToBox({bounds.min, bounds.max}, place);
}

std::size_t DisplayObject::Content::leastBytes(std::size_t) const {
    return 0;
}

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

DisplayObject::DisplayObject(const std::string& displayName)
    : VRenderObject(displayName, 0, {}),
      _clippingPlanes(this),
      _showings(std::make_unique<Showings>(*this)) {
    for (TypedSlot<ClippingPlanes::HessianNormalPlane> plane :
         {_clippingPlanes.clip0, _clippingPlanes.clip1}) {
        plane.setHelp("A plane that cuts the object: what its normal points away from isn't drawn. "
                      "None with a normal of zero.");
    }
    helpWithCommonSlots(*this);
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
        if (failure.empty()) failure = "an exception without a reason";
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
        announceViewpoints({}, request.pool);
        return false;
    }
    if (content == present) return true;
    setBoundingBox(request.pool, BoundingBoxPtr(new Skua::BoundingBox(content->bounds)));
    announceViewpoints(content->bounds, request.pool);
    return true;
}

/// None round nothing, nor round what has no end.
void DisplayObject::announceViewpoints(const Skua::BoundingBox& box,
                                       const ValuePoolPtr& pool) const {
    const point middle = box.boxCentre();
    const double radius = norm(box.max - box.min) / 2.0;
    if (box.empty() || !isFinite(middle) || !std::isfinite(radius)) {
        viewpointsOutput().set(pool, {});
        return;
    }
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
    camera.lookAt = middle;
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

/// 0 for all vertices, 1 for half of them and so on. `drawnLevel` is what was drawn last.
std::size_t DisplayObject::levelIn(VRenderContext& context, std::size_t drawnLevel) const {
    double precision = 1.0, contribution = 0.0;
    getRenderPrecision(context, precision, contribution);
    if (!(precision < 1.0)) return 0;
    // What is cheap because of its level is to keep that, also if the time is measured otherwise
    // from frame to frame: so its part is taken as if it were whole, and the limit is halved.
    const double noticeable = drawnLevel > 0 ? 0.005 : 0.01;
    if (std::ldexp(contribution, static_cast<int>(drawnLevel)) <= noticeable) return 0;
    constexpr double last = numberOfLevels - 1;
    return static_cast<std::size_t>(
        std::clamp(std::round(-std::log2(std::max(precision, 1e-9))), 0.0, last));
}

bool DisplayObject::safe_render(VRenderContext& context, double begin, double end) const {
    _isDrawnAsBefore = _isWell = _hasThrown = false;
    const bool isDone = VRenderObject::safe_render(context, begin, end);
    if (_hasThrown) _showings->noteReport(renderStatusSlot().value(context.pool).text);
    if (!isDone) _showings->restoreReport(context.pool);
    return isDone || _isDrawnAsBefore || _isWell;
}

bool DisplayObject::environment_render(VRenderContext& context) const {
    const Keel::StrongPtr<Seagrass> seagrass(context.getSeagrass());
    const Keel::StrongPtr<State> kept = myState(context.pool);
    if (!seagrass || !kept) return false;
    ContentPtr content;
    std::string failure;
    {
        auto& state = static_cast<PoolState&>(*kept);
        const std::lock_guard lock(state.mutex);
        content = state.content;
        failure = state.failure;
    }
    if (!failure.empty()) {
        _showings->drop(context.pool);
        throw DisplayFailure(failure);
    }
    return content && _showings->draw(context, *seagrass, content);
}

DisplayObject::Form DisplayObject::form(const ValuePoolPtr&) const {
    return 0;
}

bool DisplayObject::multiview_render(VRenderContext& context,
                                     const LayeredMultiViews::ViewReferences& views,
                                     SubContext& sub) {
    return render(context, views.front(), sub);
}

void DisplayObject::setShaderFolder(const std::string& folder, MissingShaderFiles missing) {
    if (!canBeShaderFolder(folder)) {
        throw std::invalid_argument("expected a folder of shaders whose path has letters of ASCII "
                                    "alone and no *, got '" +
                                    folder + "'");
    }
    _shaderFolder = folder;
    _missingShaderFiles = missing;
}

bool DisplayObject::canBeShaderFolder(const std::string& path) {
    return std::all_of(path.begin(), path.end(),
                       [](char letter) { return letter >= ' ' && letter < 0x7f && letter != '*'; });
}

Programmable::FileTimes DisplayObject::shaderFiles() const {
    const std::lock_guard lock(mutex);
    return _showings->fileTimes();
}

double DisplayObject::marginPixels(const ValuePoolPtr&) const {
    return 0.0;
}

} // namespace Mirk
