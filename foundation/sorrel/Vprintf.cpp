#include <sorrel/Vprintf.hpp>

#include <keel/VerboseStream.hpp>

#include <cstdarg>
#include <cstdio>

namespace Mirk {

void Vprintf(int level, const char* format, ...) {
    if (level > 0 && !Keel::VerboseStream("Mirk", level).isEnabled()) return;
    va_list arguments;
    va_start(arguments, format);
    std::vprintf(format, arguments);
    va_end(arguments);
    std::fflush(stdout);
}

namespace Zelk {

const char* const renderobject_visibility = "visible";
const char* const rendertime_contribution = "rendertime_contribution";

} // namespace Zelk

} // namespace Mirk
