#include <Polypia/View.hpp>

#include <sorrel/textForm.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace Mirk {

namespace {

using Matrix = ProjectionParameters::Matrix;
using point = Skua::PhysicalSpace::point;
using vector = Skua::PhysicalSpace::vector;

/// Position in `corners`.
enum Corner { Ntl, Ntr, Nbl, Nbr, Ftl, Ftr, Fbl, Fbr };

using Corners = std::array<point, 8>;

/// The plane through three corners; turn from `first` to `second` as seen from the tip of its
/// normal.
FrustumPlane planeThrough(const Corners& corners, const Corners& fromCamera, Corner corner,
                          Corner first, Corner second) {
    const vector along = fromCamera[first] - fromCamera[corner];
    return {corners[corner], cross(along, fromCamera[second] - fromCamera[corner])};
}

std::array<point, 8> unitCube() {
    std::array<point, 8> corners;
    for (unsigned i = 0; i < corners.size(); ++i) {
        corners[i] = {(i & 1) != 0 ? 1.0 : -1.0, (i & 2) != 0 ? -1.0 : 1.0,
                      (i & 4) != 0 ? 1.0 : -1.0};
    }
    return corners;
}

bool fromClip(const Matrix& inverse, double x, double y, double z, point& world) {
    const std::array<double, 4> clip{x, y, z, 1.0};
    std::array<double, 4> result{};
    View::myglMultiplyMatrixByVector4by4(result.data(), inverse.data(), clip.data());
    if (result[3] == 0.0) return false;
    world = {result[0] / result[3], result[1] / result[3], result[2] / result[3]};
    return true;
}

std::string matrixText(const Matrix& matrix) {
    std::string text;
    for (std::size_t i = 0; i < matrix.size(); ++i) {
        text += numberText(matrix[i]);
        text += i % 4 == 3 ? "      ," : "    ";
    }
    return text;
}

const char* truth(bool value) {
    return value ? "true" : "false";
}

} // namespace

PixelZoom::PixelZoom(const PixelZoom& previous, double change, double pointX,
                     double pointY) noexcept {
    const double zoomed = (change + 1.0) * previous.factor;
    if (zoomed < 1.0) return;
    factor = zoomed;
    // In brackets, so that no change of the factor is none of the offset.
    x = previous.x + (pointX / previous.factor - pointX / zoomed);
    y = previous.y + (pointY / previous.factor - pointY / zoomed);
}

void ProjectionParameters::resetProjection() {
    matrix = Identity;
    orthographic = false;
    perspective = false;
}

void ProjectionParameters::setBounds(double newLeft, double newRight, double newBottom,
                                     double newTop, double newNear, double newFar) {
    left = newLeft;
    right = newRight;
    bottom = newBottom;
    top = newTop;
    near = newNear;
    far = newFar;
}

void ProjectionParameters::setFrustum(double newLeft, double newRight, double newBottom,
                                      double newTop, double newNear, double newFar) {
    setBounds(newLeft, newRight, newBottom, newTop, newNear, newFar);
    perspective = true;
    orthographic = false;
    const double rl = right - left;
    const double tb = top - bottom;
    const double fn = far - near;
    matrix = {};
    matrix[0] = 2 * near / rl;
    matrix[5] = 2 * near / tb;
    matrix[8] = (right + left) / rl;
    matrix[9] = (top + bottom) / tb;
    matrix[10] = -(far + near) / fn;
    matrix[11] = -1;
    matrix[14] = -2 * far * near / fn;
}

void ProjectionParameters::setInfiniteFrustum(double newLeft, double newRight, double newBottom,
                                              double newTop, double newNear) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    setFrustum(newLeft, newRight, newBottom, newTop, newNear, infinity);
    // The limits for far -> infinity, less a margin of two steps of single precision.
    matrix[10] = -0.99999976;
    matrix[14] = near * -1.99999976;
}

void ProjectionParameters::setOrthographic(double newLeft, double newRight, double newBottom,
                                           double newTop, double newNear, double newFar) {
    setBounds(newLeft, newRight, newBottom, newTop, newNear, newFar);
    orthographic = true;
    perspective = false;
    const double rl = right - left;
    const double tb = top - bottom;
    const double fn = far - near;
    matrix = {};
    matrix[0] = 2 / rl;
    matrix[5] = 2 / tb;
    matrix[10] = -2 / fn;
    matrix[12] = -(right + left) / rl;
    matrix[13] = -(top + bottom) / tb;
    matrix[14] = -(far + near) / fn;
    matrix[15] = 1;
}

View::View() : corners(unitCube()) {}

void View::resetModelView() {
    untranslatedModelView = Identity;
    modelView = Identity;
    cameraPosition = {};
    camera = VCamera();
    pixelCalibration = Identity;
    viewport = {};
}

void View::computeModelViewMatrix() {
    untranslatedModelView = camera.untranslatedLookAt();
    cameraPosition = camera.position;
    modelView = untranslatedModelView;
    camera.translate(modelView);
}

void View::updateInverseMatrices() {
    myglInvertMatrix(modelView.data(), inverseModelView.data());
    myglInvertMatrix(untranslatedModelView.data(), inverseUntranslatedModelView.data());
    myglInvertMatrix(matrix.data(), inverseProjection.data());
}

void View::computeFrustum(double tangent, double aspectTangent,
                          const Skua::PhysicalSpace::Viewport& part) {
    const auto [u, v, w] = camera.getTriad();
    const auto corner = [u = u, v = v, w = w, tangent, aspectTangent](double depth, double a,
                                                                      double b) {
        return point() - w * depth + u * (depth * aspectTangent * a) + v * (depth * tangent * b);
    };
    // Of corners far from zero the edges would be those of a rounded frustum.
    const Corners fromCamera{
        corner(near, part.left, part.top),    corner(near, part.right, part.top),
        corner(near, part.left, part.bottom), corner(near, part.right, part.bottom),
        corner(far, part.left, part.top),     corner(far, part.right, part.top),
        corner(far, part.left, part.bottom),  corner(far, part.right, part.bottom)};
    std::transform(fromCamera.begin(), fromCamera.end(), corners.begin(),
                   [&](const point& place) { return camera.position + (place - point()); });
    const auto plane = [&](Corner place, Corner first, Corner second) {
        return planeThrough(corners, fromCamera, place, first, second);
    };
    planes = {plane(Ntl, Ntr, Nbl), plane(Ftl, Fbl, Ftr), plane(Ntl, Nbl, Ftl),
              plane(Ntr, Ftr, Nbr), plane(Nbl, Nbr, Fbl), plane(Ntl, Ftl, Ntr)};
}

bool View::toClip(const point& world, std::array<double, 4>& clip) const {
    clip = {world.x, world.y, world.z, 1.0};
    myglMultiplyMatrixByVector4by4(clip.data(), modelView.data(), clip.data());
    myglMultiplyMatrixByVector4by4(clip.data(), matrix.data(), clip.data());
    return clip[3] != 0.0;
}

bool View::WorldToScreen_minus1_to_plus1(const point& world, point& screen) const {
    std::array<double, 4> clip{};
    if (!toClip(world, clip)) {
        screen = {clip[0] / clip[3], clip[1] / clip[3], clip[2] / clip[3]};
        return false;
    }
    const double w = std::abs(clip[3]);
    screen = {clip[0] / w, clip[1] / w, (clip[2] / w + 1.0) * 0.5};
    return true;
}

bool View::WorldToScreen_zero_to_one(const point& world, point& screen) const {
    const bool isFinite = WorldToScreen_minus1_to_plus1(world, screen);
    screen.x = (1.0 + screen.x) * 0.5;
    screen.y = (1.0 + screen.y) * 0.5;
    return isFinite;
}

bool View::inverseOfAll(Matrix& inverse) const {
    Matrix all;
    myglMultiplyMatrices4by4(all.data(), matrix.data(), modelView.data());
    return myglInvertMatrix(all.data(), inverse.data());
}

bool View::ScreenToWorld(const std::vector<point>& screen, std::vector<point>& world) const {
    Matrix inverse;
    if (world.size() < screen.size() || !inverseOfAll(inverse)) return false;
    for (std::size_t i = 0; i < screen.size(); ++i) {
        const point& from = screen[i];
        if (!fromClip(inverse, from.x, from.y, 2.0 * from.z - 1.0, world[i])) return false;
    }
    return true;
}

bool View::UnifiedScreenToWorld(const point& screen, point& world) const {
    Matrix inverse;
    return inverseOfAll(inverse) && fromClip(inverse, 2.0 * screen.x - 1.0, 2.0 * screen.y - 1.0,
                                             2.0 * screen.z - 1.0, world);
}

bool View::UnifiedScreenToRay(double x, double y, point& origin, vector& direction) const {
    // Without far plane, a depth of 1 lies behind the eye because of the margin; half of the depth
    // range is still ahead of it.
    const double beyond = std::isinf(far) ? 0.5 : 1.0;
    point second;
    if (!UnifiedScreenToWorld({x, y, 0.0}, origin)) return false;
    if (!UnifiedScreenToWorld({x, y, beyond}, second)) return false;
    direction = normalised(second - origin);
    return true;
}

void View::myglMultiplyMatrices4by4(double* result, const double* a, const double* b) {
    Matrix product;
    for (std::size_t column = 0; column < 4; ++column) {
        myglMultiplyMatrixByVector4by4(product.data() + 4 * column, a, b + 4 * column);
    }
    std::copy(product.begin(), product.end(), result);
}

void View::myglMultiplyMatrixByVector4by4(double* result, const double* matrix,
                                          const double* vector) {
    std::array<double, 4> product{};
    for (std::size_t row = 0; row < 4; ++row) {
        product[row] = matrix[row] * vector[0] + matrix[4 + row] * vector[1] +
                       matrix[8 + row] * vector[2] + matrix[12 + row] * vector[3];
    }
    std::copy(product.begin(), product.end(), result);
}

bool View::myglInvertMatrix(const double* in, double* out) {
    // Each row holds a row of the matrix and beside it one of the identity, which becomes the
    // inverse.
    std::array<std::array<double, 8>, 4> rows{};
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) rows[row][column] = in[4 * column + row];
        rows[row][4 + row] = 1.0;
    }
    for (std::size_t pivot = 0; pivot < 4; ++pivot) {
        const auto best = std::max_element(rows.begin() + static_cast<std::ptrdiff_t>(pivot),
                                           rows.end(), [pivot](const auto& a, const auto& b) {
                                               return std::abs(a[pivot]) < std::abs(b[pivot]);
                                           });
        std::swap(rows[pivot], *best);
        const double divisor = rows[pivot][pivot];
        if (divisor == 0.0) return false;
        for (double& element : rows[pivot]) element /= divisor;
        for (std::size_t row = 0; row < 4; ++row) {
            if (row == pivot) continue;
            const double factor = rows[row][pivot];
            for (std::size_t i = 0; i < 8; ++i) rows[row][i] -= factor * rows[pivot][i];
        }
    }
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            out[4 * column + row] = rows[row][4 + column];
        }
    }
    return true;
}

bool VValueCompareTrait<View>::isDifferent(const View& a, const View& b) {
    const auto numbers = [](const VCamera& camera) {
        return std::array<double, 10>{camera.position.x, camera.position.y, camera.position.z,
                                      camera.lookAt.x,   camera.lookAt.y,   camera.lookAt.z,
                                      camera.up.x,       camera.up.y,       camera.up.z,
                                      camera.fieldOfView};
    };
    const std::array<double, 10> first = numbers(a.camera);
    const std::array<double, 10> second = numbers(b.camera);
    for (std::size_t i = 0; i < first.size(); ++i) {
        if (first[i] < second[i] || first[i] > second[i]) return true;
    }
    return false;
}

std::string VValueTrait<View>::Text(const View& view) {
    return "Modelview: { data: [" + matrixText(view.modelView) +
           "] }, Projection: { Orthographic:" + truth(view.orthographic) +
           ", Perspective: " + truth(view.perspective) + ", data: [" + matrixText(view.matrix) +
           "] } , Camera: {" + view.camera.str() + "}";
}

} // namespace Mirk
