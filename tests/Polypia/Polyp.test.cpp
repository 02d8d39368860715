#include <Polypia/Polyp.hpp>

#include "RecordingBasin.hpp"
#include "anyRenderContext.hpp"
#include "memberOrder.hpp"
#include "traceOfTest.hpp"
#include "virtualSlot.hpp"

#include "../keel/countedNew.hpp"

#include <Polypia/RenderException.hpp>
#include <Polypia/RenderTentacles.hpp>

#include <keel/Cache.hpp>
#include <keel/Creator.hpp>
#include <keel/Profiler.hpp>
#include <keel/VerboseStream.hpp>

#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

using Keel::StrongPtr;
using Mirk::RenderBasin;
using Mirk::RenderException;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr Mirk::Activity_t All = ~Mirk::Activity_t{0};
constexpr unsigned long AllBits = ~0UL;

/// A tentacle that keeps what a tentacle gives by default.
class PlainTentacle : public Mirk::Polyp::Tentacle {
public:
    explicit PlainTentacle(int key) : Tentacle(key, AllBits) {}
    bool activate(const Mirk::Polyp&) override { return true; }
    bool deactivate(const Mirk::Polyp&) override { return true; }
};

/// Runs a function of the test when it is activated.
class ActingTentacle : public RecordingTentacle {
public:
    using Action = std::function<void()>;

    ActingTentacle(const CallLogPtr& callLog, const std::string& tentacleName, Action activation)
        : RecordingTentacle(callLog, tentacleName, 0), _activation(std::move(activation)) {}
    bool activate(const Mirk::Polyp& polyp) override {
        const bool answer = RecordingTentacle::activate(polyp);
        _activation();
        return answer;
    }

private:
    const Action _activation;
};

class Polyp : public testing::Test {
protected:
    using Tentacle = Mirk::Polyp::Tentacle;
    using TentaclePtr = Mirk::Polyp::TentaclePtr;
    using RecordingPtr = StrongPtr<RecordingTentacle, Tentacle>;

    Polyp() : polyp(new Mirk::Polyp(Keel::WeakPtr<Keel::Creature>())) {}

    /// A tentacle of this name and key, which stands in the polyp.
    RecordingPtr add(int key, const std::string& name, unsigned long activity = AllBits) {
        const RecordingPtr made(new RecordingTentacle(log, name, key, activity));
        EXPECT_TRUE(polyp->insertTentacle(key, made));
        return made;
    }
    RecordingPtr addElements(int key, std::size_t elements, std::size_t bytes = 0) {
        const RecordingPtr made(new RecordingTentacle(log, "", key));
        made->elements = elements;
        made->gpuBytes = bytes;
        polyp->insertTentacle(key, made);
        return made;
    }
    /// An entry whose tentacle has died.
    void addDead(int key) {
        RecordingTentacle mortal(log, "dead", key);
        EXPECT_TRUE(polyp->insertTentacle(key, TentaclePtr(mortal)));
    }
    /// The calls of the polyp's tentacles without their kind.
    std::string calls() {
        std::string text;
        for (const std::string& call : log->take()) {
            const std::size_t kind = call.find(" Tentacle ");
            text += (text.empty() ? "" : ", ") + call.substr(0, kind) + " " +
                    call.substr(kind + std::string(" Tentacle ").size());
        }
        return text;
    }

    const CallLogPtr log = std::make_shared<CallLog>();
    const StrongPtr<Mirk::Polyp> polyp;
};

// ---------------------------------------------------------------------------- Tentacle

TEST_F(Polyp, TentacleStartsWithoutChunksAndWithTheDefaults) {
    const StrongPtr<PlainTentacle, Tentacle> plain(new PlainTentacle(-7));
    EXPECT_EQ(plain->tentacleKey, -7);
    EXPECT_EQ(plain->activityMask, 0xFFFFFFFFU);
    EXPECT_EQ(plain->chunkDivisorCount, 0U);
    EXPECT_EQ(plain->chunkLimit, 0U);
    EXPECT_TRUE(plain->updateValue(anyRenderContext()));
    EXPECT_EQ(plain->memsize(), 0U);
    EXPECT_EQ(plain->NumberOfElements(), 0U);
    EXPECT_EQ(plain->getTextureUnit(), -1);
    EXPECT_EQ(plain->getSamplerType(), 0);
}

TEST_F(Polyp, TentacleHasFieldsOfThirtyTwoBits) {
    static_assert(std::is_same_v<std::remove_cv_t<decltype(Tentacle::tentacleKey)>, std::int32_t>);
    static_assert(std::is_same_v<Mirk::Activity_t, std::uint32_t>);
    static_assert(std::is_same_v<decltype(Tentacle::chunkDivisors), std::array<std::uint32_t, 4>>);
    static_assert(std::is_same_v<decltype(Tentacle::chunkDivisorCount), std::uint32_t>);
    static_assert(std::is_same_v<decltype(Tentacle::chunkLimit), std::uint32_t>);
    static_assert(std::is_base_of_v<Keel::ReferenceBase<Tentacle>, Tentacle>);
    static_assert(std::is_abstract_v<Tentacle>);
    const RecordingPtr one(new RecordingTentacle(log, "", 0, 0x1FFFFFFF0UL));
    EXPECT_EQ(one->activityMask, 0xFFFFFFF0U);
}

TEST_F(Polyp, TentacleHasItsFieldsInOrder) {
    const PlainTentacle plain(0);
    EXPECT_TRUE(standInOrder(plain.tentacleKey, plain.activityMask, plain.chunkDivisors,
                             plain.chunkDivisorCount, plain.chunkLimit));
}

TEST_F(Polyp, TentacleHasItsVirtualOperationsInOrder) {
    // Ahead of them are those of the base: the hook and two destructors.
    EXPECT_EQ((std::vector{virtualSlot(&Tentacle::updateValue), virtualSlot(&Tentacle::activate),
                           virtualSlot(&Tentacle::deactivate), virtualSlot(&Tentacle::memsize),
                           virtualSlot(&Tentacle::NumberOfElements),
                           virtualSlot(&Tentacle::getTextureUnit),
                           virtualSlot(&Tentacle::getSamplerType)}),
              slotsFrom(3, 7));
}

TEST_F(Polyp, SpecializedTentacleHasItsKeyPlusAnOffset) {
    class Sample : public Mirk::Polyp::SpecializedTentacle<2048> {
    public:
        using SpecializedTentacle::SpecializedTentacle;
        bool activate(const Mirk::Polyp&) override { return true; }
        bool deactivate(const Mirk::Polyp&) override { return true; }
    };
    const StrongPtr<Sample, Tentacle> plain(new Sample), offset(new Sample(3));
    EXPECT_EQ(plain->tentacleKey, 2048);
    EXPECT_EQ(offset->tentacleKey, 2051);
    EXPECT_EQ(offset->activityMask, All);
}

// ---------------------------------------------------------------------------- Construction

TEST_F(Polyp, IsNamedByANumberThatRises) {
    const std::string first = polyp->name();
    ASSERT_THAT(first, testing::StartsWith("Polyp #"));
    const StrongPtr<Mirk::Polyp> next(new Mirk::Polyp(Keel::WeakPtr<Keel::Creature>()));
    EXPECT_EQ(next->name(), "Polyp #" + std::to_string(std::stoul(first.substr(7)) + 1));
}

TEST_F(Polyp, StartsEmptyAndUncut) {
    EXPECT_TRUE(polyp->empty());
    EXPECT_EQ(polyp->chunkElements, 0U);
    EXPECT_EQ(polyp->chunkCount, 0U);
    EXPECT_THAT(polyp->backendIntegers, ElementsAre(0U, 1U, 1U));
    EXPECT_FALSE(polyp->creator());
    EXPECT_EQ(polyp->DomainType(), typeid(Mirk::Polyp));
    static_assert(std::is_base_of_v<Keel::MutableCacheable, Mirk::Polyp>);
}

TEST_F(Polyp, HasItsFieldsInOrder) {
    EXPECT_TRUE(standInOrder(polyp->chunkElements, polyp->chunkCount, polyp->currentChunk,
                             polyp->backendIntegers));
    static_assert(std::is_same_v<decltype(Mirk::Polyp::chunkElements), std::uint32_t>);
    static_assert(std::is_same_v<decltype(Mirk::Polyp::chunkCount), std::uint32_t>);
    static_assert(std::is_same_v<decltype(Mirk::Polyp::currentChunk), std::uint32_t>);
}

TEST_F(Polyp, HasItsVirtualOperationAfterThoseOfCacheable) {
    EXPECT_EQ((std::vector{virtualSlot(&Keel::Cacheable::memsize),
                           virtualSlot(&Keel::Cacheable::DeferredConstructor),
                           virtualSlot(&Keel::Cacheable::DomainType),
                           virtualSlot(&Keel::Cacheable::CreatorType),
                           virtualSlot(&Mirk::Polyp::computeMemsize)}),
              slotsFrom(3, 5));
}

TEST_F(Polyp, XmlIsYetToBe) {
    EXPECT_EQ(polyp->xml("  "), "Yet to be implemented....");
}

TEST_F(Polyp, DestroysItsTasksAheadOfItsTentacles) {
    struct Witness {
        ~Witness() { alive = log->live["Tentacle"]; }
        CallLogPtr log;
        int& alive;
    };
    int aliveWithTasks = -1;
    {
        const StrongPtr<Mirk::Polyp> mortal(new Mirk::Polyp(Keel::WeakPtr<Keel::Creature>()));
        mortal->insertTentacle(0, TentaclePtr(new RecordingTentacle(log, "", 0)));
        const auto witness = std::make_shared<Witness>(Witness{log, aliveWithTasks});
        mortal->addCompletionTask([witness](Mirk::Polyp&, Mirk::VRenderContext&) { return false; });
        aliveWithTasks = -1;
    }
    EXPECT_EQ(aliveWithTasks, 1);
    EXPECT_EQ(log->live["Tentacle"], 0);
}

// ---------------------------------------------------------------------------- Wave

TEST_F(Polyp, EmptyDoesNothing) {
    EXPECT_EQ(polyp->wave(All), 0);
    polyp->prepareWave();
    EXPECT_EQ(polyp->chunkElements, 0U);
    EXPECT_EQ(polyp->chunkCount, 0U);
    EXPECT_FALSE(polyp->getProgram(AllBits));
    EXPECT_EQ(polyp->getProgram(AllBits).controlBlock(), nullptr);
    EXPECT_EQ(polyp->getTimer().controlBlock(), nullptr);
    EXPECT_EQ(polyp->iterate(std::function<bool(int, const TentaclePtr&)>(), -32000, 32000), 0U);
    EXPECT_TRUE(polyp->updateValues(anyRenderContext()));
    EXPECT_EQ(polyp->complete(anyRenderContext()), 0U);
    EXPECT_EQ(polyp->computeMemsize(), 0U);
}

TEST_F(Polyp, WaveActivatesByKeyAndDeactivatesInReverse) {
    add(20480, "painter");
    add(-16384, "timer");
    add(0, "program");
    add(1024, "value");
    EXPECT_EQ(polyp->wave(All), 4);
    EXPECT_EQ(calls(),
              "activate timer, activate program, activate value, activate painter, "
              "deactivate painter, deactivate value, deactivate program, deactivate timer");
}

TEST_F(Polyp, EqualKeysAreActivatedInTheOrderOfInsertionAndDeactivatedInReverse) {
    add(1024, "a");
    add(1024, "b");
    EXPECT_EQ(polyp->wave(All), 2);
    EXPECT_EQ(calls(), "activate a, activate b, deactivate b, deactivate a");
}

TEST_F(Polyp, FalseFromActivateEndsTheWave) {
    for (const char* const name : {"a", "b", "c", "d"}) add(0, name);
    log->failing = {"activate Tentacle c"};
    EXPECT_EQ(polyp->wave(All), 2);
    EXPECT_EQ(calls(), "activate a, activate b, activate c, deactivate b, deactivate a");
}

TEST_F(Polyp, FalseFromDeactivateIsIgnored) {
    for (const char* const name : {"a", "b", "c"}) add(0, name);
    log->failing = {"deactivate Tentacle b"};
    EXPECT_EQ(polyp->wave(All), 3);
    EXPECT_EQ(calls(),
              "activate a, activate b, activate c, deactivate c, deactivate b, deactivate a");
}

TEST_F(Polyp, MaskEndsTheWaveAndSkipsNothing) {
    add(0, "program", 1);
    add(1024, "outside", 2);
    add(20480, "painter", 1);
    EXPECT_EQ(polyp->wave(1), 1);
    EXPECT_EQ(calls(), "activate program, deactivate program");
    EXPECT_EQ(polyp->wave(3), 3);
    EXPECT_EQ(polyp->wave(0), 0);
}

TEST_F(Polyp, ThrowFromActivateDeactivatesTheEarlierOnesOnceAndLeavesTheWave) {
    for (const char* const name : {"a", "b", "painter"}) add(0, name);
    log->throwing = {"activate Tentacle painter"};
    try {
        polyp->wave(All);
        ADD_FAILURE() << "no exception";
    } catch (const RenderException& thrown) {
        EXPECT_EQ(std::string(thrown.function.c_str()), "activate Tentacle painter");
        EXPECT_EQ(thrown.glError, CallLog::Refused);
    }
    EXPECT_EQ(calls(), "activate a, activate b, activate painter, deactivate b, deactivate a");
}

TEST_F(Polyp, OtherExceptionsPassThroughTheWaveAsTheyAre) {
    add(0, "a");
    polyp->insertTentacle(
        1, TentaclePtr(new ActingTentacle(log, "b", [] { throw std::out_of_range("beyond"); })));
    EXPECT_THROW(polyp->wave(All), std::out_of_range);
    EXPECT_EQ(calls(), "activate a, activate b, deactivate a");
}

TEST_F(Polyp, RenderExceptionIsLoggedOnItsWayUnchanged) {
    struct BackendException : RenderException {
        using RenderException::RenderException;
        std::string GLdescription() const override { return "invalid operation"; }
    };
    polyp->insertTentacle(0, TentaclePtr(new ActingTentacle(log, "a", [] {
                              throw BackendException(0x502, "draw", "f.cpp", 7);
                          })));
    Keel::VerboseStream::setVerbosity("Polypia", 1);
    testing::internal::CaptureStdout();
    EXPECT_THROW(polyp->wave(All), BackendException);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Polypia: OpenGL Error 502(invalid operation) at f.cpp:7 [draw]\n");
    Keel::VerboseStream::setVerbosity("Polypia", 0);
    testing::internal::CaptureStdout();
    EXPECT_THROW(polyp->wave(All), BackendException) << "verbosity does not change what is thrown";
    EXPECT_THAT(testing::internal::GetCapturedStdout(), IsEmpty());
}

TEST_F(Polyp, DeadEntryNeitherCountsNorStopsTheWave) {
    add(0, "a");
    addDead(1);
    add(2, "c");
    EXPECT_EQ(polyp->wave(All), 2);
    EXPECT_EQ(calls(), "activate a, activate c, deactivate c, deactivate a");
}

TEST_F(Polyp, TentacleThatErasesItselfIsDeactivatedOnceAndTheNextRuns) {
    TentaclePtr self(new ActingTentacle(log, "self", [&] {
        polyp->eraseTentacle(self);
        self = {};
    }));
    polyp->insertTentacle(0, self);
    add(1, "next");
    EXPECT_EQ(polyp->wave(All), 2);
    EXPECT_EQ(calls(), "activate self, activate next, deactivate next, deactivate self");
    EXPECT_EQ(polyp->NumberOfTentacles(-32000, 32000, AllBits), 1U);
    EXPECT_EQ(log->live["Tentacle"], 1) << "the wave lets go of it";
}

TEST_F(Polyp, TentacleThatErasesTheNextOneKeepsOnlyThatFromRunning) {
    for (const bool prepared : {false, true}) {
        polyp->clear();
        RecordingPtr next;
        polyp->insertTentacle(0, TentaclePtr(new ActingTentacle(log, "self", [&] {
                                  polyp->eraseTentacle(next);
                                  next = {};
                              })));
        next = add(1, "next");
        add(2, "last");
        if (prepared) polyp->prepareWave();
        EXPECT_EQ(polyp->wave(All), 2);
        EXPECT_EQ(calls(), "activate self, activate last, deactivate last, deactivate self");
        polyp->clear();
        polyp->insertTentacle(
            0, TentaclePtr(new ActingTentacle(log, "self", [&] { polyp->eraseTentacle(next); })));
        next = add(1, "next");
        if (prepared) polyp->prepareWave();
        EXPECT_EQ(polyp->wave(All), 1) << "it was the last one";
        EXPECT_EQ(calls(), "activate self, deactivate self");
    }
}

TEST_F(Polyp, TentacleThatClearsThePolypIsTheLastToRun) {
    for (const bool prepared : {false, true}) {
        add(0, "a");
        polyp->insertTentacle(
            1, TentaclePtr(new ActingTentacle(log, "clearing", [&] { polyp->clear(); })));
        add(2, "c");
        add(3, "d");
        if (prepared) polyp->prepareWave();
        EXPECT_EQ(polyp->wave(All), 2);
        EXPECT_EQ(calls(), "activate a, activate clearing, deactivate clearing, deactivate a");
        EXPECT_TRUE(polyp->empty());
        EXPECT_EQ(log->live["Tentacle"], 0);
    }
}

TEST_F(Polyp, ErasingInAWaveWithinAWaveHoldsForBoth) {
    RecordingPtr b;
    add(0, "a");
    polyp->insertTentacle(1, TentaclePtr(new ActingTentacle(log, "twice", [&] {
                              polyp->waveTentacles(polyp->get_range(2, 2).first, All);
                          })));
    polyp->insertTentacle(2, TentaclePtr(new ActingTentacle(log, "eraser", [&] {
                              polyp->eraseTentacle(
                                  TentaclePtr(polyp->get_range(2, 2).first->second));
                              polyp->eraseTentacle(b);
                          })));
    b = add(3, "b");
    add(4, "c");
    EXPECT_EQ(polyp->wave(All), 3);
    EXPECT_EQ(calls(), "activate a, activate twice, activate eraser, activate c, deactivate c, "
                       "deactivate eraser, activate c, deactivate c, deactivate twice, "
                       "deactivate a");
    EXPECT_EQ(polyp->wave(All), 3) << "the next wave knows of no other";
}

TEST_F(Polyp, WaveThatThrewLeavesNoTrace) {
    const RecordingPtr a = add(0, "a");
    log->throwing = {"activate Tentacle a"};
    EXPECT_THROW(polyp->wave(All), RenderException);
    EXPECT_TRUE(polyp->eraseTentacle(a));
    polyp->clear();
    EXPECT_EQ(polyp->wave(All), 0);
}

TEST_F(Polyp, TentacleWavesTheRestOfItsPolypItself) {
    polyp->insertTentacle(0, TentaclePtr(new ActingTentacle(log, "twice", [&] {
                              EXPECT_EQ(polyp->waveTentacles(polyp->get_range(1, 1).first, All), 2);
                          })));
    add(1, "a");
    add(2, "b");
    EXPECT_EQ(polyp->wave(All), 3);
    EXPECT_EQ(calls(), "activate twice, activate a, activate b, deactivate b, deactivate a, "
                       "activate a, activate b, deactivate b, deactivate a, deactivate twice");
}

TEST_F(Polyp, WaveFromTheEndIsNone) {
    add(0, "a");
    EXPECT_EQ(polyp->waveTentacles(polyp->get_range(0, 0).second, All), 0);
    EXPECT_THAT(log->calls, IsEmpty());
}

TEST_F(Polyp, WaveFollowsEveryChangeAfterItWasPrepared) {
    const RecordingPtr a = add(0, "a");
    add(2, "c");
    polyp->prepareWave();
    polyp->wave(All);
    EXPECT_EQ(calls(), "activate a, activate c, deactivate c, deactivate a");
    add(1, "b");
    polyp->wave(All);
    EXPECT_EQ(calls(),
              "activate a, activate b, activate c, deactivate c, deactivate b, deactivate a");
    polyp->prepareWave();
    polyp->eraseTentacle(a);
    polyp->wave(All);
    EXPECT_EQ(calls(), "activate b, activate c, deactivate c, deactivate b");
    polyp->prepareWave();
    polyp->clear();
    EXPECT_EQ(polyp->wave(All), 0);
}

TEST_F(Polyp, PreparedWaveFollowsWhatATentacleChangesInIt) {
    const char* const changes[] = {"erase", "insert", "prepare", "erase and prepare"};
    for (const std::string change : changes) {
        polyp->clear();
        TentaclePtr self(new ActingTentacle(log, "self", [&] {
            if (change.starts_with("erase")) polyp->eraseTentacle(self);
            if (change == "insert") add(5, "new");
            if (change.ends_with("prepare")) polyp->prepareWave();
        }));
        add(0, "a");
        polyp->insertTentacle(1, self);
        add(2, "b");
        add(3, "c");
        polyp->prepareWave();
        EXPECT_EQ(polyp->wave(All), change == "insert" ? 5 : 4) << change;
        const std::string added = change == "insert" ? ", activate new, deactivate new" : "";
        EXPECT_EQ(calls(), "activate a, activate self, activate b, activate c" + added +
                               ", deactivate c, deactivate b, deactivate self, deactivate a")
            << change;
    }
}

/// A wave of many tentacles in which one does not do as expected, against what comes of it by the
/// rules. All lengths around the multiples of 16 are there, as waves go by groups of 16.
TEST_F(Polyp, WaveOfAnyLengthUndoesExactlyWhatItDid) {
    const auto call = [](const char* operation, int number) {
        return std::string(operation) + " Tentacle " + std::to_string(number);
    };
    for (const int size : {1, 2, 15, 16, 17, 31, 32, 33, 50}) {
        polyp->clear();
        for (int i = 0; i < size; ++i) add(i, std::to_string(i));
        for (const bool prepared : {false, true}) {
            if (prepared) polyp->prepareWave();
            // One beyond the last, at which nothing goes wrong.
            for (int odd = 0; odd <= size; ++odd) {
                std::vector<std::string> expected;
                for (int i = 0; i < std::min(odd + 1, size); ++i) {
                    expected.push_back(call("activate", i));
                }
                for (int i = odd - 1; i >= 0; --i) expected.push_back(call("deactivate", i));
                log->failing = {call("activate", odd)};
                EXPECT_EQ(polyp->wave(All), odd);
                EXPECT_EQ(log->take(), expected) << size << " false at " << odd;
                log->failing = {};
                if (odd == size) continue;
                log->throwing = {call("activate", odd)};
                EXPECT_THROW(polyp->wave(All), RenderException);
                EXPECT_EQ(log->take(), expected) << size << " throw at " << odd;
                expected.clear();
                for (int i = 0; i < size; ++i) expected.push_back(call("activate", i));
                for (int i = size - 1; i >= 0; --i) expected.push_back(call("deactivate", i));
                log->throwing = {call("deactivate", odd), call("deactivate", odd / 2)};
                try {
                    polyp->wave(All);
                    ADD_FAILURE() << "no exception";
                } catch (const RenderException& thrown) {
                    EXPECT_EQ(std::string(thrown.function.c_str()), call("deactivate", odd / 2))
                        << "the last one is what leaves the wave";
                }
                EXPECT_EQ(log->take(), expected) << size << " throw from deactivate at " << odd;
                log->throwing = {};
            }
        }
    }
}

TEST_F(Polyp, WaveLetsGoOfEachTentacleOnceItIsDeactivated) {
    TentaclePtr self(new ActingTentacle(log, "self", [&] {
        polyp->eraseTentacle(self);
        self = {};
    }));
    class Observer : public RecordingTentacle {
    public:
        explicit Observer(const CallLogPtr& callLog) : RecordingTentacle(callLog, "outer", -1) {}
        bool deactivate(const Mirk::Polyp&) override {
            alive = log->live["Tentacle"];
            return true;
        }
        int alive = 0;
    };
    const StrongPtr<Observer, Tentacle> outer(new Observer(log));
    polyp->insert(outer);
    polyp->insertTentacle(0, self);
    EXPECT_EQ(polyp->wave(All), 2);
    EXPECT_EQ(outer->alive, 1);
}

TEST_F(Polyp, WaveKeepsNoReference) {
    const RecordingPtr a = add(0, "a");
    const int held = a.controlBlock()->strong();
    polyp->wave(All);
    EXPECT_EQ(a.controlBlock()->strong(), held);
}

TEST_F(Polyp, WaveAllocatesNothing) {
    for (const int key : {0, 1024, 1024, 20480}) {
        polyp->insertTentacle(key, TentaclePtr(new PlainTentacle(key)));
    }
    polyp->setName("a name that is too long for a string without memory of its own");
    const long long before = allocationsOfThisThread();
    EXPECT_EQ(polyp->wave(All), 4);
    EXPECT_EQ(allocationsOfThisThread(), before);
}

TEST_F(Polyp, WaveIsOneScopeOfTheProfiler) {
    if (isTraced()) {
        add(0, "a");
        polyp->setName("the traced one");
        polyp->wave(All);
        log->throwing = {"activate Tentacle a"};
        EXPECT_THROW(polyp->wave(All), RenderException);
        return;
    }
    const auto scopes = traceOfThisTest("\"int Mirk::Polyp::wave(Activity_t) const\"");
    EXPECT_EQ(scopes.size(), 2U) << "it is closed when the wave throws, too";
    for (const std::string& scope : scopes) {
        for (const char* const part : {"\"Polypia\"", "\"reef/Polypia/Polyp\"",
                                       "\"the traced one\"", "\"line\":247", "\"level\":5"}) {
            EXPECT_THAT(scope, HasSubstr(part));
        }
    }
}

// ---------------------------------------------------------------------------- Chunks

TEST_F(Polyp, ThousandVerticesInPiecesOf1024BytesAreFourPasses) {
    addElements(2048, 1000);
    const RecordingPtr large = addElements(8192, 0, 4000);
    large->chunkLimit = 1024;
    polyp->prepareWave();
    EXPECT_EQ(polyp->chunkElements, 256U);
    EXPECT_EQ(polyp->chunkCount, 4U);
    std::vector<std::uint32_t> chunks;
    polyp->insertTentacle(20480, TentaclePtr(new ActingTentacle(log, "painter", [&] {
                              chunks.push_back(polyp->currentChunk);
                          })));
    EXPECT_EQ(polyp->wave(All), 12) << "three tentacles in each of four passes";
    EXPECT_THAT(chunks, ElementsAre(0U, 1U, 2U, 3U));
    EXPECT_EQ(polyp->currentChunk, 4U);
}

TEST_F(Polyp, EvenlyDividedVerticesHaveAnEmptyLastPass) {
    addElements(2048, 512);
    addElements(8192, 0, 2048)->chunkLimit = 1024;
    polyp->prepareWave();
    EXPECT_EQ(polyp->chunkElements, 256U);
    EXPECT_EQ(polyp->chunkCount, 3U);
}

TEST_F(Polyp, NoPassRunsAfterOneThatThrew) {
    addElements(2048, 1000);
    addElements(8192, 0, 4000)->chunkLimit = 1024;
    polyp->prepareWave();
    polyp->insertTentacle(20480, TentaclePtr(new ActingTentacle(log, "painter", [&] {
                              if (polyp->currentChunk == 1) throw RenderException();
                          })));
    EXPECT_THROW(polyp->wave(All), RenderException);
    EXPECT_EQ(polyp->currentChunk, 1U);
    EXPECT_EQ(std::count(log->calls.begin(), log->calls.end(), "activate Tentacle painter"), 2);
}

TEST_F(Polyp, WaveIsOnePassUnlessThereAreBothPiecesAndANumberOfThem) {
    add(20480, "painter");
    polyp->chunkElements = 256;
    EXPECT_EQ(polyp->wave(All), 1);
    polyp->chunkElements = 0;
    polyp->chunkCount = 4;
    EXPECT_EQ(polyp->wave(All), 1);
    EXPECT_EQ(polyp->currentChunk, 0U) << "nothing was counted";
}

TEST_F(Polyp, PassThatEndsEarlyDoesNotKeepTheOthersFromRunning) {
    addElements(2048, 1000);
    addElements(8192, 0, 4000)->chunkLimit = 1024;
    polyp->prepareWave();
    add(20480, "painter");
    log->failing = {"activate Tentacle painter"};
    EXPECT_EQ(polyp->wave(All), 8);
}

/// A polyp with vertices and tentacles at key 8192, and what comes of it.
struct Cut {
    const char* name;
    std::size_t vertices;
    struct Data {
        std::size_t bytes;
        std::vector<std::uint32_t> divisors;
        std::uint32_t limit;
    };
    std::vector<Data> data;
    std::uint32_t chunkElements;
    std::uint32_t chunkCount;
};

class PolypChunks : public Polyp, public testing::WithParamInterface<Cut> {};

TEST_P(PolypChunks, AreAsComputed) {
    const Cut& cut = GetParam();
    if (cut.vertices > 0) addElements(2048, cut.vertices);
    for (const Cut::Data& data : cut.data) {
        const RecordingPtr tentacle = addElements(8192, 0, data.bytes);
        tentacle->chunkLimit = data.limit;
        tentacle->chunkDivisorCount = static_cast<std::uint32_t>(data.divisors.size());
        tentacle->chunkDivisors = {7, 7, 7, 7};
        std::copy(data.divisors.begin(), data.divisors.end(), tentacle->chunkDivisors.begin());
    }
    polyp->chunkElements = 12345;
    polyp->chunkCount = 99;
    polyp->prepareWave();
    EXPECT_EQ(polyp->chunkElements, cut.chunkElements);
    EXPECT_EQ(polyp->chunkCount, cut.chunkCount);
    if (cut.chunkElements > 0) return;
    add(20480, "painter");
    polyp->wave(All);
    EXPECT_EQ(std::count(log->calls.begin(), log->calls.end(), "activate Tentacle painter"), 1);
}

// The count of passes stays as it was, 99, where the wave is one pass.
INSTANTIATE_TEST_SUITE_P(
    Cuts, PolypChunks,
    testing::Values(
        Cut{"OfDataAtNoKey8192AreNone", 1000, {}, 0, 99},
        Cut{"OfOneByteForEachVertexAreNone", 1000, {{1000, {}, 256}}, 0, 99},
        Cut{"WithoutLimitAreNone", 1000, {{4000, {}, 0}}, 0, 99},
        Cut{"WithoutVerticesAreNone", 0, {{4000, {}, 1024}}, 0, 99},
        Cut{"WithoutBytesAreNone", 1000, {{0, {}, 1024}}, 0, 99},
        Cut{"OfLessThanAByteForEachVertexAreNone", 1000, {{999, {4}, 1024}}, 0, 99},
        Cut{"OfADivisorOfZeroAreNone", 1000, {{4000, {0}, 1024}}, 0, 99},
        Cut{"OfALimitBelowTheLeastMultipleAreNone", 1000, {{4000, {16}, 15}}, 0, 99},
        Cut{"CountVerticesIn32Bits", (std::size_t{1} << 32) + 1000, {{4000, {}, 1024}}, 256, 4},
        // 100 - 100 % 12 = 96 bytes of 4 each
        Cut{"RespectDivisors", 1000, {{4000, {6}, 100}}, 24, 42},
        // least common multiple of 4, 6, 10, 15 and 8 is 120: 960 bytes of 8 each
        Cut{"RespectAllDivisorsInUse", 1000, {{8000, {4, 6, 10, 15}, 1000}}, 120, 9},
        // 12 and 8 bytes: least common multiple 24; 192 bytes of 12 each, of the greater limit
        Cut{"HaveTheGreatestLimitAndTheWidestVertex",
            100,
            {{1200, {}, 100}, {800, {}, 200}},
            16,
            7},
        Cut{"HaveTheLimitOfAnyTentacle", 100, {{800, {}, 64}, {800, {}, 0}}, 8, 13},
        // the second tentacle has no bytes, so that 0 is among the divisors
        Cut{"OfATentacleWithoutBytesAmongOthersAreNone", 100, {{800, {}, 64}, {0, {}, 64}}, 0, 99}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(Polyp, DeadDataIsNotCut) {
    addElements(2048, 1000);
    addDead(8192);
    polyp->prepareWave();
    EXPECT_EQ(polyp->chunkElements, 0U);
    addElements(8192, 0, 4000)->chunkLimit = 1024;
    polyp->prepareWave();
    EXPECT_EQ(polyp->chunkElements, 256U);
}

TEST_F(Polyp, DataAtOtherKeysIsNotCut) {
    addElements(2048, 1000, 4000)->chunkLimit = 1024;
    addElements(8191, 0, 4000)->chunkLimit = 1024;
    addElements(8193, 0, 4000)->chunkLimit = 1024;
    polyp->prepareWave();
    EXPECT_EQ(polyp->chunkElements, 0U);
}

TEST_F(Polyp, PreparingReportsTheSizeToTheCache) {
    class Maker : public Keel::AlzheimerCreator<Mirk::Polyp> {
    public:
        using AlzheimerCreator::AlzheimerCreator;
        StrongPtr<Mirk::Polyp, Keel::Cacheable> create() override {
            const StrongPtr<Mirk::Polyp, Keel::Cacheable> made(
                new Mirk::Polyp(Keel::WeakPtr<Keel::Creature>(*this)));
            store(made);
            return made;
        }
    };
    const auto cache = Keel::make<Keel::Cache>(1000000ULL, "test");
    const auto maker = Keel::make<Maker>(cache);
    const auto enrolled = maker->create();
    EXPECT_EQ(cache->memsize(false), 0U);
    const RecordingPtr large(new RecordingTentacle(log, "", 0));
    large->gpuBytes = 5000;
    enrolled->insertTentacle(0, large);
    EXPECT_EQ(enrolled->memsize(), 0U);
    enrolled->prepareWave();
    EXPECT_EQ(enrolled->memsize(), 5000U);
    EXPECT_EQ(cache->memsize(false), 5000U);
    EXPECT_TRUE(enrolled->creator() == maker);
}

// ---------------------------------------------------------------------------- Completion

TEST_F(Polyp, CompleteCountsAndDropsWhatHasFinished) {
    std::string order;
    bool ready = false;
    const auto token = std::make_shared<int>();
    polyp->addCompletionTask([&, token](Mirk::Polyp& given, Mirk::VRenderContext& context) {
        EXPECT_EQ(&given, polyp.get());
        EXPECT_EQ(&context, &anyRenderContext());
        order += 'a';
        return true;
    });
    polyp->addCompletionTask([&](Mirk::Polyp&, Mirk::VRenderContext&) {
        EXPECT_EQ(token.use_count(), 1) << "a finished task is destroyed at once";
        order += 'b';
        return ready;
    });
    polyp->addCompletionTask([&](Mirk::Polyp&, Mirk::VRenderContext&) {
        order += 'c';
        return true;
    });
    EXPECT_EQ(polyp->complete(anyRenderContext()), 2U);
    EXPECT_EQ(polyp->complete(anyRenderContext()), 0U);
    ready = true;
    EXPECT_EQ(polyp->complete(anyRenderContext()), 1U);
    EXPECT_EQ(polyp->complete(anyRenderContext()), 0U);
    EXPECT_EQ(order, "abcbb");
}

TEST_F(Polyp, CompletePassesOverTasksThatAreNotSet) {
    polyp->addCompletionTask({});
    EXPECT_EQ(polyp->complete(anyRenderContext()), 0U);
}

TEST_F(Polyp, TaskAddedByATaskRunsOnceAndLater) {
    std::string order;
    polyp->addCompletionTask([&](Mirk::Polyp& given, Mirk::VRenderContext&) {
        order += 'a';
        given.addCompletionTask([&](Mirk::Polyp&, Mirk::VRenderContext&) {
            order += 'n';
            return true;
        });
        return true;
    });
    polyp->addCompletionTask([&](Mirk::Polyp&, Mirk::VRenderContext&) {
        order += 'b';
        return order.find('n') != std::string::npos;
    });
    EXPECT_EQ(polyp->complete(anyRenderContext()), 1U);
    EXPECT_EQ(order, "ab");
    EXPECT_EQ(polyp->complete(anyRenderContext()), 1U);
    EXPECT_EQ(order, "abbn");
    EXPECT_EQ(polyp->complete(anyRenderContext()), 1U);
    EXPECT_EQ(order, "abbnb");
}

TEST_F(Polyp, TaskThatThrowsLosesNoneAndRunsNoneTwice) {
    std::string order;
    bool throws = true;
    polyp->addCompletionTask([&](Mirk::Polyp&, Mirk::VRenderContext&) {
        order += 'a';
        return true;
    });
    polyp->addCompletionTask([&](Mirk::Polyp&, Mirk::VRenderContext&) {
        order += 'b';
        if (throws) throw std::runtime_error("not yet");
        return true;
    });
    polyp->addCompletionTask([&](Mirk::Polyp&, Mirk::VRenderContext&) {
        order += 'c';
        return true;
    });
    EXPECT_THROW(polyp->complete(anyRenderContext()), std::runtime_error);
    EXPECT_EQ(order, "ab");
    throws = false;
    EXPECT_EQ(polyp->complete(anyRenderContext()), 2U);
    EXPECT_EQ(order, "abbc");
}

// ---------------------------------------------------------------------------- Values

TEST_F(Polyp, UpdatesValuesInTheOrderOfKeys) {
    add(1024, "b");
    add(0, "a");
    polyp->insertTentacle(1025, TentaclePtr(new PlainTentacle(1025)));
    add(2048, "c");
    EXPECT_TRUE(polyp->updateValues(anyRenderContext()));
    EXPECT_EQ(calls(), "updateValue a, updateValue b, updateValue c");
}

TEST_F(Polyp, UpdatingStopsAtTheFirstFalse) {
    for (const char* const name : {"a", "b", "c"}) add(0, name);
    log->failing = {"updateValue Tentacle b"};
    EXPECT_FALSE(polyp->updateValues(anyRenderContext()));
    EXPECT_EQ(calls(), "updateValue a, updateValue b");
}

TEST_F(Polyp, TentaclesMayComeAndGoWhileOneIsUpdated) {
    class Changing : public PlainTentacle {
    public:
        explicit Changing(std::function<void()> change)
            : PlainTentacle(0), _change(std::move(change)) {}
        bool updateValue(Mirk::VRenderContext&) override {
            _change();
            return true;
        }

    private:
        const std::function<void()> _change;
    };
    for (const bool isPrepared : {false, true}) {
        SCOPED_TRACE(isPrepared);
        polyp->clear();
        polyp->insert(TentaclePtr(new Changing([&] {
            polyp->eraseTentacle(polyp->get_range(1, 1).first->second);
            add(3, "inserted");
        })));
        add(1, "erased");
        add(2, "kept");
        if (isPrepared) polyp->prepareWave();
        log->take();
        EXPECT_TRUE(polyp->updateValues(anyRenderContext()));
        EXPECT_EQ(calls(), "updateValue kept, updateValue inserted");
    }
}

TEST_F(Polyp, UpdatingADeadEntryStopsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    addDead(0);
    EXPECT_DEATH(polyp->updateValues(anyRenderContext()), "Tentacle");
}

TEST_F(Polyp, SumsTheSizesOfLiveTentacles) {
    addElements(0, 0, 100);
    addDead(1);
    polyp->insertTentacle(2, TentaclePtr(new PlainTentacle(2)));
    addElements(20480, 0, 23);
    EXPECT_EQ(polyp->computeMemsize(), 123U);
    EXPECT_EQ(polyp->memsize(), 0U) << "until it is prepared";
}

// ---------------------------------------------------------------------------- Insertion

TEST_F(Polyp, RefusesAnEmptyPointer) {
    EXPECT_FALSE(polyp->insertTentacle(0, TentaclePtr()));
    EXPECT_FALSE(polyp->insert(RecordingPtr(), 3));
    EXPECT_TRUE(polyp->empty());
}

TEST_F(Polyp, MapKeyMayDifferFromTheTentacles) {
    const RecordingPtr odd(new RecordingTentacle(log, "odd", 20480));
    EXPECT_TRUE(polyp->insertTentacle(5, odd));
    EXPECT_EQ(polyp->NumberOfTentacles(5, 5, AllBits), 1U);
    EXPECT_EQ(polyp->NumberOfTentacles(20480, 20480, AllBits), 0U);
}

TEST_F(Polyp, InsertsAtTheOwnKeyPlusAnOffsetAndGivesThePointerBack) {
    const RecordingPtr first(new RecordingTentacle(log, "first", 0));
    const RecordingPtr given = polyp->insert(first);
    EXPECT_TRUE(given == first);
    EXPECT_EQ(given.get(), first.get());
    EXPECT_TRUE(polyp->insert(RecordingPtr(new RecordingTentacle(log, "second", 0)), 1));
    EXPECT_EQ(polyp->NumberOfTentacles(0, 0, AllBits), 1U);
    EXPECT_EQ(polyp->NumberOfTentacles(1, 1, AllBits), 1U);
}

TEST_F(Polyp, WarnsOfADifferentNumberOfElementsAndInsertsAllTheSame) {
    addElements(2048, 70);
    addElements(2051, 50);
    const RecordingPtr other(new RecordingTentacle(log, "", 2051));
    other->elements = 100;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(polyp->insertTentacle(2051, other));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Polyp::insertTentacle(): WARNING - adding different number of elements to attribute "
              "class:\n\t   HAVE 70 Vertices, 50 elements in class 3, getting 100 data elements "
              "...\n");
    EXPECT_EQ(polyp->NumberOfTentacles(2051, 2051, AllBits), 2U);
}

TEST_F(Polyp, ChecksTheClassOfTheTentacleAndNotOfTheMap) {
    addElements(2049, 50);
    const RecordingPtr other(new RecordingTentacle(log, "", 2049));
    other->elements = 100;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(polyp->insertTentacle(3000, other));
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("50 elements in class 1, "));
}

TEST_F(Polyp, WarnsOfNothingElse) {
    testing::internal::CaptureStdout();
    addElements(2048, 50);
    addElements(2049, 100); // the first of its class
    addElements(2049, 100); // the same number
    addElements(2049, 0);   // none
    EXPECT_THAT(testing::internal::GetCapturedStdout(), IsEmpty());
}

TEST_F(Polyp, ErasesTheFirstEntryOfATentacle) {
    const RecordingPtr a = add(0, "a");
    polyp->insertTentacle(1, a);
    EXPECT_TRUE(polyp->eraseTentacle(a));
    EXPECT_EQ(polyp->NumberOfTentacles(0, 0, AllBits), 0U);
    EXPECT_EQ(polyp->NumberOfTentacles(1, 1, AllBits), 1U);
    EXPECT_TRUE(polyp->eraseTentacle(a));
    EXPECT_FALSE(polyp->eraseTentacle(a));
}

TEST_F(Polyp, ErasesNeitherStrangersNorEmptyPointers) {
    add(0, "a");
    EXPECT_FALSE(polyp->eraseTentacle(TentaclePtr()));
    EXPECT_FALSE(polyp->eraseTentacle(TentaclePtr(new PlainTentacle(0))));
    EXPECT_FALSE(polyp->empty());
}

TEST_F(Polyp, ErasesDeadEntriesByTheirBlock) {
    TentaclePtr dead;
    {
        RecordingTentacle mortal(log, "dead", 0);
        dead = TentaclePtr(mortal);
        polyp->insertTentacle(0, dead);
    }
    ASSERT_FALSE(dead);
    EXPECT_TRUE(polyp->eraseTentacle(dead));
    EXPECT_TRUE(polyp->empty());
}

TEST_F(Polyp, ClearDropsTheTentaclesAndNothingElse) {
    static_assert(noexcept(std::declval<Mirk::Polyp&>().clear()));
    addElements(2048, 1000);
    addElements(8192, 0, 4000)->chunkLimit = 1024;
    polyp->prepareWave();
    polyp->addCompletionTask([](Mirk::Polyp&, Mirk::VRenderContext&) { return true; });
    polyp->clear();
    EXPECT_TRUE(polyp->empty());
    EXPECT_EQ(log->live["Tentacle"], 0);
    EXPECT_EQ(polyp->chunkElements, 256U);
    EXPECT_EQ(polyp->chunkCount, 4U);
    EXPECT_EQ(polyp->complete(anyRenderContext()), 1U);
}

// ---------------------------------------------------------------------------- Questions

TEST_F(Polyp, NumberOfElementsIsTheFirstThatIsNotZeroInEitherOrderOfKeys) {
    addElements(0, 9);
    addElements(1, 0);
    addDead(2);
    polyp->insertTentacle(3, TentaclePtr(new PlainTentacle(3)));
    addElements(4, 44);
    addElements(5, 55);
    EXPECT_EQ(polyp->NumberOfElements(1, 5), 44U);
    EXPECT_EQ(polyp->NumberOfElements(5, 1), 44U);
    EXPECT_EQ(polyp->NumberOfElements(5, 5), 55U);
    EXPECT_EQ(polyp->NumberOfElements(1, 3), 0U);
    EXPECT_EQ(polyp->NumberOfElements(6, 100), 0U);
}

TEST_F(Polyp, NumberOfTentaclesIsOfLiveOnesInTheMaskAndHasNoSwap) {
    add(1, "", 1);
    add(3, "", 2);
    add(5, "", 4);
    addDead(4);
    EXPECT_EQ(polyp->NumberOfTentacles(1, 5, AllBits), 3U);
    EXPECT_EQ(polyp->NumberOfTentacles(1, 5, 3), 2U);
    EXPECT_EQ(polyp->NumberOfTentacles(2, 4, AllBits), 1U);
    EXPECT_EQ(polyp->NumberOfTentacles(5, 1, AllBits), 0U);
}

TEST_F(Polyp, RangeHasBothEndsAndDeadEntries) {
    for (const int key : {0, 1, 3}) add(key, "");
    addDead(2);
    const auto [first, last] = polyp->get_range(1, 2);
    EXPECT_EQ(std::distance(first, last), 2);
    EXPECT_EQ(first->first, 1);
    EXPECT_EQ(last->first, 3);
}

TEST_F(Polyp, ProgramsAreTheKeysFrom0To1023) {
    for (const int key : {-1, 0, 1023, 1024}) add(key, "");
    const auto [first, last] = polyp->get_programs();
    EXPECT_EQ(first->first, 0);
    EXPECT_EQ(last->first, 1024);
}

TEST_F(Polyp, IteratesTheLiveTentaclesUntilFalse) {
    for (const int key : {0, 1, 3, 4, 5}) add(key, "");
    addDead(2);
    std::vector<int> keys;
    const auto visitor = [&](int key, const TentaclePtr& tentacle) {
        EXPECT_EQ(tentacle->tentacleKey, key);
        keys.push_back(key);
        return key != 4;
    };
    EXPECT_EQ(polyp->iterate(visitor, 1, 3), 2U);
    EXPECT_THAT(keys, ElementsAre(1, 3));
    keys.clear();
    EXPECT_EQ(polyp->iterate(visitor, 1, 5), 2U) << "the one that returned false does not count";
    EXPECT_THAT(keys, ElementsAre(1, 3, 4));
    EXPECT_EQ(polyp->iterate(visitor, 5, 1), 0U);
}

TEST_F(Polyp, IteratesWithAVisitor) {
    struct Visitor : Mirk::Polyp::TentacleIterator {
        bool apply(int key, const TentaclePtr&) override {
            sum += key;
            return key < 2;
        }
        int sum = 0;
    } visitor;
    static_assert(std::has_virtual_destructor_v<Mirk::Polyp::TentacleIterator>);
    for (const int key : {0, 1, 2, 3}) add(key, "");
    EXPECT_EQ(polyp->iterate(visitor, 0, 3), 2U);
    EXPECT_EQ(visitor.sum, 3);
}

TEST_F(Polyp, IteratingWithAnEmptyFunctionThrowsAtTheFirstVisit) {
    const std::function<bool(int, const TentaclePtr&)> nothing;
    add(5, "");
    EXPECT_EQ(polyp->iterate(nothing, 0, 4), 0U);
    EXPECT_THROW(polyp->iterate(nothing, 0, 5), std::bad_function_call);
}

// ---------------------------------------------------------------------------- Typed views

TEST_F(Polyp, ProgramIsTheFirstLiveOneInTheMask) {
    const auto program = [&](const std::string& name, Mirk::Activity_t activity) {
        const StrongPtr<RecordingProgram, Tentacle> made(new RecordingProgram(log, name));
        made->activityMask = activity;
        return made;
    };
    const auto first = program("first", 1), second = program("second", 2);
    addDead(0);
    polyp->insert(first, 1);
    polyp->insert(second, 2);
    EXPECT_TRUE(polyp->getProgram(AllBits) == first);
    EXPECT_EQ(polyp->getProgram(AllBits).get(),
              static_cast<Mirk::Polyp::SpecializedTentacle<0>*>(first.get()));
    EXPECT_TRUE(polyp->getProgram(2) == second);
    EXPECT_TRUE(polyp->getProgram(2));
}

TEST_F(Polyp, ProgramOfAPolypWithAPainterOnlyTestsFalseAndHoldsThePainter) {
    const RecordingPtr painter = add(20480, "painter");
    const auto program = polyp->getProgram(AllBits);
    EXPECT_FALSE(program);
    EXPECT_TRUE(program == painter);
}

TEST_F(Polyp, ProgramThatNoneMatchesIsEmptyAtTheEndOfThePolyp) {
    add(0, "program", 1);
    EXPECT_EQ(polyp->getProgram(2).controlBlock(), nullptr);
    polyp->clear();
    add(-1, "below");
    EXPECT_EQ(polyp->getProgram(AllBits).controlBlock(), nullptr);
}

TEST_F(Polyp, ProgramThatIsNoneTestsFalse) {
    const RecordingPtr impostor = add(3, "impostor");
    EXPECT_FALSE(polyp->getProgram(AllBits));
    EXPECT_TRUE(polyp->getProgram(AllBits) == impostor);
}

TEST_F(Polyp, TimerIsTheFirstEntryFromItsKeyOn) {
    add(-20000, "below");
    EXPECT_EQ(polyp->getTimer().controlBlock(), nullptr) << "no entry from the key on";
    const RecordingPtr other = add(0, "other");
    EXPECT_FALSE(polyp->getTimer());
    EXPECT_TRUE(polyp->getTimer() == other);
    const StrongPtr<RecordingTimer, Tentacle> timer(new RecordingTimer(log));
    polyp->insert(timer);
    EXPECT_TRUE(polyp->getTimer());
    EXPECT_TRUE(polyp->getTimer() == timer);
}

} // namespace
