#pragma once
// Coordinates relative to an origin that follows the camera; stands on the render context.

#include <Polypia/RenderBasin.hpp>
#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <keel/Chunk.hpp>
#include <rookery/PhysicalSpace.hpp>
#include <sorrel/VStateCreatorBase.hpp>

namespace Mirk {

/// Places the vertices of a display object, its base, relative to an origin near the camera: single
/// precision can't tell points apart that are far from the origin of the world. The origin stays
/// while the camera is within a threshold of it, and then jumps to where the camera is. Until the
/// next jump nothing is to be uploaded.
///
/// At each drawing a display object does this:
///
/// 1. It asks getCoordinateTranslation() for the shift. If that gives null, or if the shift is
///    another than that of the vertices on the GPU, it uploads them anew, less the shift
///    (computeShiftedFloatCoordinates), and asks again. Null means a jump, or no state.
/// 2. It calls updateTranslatedViews() with *minus* the shift, as what shaders know as the offset
///    of a vertex is what was added to the coordinate of the world.
/// 3. It hands the result to setAllProgramVariables() of its program. That is behind the second
///    step, so that what is sent are the views of this frame.
///
/// Who draws several eyes one after the other does the first step for one of them and draws all by
/// that origin: eyes that are farther apart than the threshold would move it to and fro.
///
/// The shift that belongs to vertices is to be kept beside them, with the polyp: there is one
/// origin for each pool, and two contexts may draw with the same pool.
class POLYPIA_EXPORT FloatOrigin : public virtual VStateCreatorBase {
public:
    using point = Skua::PhysicalSpace::point;
    using vector = Skua::PhysicalSpace::vector;
    using FloatPoint = Skua::Coordinates<Skua::Cartesian3D, float>::point;
    using FloatedOriginPtr = Keel::StrongPtr<RenderBasin::FloatedOrigin>;
    using PointChunk = Keel::StrongPtr<Keel::Chunk<point>, Keel::ChunkBase>;
    using FloatPointChunk = Keel::StrongPtr<Keel::Chunk<FloatPoint>, Keel::ChunkBase>;

    /// With the threshold of the environment variable CameraShiftThreshold, which is read each
    /// time; 1E4 without it, where floats are a millimetre apart if the unit is a metre.
    FloatOrigin();
    /// With this threshold, whatever the environment says.
    explicit FloatOrigin(double threshold);
    ~FloatOrigin() override;

    /// The origin that is kept in a table of interfaces; zero, and nothing is added, if there is
    /// none.
    static vector getTranslationVector(Keel::Intercube& cube);
    /// Moves the origin that is kept in the table to where the camera of the current eye is if that
    /// is farther away than the threshold, and gives it as `shift`. The result is null when it has
    /// moved; else it is what the program of the vertices needs to know of the origin. With a
    /// threshold of 0 or less the origin never moves; neither does it with the environment variable
    /// DisableFloatingOrigin, read when the library is loaded, at 1 or more. On the render thread
    /// of the context.
    static FloatedOriginPtr getTranslationVector(const VRenderContext& context,
                                                 Keel::Intercube& cube, vector& shift,
                                                 double threshold);
    /// With the threshold of this object.
    FloatedOriginPtr getCoordinateTranslation(const VRenderContext& context, Keel::Intercube& cube,
                                              vector& shift) const;
    /// The same with this object's state for the context's pool. Null for a dead pool, and `shift`
    /// stays as it is.
    FloatedOriginPtr getCoordinateTranslation(const VRenderContext& context, vector& shift) const;

    /// The points less the shift, by all threads if there are more than 1048576. Null for null.
    PointChunk computeShiftedCoordinates(const PointChunk& points, const vector& shift) const;
    /// The same in single precision, as it is uploaded: subtracted first and rounded last.
    FloatPointChunk computeShiftedFloatCoordinates(const PointChunk& points,
                                                   const vector& shift) const;

    /// How far the camera may go from the origin, in units of the world.
    double CameraShiftThreshold;
};

} // namespace Mirk
