#include <Polypia/TouchList.hpp>

#include <cstddef>

namespace Mirk {

InteractionReceiver::InteractionReceiver() = default;
InteractionReceiver::~InteractionReceiver() = default;
void InteractionReceiver::interactionHook() {}

Touchable::Touchable() = default;
Touchable::~Touchable() = default;

bool Touchable::pickAction(unsigned int) const {
    return true;
}

TouchList::TouchList(int listWidth, int listHeight)
    : Chunk(static_cast<std::size_t>(std::int64_t{listWidth} * listHeight)),
      Width(listWidth),
      Height(listHeight) {}

TouchList::~TouchList() = default;

Keel::StrongPtr<Keel::ChunkBase> TouchList::clone() const {
    const Keel::StrongPtr<TouchList, Keel::ChunkBase> copy(new TouchList(Width, Height));
    copy->vector() = vector();
    return copy;
}

std::int64_t TouchList::placeOf(int X, int Y) const noexcept {
    return std::int64_t{Y} * Height + X;
}

bool TouchList::contains(int X, int Y) const noexcept {
    const std::int64_t place = placeOf(X, Y);
    return place >= 0 && static_cast<std::size_t>(place) < vector().size();
}

const TouchedPixel& TouchList::operator()(int X, int Y) const {
    static const TouchedPixel nothing;
    return contains(X, Y) ? vector()[static_cast<std::size_t>(placeOf(X, Y))] : nothing;
}

TouchedPixel& TouchList::operator()(int X, int Y) {
    if (contains(X, Y)) return vector()[static_cast<std::size_t>(placeOf(X, Y))];
    _lost = {};
    return _lost;
}

TouchedPixel TouchList::operator()(double) const {
    return {};
}

int TouchList::pickAction(int) const {
    int accepted = 0;
    for (const auto& [object, identification] : vector()) {
        if (!object) continue;
        const auto* const touchable = dynamic_cast<const Touchable*>(object.get());
        if (touchable != nullptr && touchable->pickAction(identification)) ++accepted;
    }
    return accepted;
}

} // namespace Mirk
