#include <Polypia/FloatOrigin.hpp>

#include <Polypia/VRenderContext.hpp>
#include <Polypia/shiftedPoints.hpp>

#include <keel/Environment.hpp>

#include <utility>

namespace Mirk {

namespace {

const bool isDisabled =
    Keel::getEnvInteger("DisableFloatingOrigin",
                        "Disable the floating origin approach to handle large coordinates - this "
                        "is only useful for demonstration purposes.",
                        0) >= 1;

/// The origin, of one object in one pool.
class RenderShiftState : public Keel::Interface<RenderShiftState> {
public:
    Skua::PhysicalSpace::vector Translation;
};

using StatePtr = Keel::StrongPtr<RenderShiftState, Keel::InterfaceBase>;

/// Written so that a camera that is no number moves the origin, and the next good one moves it
/// back.
bool mustMove(const FloatOrigin::vector& d, double threshold) {
    return !(threshold <= 0.0 || dot(d, d) <= threshold * threshold);
}

template<class To>
auto shifted(const FloatOrigin::PointChunk& points, const FloatOrigin::vector& shift) {
    using Chunk = Keel::Chunk<To>;
    if (!points) return Keel::StrongPtr<Chunk, Keel::ChunkBase>();
    return Keel::StrongPtr<Chunk, Keel::ChunkBase>(
        new Chunk(shiftedPoints<To>(std::as_const(*points).elements(), shift)));
}

} // namespace

FloatOrigin::FloatOrigin()
    : FloatOrigin(Keel::getEnvFloat(
          "CameraShiftThreshold",
          "The threshold distance that triggers shifting of coordinates when they are numerically "
          "too large as compared to the camera position (default 1E4)",
          10000.0)) {}

FloatOrigin::FloatOrigin(double threshold) : CameraShiftThreshold(threshold) {}

FloatOrigin::~FloatOrigin() = default;

FloatOrigin::vector FloatOrigin::getTranslationVector(Keel::Intercube& cube) {
    const StatePtr state = cube.findInterface<RenderShiftState>();
    return state ? state->Translation : vector();
}

FloatOrigin::FloatedOriginPtr FloatOrigin::getTranslationVector(const VRenderContext& context,
                                                                Keel::Intercube& cube,
                                                                vector& shift, double threshold) {
    const StatePtr state = cube.provideInterface<RenderShiftState>(
        [] { return Keel::StrongPtr<Keel::InterfaceBase>(new RenderShiftState); });
    const vector observer = context.CurrentView(context.CurrentEye, 0).camera.position - point();
    const vector d = isDisabled ? observer : observer - state->Translation;
    const bool moves = !isDisabled && mustMove(d, threshold);
    if (moves) state->Translation = observer;
    shift = state->Translation;
    return moves ? FloatedOriginPtr() : context.makeFloatedOrigin(d);
}

FloatOrigin::FloatedOriginPtr FloatOrigin::getCoordinateTranslation(const VRenderContext& context,
                                                                    Keel::Intercube& cube,
                                                                    vector& shift) const {
    return getTranslationVector(context, cube, shift, CameraShiftThreshold);
}

FloatOrigin::FloatedOriginPtr FloatOrigin::getCoordinateTranslation(const VRenderContext& context,
                                                                    vector& shift) const {
    const Keel::StrongPtr<State> state = myState(context.pool);
    if (!state) return {};
    return getCoordinateTranslation(context, *state, shift);
}

FloatOrigin::PointChunk FloatOrigin::computeShiftedCoordinates(const PointChunk& points,
                                                               const vector& shift) const {
    return shifted<point>(points, shift);
}

FloatOrigin::FloatPointChunk
FloatOrigin::computeShiftedFloatCoordinates(const PointChunk& points, const vector& shift) const {
    return shifted<FloatPoint>(points, shift);
}

} // namespace Mirk
