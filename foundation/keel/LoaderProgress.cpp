#include <keel/LoaderProgress.hpp>

#include <algorithm>

namespace Keel {

LoaderProgress::LoaderProgress() = default;
LoaderProgress::~LoaderProgress() = default;

void LoaderProgress::report(double fraction, const std::string& text) {
    const std::lock_guard lock(_mutex);
    _fraction = fraction > 0 ? std::min(fraction, 1.0) : 0.0; // NaN fails the comparison
    _text = text;
}

double LoaderProgress::fraction() const {
    const std::lock_guard lock(_mutex);
    return _fraction;
}

std::string LoaderProgress::text() const {
    const std::lock_guard lock(_mutex);
    return _text;
}

} // namespace Keel
