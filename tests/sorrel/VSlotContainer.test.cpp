#include <sorrel/VSlotContainer.hpp>

#include "Summing.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

using Mirk::AttachErrorCode;
using Mirk::VObject;
using Mirk::VObjectPtr;
using Mirk::VParameterPtr;
using Mirk::VSlotContainer;
using Mirk::VSlotPtr;
using testing::ElementsAre;

namespace {

VParameterPtr numberNamed(const std::string& name) {
    return VParameterPtr(new Mirk::VValueParameter<double>(1.5, name));
}

std::vector<std::string> namesOf(const std::vector<VSlotPtr>& slots) {
    std::vector<std::string> names;
    for (const VSlotPtr& slot : slots) names.push_back(slot->Name());
    return names;
}

class VSlotContainerTest : public testing::Test {
protected:
    const VObjectPtr object{new VObject("object", 0, {})};
    const SummingPtr source = makeSumming("source");
};

TEST_F(VSlotContainerTest, KeepsInputsAndOutputsInTheirOrder) {
    for (const char* const name : {"z", "a", "m"}) {
        object->addParameter(name, 0, numberNamed(name), false);
        object->registerOutput(numberNamed(name), std::string(name) + "-out");
    }
    EXPECT_THAT(namesOf(object->inputs()), ElementsAre("z", "a", "m"));
    EXPECT_THAT(namesOf(object->outputs()), ElementsAre("z-out", "a-out", "m-out"));
    EXPECT_EQ(object->numberOfInputs(), 3u);
    EXPECT_EQ(object->findInput("a"), object->inputs()[1]);
    EXPECT_EQ(object->findOutput("a-out"), object->outputs()[1]);
    EXPECT_FALSE(object->findInput("a-out"));
    EXPECT_FALSE(object->findOutput("a"));
}

TEST_F(VSlotContainerTest, NamesOfInputsAreMadeUnique) {
    for (int i = 0; i < 3; ++i) object->addParameter("x", 0, numberNamed("x"), false);
    object->addParameter("y#2", 0, numberNamed("y"), false);
    object->addParameter("y", 0, numberNamed("y"), false);
    object->addParameter("y", 0, numberNamed("y"), false);
    EXPECT_THAT(namesOf(object->inputs()), ElementsAre("x", "x#2", "x#3", "y#2", "y", "y#3"));
}

TEST_F(VSlotContainerTest, RemovedInputIsGone) {
    const VSlotPtr input = object->addParameter("x", 0, numberNamed("x"), false);
    const auto before = object->connectionAge();
    EXPECT_TRUE(object->removeParameter("x"));
    EXPECT_GT(object->connectionAge(), before);
    EXPECT_FALSE(object->removeParameter("x"));
    EXPECT_FALSE(object->findInput("x"));
    EXPECT_EQ(object->attachParameter(source->sum, input, {}), Mirk::NoSlot);
    EXPECT_EQ(object->addParameter("x", 0, numberNamed("x"), false)->Name(), "x");
}

TEST_F(VSlotContainerTest, InputMadeForAnOutputIsConnectedFromTheStart) {
    const VSlotPtr input = object->addParameter("joined", 2, source->sum, true);
    EXPECT_TRUE(input->isConnected());
    EXPECT_FALSE(input->ownParameter());
    EXPECT_EQ(input->parameter(), source->sum);
    EXPECT_EQ(source->sum->source(), source) << "it stays the output of its owner";
    EXPECT_FALSE(source->sum->creator());
}

TEST_F(VSlotContainerTest, OutputIsJoinedOnce) {
    const VSlotPtr input = object->addParameter("joined", 0, source->sum, true);
    EXPECT_EQ(object->addParameter("again", 0, source->sum, true), input);
    EXPECT_EQ(object->numberOfInputs(), 1u);
    const SummingPtr other = makeSumming("other");
    EXPECT_EQ(object->attachParameter(other->sum, input, {}), Mirk::Attached);
    EXPECT_EQ(object->addParameter("again", 0, other->sum, true), input);
    EXPECT_FALSE(object->addParameter("first", 0, source->sum, true) == input);
    EXPECT_EQ(object->numberOfInputs(), 2u);
    EXPECT_TRUE(object->removeParameter("first"));
    EXPECT_EQ(object->addParameter("anew", 0, source->sum, true)->Name(), "anew");
}

TEST_F(VSlotContainerTest, DetachingAnInputThatWasMadeForItsOutputTakesItAway) {
    const VSlotPtr input = object->addParameter("joined", 0, source->sum, true);
    EXPECT_TRUE(object->detach(input));
    EXPECT_EQ(object->numberOfInputs(), 0u);
    EXPECT_FALSE(object->detach(input));
}

TEST_F(VSlotContainerTest, RegisteredOutputHasItsSource) {
    const VParameterPtr parameter = numberNamed("x");
    const VSlotPtr output = object->registerOutput(parameter, "out");
    EXPECT_EQ(output->Name(), "out");
    EXPECT_EQ(parameter->source(), object);
    const VSlotPtr second(new Mirk::VSlot("second", 0, numberNamed("y")));
    object->registerOutput(second);
    EXPECT_EQ(object->findOutput("second"), second);
    EXPECT_EQ(second->parameter()->source(), object);
    EXPECT_FALSE(object->registerOutput(VParameterPtr(), "none"));
    object->registerOutput(VSlotPtr());
    EXPECT_EQ(object->outputs().size(), 2u);
}

TEST_F(VSlotContainerTest, AttachTellsWhyItFails) {
    const VSlotPtr input = object->addParameter("x", 0, numberNamed("x"), false);
    const VParameterPtr flag(new Mirk::VValueParameter<bool>(true, "flag"));
    EXPECT_EQ(object->attachParameter(source->sum, source->own, {}), Mirk::NoSlot);
    EXPECT_EQ(object->attachParameter(source->sum, VSlotPtr(), {}), Mirk::NoSlot);
    EXPECT_EQ(object->attachParameter({}, input, {}), Mirk::NoSuchOutput);
    EXPECT_EQ(object->attachParameter(flag, input, {}), Mirk::WrongType);
    EXPECT_FALSE(input->isConnected());
    EXPECT_EQ(object->attachParameter(source->sum, input, {}), Mirk::Attached);
    EXPECT_EQ(object->attachParameter(source->sum, input, {}), Mirk::AlreadyAttached);
    EXPECT_TRUE(input->isConnected());
}

TEST_F(VSlotContainerTest, AttachFindsTheInputByItsOwnOrItsPresentParameter) {
    const VParameterPtr own = numberNamed("x");
    const VSlotPtr input = object->addParameter("x", 0, own, false);
    const SummingPtr other = makeSumming("other");
    EXPECT_EQ(object->attach(own, source->sum, {}), Mirk::Attached);
    EXPECT_EQ(object->attach(source->sum, other->sum, {}), Mirk::Attached);
    EXPECT_EQ(input->parameter(), other->sum);
    EXPECT_EQ(object->attach(own, source->sum, {}), Mirk::Attached);
    EXPECT_EQ(object->attach(other->sum, source->sum, {}), Mirk::NoSlot);
    EXPECT_EQ(object->attach({}, source->sum, {}), Mirk::NoSlot);
}

TEST_F(VSlotContainerTest, EachCodeHasAReason) {
    for (const AttachErrorCode code :
         {Mirk::Attached, Mirk::AlreadyAttached, Mirk::NoObject, Mirk::SeveralObjects, Mirk::NoSlot,
          Mirk::NoSuchOutput, Mirk::WrongType, Mirk::Refused, Mirk::NoCreator,
          Mirk::CreationFailed}) {
        EXPECT_THAT(VSlotContainer::AttachErrorCodeMessage(code),
                    testing::Not(testing::HasSubstr("unknown")));
    }
    EXPECT_EQ(VSlotContainer::AttachErrorCodeMessage(Mirk::WrongType),
              "the output has another type of value than the input");
    EXPECT_EQ(VSlotContainer::AttachErrorCodeMessage(static_cast<AttachErrorCode>(77)),
              "unknown code 77");
}

TEST_F(VSlotContainerTest, ValidatorRefusesConnections) {
    const VSlotPtr input = object->addParameter("x", 0, numberNamed("x"), false);
    object->addConnectionValidator([&](const Mirk::VSlot& slot, const Mirk::VParameter& parameter) {
        return slot.Name() != "x" || parameter.Name() != "sum";
    });
    EXPECT_FALSE(object->allowParameterReplacement(input, source->sum));
    EXPECT_EQ(object->attachParameter(source->sum, input, {}), Mirk::Refused);
    const VParameterPtr other = numberNamed("other");
    EXPECT_TRUE(object->allowParameterReplacement(input, other));
    EXPECT_FALSE(object->allowParameterReplacement(input, {}));
    EXPECT_FALSE(object->allowParameterReplacement({}, other));
    EXPECT_FALSE(object->allowParameterReplacement(source->own, other));
    EXPECT_EQ(object->attachParameter(other, input, {}), Mirk::Attached);
}

TEST_F(VSlotContainerTest, SlotsAreConnectedByNameOrByTheOnlyOutputOfTheirType) {
    const VObjectPtr offers(new VObject("offers", 0, {}));
    offers->registerOutput(numberNamed("a"), "a");
    offers->registerOutput(numberNamed("b"), "b");
    offers->registerOutput(VParameterPtr(new Mirk::VValueParameter<bool>(true, "flag")), "flag");
    object->addParameter("b", 0, numberNamed("b"), false);
    object->addParameter("c", 0, numberNamed("c"), false);
    object->addParameter("on", 0, VParameterPtr(new Mirk::VValueParameter<bool>(true, "on")),
                         false);
    EXPECT_EQ(object->connectSlots(offers), 2);
    EXPECT_EQ(object->findInput("b")->parameter(), offers->findOutput("b")->parameter());
    EXPECT_FALSE(object->findInput("c")->isConnected()) << "two outputs, none of its name";
    EXPECT_EQ(object->findInput("on")->parameter(), offers->findOutput("flag")->parameter());
    EXPECT_EQ(object->connectSlots(offers), 0);
    EXPECT_EQ(object->connectSlots({}), 0);
    object->detachAll();
    EXPECT_FALSE(object->findInput("b")->isConnected());
}

TEST_F(VSlotContainerTest, SetupFunctionsRunBehindOneThatThrows) {
    int calls = 0;
    object->addSetup([](const Mirk::VSlotSet&) { throw std::runtime_error("first"); });
    object->addSetup([](const Mirk::VSlotSet&) { throw std::runtime_error("second"); });
    object->addSetup([&](const Mirk::VSlotSet&) { ++calls; });
    EXPECT_THAT([&] { object->setup({}); }, testing::ThrowsMessage<std::runtime_error>("first"));
    EXPECT_EQ(calls, 1);
    object->setup({});
    EXPECT_EQ(calls, 1);
}

TEST_F(VSlotContainerTest, SetupFunctionsRunOnceInTheirOrder) {
    std::string order;
    Mirk::VSlotSet connected;
    connected.insert(object->addParameter("x", 0, numberNamed("x"), false));
    object->addSetup(
        [&](const Mirk::VSlotSet& slots) { order += 'a' + std::to_string(slots.size()); });
    object->addSetup([&](const Mirk::VSlotSet&) { order += 'b'; });
    EXPECT_EQ(order, "");
    object->setup(connected);
    EXPECT_EQ(order, "a1b");
    object->setup(connected);
    EXPECT_EQ(order, "a1b");
    object->addSetup(
        [&](const Mirk::VSlotSet& slots) { order += 'c' + std::to_string(slots.size()); });
    EXPECT_EQ(order, "a1bc0") << "at once, when the others have run";
}

class Gatherer : public Mirk::VOutputIterator {
public:
    bool apply(const VSlotPtr&, const std::string& name) override {
        names.push_back(name);
        return names.size() < most;
    }
    std::vector<std::string> names;
    std::size_t most = 100;
};

TEST_F(VSlotContainerTest, ImplementationIsTheFirstOutputOfItsType) {
    EXPECT_TRUE(source->implements(typeid(double)));
    EXPECT_FALSE(source->implements(typeid(bool)));
    const VParameterPtr second = numberNamed("second");
    source->registerOutput(second, "second");
    EXPECT_EQ(source->getImplementation(typeid(double), {}, {}), source->sum);
    EXPECT_EQ(source->getImplementation(typeid(double), "second", {}), second);
    EXPECT_EQ(source->getImplementationSlot(typeid(double), "second", {}),
              source->findOutput("second"));
    EXPECT_FALSE(source->getImplementation(typeid(double), "third", {}));
    EXPECT_FALSE(source->getImplementationSlot(typeid(bool), {}, {}));
    EXPECT_FALSE(source->getImplementation(typeid(double), {}, "member"));
}

TEST_F(VSlotContainerTest, OutputsAreIteratedByType) {
    source->registerOutput(VParameterPtr(new Mirk::VValueParameter<bool>(true, "flag")), "flag");
    source->registerOutput(numberNamed("second"), "second");
    Gatherer numbers, all, first;
    first.most = 1;
    source->iterateOutputs(numbers, typeid(double));
    source->iterateOutputs(all, typeid(void));
    source->iterateOutputs(first, typeid(void));
    EXPECT_THAT(numbers.names, ElementsAre("sum", "second"));
    EXPECT_THAT(all.names, ElementsAre("sum", "flag", "second"));
    EXPECT_THAT(first.names, ElementsAre("sum"));
}

} // namespace
