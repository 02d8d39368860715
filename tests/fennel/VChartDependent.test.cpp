#include <fennel/VChartDependent.hpp>

#include "valueText.hpp"

namespace {

using Mirk::Chart;
using Mirk::ChartPtr;
using Mirk::VChartDependent;
using Mirk::VObject;

class Charted : public virtual VObject, public VChartDependent {
public:
    Charted() : VObject("Charted", 7, {}), VChartDependent("chart", 10) {}
};
using ChartedPtr = Keel::StrongPtr<Charted, Mirk::VManagedObjectBase>;

TEST(VChartDependentTest, IsAPartOfTheObjectThatDerivesFromIt) {
    const ChartedPtr object(new Charted);
    EXPECT_EQ("Charted", object->BaseName());
    EXPECT_EQ(7, object->priority);
    VChartDependent& part = *object;
    EXPECT_EQ(static_cast<VObject*>(object.get()), static_cast<VObject*>(&part));
    EXPECT_TRUE(Mirk::VManagedObject::find(typeid(VObject), "Charted") == object);
    EXPECT_FALSE(Mirk::VManagedObject::find(typeid(VObject), "chart"));
}

TEST(VChartDependentTest, AddsTheInputWithoutAChart) {
    const ChartedPtr object(new Charted);
    const Mirk::VSlotPtr slot = object->findInput("chart");
    ASSERT_TRUE(slot);
    EXPECT_TRUE(slot == object->chartSlot());
    EXPECT_EQ(10, slot->expertLevel());
    EXPECT_TRUE(slot->valueType() == typeid(ChartPtr));
    ChartPtr chart(new Chart("other"));
    ASSERT_TRUE(object->chartSlot().get(Mirk::ValuePoolPtr(), chart));
    EXPECT_FALSE(chart);
}

TEST(Chart, TextIsItsName) {
    EXPECT_EQ("none", textOf(ChartPtr()));
    EXPECT_EQ("Cartesian", textOf(ChartPtr(new Chart("Cartesian"))));
    for (const char* const name : {"none", "two words", "", "a,b", "\"", "Größe", "a\nb"}) {
        const auto back = readFrom<ChartPtr>(textOf(ChartPtr(new Chart(name))));
        ASSERT_TRUE(back) << name;
        EXPECT_EQ(name, back->name);
    }
}

TEST(Chart, ReadingItsOwnNameKeepsTheChart) {
    const ChartPtr chart(new Chart("Cartesian"));
    ChartPtr target = chart;
    EXPECT_TRUE(read(target, " Cartesian "));
    EXPECT_FALSE(differs(chart, target));
    EXPECT_TRUE(read(target, "Polar"));
    EXPECT_TRUE(differs(chart, target));
    EXPECT_EQ("Polar", target->name);
    EXPECT_TRUE(read(target, "none"));
    EXPECT_FALSE(target);
}

TEST(Chart, RefusesWhatItCanNotReadAndStaysAsItWas) {
    const ChartPtr chart(new Chart("Cartesian"));
    for (const char* const text : {"", "two words", "\"a", "a\"", ","}) {
        expectUnreadable(chart, text);
    }
}

} // namespace
