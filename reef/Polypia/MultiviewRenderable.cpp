#include <Polypia/MultiviewRenderable.hpp>

#include <Polypia/RenderException.hpp>

#include <keel/VerboseStream.hpp>

#include <chrono>
#include <cstdio>
#include <exception>
#include <mutex>

namespace Mirk {

namespace {

using Clock = std::chrono::system_clock;

double secondsSince(Clock::time_point begin) {
    using std::chrono::nanoseconds;
    const auto elapsed = std::chrono::duration_cast<nanoseconds>(Clock::now() - begin);
    return static_cast<double>(elapsed.count()) * 1e-9;
}

void publishTime(const RenderAble& object, const VRenderContext& context, double seconds) {
    // Without a pool the times of all pools would be written.
    if (!context.pool) return;
    const double frameSeconds = context.precision ? context.precision->lastFrameTime.load() : 0.0;
    if (!(frameSeconds > 0.0) || !(seconds > 0.0)) return;
    object.renderTimeOutput().set(context.pool, seconds);
    object.renderTimeContributionOutput().set(context.pool, seconds / frameSeconds);
}

bool reportThrown(const RenderAble& object, const char* what) {
    std::printf("EXCEPTION WHILE RENDERING [%s]: %s\n", object.Name().c_str(), what);
    std::fflush(stdout);
    return false;
}

} // namespace

MultiviewRenderable::~MultiviewRenderable() = default;

bool MultiviewRenderable::exception_safe_multiview_render(
    const RenderAblePtr& object, double& renderTime, VRenderContext& context,
    const LayeredMultiViews::ViewReferences& views, RenderAble::SubContext& sub) {
    if (!object->isVisible(context.pool)) return true;
    try {
        return timedRender(*object, renderTime, context, views, sub);
    } catch (const RenderException& exception) {
        Keel::VerboseStream("GLSL", 1).print("Multiview rendering of [%s]: %s",
                                             object->Name().c_str(), exception.str().c_str());
        return context.notifyError(*object, exception);
    } catch (const std::exception& exception) {
        return reportThrown(*object, exception.what());
    } catch (const char* text) {
        return reportThrown(*object, text);
    } catch (...) {
        std::printf("UNKOWN EXCEPTION WHILE RENDERING [%s]\n", object->Name().c_str());
        std::fflush(stdout);
        return false;
    }
}

bool MultiviewRenderable::timedRender(const RenderAble& object, double& renderTime,
                                      VRenderContext& context,
                                      const LayeredMultiViews::ViewReferences& views,
                                      RenderAble::SubContext& sub) {
    const Clock::time_point begin = Clock::now();
    {
        const std::lock_guard lock(object.mutex);
        if (!multiview_render(context, views, sub)) return false;
    }
    const double seconds = secondsSince(begin);
    renderTime += seconds;
    publishTime(object, context, seconds);
    return true;
}

StereoDraw::~StereoDraw() = default;

bool StereoDraw::stereo_render(VRenderContext&, const LayeredMultiViews::ViewReferences&,
                               RenderAble::SubContext&) {
    return false;
}

bool StereoDraw::exception_safe_stereo_render(const RenderAblePtr& object, double&,
                                              VRenderContext& context,
                                              const LayeredMultiViews::ViewReferences& views,
                                              RenderAble::SubContext& sub) {
    try {
        return stereo_render(context, views, sub);
    } catch (const RenderException& exception) {
        std::printf("StereoDraw: %s", exception.str().c_str());
        std::fflush(stdout);
        return context.notifyError(*object, exception);
    } catch (...) {
        std::printf("StereoDraw: Unknown exception during rendering\n");
        std::fflush(stdout);
        return false;
    }
}

} // namespace Mirk
