#pragma once
// Tentacles and initializers for tests of the render cache; stands on the creators of polyps.

#include <Polypia/PolypCreator.hpp>

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <thread>

/// Where tentacles lived and died, for any number of threads.
struct Lives {
    std::atomic<int> alive{0};
    /// Died on another thread than that of their making.
    std::atomic<int> astray{0};
    std::atomic<int> made{0};
    std::atomic<int> activated{0};
};

/// A tentacle of some bytes that writes down where it dies, and holds whatever it is given.
class LivingTentacle : public Mirk::Polyp::Tentacle {
public:
    LivingTentacle(Lives& record, std::size_t gpuBytes, std::shared_ptr<void> belongings = {})
        : Tentacle(0, ~0UL), held(std::move(belongings)), lives(record), bytes(gpuBytes) {
        ++lives.alive;
        ++lives.made;
    }
    ~LivingTentacle() override {
        if (std::this_thread::get_id() != _home) ++lives.astray;
        --lives.alive;
    }
    bool activate(const Mirk::Polyp&) override {
        ++lives.activated;
        return true;
    }
    bool deactivate(const Mirk::Polyp&) override { return true; }
    std::size_t memsize() const override { return bytes; }

    std::shared_ptr<void> held;

private:
    Lives& lives;
    const std::size_t bytes;
    const std::thread::id _home = std::this_thread::get_id();
};

/// Runs a function when it dies.
class AtEnd {
public:
    explicit AtEnd(std::function<void()> end) : _end(std::move(end)) {}
    ~AtEnd() { _end(); }
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;

private:
    const std::function<void()> _end;
};

/// A polyp of one tentacle, with a creator for nobody.
inline Mirk::PolypPtr livingPolyp(Lives& lives, std::size_t bytes,
                                  std::shared_ptr<void> belongings = {}) {
    const Mirk::PolypPtr polyp(new Mirk::Polyp(Keel::WeakPtr<Keel::Creature>()));
    polyp->insertTentacle(
        0, Mirk::Polyp::TentaclePtr(new LivingTentacle(lives, bytes, std::move(belongings))));
    polyp->prepareWave();
    return polyp;
}

/// Fills polyps as the test says.
class TestInitializer {
public:
    struct Plan {
        std::function<bool(Mirk::Polyp&, Mirk::VRenderContext&)> initialize;
        std::function<bool(const Mirk::Polyp&, Mirk::VRenderContext&,
                           const Mirk::PolypCreatorBase&)>
            isValid;
        int initialized = 0;
        int asked = 0;
    };

    explicit TestInitializer(Plan& thePlan) : plan(thePlan) {}
    bool initializePolyp(Mirk::Polyp& polyp, Mirk::VRenderContext& context) const {
        ++plan.initialized;
        return !plan.initialize || plan.initialize(polyp, context);
    }
    bool isValidPolyp(const Mirk::Polyp& polyp, Mirk::VRenderContext& context,
                      const Mirk::PolypCreatorBase& creator) const {
        ++plan.asked;
        return !plan.isValid || plan.isValid(polyp, context, creator);
    }

private:
    Plan& plan;
};
using TestCreator = Mirk::PolypCreator<TestInitializer>;
