// Feeds texts to the trait of every value type that has a name.
//
// The input is a text; or, parted by the byte 0x1F, a text for the value to start with and one that
// is read over it. What can't be read must leave the value as it was, and what was read must have a
// text that is read back to itself.
//
// A VValue reads into a copy, which would hide that a trait has half changed its value: the traits
// are called directly.

#include <fennel/fennel.hpp>
#include <sorrel/TypedSlotCreator.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Mirk::VValueCreator;
using Skua::FixedArray;

[[noreturn]] void fail(const std::string& typeName, const char* what, const std::string& expected,
                       const std::string& got) {
    std::fprintf(stderr, "%s: %s: expected \"%s\", got \"%s\"\n", typeName.c_str(), what,
                 expected.c_str(), got.c_str());
    std::abort();
}

template<class T>
T initialValue() {
    T value{};
    Mirk::VInputValueTrait<T>::init(value);
    return value;
}

/// What has a fixed text reads none.
template<class T>
bool readsItsText() {
    static const bool reads = [] {
        T value = initialValue<T>();
        return Mirk::VValueTrait<T>::setValueFromText(value, Mirk::VValueTrait<T>::Text(value));
    }();
    return reads;
}

template<class T>
void readOver(const std::string& typeName, T& value, const std::string& text) {
    const T before(value);
    const std::string textBefore = Mirk::VValueTrait<T>::Text(value);
    if (Mirk::VValueTrait<T>::setValueFromText(value, text)) return;
    const std::string textAfter = Mirk::VValueTrait<T>::Text(value);
    if (textAfter != textBefore) {
        fail(typeName, "an unreadable text has changed the value", textBefore, textAfter);
    }
    if (!readsItsText<T>()) return; // of these each copy is another value
    if (Mirk::VValueCompareTrait<T>::isDifferent(before, value)) {
        fail(typeName, "an unreadable text has changed bits of the value", textBefore, textAfter);
    }
}

template<class T>
void readBack(const std::string& typeName, const T& value) {
    const std::string text = Mirk::VValueTrait<T>::Text(value);
    T back = initialValue<T>();
    if (!Mirk::VValueTrait<T>::setValueFromText(back, text)) {
        fail(typeName, "a value does not read its own text", text, "an unreadable text");
    }
    const std::string textBack = Mirk::VValueTrait<T>::Text(back);
    if (textBack != text) fail(typeName, "a text is read back as another value", text, textBack);
}

template<class T>
void feed(const std::string& typeName, const std::string& start, const std::string& text) {
    T value = initialValue<T>();
    readOver(typeName, value, start);
    readOver(typeName, value, text);
    if (readsItsText<T>()) readBack(typeName, value);
}

struct Type {
    std::string name;
    void (*feed)(const std::string&, const std::string&, const std::string&);
};

template<class... Ts>
std::vector<Type> typesOf() {
    return {{VValueCreator::typeName(typeid(Ts)), &feed<Ts>}...};
}

/// Stops if a type that has a name is not listed here.
std::vector<Type> allTypes() {
    std::vector<Type> types =
        typesOf<bool, int, unsigned, long, unsigned long, long long, unsigned long long, float,
                double, std::string, FixedArray<int, 2>, FixedArray<int, 3>, FixedArray<int, 4>,
                FixedArray<float, 2>, FixedArray<float, 3>, FixedArray<float, 4>,
                FixedArray<double, 2>, FixedArray<double, 3>, FixedArray<double, 4>,
                Skua::PhysicalSpace::point, Skua::PhysicalSpace::vector,
                Skua::PhysicalSpace::HessianNormalPlane, Skua::PhysicalSpace::Viewport,
                Skua::PhysicalSpace::AABB, Skua::rgba_float_t, Mirk::SharedBoundingBox,
                Mirk::ChartPtr, Mirk::ImageTile, Mirk::ImageTile::Size, Mirk::Range,
                Mirk::StringSelection, Mirk::VActionPtr, Mirk::VCamera, Mirk::VInteractionEvent,
                Mirk::VMultiPointerDevice, Mirk::VObjectStatus, Mirk::VTime>();
    for (const std::string& name : VValueCreator::typeNames()) {
        const bool isListed = std::any_of(types.begin(), types.end(),
                                          [&](const Type& type) { return type.name == name; });
        if (!isListed) fail(name, "a value type with a name", "a place in the list of types", "");
    }
    return types;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::vector<Type> types = allTypes();
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::size_t end = input.find('\x1f');
    const bool hasStart = end != std::string::npos;
    const std::string start = hasStart ? input.substr(0, end) : std::string();
    const std::string text = hasStart ? input.substr(end + 1) : input;
    for (const Type& type : types) type.feed(type.name, start, text);
    return 0;
}
