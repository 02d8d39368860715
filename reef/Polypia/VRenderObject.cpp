#include <Polypia/VRenderObject.hpp>

#include <Polypia/RenderException.hpp>
#include <Polypia/presentValue.hpp>

#include <keel/Typename.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <string_view>
#include <typeinfo>

namespace Mirk {

namespace {

/// How a compiler's message begins: the number of the source, and the bracket ahead of the line.
constexpr std::string_view messageHead = "0(";

constexpr const char* closingSentence =
    "<BR>Check for a red frame on the viewer, click the context menu<BR> and select <I>Rendering "
    "Failures</I> to investigate the issue in detail.";

/// A line of a report: a link to the place in `file` if it is a compiler's message, with the number
/// in red. Texts are HTML already, or as good as that; nothing is escaped.
void appendLine(std::string& body, std::string_view line, std::string_view file) {
    if (!line.starts_with(messageHead)) {
        body.append(line).append("<BR>\n");
        return;
    }
    const std::size_t bracket = std::min(line.find(')'), line.size());
    const std::string_view rest = line.substr(bracket);
    const std::string_view number = line.substr(0, bracket).substr(messageHead.size());
    body.append("<A HREF=\"").append(file).append(":").append(number).append("\">");
    body.append(messageHead).append("<FONT COLOR=red>").append(number).append("</FONT>");
    body.append(rest).append("</A><BR>\n");
}

/// Line by line, up to the first NUL.
std::string bodyOf(std::string_view text, std::string_view file) {
    std::string body;
    text = text.substr(0, text.find('\0'));
    while (!text.empty()) {
        const std::size_t length = std::min(text.find('\n'), text.size());
        appendLine(body, text.substr(0, length), file);
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return body;
}

/// A fragment of HTML.
std::string reportOf(const RenderException& exception) {
    const std::string file = exception.file.str();
    const std::string text = exception.description.str() + ": " + exception.shaderLog.str();
    return "<U>OpenGL " + Keel::Typename(typeid(exception)) + "</U>  <I>" + file + "</I><BR><B>" +
           bodyOf(text, file) + "</B><A HREF=\"file://" + file + "\">" + file + "</A>" +
           closingSentence;
}

/// A box of one point, which may have coordinates that are NaN.
VRenderObject::BoundingBoxPtr boxOfPoint(const VRenderObject::point& p) {
    const VRenderObject::BoundingBoxPtr box(new Skua::BoundingBox);
    box->min = box->max = p;
    box->isEmpty = false;
    box->updateBall();
    return box;
}

void widen(Skua::BoundingBox& box, const VRenderObject::point& p) {
    if (box.isEmpty) {
        box.min = box.max = p;
        box.isEmpty = false;
        return;
    }
    for (std::size_t axis = 0; axis < 3; ++axis) {
        // Not `p[axis] < box.min[axis]`: a NaN is taken, and one that is there is replaced.
        if (!(p[axis] >= box.min[axis])) box.min[axis] = p[axis];
        if (p[axis] > box.max[axis]) box.max[axis] = p[axis];
    }
}

} // namespace

VRenderObject::VRenderObject(const std::string& objectName, int p, const PreferencesPtr& prefs)
    : VEnvironmentRenderObject(objectName, p, prefs),
      VChartDependent("chart", 10),
      VTransformable(this),
      StatusIndicator(this, "", 0),
      _renderStatus(this, "RenderStatus", VObjectStatus(std::string()), 0),
      _boundingBox(this, "BoundingBox", SharedBoundingBox()) {
    _renderStatus->parameter()->Localize();
    _renderStatus->flags &= ~VSlot::GlobalFlag;
    setIgnored(_renderStatus, true);
    _boundingBox->Localize();
}

VRenderObject::~VRenderObject() = default;

bool VRenderObject::safe_render(VRenderContext& context, double begin, double end) const {
    VObjectStatus status{std::string()};
    readStatus(context.pool, status);
    try {
        if (!environment_render(context, begin, end)) return false;
    } catch (const RenderException& exception) {
        report(context, exception, status);
        return true;
    }
    if (status.text.empty()) return true;
    status.text.clear();
    writeStatus(context.pool, status);
    return true;
}

void VRenderObject::report(VRenderContext& context, const RenderException& exception,
                           VObjectStatus& status) const {
    const std::string text = reportOf(exception);
    if (text != status.text) {
        status.text = text;
        writeStatus(context.pool, status);
    }
    std::printf("VRenderObject: %s", exception.str().c_str());
    std::fflush(stdout);
    context.notifyError(*this, exception);
}

/// Leaves the status alone without a live pool or a value of its type. For each object of each
/// frame, which is why the slot's own parameter is not copied.
void VRenderObject::readStatus(const ValuePoolPtr& pool, VObjectStatus& status) const {
    if (!pool) return;
    if (!_renderStatus->isConnected()) {
        readPresentValue(*_renderStatus->ownParameter(), pool, status);
    } else if (const VParameterPtr parameter = _renderStatus->parameter()) {
        readPresentValue(*parameter, pool, status);
    }
}

/// Without a live pool the status of all pools would be written.
void VRenderObject::writeStatus(const ValuePoolPtr& pool, const VObjectStatus& status) const {
    if (pool) _renderStatus.set(pool, status);
}

RenderAble::BoundingBallPtr VRenderObject::getBoundingBall(const ValuePoolPtr& pool) const {
    return readBox(pool);
}

bool VRenderObject::resetBBox(const ValuePoolPtr& pool) const {
    storeBox(pool, {});
    return true;
}

void VRenderObject::embrace(const ValuePoolPtr& pool, const point& p) const {
    if (!pool) return;
    const std::lock_guard lock(pool->mutex);
    if (const BoundingBoxPtr box = readBox(pool)) {
        widen(*box, p);
    } else {
        storeBox(pool, boxOfPoint(p));
    }
}

void VRenderObject::closeBBox(const ValuePoolPtr& pool) const {
    if (const BoundingBoxPtr box = readBox(pool)) box->updateBall();
}

void VRenderObject::setBoundingBox(const ValuePoolPtr& pool, const BoundingBoxPtr& box) const {
    storeBox(pool, box);
}

void VRenderObject::setBoundingBall(const ValuePoolPtr& pool, const BoundingBallPtr& ball) const {
    const BoundingBoxPtr box(ball);
    // What could not be converted still refers to the ball.
    storeBox(pool, box ? box : BoundingBoxPtr());
}

VRenderObject::BoundingBoxPtr VRenderObject::readBox(const ValuePoolPtr& pool) const {
    SharedBoundingBox shared;
    if (pool) readPresentValue(*_boundingBox, pool, shared);
    return shared.read();
}

/// Notifies in any case. `embrace` may hold the mutex of the pool, which nothing in here takes.
void VRenderObject::storeBox(const ValuePoolPtr& pool, const BoundingBoxPtr& box) const {
    if (!pool) return;
    const VValuePtr value = _boundingBox->getLocalValue(pool, {}, true);
    VTypedValueBase<SharedBoundingBox>* const typed = typedValue<SharedBoundingBox>(value.get());
    if (typed == nullptr) return;
    typed->set(box);
    _boundingBox->notifyValueChange(value, pool);
}

} // namespace Mirk
