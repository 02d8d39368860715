#pragma once
// A display object whose answers the test chooses; stands on RenderAble.

#include <Polypia/RenderAble.hpp>

#include <rookery/BoundingBox.hpp>

#include <functional>
#include <string>

/// Draws nothing.
class Shown : public Mirk::RenderAble {
public:
    explicit Shown(const std::string& objectName, int layer = 0)
        : VObject(objectName, layer, {}), RenderAble(objectName, layer, {}) {}

    using RenderAble::environment_render;
    bool environment_render(Mirk::VRenderContext&) const override { return true; }
    BoundingBallPtr getBoundingBall(const Mirk::ValuePoolPtr&) const override {
        if (asked) asked();
        return ball;
    }
    BoundingBallPtr getTouchableBoundingBall(const Mirk::ValuePoolPtr& pool) const override {
        return touchableBall ? touchableBall : getBoundingBall(pool);
    }
    std::string getSensorInfo(const Mirk::ValuePoolPtr& pool, const SensorView& view) override {
        return info ? info(pool, view) : std::string();
    }

    /// Shows or hides it in a pool; in all, if that is null.
    void setVisible(const Mirk::ValuePoolPtr& pool, bool isVisible) {
        Mirk::writeSlot(findInput(VisibilitySlotName()), pool, isVisible);
    }

    BoundingBallPtr ball;
    BoundingBallPtr touchableBall; // null: as the other
    /// Called when the ball is asked for.
    std::function<void()> asked;
    std::function<std::string(const Mirk::ValuePoolPtr&, const SensorView&)> info;
};

using ShownPtr = Keel::StrongPtr<Shown, Mirk::VManagedObjectBase>;
using BoxPtr = Keel::StrongPtr<Skua::BoundingBox, Keel::InterfaceBase>;

inline ShownPtr shown(const std::string& name, int layer = 0) {
    return ShownPtr(new Shown(name, layer));
}

/// The cube from `low` to `high` on all axes, which may be no numbers.
inline BoxPtr cube(double low, double high) {
    const BoxPtr box(new Skua::BoundingBox);
    box->min = {low, low, low};
    box->max = {high, high, high};
    box->isEmpty = false;
    box->updateBall();
    return box;
}

inline ShownPtr shownCube(const std::string& name, double low, double high, int layer = 0) {
    const ShownPtr object = shown(name, layer);
    object->ball = cube(low, high);
    return object;
}
