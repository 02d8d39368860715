#pragma once
// Where one looks from, and to; stands on sorrel's value traits.

#include <fennel/fwd.hpp>

#include <sorrel/valueTraits.hpp>

#include <array>
#include <string>

namespace Mirk {

/// A camera in world space, in the units of the world.
///
///          up  y
///           |   third z, towards the camera
///           |  /
///      lookAt ------ right x
///           ·
///           position
///
/// The default camera looks along -z at the coordinate zero, from (0, 0, 10), y upwards.
class FENNEL_EXPORT VCamera {
public:
    /// Three orthonormal vectors: to the right, up, and from the look-at point towards the camera;
    /// right × up is the third. They are finite for any camera: if it looks nowhere, +z is taken
    /// for the third vector; if `up` tells nothing, the axis that is farthest from the third one
    /// is taken for it.
    std::array<Skua::PhysicalSpace::vector, 3> getTriad() const;
    /// Multiplies a matrix, which is stored column by column, from the right by the translation
    /// that brings the camera to the coordinate zero: matrix = matrix * T(-position).
    void translate(std::array<double, 16>& matrix) const;
    /// The rotation from world space to eye space, column by column: its rows are the triad. The
    /// same, after translate(), is the model-view matrix.
    std::array<double, 16> untranslatedLookAt() const;
    /// Readable text for diagnostics: that of the value trait.
    std::string str() const;

    // The order of these fields is part of the interface.

    Skua::PhysicalSpace::point position{0.0, 0.0, 10.0};
    Skua::PhysicalSpace::point lookAt{0.0, 0.0, 0.0};
    /// Of any length, and not necessarily at right angles to the view.
    Skua::PhysicalSpace::vector up{0.0, 1.0, 0.0};
    /// Vertical, in degrees.
    double fieldOfView = 45.0;
};

/// The camera is compared by the bits of its fields.
template<>
struct NumbersOf<VCamera> {
    using type = double;
};

/// `position 0 0 10, lookAt 0 0 0, up 0 1 0, fieldOfView 45`. Reads the fields in any order, also
/// on several lines; what is left out is as in the default camera, but one field must be there.
template<>
struct FENNEL_EXPORT VValueTrait<VCamera> {
    static std::string Text(const VCamera& value);
    static bool setValueFromText(VCamera& value, const std::string& text);
};

} // namespace Mirk
