#include <Displays/datasetValues.hpp>

#include <Displays/displayData.hpp>

#include <sorrel/TypedSlot.hpp>

namespace Mirk {

namespace {

const ValueTypeRegistration<PointSet> pointsType("PointSet");
const ValueTypeRegistration<TriangleMesh> meshType("TriangleMesh");
const ValueTypeRegistration<Polylines> linesType("Polylines");

std::string counted(std::size_t number, const char* of) {
    return std::to_string(number) + " " + of;
}

} // namespace

std::string VValueTrait<PointSet>::Text(const PointSet& value) {
    return counted(elementsOf(value.points).size(), "points");
}
bool VValueTrait<PointSet>::setValueFromText(PointSet&, const std::string&) {
    return false;
}
bool VValueCompareTrait<PointSet>::isDifferent(const PointSet& a, const PointSet& b) {
    return a.points != b.points || a.normals != b.normals || a.colors != b.colors;
}

std::string VValueTrait<TriangleMesh>::Text(const TriangleMesh& value) {
    return counted(elementsOf(value.triangles).size() / 3, "triangles of ") +
           VValueTrait<PointSet>::Text(value);
}
bool VValueTrait<TriangleMesh>::setValueFromText(TriangleMesh&, const std::string&) {
    return false;
}
bool VValueCompareTrait<TriangleMesh>::isDifferent(const TriangleMesh& a, const TriangleMesh& b) {
    return a.triangles != b.triangles || VValueCompareTrait<PointSet>::isDifferent(a, b);
}

std::string VValueTrait<Polylines>::Text(const Polylines& value) {
    const std::size_t starts = elementsOf(value.starts).size();
    return counted(starts == 0 ? 0 : starts - 1, "lines of ") +
           counted(elementsOf(value.points).size(), "points");
}
bool VValueTrait<Polylines>::setValueFromText(Polylines&, const std::string&) {
    return false;
}
bool VValueCompareTrait<Polylines>::isDifferent(const Polylines& a, const Polylines& b) {
    return a.points != b.points || a.starts != b.starts || a.levels != b.levels ||
           a.kind != b.kind || a.coordinates != b.coordinates;
}

} // namespace Mirk
