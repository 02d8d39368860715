#pragma once
// Diagnostics and the names that many objects share; stands on keel.

#include <sorrel/export.hpp>

namespace Mirk {

/// Prints to standard output, at once, if the level is not above the verbosity of the stream "Mirk"
/// (see Keel::VerboseStream). Level 0 is always printed. The text is printed as it is, without the
/// name of a stream or a line feed of its own. May be called from any thread.
SORREL_EXPORT void Vprintf(int level, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// Names of slots that have a meaning to all objects.
namespace Zelk {

/// Input of type bool of what can be drawn.
SORREL_EXPORT extern const char* const renderobject_visibility;
/// Output of type double of what can be drawn: its part of the time of the last frame.
SORREL_EXPORT extern const char* const rendertime_contribution;

} // namespace Zelk

} // namespace Mirk
