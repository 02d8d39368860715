#include <Polypia/ClippingPlanes.hpp>

#include <Polypia/SlotUpdater.hpp>
#include <Polypia/VRenderContext.hpp>

#include <ClippingPlanes.glsl.hpp>

namespace Mirk {

namespace {

using Plane = ClippingPlanes::HessianNormalPlane;
using FourNumbers = Skua::FixedArray<double, 4>;

constexpr int expertLevel = 5;

FourNumbers numbersOfPlane(const Plane& plane) {
    return plane;
}

template<class Conversion>
void insertPlane(Polyp& polyp, VRenderContext& context, const char* uniform,
                 const TypedSlot<Plane>& slot, const Conversion& conversion) {
    using Updater = RenderBasin::RenderParameter::TypedUpdater<Plane, Conversion>;
    const RenderBasin::UpdaterPtr updater(
        new Updater(slot, conversion, slot ? slot->Name() : "UnknownInput"));
    polyp.insert(context.createRenderParameter(uniform, updater, typeid(double), 4));
}

template<class Conversion>
void insertPlanes(Polyp& polyp, VRenderContext& context, const ClippingPlanes& planes,
                  const Conversion& conversion) {
    insertPlane(polyp, context, "ClipPlane0", planes.clip0, conversion);
    insertPlane(polyp, context, "ClipPlane1", planes.clip1, conversion);
}

/// Of two large numbers the small difference: their last digits are those of the cut.
double relativeDistance(const Plane& plane, const Skua::PhysicalSpace::vector& origin) {
    long double distance = plane.distance;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        distance -=
            static_cast<long double>(plane.normal[axis]) * static_cast<long double>(origin[axis]);
    }
    return static_cast<double>(distance);
}

} // namespace

ClippingPlanes::ClippingPlanes(VObject* owner)
    : clip0(owner, "clip0", HessianNormalPlane(), expertLevel),
      clip1(owner, "clip1", HessianNormalPlane(), expertLevel) {}

std::string ClippingPlanes::setClipDistances() {
    return std::string(glsl::ClippingPlanes);
}

bool ClippingPlanes::initializePolyp(Polyp& polyp, VRenderContext& context,
                                     PolypCreator<DefaultPolypInitializer>&) const {
    insertPlanes(polyp, context, *this, &numbersOfPlane);
    return true;
}

bool ClippingPlanes::initializeRelativePolyp(Polyp& polyp, VRenderContext& context,
                                             const Skua::PhysicalSpace::vector& worldOrigin) const {
    insertPlanes(polyp, context, *this, [worldOrigin](const Plane& plane) -> FourNumbers {
        return Plane{plane.normal, relativeDistance(plane, worldOrigin)};
    });
    return true;
}

} // namespace Mirk
