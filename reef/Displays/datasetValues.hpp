#pragma once
// Data of files as values of slots; stands on Readers and sorrel's value traits.

#include <Displays/export.hpp>

#include <Readers/Dataset.hpp>
#include <sorrel/valueTraits.hpp>

#include <string>

namespace Mirk {

// Chunks are shared by the copies of a value, and are not to be changed once they are in one. Two
// values are the same if their chunks are; texts tell what there is, and none can be made from a
// text.

template<>
struct DISPLAYS_EXPORT VValueTrait<PointSet> {
    static std::string Text(const PointSet& value);
    static bool setValueFromText(PointSet& value, const std::string& text);
};
template<>
struct DISPLAYS_EXPORT VValueCompareTrait<PointSet> {
    static bool isDifferent(const PointSet& a, const PointSet& b);
};

template<>
struct DISPLAYS_EXPORT VValueTrait<TriangleMesh> {
    static std::string Text(const TriangleMesh& value);
    static bool setValueFromText(TriangleMesh& value, const std::string& text);
};
template<>
struct DISPLAYS_EXPORT VValueCompareTrait<TriangleMesh> {
    static bool isDifferent(const TriangleMesh& a, const TriangleMesh& b);
};

template<>
struct DISPLAYS_EXPORT VValueTrait<Polylines> {
    static std::string Text(const Polylines& value);
    static bool setValueFromText(Polylines& value, const std::string& text);
};
template<>
struct DISPLAYS_EXPORT VValueCompareTrait<Polylines> {
    static bool isDifferent(const Polylines& a, const Polylines& b);
};

} // namespace Mirk
