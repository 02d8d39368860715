#include <PolypiaGL/elementFormat.hpp>

#include <rookery/Coordinates.hpp>
#include <rookery/FixedArray.hpp>
#include <rookery/PhysicalSpace.hpp>

#include <array>

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

// Plain arrays stand ahead of points and colours, so that they are what a layout gives back.
const std::array<Entry, 26>& table() {
    static const std::array<Entry, 26> entries{
        entry<unsigned char, unsigned char>(GL_UNSIGNED_BYTE),
        entry<Skua::FixedArray<unsigned char, 2>, unsigned char>(GL_UNSIGNED_BYTE),
        entry<Skua::FixedArray<unsigned char, 3>, unsigned char>(GL_UNSIGNED_BYTE),
        entry<Skua::FixedArray<unsigned char, 4>, unsigned char>(GL_UNSIGNED_BYTE),
        entry<unsigned short, unsigned short>(GL_UNSIGNED_SHORT),
        entry<Skua::FixedArray<unsigned short, 2>, unsigned short>(GL_UNSIGNED_SHORT),
        entry<Skua::FixedArray<unsigned short, 3>, unsigned short>(GL_UNSIGNED_SHORT),
        entry<Skua::FixedArray<unsigned short, 4>, unsigned short>(GL_UNSIGNED_SHORT),
        entry<int, int>(GL_INT),
        entry<Skua::FixedArray<int, 2>, int>(GL_INT),
        entry<Skua::FixedArray<int, 3>, int>(GL_INT),
        entry<Skua::FixedArray<int, 4>, int>(GL_INT),
        entry<unsigned int, unsigned int>(GL_UNSIGNED_INT),
        entry<Skua::FixedArray<unsigned int, 2>, unsigned int>(GL_UNSIGNED_INT),
        entry<Skua::FixedArray<unsigned int, 3>, unsigned int>(GL_UNSIGNED_INT),
        entry<Skua::FixedArray<unsigned int, 4>, unsigned int>(GL_UNSIGNED_INT),
        entry<float, float>(GL_FLOAT),
        entry<Skua::FixedArray<float, 2>, float>(GL_FLOAT),
        entry<Skua::FixedArray<float, 3>, float>(GL_FLOAT),
        entry<Skua::FixedArray<float, 4>, float>(GL_FLOAT),
        entry<Skua::Coordinates<Skua::Cartesian3D, float>::point, float>(GL_FLOAT),
        entry<Skua::rgba_float_t, float>(GL_FLOAT),
        entry<double, double>(GL_DOUBLE),
        entry<Skua::FixedArray<double, 3>, double>(GL_DOUBLE),
        entry<Skua::FixedArray<double, 4>, double>(GL_DOUBLE),
        entry<Skua::PhysicalSpace::point, double>(GL_DOUBLE),
    };
    return entries;
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
