#pragma once
// How long tests let threads meet in ever new ways; stands on the standard library.

#include <chrono>
#include <cstdlib>
#include <string>

/// 2 seconds, or 20 with the thread sanitizer; POLYPIA_LIFE_SECONDS tells another number. Nothing
/// is expected of the time.
inline std::chrono::seconds lifeDuration() {
    if (const char* const seconds = std::getenv("POLYPIA_LIFE_SECONDS")) {
        return std::chrono::seconds(std::stoi(seconds));
    }
#if defined(__SANITIZE_THREAD__)
    return std::chrono::seconds(20);
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
    return std::chrono::seconds(20);
#else
    return std::chrono::seconds(2);
#endif
#else
    return std::chrono::seconds(2);
#endif
}
