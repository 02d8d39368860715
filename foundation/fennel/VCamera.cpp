#include <fennel/VCamera.hpp>

#include <fennel/recordText.hpp>

#include <cmath>

namespace Mirk {

namespace {

using Skua::PhysicalSpace::point;
using Skua::PhysicalSpace::vector;

bool isFinite(const vector& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

bool isDirection(const vector& v) {
    return isFinite(v) && !(v == vector{});
}

/// Unit vector from a to b; zero if there is none.
vector direction(const point& a, const point& b) {
    vector difference = b - a;
    // The difference of two finite places may be too long for a double, not so that of the halves.
    if (!isFinite(difference)) difference = (b - point{}) * 0.5 - (a - point{}) * 0.5;
    return isDirection(difference) ? normalised(difference) : vector{};
}

/// The coordinate axis that is farthest from the direction of v.
vector farthestAxis(const vector& v) {
    const vector size{std::abs(v.x), std::abs(v.y), std::abs(v.z)};
    if (size.y <= size.x && size.y <= size.z) return {0.0, 1.0, 0.0};
    return size.x <= size.z ? vector{1.0, 0.0, 0.0} : vector{0.0, 0.0, 1.0};
}

/// Unit vector at right angles to the unit vector `third`, as near as possible to `side`; zero if
/// `side` is parallel to it within the precision of a double.
vector perpendicular(const vector& side, const vector& third) {
    constexpr double Parallel = 1e-14;
    if (norm(side) < Parallel) return {};
    // A short vector is off the right angle by its rounding errors; once it is long, they are gone.
    const vector unit = normalised(side);
    return normalised(unit - third * dot(unit, third));
}

} // namespace

std::array<vector, 3> VCamera::getTriad() const {
    vector third = direction(lookAt, position);
    if (third == vector{}) third = {0.0, 0.0, 1.0};
    vector right;
    if (isDirection(up)) right = perpendicular(cross(normalised(up), third), third);
    if (right == vector{}) right = perpendicular(cross(farthestAxis(third), third), third);
    return {right, cross(third, right), third};
}

void VCamera::translate(std::array<double, 16>& matrix) const {
    for (std::size_t row = 0; row < 4; ++row) {
        matrix[12 + row] -=
            matrix[row] * position.x + matrix[4 + row] * position.y + matrix[8 + row] * position.z;
    }
}

std::array<double, 16> VCamera::untranslatedLookAt() const {
    std::array<double, 16> matrix{};
    const auto triad = getTriad();
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            matrix[4 * column + row] = triad[row][column];
        }
    }
    matrix[15] = 1.0;
    return matrix;
}

std::string VCamera::str() const {
    return VValueTrait<VCamera>::Text(*this);
}

std::string VValueTrait<VCamera>::Text(const VCamera& value) {
    return "position " + numbersText(numbersOf(value.position)) + ", lookAt " +
           numbersText(numbersOf(value.lookAt)) + ", up " + numbersText(numbersOf(value.up)) +
           ", fieldOfView " + numberText(value.fieldOfView);
}

bool VValueTrait<VCamera>::setValueFromText(VCamera& value, const std::string& text) {
    VCamera read;
    const bool readable =
        readFields(text, {textField("position", read.position), textField("lookAt", read.lookAt),
                          textField("up", read.up), textField("fieldOfView", read.fieldOfView)});
    if (!readable) return false;
    value = read;
    return true;
}

} // namespace Mirk
