#include <PolypiaGL/elementFormat.hpp>

#include <rookery/Coordinates.hpp>
#include <rookery/FixedArray.hpp>
#include <rookery/PhysicalSpace.hpp>

#include <array>
#include <vector>

namespace Mirk::GL {

namespace {

using Keel::Chunk;
using Keel::ChunkBase;
using Keel::StrongPtr;

struct Entry {
    const std::type_info* type;
    ElementFormat format;
    StrongPtr<ChunkBase> (*make)(std::size_t number);
};

template<class T>
StrongPtr<ChunkBase> make(std::size_t number) {
    return StrongPtr<ChunkBase>(new Chunk<T>(number));
}

template<class T, class Component>
Entry entry(unsigned type) {
    return {&typeid(T),
            {type, static_cast<int>(sizeof(T) / sizeof(Component)), sizeof(Component)},
            &make<T>};
}

/// The four entries of a component: alone, and 2 to 4 of them.
template<class T>
std::array<Entry, 4> entries(unsigned type) {
    return {entry<T, T>(type), entry<Skua::FixedArray<T, 2>, T>(type),
            entry<Skua::FixedArray<T, 3>, T>(type), entry<Skua::FixedArray<T, 4>, T>(type)};
}

// Plain arrays stand ahead of points and colours, so that they are what a layout gives back.
const std::vector<Entry>& table() {
    static const std::vector<Entry> all = [] {
        std::vector<Entry> made;
        for (const auto& family :
             {entries<signed char>(GL_BYTE), entries<unsigned char>(GL_UNSIGNED_BYTE),
              entries<short>(GL_SHORT), entries<unsigned short>(GL_UNSIGNED_SHORT),
              entries<int>(GL_INT), entries<unsigned int>(GL_UNSIGNED_INT),
              entries<float>(GL_FLOAT), entries<double>(GL_DOUBLE)}) {
            made.insert(made.end(), family.begin(), family.end());
        }
        using FloatSpace = Skua::Coordinates<Skua::Cartesian3D, float>;
        made.push_back(entry<FloatSpace::point, float>(GL_FLOAT));
        made.push_back(entry<FloatSpace::vector, float>(GL_FLOAT));
        made.push_back(entry<Skua::rgba_float_t, float>(GL_FLOAT));
        made.push_back(entry<Skua::PhysicalSpace::point, double>(GL_DOUBLE));
        made.push_back(entry<Skua::PhysicalSpace::vector, double>(GL_DOUBLE));
        return made;
    }();
    return all;
}

} // namespace

std::optional<ElementFormat> elementFormat(const std::type_info& element) {
    for (const Entry& known : table()) {
        if (*known.type == element) return known.format;
    }
    return {};
}

StrongPtr<ChunkBase> makeChunk(const std::type_info& element, std::size_t number) {
    for (const Entry& known : table()) {
        if (*known.type == element) return known.make(number);
    }
    return {};
}

const std::type_info* elementType(unsigned type, int components) {
    for (const Entry& known : table()) {
        if (known.format.type == type && known.format.components == components) return known.type;
    }
    return nullptr;
}

} // namespace Mirk::GL
