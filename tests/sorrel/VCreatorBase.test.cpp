#include <sorrel/VCreatorBase.hpp>

#include "Recorder.hpp"
#include "Summing.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

using Mirk::VCreationPreferences;
using Mirk::VCreatorBase;
using Mirk::VInputCreatorBase;
using Mirk::VObject;
using Mirk::VObjectPtr;
using testing::ElementsAre;

namespace {

using CreatorPtr = Keel::StrongPtr<VCreatorBase>;
using InputCreatorPtr = Keel::StrongPtr<VInputCreatorBase, VCreatorBase>;

class Maker : public VCreatorBase {
public:
    explicit Maker(const std::string& creatorName, const std::string& category = "Test")
        : VCreatorBase(creatorName, category, {}) {}
    VObjectPtr create(const std::string& objectName, const PreferencesPtr&,
                      const Keel::Intercube&) override {
        if (objectName == "broken") throw std::runtime_error("out of order");
        if (objectName == "odd") throw 7;
        return makeSumming(objectName);
    }
};

class InputMaker : public Mirk::VInputCreator<double> {
public:
    InputMaker(const std::string& creatorName, int rank, const std::string& words,
               const char* version = ApiVersion)
        : VInputCreator(creatorName, rank, PreferencesPtr(new VCreationPreferences(words)),
                        version) {}
    VObjectPtr create(const std::string& objectName, const PreferencesPtr&,
                      const Keel::Intercube&) override {
        return makeSumming(objectName);
    }
};

TEST(VCreatorBaseTest, IsFoundByNameAsLongAsItLives) {
    CreatorPtr maker(new Maker("Maker"));
    EXPECT_FALSE(VCreatorBase::find("Maker"));
    EXPECT_TRUE(VCreatorBase::registerCreator(maker));
    EXPECT_TRUE(VCreatorBase::registerCreator(maker));
    EXPECT_EQ(VCreatorBase::find("Maker"), maker);
    const CreatorPtr namesake(new Maker("Maker"));
    EXPECT_FALSE(VCreatorBase::registerCreator(namesake));
    EXPECT_EQ(VCreatorBase::find("Maker"), maker);
    maker = {};
    EXPECT_FALSE(VCreatorBase::find("Maker"));
    EXPECT_TRUE(VCreatorBase::registerCreator(namesake));
    VCreatorBase::unregisterCreator(namesake);
    EXPECT_FALSE(VCreatorBase::find("Maker"));
    EXPECT_FALSE(VCreatorBase::registerCreator({}));
}

TEST(VCreatorBaseTest, CreatorsAreListedByNameAndCategory) {
    const CreatorPtr b(new Maker("B", "Letters")), a(new Maker("A", "Letters")),
        one(new Maker("1", "Digits"));
    for (const CreatorPtr& creator : {b, a, one}) VCreatorBase::registerCreator(creator);
    EXPECT_THAT(VCreatorBase::creators("Letters"), ElementsAre(a, b));
    EXPECT_THAT(VCreatorBase::creators(), ElementsAre(one, a, b));
    EXPECT_TRUE(VCreatorBase::creators("Signs").empty());
}

TEST(VCreatorBaseTest, MadeObjectKnowsItsCreator) {
    const CreatorPtr maker(new Maker("Maker"));
    const VObjectPtr object = maker->make("object", {}, Keel::Intercube());
    EXPECT_EQ(object->Name(), "object");
    EXPECT_EQ(object->creatorName(), "Maker");
    EXPECT_EQ(object->type_key(), "Maker");
}

TEST(VCreatorBaseTest, FailedCreationIsAWarning) {
    const ShellRecorderPtr shell = listenToShell();
    const CreatorPtr maker(new Maker("Maker"));
    EXPECT_FALSE(maker->make("broken", {}, Keel::Intercube()));
    EXPECT_FALSE(maker->make("odd", {}, Keel::Intercube()));
    EXPECT_THAT(shell->events(),
                ElementsAre("warning Could not create \"broken\" by \"Maker\": out of order",
                            "warning Could not create \"odd\" by \"Maker\": it threw something "
                            "that is no exception"));
}

TEST(VCreatorBaseTest, TemplateMakesAClassWithTheConstructorOfVObject) {
    const CreatorPtr creator(new Mirk::VCreator<VObject>("Plain", {}, {}));
    const VObject::PreferencesPtr words(new VCreationPreferences("Red"));
    EXPECT_EQ(creator->make("object", words, Keel::Intercube())->preferences(), words);
}

class VInputCreatorTest : public testing::Test {
protected:
    ~VInputCreatorTest() override {
        for (const InputCreatorPtr& creator : registered) {
            Mirk::unregisterVInput(typeid(double), creator);
        }
    }
    InputCreatorPtr add(const std::string& name, int rank, const std::string& words,
                        bool expected = true, const char* version = VInputCreatorBase::ApiVersion) {
        registered.emplace_back(new InputMaker(name, rank, words, version));
        EXPECT_EQ(Mirk::registerVInput(typeid(double), registered.back()), expected);
        return registered.back();
    }
    static InputCreatorPtr best(const std::string& words) {
        return VInputCreatorBase::findBest(
            typeid(double), VObject::PreferencesPtr(new VCreationPreferences(words)));
    }

    std::vector<InputCreatorPtr> registered;
};

TEST_F(VInputCreatorTest, PreferencesThenRankDecide) {
    EXPECT_FALSE(VInputCreatorBase::findBest(typeid(double), {}));
    const InputCreatorPtr low = add("low", 1, "Red"), high = add("high", 5, "Blue"),
                          both = add("both", 0, "Red Blue");
    EXPECT_EQ(VInputCreatorBase::findBest(typeid(double), {}), high);
    EXPECT_EQ(best("Red"), low);
    EXPECT_EQ(best("Red Blue"), both);
    EXPECT_EQ(best("Green"), high);
    EXPECT_FALSE(VInputCreatorBase::findBest(typeid(bool), {}));
    EXPECT_EQ(Mirk::VInputCreator<double>::inputType(), typeid(double));
}

TEST_F(VInputCreatorTest, NegativeRankIsBetterThanNobody) {
    const InputCreatorPtr last = add("last", -5, "");
    EXPECT_EQ(best(""), last);
}

TEST_F(VInputCreatorTest, NamesakeAndOtherVersionAreRefused) {
    const InputCreatorPtr first = add("name", 1, "");
    add("name", 2, "", false);
    add("foreign", 3, "", false, "another version");
    add("none", 4, "", false, nullptr);
    EXPECT_EQ(best(""), first);
    EXPECT_FALSE(Mirk::registerVInput(typeid(double), {}));
    EXPECT_TRUE(Mirk::unregisterVInput(typeid(double), first));
    EXPECT_FALSE(Mirk::unregisterVInput(typeid(double), first));
    EXPECT_FALSE(Mirk::unregisterVInput(typeid(bool), first));
    EXPECT_FALSE(best(""));
}

TEST(VCreatorCategoryTest, RecordIsMadeOnceAndStays) {
    Mirk::VCreatorCategory::Properties& properties =
        Mirk::VCreatorCategory::getProperties("Gauges");
    EXPECT_EQ(properties.shortKey, "");
    properties.shortKey = "G";
    properties.help = "what measures";
    EXPECT_EQ(&Mirk::VCreatorCategory::getProperties("Gauges"), &properties);
    EXPECT_EQ(Mirk::VCreatorCategory::getProperties("Gauges").shortKey, "G");
    EXPECT_THAT(Mirk::VCreatorCategory::names(), testing::Contains("Gauges"));
}

} // namespace
