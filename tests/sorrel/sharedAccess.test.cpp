// What several threads do at once. The thread sanitizer sees more in these than their
// expectations.

#include "Recorder.hpp"
#include "Summing.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using Mirk::TypedSlot;
using Mirk::ValuePoolPtr;
using Mirk::VObject;
using Mirk::VObjectPtr;
using Mirk::VParameterPtr;
using Mirk::VValuePtr;

namespace {

/// Whole if all numbers are equal.
struct Quad {
    std::array<double, 4> numbers{};
    bool isWhole() const {
        return std::all_of(numbers.begin(), numbers.end(),
                           [this](double number) { return number == numbers[0]; });
    }
};

void onThreads(int number, const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < number; ++i) threads.emplace_back(work, i);
    for (std::thread& thread : threads) thread.join();
}

struct Various : VObject {
    Various() : VObject("various", 0, {}) {}
    TypedSlot<bool> flag{this, "flag", false, 0};
    TypedSlot<double> number{this, "number", 0.0, 0};
    TypedSlot<std::string> text{this, "text", std::string(40, '0'), 0};
    TypedSlot<Quad> quad{this, "quad", Quad(), 0};
};

class SharedAccessTest : public testing::Test {
protected:
    SharedAccessTest() {
        for (ValuePoolPtr& pool : pools) pool = ValuePoolPtr(new Mirk::ValuePool);
    }

    /// Four threads read and write all slots, in all pools and globally; none sees a value that
    /// was never written.
    void readAndWrite() {
        std::atomic<int> torn{0};
        onThreads(4, [&](int thread) {
            for (int i = 0; i < 500; ++i) {
                const ValuePoolPtr& pool = pools[static_cast<std::size_t>((thread + i) % 3)];
                const double number = thread * 1000 + i;
                const char digit = static_cast<char>('0' + i % 10);
                various->flag.set(pool, i % 2 == 0);
                various->number.set(pool, number);
                various->text.set(pool, std::string(40, digit));
                various->quad.set(pool, Quad{{number, number, number, number}});
                if (i % 50 == 0) various->quad.set({}, Quad{{number, number, number, number}});
                bool flag = false;
                Quad quad;
                std::string text;
                if (!various->flag.get(pool, flag)) ++torn;
                if (!various->quad.get(pool, quad) || !quad.isWhole()) ++torn;
                if (!various->text.get(pool, text) || text != std::string(40, text[0])) ++torn;
                if (various->number.value(pool, -1) < 0) ++torn;
                various->number->age(pool);
                various->quad->parameter()->getValueAsText(pool, {}, true);
            }
        });
        EXPECT_EQ(torn, 0);
    }

    const Mirk::ValueTypeRegistration<Quad> type{"Quad"};
    const Keel::StrongPtr<Various, Mirk::VManagedObjectBase> various{new Various};
    std::array<ValuePoolPtr, 3> pools;
};

TEST_F(SharedAccessTest, GlobalValuesOfAnyTypeAreReadWhole) {
    readAndWrite();
}

TEST_F(SharedAccessTest, LocalValuesOfAnyTypeAreReadWhole) {
    for (const Mirk::VSlotPtr& slot : various->inputs()) slot->parameter()->Localize();
    readAndWrite();
}

TEST_F(SharedAccessTest, ValuesMayBecomeLocalMeanwhile) {
    std::thread localizer([this] {
        for (const Mirk::VSlotPtr& slot : various->inputs()) slot->parameter()->Localize();
    });
    readAndWrite();
    localizer.join();
}

TEST_F(SharedAccessTest, ThreadsThatAskOnePoolForALocalValueGetTheSame) {
    for (int round = 0; round < 200; ++round) {
        const VParameterPtr parameter(new Mirk::VValueParameter<double>(1.5, "x"));
        std::array<VValuePtr, 4> values;
        onThreads(4, [&](int thread) {
            values[static_cast<std::size_t>(thread)] = parameter->getLocalValue(pools[0], {}, true);
        });
        for (const VValuePtr& value : values) EXPECT_EQ(value, values[0]);
        EXPECT_TRUE(values[0]);
    }
}

TEST_F(SharedAccessTest, CopyThatIsMadeDuringAGlobalWriteHasTheNewValue) {
    for (int round = 0; round < 300; ++round) {
        const VParameterPtr parameter(new Mirk::VValueParameter<double>(1.0, "x"));
        parameter->Localize();
        onThreads(2, [&](int thread) {
            if (thread == 0) {
                Mirk::writeParameter<double>(parameter, {}, 2.0);
            } else {
                parameter->getValue(pools[0]);
            }
        });
        EXPECT_EQ(parameter->getValueAsText(pools[0], {}, true), "2");
    }
}

TEST_F(SharedAccessTest, PoolsAndParametersMayDieWhileOthersReadThem) {
    onThreads(4, [&](int thread) {
        for (int i = 0; i < 200; ++i) {
            if (thread % 2 == 0) {
                const ValuePoolPtr shortLived(new Mirk::ValuePool);
                various->number->parameter()->getLocalValue(shortLived, {}, true);
            } else {
                const VParameterPtr parameter(new Mirk::VValueParameter<double>(1.5, "x"));
                parameter->getLocalValue(pools[0], {}, true);
                pools[0]->retrieveValue("x");
            }
        }
    });
    EXPECT_EQ(pools[0]->numberOfValues(), 0u);
    EXPECT_TRUE(various->number->parameter()->shadows().empty());
}

/// Takes part in everything that may happen to what it watches.
class Lively : public Mirk::ValueNotifier {
public:
    explicit Lively(const VParameterPtr& parameter) : _parameter(parameter) {}
    void touched(const Mirk::ValueNotifierList&, const VValuePtr&, const ValuePoolPtr&) override {
        if (changes++ > 100) return;
        double number = 0;
        const VValuePtr value = _parameter->getValue({});
        Mirk::typedValue<double>(value.get())->get(number);
        _parameter->removeNotifier(Keel::WeakPtr<Mirk::ValueNotifier>(*this));
        _parameter->addNotifier(Keel::WeakPtr<Mirk::ValueNotifier>(*this));
        if (changes % 10 == 0) Mirk::writeParameter<double>(_parameter, {}, number + 1);
    }
    std::atomic<int> changes{0};

private:
    const VParameterPtr _parameter;
};

TEST_F(SharedAccessTest, WatchersMayReadWriteComeAndGo) {
    const VParameterPtr parameter = various->number->parameter();
    std::vector<Keel::StrongPtr<Mirk::ValueNotifier>> watchers;
    for (int i = 0; i < 4; ++i) {
        watchers.emplace_back(new Lively(parameter));
        parameter->addNotifier(watchers.back());
    }
    onThreads(4, [&](int thread) {
        for (int i = 0; i < 100; ++i) {
            Mirk::writeParameter<double>(parameter, {}, thread * 1000 + i);
        }
    });
    for (const auto& watcher : watchers) {
        EXPECT_GT(static_cast<Lively&>(*watcher).changes, 0);
    }
    EXPECT_EQ(parameter->numberOfNotifiers(), 4u);
}

TEST_F(SharedAccessTest, PoolMutexIsHeldWhileAnotherThreadAsksThePool) {
    const VParameterPtr parameter = various->number->parameter();
    std::thread asking;
    {
        const std::lock_guard lock(pools[0]->mutex);
        asking = std::thread([&] { parameter->getLocalValue(pools[0], {}, true); });
        EXPECT_TRUE(parameter->getLocalValue(pools[0], {}, true));
        asking.join();
    }
}

TEST_F(SharedAccessTest, JoiningOneOutputFromSeveralThreadsIsOneConnection) {
    const VParameterPtr output(new Mirk::VValueParameter<double>(1.5, "out"));
    for (int round = 0; round < 100; ++round) {
        const VObjectPtr scene(new VObject("scene", 0, {}));
        onThreads(4, [&](int) { scene->addParameter("joined", 0, output, true); });
        EXPECT_EQ(scene->numberOfInputs(), 1u);
    }
}

/// Complete once its last constructor has run; until then its operation is pure.
class Drawable : public VObject {
public:
    Drawable(VObject& scene, const std::string& objectName) : VObject(objectName, 7, {}) {
        scene.addParameter(objectName, 0, visible, true);
        enableRequestProcessing();
    }
    virtual bool draw() const = 0;
    Mirk::VOutput<bool> visible{this, "visible", true};
};
class Ball : public Drawable {
public:
    Ball(VObject& scene, const std::string& objectName) : Drawable(scene, objectName) {
        std::this_thread::yield();
        _radius = std::make_unique<double>(2.5);
    }
    bool draw() const override { return _radius && *_radius == 2.5; }
    bool update(Mirk::VRequest&, double) override { return draw(); }

private:
    std::unique_ptr<double> _radius;
};
class Scene : public VObject {
public:
    Scene() : VObject("scene", 0, {}) { enableRequestProcessing(); }
    bool update(Mirk::VRequest&, double) override {
        bool allDrawn = true;
        std::size_t number = 0;
        iterateParents(
            [&](const VObjectPtr& parent, const Mirk::VSlot&) {
                ++number;
                const auto* const drawable = dynamic_cast<const Drawable*>(parent.get());
                allDrawn = allDrawn && drawable != nullptr && drawable->draw();
                return true;
            },
            0);
        drawn = number;
        return allDrawn;
    }
    std::atomic<std::size_t> drawn{0};
};
class DrawAll : public Mirk::VManagedObjectIterator {
public:
    bool apply(const Mirk::VManagedObjectPtr& object) override {
        const auto* const drawable = dynamic_cast<const Drawable*>(object.get());
        if (drawable != nullptr && !drawable->draw()) halfBuilt = true;
        return true;
    }
    bool halfBuilt = false;
};

TEST_F(SharedAccessTest, NoObjectIsSeenHalfBuiltAndEachAfterwards) {
    constexpr int Balls = 300;
    const Keel::StrongPtr<Scene, Mirk::VManagedObjectBase> scene(new Scene);
    std::atomic<bool> finished{false};
    std::vector<VObjectPtr> balls;
    std::thread traversing([&] {
        while (!finished) {
            DrawAll all;
            Mirk::VManagedObject::traverse(typeid(VObject), all, 7, 7);
            EXPECT_FALSE(all.halfBuilt);
            const VObjectPtr found(Mirk::VManagedObject::find(typeid(VObject), "ball100"));
            EXPECT_TRUE(!found || dynamic_cast<Drawable&>(*found).draw());
        }
    });
    std::thread requesting([&] {
        while (!finished) EXPECT_TRUE(Mirk::VRequest(pools[0]).process(*scene, 1.0));
    });
    std::thread posting([&] {
        while (!finished) {
            Mirk::RequestThread::post(scene, pools[1], 1.0, [](const Mirk::VRequest& request) {
                EXPECT_TRUE(request.failures().empty());
            });
            std::this_thread::yield();
        }
    });
    for (int i = 0; i < Balls; ++i) {
        balls.emplace_back(new Ball(*scene, "ball" + std::to_string(i)));
        if (i % 10 == 9) balls.erase(balls.begin());
    }
    finished = true;
    traversing.join();
    requesting.join();
    posting.join();
    Mirk::RequestThread::finish();
    EXPECT_TRUE(Mirk::VRequest(pools[0]).process(*scene, 1.0));
    EXPECT_EQ(scene->drawn, balls.size());
}

TEST_F(SharedAccessTest, RequestsOfOneObjectFromSeveralThreadsUpdateItOnce) {
    for (int round = 0; round < 100; ++round) {
        const SummingPtr object = makeSumming("object"), source = makeSumming("source");
        object->addSource(*source);
        onThreads(4, [&](int) { EXPECT_TRUE(Mirk::VRequest(pools[0]).process(*object, 1.0)); });
        EXPECT_EQ(source->updates, 1);
        EXPECT_GE(object->updates, 1);
        EXPECT_LE(object->updates, 2) << "once more at most, if its source came after";
    }
}

TEST_F(SharedAccessTest, ConnectionsMayChangeDuringRequests) {
    const SummingPtr object = makeSumming("object"), first = makeSumming("first"),
                     second = makeSumming("second");
    first->own.set({}, 1.0);
    second->own.set({}, 2.0);
    onThreads(4, [&](int thread) {
        for (int i = 0; i < 200; ++i) {
            if (thread < 2) {
                Mirk::VRequest(pools[0]).process(*object, 1.0);
            } else {
                object->attachParameter(thread == 2 ? first->sum : second->sum, object->own, {});
                if (i % 10 == 0) object->detach(object->own);
            }
        }
    });
    object->attachParameter(second->sum, object->own, {});
    EXPECT_TRUE(Mirk::VRequest(pools[0]).process(*object, 1.0));
    double sum = 0;
    EXPECT_TRUE(object->sum.get(pools[0], sum));
    EXPECT_EQ(sum, 2.0);
}

TEST_F(SharedAccessTest, RequestWhileAnInputIsBeingConnectedDoesNotHideTheNewSource) {
    const SummingPtr object = makeSumming("object"), first = makeSumming("first"),
                     second = makeSumming("second");
    // Whoever lists so many keeps those waiting who change the inputs.
    for (int i = 0; i < 500; ++i) {
        const VParameterPtr flag(new Mirk::VValueParameter<bool>(false, "flag"));
        object->addParameter("flag", 0, flag, false);
    }
    for (int round = 1; round <= 20; ++round) {
        object->attachParameter(first->sum, object->own, {});
        EXPECT_TRUE(Mirk::VRequest(pools[0]).process(*object, 1.0));
        std::atomic<bool> connected{false};
        onThreads(3, [&](int thread) {
            if (thread == 2) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                object->attachParameter(second->sum, object->own, {});
                connected = true;
            }
            while (!connected) {
                if (thread == 0) object->inputs();
                if (thread == 1) Mirk::VRequest(pools[0]).process(*object, 1.0);
            }
        });
        second->own.set({}, round);
        EXPECT_TRUE(Mirk::VRequest(pools[0]).process(*object, 1.0));
        double sum = 0;
        EXPECT_TRUE(object->sum.get(pools[0], sum));
        EXPECT_EQ(sum, round);
    }
}

} // namespace
