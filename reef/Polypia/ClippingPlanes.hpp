#pragma once
// Two planes by which a user cuts an object; stands on PolypCreator and slots.

#include <Polypia/PolypCreator.hpp>

#include <rookery/PhysicalSpace.hpp>
#include <sorrel/TypedSlot.hpp>

#include <string>

namespace Mirk {

/// Two inputs for planes, "clip0" and "clip1", that shaders find in the uniforms `ClipPlane0` and
/// `ClipPlane1`: the plane's four numbers as they are. An object has this as a member. A plane cuts
/// away what lies behind it, seen from where its normal points to; one with a normal of zero, as at
/// first, nothing. A plane that is moved makes no program anew.
///
/// A vertex stage that is to be cut has the text of setClipDistances() in its prefix, and calls
/// `zelk_setClipDistances(WorldVertex3(V))` with the vertex in world space. That is where vertex
/// and plane meet in single precision: 6.4e6 away from the origin within half a unit. Objects that
/// are drawn far away use initializeRelativePolyp() and call
/// `zelk_setClipDistances(V.Vertex.xyz)`.
class POLYPIA_EXPORT ClippingPlanes {
public:
    using HessianNormalPlane = Skua::PhysicalSpace::HessianNormalPlane;

    /// Adds the inputs to `owner`, which this is a part of.
    explicit ClippingPlanes(VObject* owner);

    /// The text for the prefix of a vertex stage; see ClippingPlanes.glsl.
    static std::string setClipDistances();

    /// Adds the parameters "ClipPlane0" and "ClipPlane1" to a polyp, which follow the inputs, for
    /// vertices in world space. Always true.
    bool initializePolyp(Polyp& polyp, VRenderContext& context,
                         PolypCreator<DefaultPolypInitializer>& creator) const;
    /// The same for vertices from whose coordinates `worldOrigin` was subtracted: so it is from the
    /// planes, in double precision. For polyps that are filled anew when their origin changes.
    bool initializeRelativePolyp(Polyp& polyp, VRenderContext& context,
                                 const Skua::PhysicalSpace::vector& worldOrigin) const;

    // The order of the fields is part of the interface.

    const TypedSlot<HessianNormalPlane> clip0;
    const TypedSlot<HessianNormalPlane> clip1;
};

} // namespace Mirk
