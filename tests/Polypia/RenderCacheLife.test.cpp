// Many threads share and drop display objects while render threads draw, clean up, and now and then
// end their cache and begin a new one.

#include "anyRenderContext.hpp"
#include "lifeDuration.hpp"
#include "renderCache.hpp"

#include <Polypia/PolypCreatorKeeper.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

using Keel::StrongPtr;
using Keel::WeakPtr;
using Mirk::Polyp;
using Mirk::PolypPtr;
using Mirk::Seagrass;

namespace {

constexpr std::size_t objectBytes = 100;
constexpr std::size_t numberOfObjects = 64;

/// What is shown; objects share it.
class Data : public Keel::ReferenceBase<Data>, public Keel::Intercube, public Keel::Ageable {};

class DisplayObject : public Keel::ReferenceBase<DisplayObject> {
public:
    DisplayObject(Lives& lives, const StrongPtr<Data>& data, bool isDependent)
        : _lives(lives), _data(data), _isDependent(isDependent) {}

    void draw(Seagrass& seagrass) {
        const StrongPtr<Mirk::PolypCreator<Filler>> creator(
            _keeper(seagrass, [this](const Seagrass& given) {
                return Mirk::PolypCreatorKeeper::CreatorPtr(
                    new Mirk::PolypCreator<Filler>(given, {}, _lives, _data, _isDependent));
            }));
        if (const PolypPtr polyp = creator->acquire(anyRenderContext())) polyp->wave(~0U);
    }

private:
    class Filler {
    public:
        Filler(Lives& lives, const WeakPtr<Data>& data, bool isDependent)
            : _lives(lives), _data(data), _isDependent(isDependent) {}

        bool initializePolyp(Polyp& polyp, Mirk::VRenderContext&) const {
            polyp.insertTentacle(0, Polyp::TentaclePtr(new LivingTentacle(_lives, objectBytes)));
            const StrongPtr<Data> data(_data);
            if (!data || !_isDependent) return true;
            const StrongPtr<Mirk::PolypBasicCreator> creator(polyp.creator());
            const StrongPtr<Seagrass> seagrass(creator->getSeagrass());
            seagrass->addDependency(creator, *data);
            return true;
        }
        bool isValidPolyp(const Polyp&, Mirk::VRenderContext&,
                          const Mirk::PolypCreatorBase& creator) const {
            const StrongPtr<Data> data(_data);
            return !data || !data->isYoungerThan(creator);
        }

    private:
        Lives& _lives;
        const WeakPtr<Data> _data;
        const bool _isDependent;
    };

    Lives& _lives;
    const WeakPtr<Data> _data;
    const bool _isDependent;
    Mirk::PolypCreatorKeeper _keeper;
};

/// Objects of one kind that any thread may take and replace.
template<class T>
class Shelf {
public:
    explicit Shelf(std::size_t size) : _content(size) {}

    StrongPtr<T> take(std::size_t index) const {
        const std::lock_guard lock(_mutex);
        return _content[index % _content.size()];
    }
    /// Returns what was there.
    StrongPtr<T> put(std::size_t index, StrongPtr<T> object) {
        const std::lock_guard lock(_mutex);
        _content[index % _content.size()].swap(object);
        return object;
    }
    void clear() {
        for (std::size_t i = 0; i < _content.size(); ++i) put(i, {});
    }

private:
    mutable std::mutex _mutex;
    std::vector<StrongPtr<T>> _content;
};

/// The argument tells whether objects depend on their data, which die among them.
class RenderCacheLife : public testing::TestWithParam<bool> {
protected:
    using Random = std::minstd_rand;

    void work(unsigned seed) {
        Random random(seed);
        while (isRunning) {
            if (random() % 4 == 0) shelfOfData.put(random(), Keel::make<Data>());
            const StrongPtr<Data> data = shelfOfData.take(random());
            if (data && random() % 4 == 0) data->rejuvenate();
            // The objects of two places change them: whoever shares one keeps it for a while.
            StrongPtr<DisplayObject> kept = objects.take(random());
            objects.put(random(), Keel::make<DisplayObject>(lives, data, GetParam()));
            objects.put(random(), kept);
        }
    }
    void render(unsigned seed) {
        Random random(seed);
        while (isRunning) {
            StrongPtr<Seagrass> seagrass(new Seagrass(20 * objectBytes, "life"));
            for (int frame = 0; frame < 50 && isRunning; ++frame) drawFrame(*seagrass, random);
            const WeakPtr<Seagrass> remains(seagrass);
            seagrass = {};
            while (!Seagrass::drain(remains)) std::this_thread::yield();
        }
    }
    void drawFrame(Seagrass& seagrass, Random& random) {
        for (int i = 0; i < 40; ++i) {
            if (const StrongPtr<DisplayObject> object = objects.take(random())) {
                object->draw(seagrass);
            }
        }
        seagrass.cleanup();
        if (random() % 16 == 0) seagrass.lawn();
    }

    Lives lives;
    std::atomic<bool> isRunning{true};
    Shelf<Data> shelfOfData{8};
    Shelf<DisplayObject> objects{numberOfObjects};
};

TEST_P(RenderCacheLife, EveryTentacleDiesOnTheThreadOfItsContext) {
    std::vector<std::thread> threads;
    for (unsigned i = 1; i <= 2; ++i) threads.emplace_back([this, i] { render(i); });
    for (unsigned i = 1; i <= 8; ++i) threads.emplace_back([this, i] { work(100 + i); });
    std::this_thread::sleep_for(lifeDuration());
    isRunning = false;
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(lives.alive, 0) << "all caches have ended, with the objects still there";
    objects.clear();
    shelfOfData.clear();
    EXPECT_EQ(lives.alive, 0);
    EXPECT_EQ(lives.astray, 0);
    EXPECT_GT(lives.made, 0);
    EXPECT_GT(lives.activated, lives.made.load());
}

INSTANTIATE_TEST_SUITE_P(, RenderCacheLife, testing::Bool(), [](const auto& kind) {
    return std::string(kind.param ? "WithDependents" : "WithoutDependents");
});

} // namespace
