#pragma once
// The geometry of one eye: camera, projection and frustum; stands on fennel's camera.
//
// Matrices are 16 doubles, stored column by column as OpenGL has them: element 4 * column + row,
// the translation in 12, 13, 14. They are multiplied by column vectors from the right. Eye space is
// right-handed and looks along -z; depth in clip space is -1 at the near plane and 1 at the far
// one.

#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <fennel/VCamera.hpp>

#include <rookery/PhysicalSpace.hpp>

#include <array>
#include <string>
#include <vector>

namespace Mirk {

/// Magnification of a part of the screen.
class POLYPIA_EXPORT PixelZoom {
public:
    PixelZoom() noexcept = default;
    PixelZoom(double zoomFactor, double offsetX, double offsetY) noexcept
        : factor(zoomFactor), x(offsetX), y(offsetY) {}
    /// The next zoom after an action of the user: a factor greater by `change` (0.5 is half as
    /// much again), with the point under the pointer staying in its place. The point is given in
    /// fractions of the window from the left and from the bottom. A factor below 1 is the whole
    /// view. The offsets may leave the picture; who wants them inside limits them to
    /// 0 .. 1 - 1 / factor.
    PixelZoom(const PixelZoom& previous, double change, double pointX, double pointY) noexcept;

    friend bool operator==(const PixelZoom&, const PixelZoom&) = default;

    /// 1 or above.
    double factor = 1.0;
    /// Left and bottom of the visible rectangle, in fractions of the whole picture.
    double x = 0.0;
    double y = 0.0;
};

/// A projection, as a matrix and by the numbers that it was made from.
class POLYPIA_EXPORT ProjectionParameters {
public:
    using Matrix = std::array<double, 16>;
    static constexpr Matrix Identity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

    /// The identity, neither orthographic nor perspective; the six numbers stay.
    void resetProjection();
    /// Perspective through a rectangle on the near plane, in eye space. Formula of glFrustum.
    void setFrustum(double newLeft, double newRight, double newBottom, double newTop,
                    double newNear, double newFar);
    /// The same without far plane; a small margin of the depth range is left.
    void setInfiniteFrustum(double newLeft, double newRight, double newBottom, double newTop,
                            double newNear);
    /// Formula of glOrtho.
    void setOrthographic(double newLeft, double newRight, double newBottom, double newTop,
                         double newNear, double newFar);

    // The order of the fields is part of the interface.
    Matrix matrix = Identity;
    double left = -1.0;
    double right = 1.0;
    double bottom = -1.0;
    double top = 1.0;
    double near = -1.0;
    double far = 1.0;
    bool orthographic = false;
    bool perspective = false;

private:
    void setBounds(double newLeft, double newRight, double newBottom, double newTop, double newNear,
                   double newFar);
};

/// One side of a frustum.
struct POLYPIA_EXPORT FrustumPlane {
    Skua::PhysicalSpace::point corner;
    /// Into the frustum; not of unit length.
    Skua::PhysicalSpace::vector normal;
};

/// The geometric state of one eye, all in double precision. World coordinates go in and come out.
class POLYPIA_EXPORT View : public ProjectionParameters {
public:
    using point = Skua::PhysicalSpace::point;
    using vector = Skua::PhysicalSpace::vector;

    /// Identity matrices, the default camera, and the cube from -1 to 1 for a frustum.
    View();

    /// Identity model view and default camera. The calibration of the pixels and the viewport are
    /// reset as well.
    void resetModelView();
    /// From the camera. Leaves the inverse matrices as they are.
    void computeModelViewMatrix();
    /// The inverses of `modelView`, `untranslatedModelView` and `matrix`; that of a singular matrix
    /// stays as it was.
    void updateInverseMatrices();
    /// `corners` and `planes`, from the camera, near and far. `tangent` is that of half the
    /// vertical field of view, `aspectTangent` the same times the aspect ratio; `part` is the
    /// fraction of the image, from -1 to 1.
    void computeFrustum(double tangent, double aspectTangent,
                        const Skua::PhysicalSpace::Viewport& part);

    /// x and y from -1 to 1, z from 0 (near) to 1 (far). False if w is 0; x, y and z are divided by
    /// it all the same. The division is by the absolute value: a point behind the eye keeps its
    /// side of the screen.
    bool WorldToScreen_minus1_to_plus1(const point& world, point& screen) const;
    /// x and y from 0 to 1, z the same as above.
    bool WorldToScreen_zero_to_one(const point& world, point& screen) const;
    /// The inverse of WorldToScreen_minus1_to_plus1 for points ahead of the eye, element by
    /// element. False if `world` has fewer elements than `screen`, if the matrices can't be
    /// inverted, or if one of the points lies at infinity; what was computed until then stays in
    /// `world`.
    bool ScreenToWorld(const std::vector<point>& screen, std::vector<point>& world) const;
    /// The line of sight through a point of the screen, x and y from 0 to 1: its point on the near
    /// plane and its direction, of unit length; the zero vector if there is none.
    bool UnifiedScreenToRay(double x, double y, point& origin, vector& direction) const;
    /// The inverse of WorldToScreen_zero_to_one, for points ahead of the eye.
    bool UnifiedScreenToWorld(const point& screen, point& world) const;

    /// result = a * b. The result may be one of the operands.
    static void myglMultiplyMatrices4by4(double* result, const double* a, const double* b);
    /// result = matrix * vector, of 4 elements. The result may be the vector.
    static void myglMultiplyMatrixByVector4by4(double* result, const double* matrix,
                                               const double* vector);
    /// Gauss-Jordan elimination with partial pivoting. False, and `out` is untouched, if the matrix
    /// is singular.
    static bool myglInvertMatrix(const double* in, double* out);

    // The order of the fields is part of the interface.
    VCamera camera;
    /// Near top left, near top right, near bottom left, near bottom right, and the same four of the
    /// far plane.
    std::array<point, 8> corners;
    /// Near, far, left, right, bottom, top; as of the last computeFrustum(), zeros before.
    std::array<FrustumPlane, 6> planes{};
    Matrix untranslatedModelView = Identity;
    Matrix modelView = Identity;
    /// The camera's position when `modelView` was made.
    point cameraPosition{};
    Matrix inverseModelView = Identity;
    Matrix inverseUntranslatedModelView = Identity;
    Matrix inverseProjection = Identity;
    /// For the backend alone: how the pixels of a display are displaced, and the part of the output
    /// that the view has.
    Matrix pixelCalibration = Identity;
    Skua::PhysicalSpace::Viewport viewport;

private:
    bool inverseOfAll(Matrix& inverse) const;
    bool toClip(const point& world, std::array<double, 4>& clip) const;
};

/// Two views differ if their cameras differ in position, look-at point, up vector or field of view.
/// A NaN is no difference.
template<>
struct POLYPIA_EXPORT VValueCompareTrait<View> {
    static bool isDifferent(const View& a, const View& b);
};
/// For diagnostics; can't be read.
template<>
struct POLYPIA_EXPORT VValueTrait<View> {
    static std::string Text(const View& view);
    static bool setValueFromText(View&, const std::string&) { return false; }
};

} // namespace Mirk
