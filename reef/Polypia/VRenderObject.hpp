#pragma once
// The base of display objects: chart, transformation, bounding box and a report of failures; stands
// on VEnvironmentRenderObject and VTransformable.

#include <Polypia/VEnvironmentRenderObject.hpp>
#include <Polypia/VTransformable.hpp>

#include <fennel/StatusIndicator.hpp>
#include <fennel/VChartDependent.hpp>
#include <rookery/BoundingBox.hpp>

#include <string>

namespace Mirk {

/// An object of a scene. A derived class draws in environment_render(), and tells in its update()
/// where it will draw: by setBoundingBox() once, or by resetBBox(), embrace() for each point and
/// closeBBox(). What it throws as a RenderException becomes the report in its input "RenderStatus",
/// which clears itself with the first frame that draws well again.
///
/// The values of its output "BoundingBox" and of "RenderStatus" are local to each pool. Requests
/// pass over "RenderStatus": a failed frame does not make the object due.
class POLYPIA_EXPORT VRenderObject : public VEnvironmentRenderObject,
                                     public VChartDependent,
                                     public VTransformable,
                                     public StatusIndicator {
public:
    using BoundingBoxPtr = VTransformable::BoundingBoxPtr;
    using point = Skua::PhysicalSpace::point;

    /// The arguments are those of VObject, which a derived class constructs.
    VRenderObject(const std::string& name, int p, const PreferencesPtr& prefs);
    ~VRenderObject() override;

    /// Draws by environment_render() with limits, and returns what that returns. A RenderException
    /// is reported and counts as success, so that the frame goes on; what else is thrown passes on.
    ///
    /// A report is a fragment of HTML in "RenderStatus", written when its text has changed only; a
    /// line on standard output and VRenderContext::notifyError() tell of each failure. The first
    /// success after a failure clears the text; a drawing that returns false leaves it.
    bool safe_render(VRenderContext& context, double begin, double end) const override;
    /// The box of the pool in the object's own coordinates, see VTransformable::transformBBox; or
    /// null, as without a live pool.
    BoundingBallPtr getBoundingBall(const ValuePoolPtr& pool) const override;

    // Bounds in a pool; without a live pool these do nothing. Any thread. The box itself has no
    // lock: what is in it is stable from closeBBox() on, and while it grows nobody else should
    // read it; setBoundingBox() has no such time.

    /// Takes the box away and notifies, also if there is none. Returns true.
    bool resetBBox(const ValuePoolPtr& pool) const;
    /// Widens the box by a point, by as many threads at once as there are; of a first point a new
    /// box is made, which is notified. Takes the mutex of the pool. A coordinate that is NaN
    /// becomes the minimum, until the next one takes its place; it never becomes the maximum, but
    /// stays there if it is the first.
    void embrace(const ValuePoolPtr& pool, const point& p) const;
    /// Brings the ball around the box up to date, when all points are in it. Notifies nobody.
    void closeBBox(const ValuePoolPtr& pool) const;
    /// Makes `box`, which may be null, the box, and notifies, also if it is that already.
    void setBoundingBox(const ValuePoolPtr& pool, const BoundingBoxPtr& box) const;
    /// The same with a ball that is a box; any other one takes the box away.
    void setBoundingBall(const ValuePoolPtr& pool, const BoundingBallPtr& ball) const;

    const VOutput<SharedBoundingBox>& boundingBoxOutput() const noexcept { return _boundingBox; }
    const TypedSlot<VObjectStatus>& renderStatusSlot() const noexcept { return _renderStatus; }

private:
    BoundingBoxPtr readBox(const ValuePoolPtr& pool) const;
    void storeBox(const ValuePoolPtr& pool, const BoundingBoxPtr& box) const;
    void readStatus(const ValuePoolPtr& pool, VObjectStatus& status) const;
    void writeStatus(const ValuePoolPtr& pool, const VObjectStatus& status) const;
    void report(VRenderContext& context, const RenderException& exception,
                VObjectStatus& status) const;

    // In order of construction, which is that of the slots.
    const TypedSlot<VObjectStatus> _renderStatus;
    const VOutput<SharedBoundingBox> _boundingBox;
};

static_assert(std::is_same_v<Keel::RootOf_t<VRenderObject>, VRenderObject::ReferenceRoot>);

} // namespace Mirk
