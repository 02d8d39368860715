#pragma once
// One record of the block MultiView in memory, for its upload and its tests; stands on nothing.

#include <array>
#include <cstddef>
#include <type_traits>

namespace Mirk {

/// The structure `View` of MultiViewStructures.glsl in the layout std140, with the same names.
/// Matrices column by column.
struct MultiViewRecord {
    using vec2 = std::array<float, 2>;
    using vec4 = std::array<float, 4>;
    using mat4 = std::array<float, 16>;

    struct CameraProperties {
        vec4 Observer;
        vec4 LookAt;
        vec4 Up;
        float ViewAngle;
        float Unused1;
        float Unused2;
        float Unused3;
    };
    struct Viewport {
        vec2 LeftBottom;
        vec2 RightTop;
    };
    struct Frustum {
        vec4 ntl, ntr, nbl, nbr, ftl, ftr, fbl, fbr;
    };

    mat4 ProjectionMatrix;
    mat4 UntranslatedModelViewMatrix;
    mat4 FullModelViewMatrix;
    mat4 PixelCalibrationMatrix;
    mat4 inv_ProjectionMatrix;
    mat4 inv_UntranslatedModelViewMatrix;
    mat4 inv_FullModelViewMatrix;
    vec4 Translation;
    vec4 Unused;
    CameraProperties CameraSettings;
    Viewport theViewport;
    Frustum theFrustum;
};

static_assert(std::is_trivially_copyable_v<MultiViewRecord>);
static_assert(std::is_standard_layout_v<MultiViewRecord>);
static_assert(sizeof(MultiViewRecord) == 688);
static_assert(offsetof(MultiViewRecord, UntranslatedModelViewMatrix) == 64);
static_assert(offsetof(MultiViewRecord, FullModelViewMatrix) == 128);
static_assert(offsetof(MultiViewRecord, PixelCalibrationMatrix) == 192);
static_assert(offsetof(MultiViewRecord, inv_ProjectionMatrix) == 256);
static_assert(offsetof(MultiViewRecord, inv_UntranslatedModelViewMatrix) == 320);
static_assert(offsetof(MultiViewRecord, inv_FullModelViewMatrix) == 384);
static_assert(offsetof(MultiViewRecord, Translation) == 448);
static_assert(offsetof(MultiViewRecord, Unused) == 464);
static_assert(offsetof(MultiViewRecord, CameraSettings) == 480);
static_assert(offsetof(MultiViewRecord::CameraProperties, LookAt) == 16);
static_assert(offsetof(MultiViewRecord::CameraProperties, Up) == 32);
static_assert(offsetof(MultiViewRecord::CameraProperties, ViewAngle) == 48);
static_assert(offsetof(MultiViewRecord::CameraProperties, Unused1) == 52);
static_assert(offsetof(MultiViewRecord, theViewport) == 544);
static_assert(offsetof(MultiViewRecord::Viewport, RightTop) == 8);
static_assert(offsetof(MultiViewRecord, theFrustum) == 560);
static_assert(offsetof(MultiViewRecord::Frustum, fbr) == 112);

} // namespace Mirk
