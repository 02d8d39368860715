#include <Polypia/OfflineRenderResult.hpp>

namespace Mirk {

std::string OfflineRenderResult::to_string() const {
    switch (code) {
    case Success:
        return "";
    case ProgressStop:
        return "The progress bar indicated STOP.";
    case EventStop:
        return "Some event indicated STOP.";
    case TimeOut:
        return "Time was running out, consider increasing the time allowance.";
    case OutOfMemory:
        return "Out of memory. Consider purging the cache and try again.";
    case NoObjects:
        return "No objects available for rendering.";
    case NoViewer:
        return "No viewer available.";
    // These texts are known to scripts by heart; "occured" stays as it is.
    case RenderDeviceFailure:
        return "Some problem occured with the render device, such as render thread was not "
               "running.";
    case OutputOpenFailure:
        return "Some problem occured with opening the output device, such as an invalid path or "
               "image file name.";
    case OutputCloseFailure:
        return "Some problem occured with closing the output device, such as running out of disk "
               "space for saving the image or movie.";
    case Unknown:
        return "Unknown reason.";
    default:
        return "Totally unknown reason for failed image capturing.";
    }
}

} // namespace Mirk
