#include <PolypiaGL/EglDisplay.hpp>

#include <PolypiaGL/ContextError.hpp>

#include <algorithm>
#include <charconv>
#include <utility>

namespace Mirk {
namespace {

using Source = EglDisplay::Source;

const char* deviceString(const EglLibrary& egl, EGLDeviceEXT device, EGLint name) {
    return egl.queryDeviceString ? egl.queryDeviceString(device, name) : nullptr;
}

std::string deviceName(const EglLibrary& egl, EGLDeviceEXT device, bool isSoftware) {
    const char* extensions = deviceString(egl, device, EGL_EXTENSIONS);
    if (isSoftware) return "software";
    if (listHolds(extensions, "EGL_EXT_device_drm"))
        if (const char* file = deviceString(egl, device, EGL_DRM_DEVICE_FILE_EXT)) return file;
    if (listHolds(extensions, "EGL_NV_device_cuda")) return "NVIDIA";
    return "unnamed";
}

std::vector<Source> deviceSources(const EglLibrary& egl) {
    if (!egl.hasClientExtension("EGL_EXT_platform_device") || !egl.queryDevices ||
        !egl.getPlatformDisplay)
        return {};
    EGLint count = 0;
    if (!egl.queryDevices(0, nullptr, &count) || count <= 0) return {};
    std::vector<EGLDeviceEXT> devices(static_cast<std::size_t>(count));
    if (!egl.queryDevices(count, devices.data(), &count)) return {};
    devices.resize(static_cast<std::size_t>(std::max(count, 0)));

    std::vector<Source> sources;
    for (EGLDeviceEXT device : devices) {
        Source source;
        source.kind = Source::Kind::Device;
        source.device = device;
        source.isSoftware =
            listHolds(deviceString(egl, device, EGL_EXTENSIONS), "EGL_MESA_device_software");
        source.name = "device " + std::to_string(sources.size()) + " (" +
                      deviceName(egl, device, source.isSoftware) + ")";
        sources.push_back(std::move(source));
    }
    return sources;
}

Source surfacelessSource() {
    return {Source::Kind::Surfaceless, nullptr, "surfaceless", false};
}
Source defaultSource() {
    return {Source::Kind::Default, nullptr, "default display", false};
}

bool hasSurfaceless(const EglLibrary& egl) {
    return egl.getPlatformDisplay && egl.hasClientExtension("EGL_MESA_platform_surfaceless");
}

constexpr const char* noDriver =
    "EGL without a driver (no vendor file in egl_vendor.d; in a container the NVIDIA graphics "
    "capability may be missing)";

std::vector<Source> allSources(const EglLibrary& egl, std::vector<std::string>& reasons) {
    std::vector<Source> sources = deviceSources(egl);
    const bool surfaceless = hasSurfaceless(egl);
    if (sources.empty() && !surfaceless) reasons.emplace_back(noDriver);
    const auto firstSoftware = std::stable_partition(
        sources.begin(), sources.end(), [](const Source& source) { return !source.isSoftware; });
    if (surfaceless) sources.insert(firstSoftware, surfacelessSource());
    sources.push_back(defaultSource());
    return sources;
}

std::vector<Source> chosenDevice(const EglLibrary& egl, const std::string& choice,
                                 std::vector<std::string>& reasons) {
    std::size_t index = 0;
    const char* end = choice.data() + choice.size();
    const auto parsed = std::from_chars(choice.data(), end, index);
    if (parsed.ec != std::errc() || parsed.ptr != end) {
        reasons.push_back("expected a device number, \"surfaceless\" or \"default\", got \"" +
                          choice + "\"");
        return {};
    }
    const std::vector<Source> devices = deviceSources(egl);
    if (index < devices.size()) return {devices[index]};
    reasons.push_back("device " + choice + ": EGL knows " + std::to_string(devices.size()) +
                      (devices.size() == 1 ? " device" : " devices"));
    if (devices.empty() && !hasSurfaceless(egl)) reasons.emplace_back(noDriver);
    return {};
}

} // namespace

std::vector<Source> EglDisplay::sources(const EglLibrary& egl, const std::string& choice,
                                        std::vector<std::string>& reasons) {
    if (choice.empty()) return allSources(egl, reasons);
    if (choice == "default") return {defaultSource()};
    if (choice != "surfaceless") return chosenDevice(egl, choice, reasons);
    if (hasSurfaceless(egl)) return {surfacelessSource()};
    reasons.emplace_back("surfaceless: EGL does not offer it");
    if (deviceSources(egl).empty()) reasons.emplace_back(noDriver);
    return {};
}

EglDisplay::EglDisplay(std::shared_ptr<const EglLibrary> library, Source source)
    : _library(std::move(library)), _source(std::move(source)), _handle(open()) {
    if (_handle == EGL_NO_DISPLAY) throw ContextError("no display, " + egl().lastError());
    if (!egl().initialize(_handle, nullptr, nullptr)) {
        const bool isDevice = _source.kind == Source::Kind::Device;
        throw ContextError("initialise failed, " + egl().lastError() +
                           (isDevice ? "; check access to its device nodes" : ""));
    }
}

EGLDisplay EglDisplay::open() const {
    switch (_source.kind) {
    case Source::Kind::Device:
        return egl().getPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, _source.device, nullptr);
    case Source::Kind::Surfaceless:
        return egl().getPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY,
                                        nullptr);
    case Source::Kind::Default:
        break;
    }
    return egl().getDisplay(EGL_DEFAULT_DISPLAY);
}

bool EglDisplay::hasExtension(std::string_view extension) const {
    return listHolds(egl().queryString(_handle, EGL_EXTENSIONS), extension);
}

} // namespace Mirk
