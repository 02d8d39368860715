#include <Polypia/UniformBuffer.hpp>

#include "RecordingBasin.hpp"
#include "virtualSlot.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using Mirk::Polyp;
using Mirk::UniformBufferPtr;
using testing::IsEmpty;

namespace {

class UniformBuffer : public testing::Test {
protected:
    UniformBufferPtr buffer() const { return UniformBufferPtr(new RecordingUniformBuffer(log)); }

    const CallLogPtr log = std::make_shared<CallLog>();
    Mirk::UniformBufferRegistry registry;
};

TEST_F(UniformBuffer, DoesNothingInAWave) {
    const Keel::StrongPtr<Polyp> polyp(new Polyp(Keel::WeakPtr<Keel::Creature>()));
    const UniformBufferPtr made = buffer();
    EXPECT_TRUE(made->activate(*polyp));
    EXPECT_TRUE(made->deactivate(*polyp));
    polyp->insert(made);
    EXPECT_EQ(polyp->wave(~0U), 1);
    EXPECT_THAT(log->calls, IsEmpty());
}

TEST_F(UniformBuffer, HasEightPureOperationsOfItsOwnAfterThoseOfTentacle) {
    using Buffer = Mirk::UniformBuffer;
    static_assert(std::is_abstract_v<Buffer>);
    EXPECT_EQ((std::vector{virtualSlot(&Buffer::bytes), virtualSlot(&Buffer::resize),
                           virtualSlot(&Buffer::upload), virtualSlot(&Buffer::write),
                           virtualSlot(&Buffer::read), virtualSlot(&Buffer::map),
                           virtualSlot(&Buffer::unmap), virtualSlot(&Buffer::native)}),
              slotsFrom(10, 8));
}

TEST_F(UniformBuffer, IsItsMemory) {
    const UniformBufferPtr made = buffer();
    Mirk::MapMemory& memory = *made;
    const float values[] = {1, 2};
    EXPECT_TRUE(made->upload(values, sizeof(values)));
    EXPECT_EQ(memory.bytes(), sizeof(values));
    EXPECT_TRUE(made->upload(nullptr, 0)) << "empties it";
    EXPECT_EQ(memory.bytes(), 0U);
}

TEST_F(UniformBuffer, OfAnUnknownNameIsEmpty) {
    EXPECT_EQ(registry.getUniformBuffer("view").controlBlock(), nullptr);
}

TEST_F(UniformBuffer, IsFoundByTheNameUnderWhichItWasSet) {
    const UniformBufferPtr made = buffer();
    EXPECT_TRUE(registry.setUniformBuffer("view", made) == made);
    EXPECT_TRUE(registry.getUniformBuffer("view") == made);
    EXPECT_TRUE(registry.getUniformBuffer("view"));
    EXPECT_FALSE(registry.getUniformBuffer("View"));
}

TEST_F(UniformBuffer, IsOverwrittenByAnother) {
    const UniformBufferPtr first = buffer(), second = buffer();
    registry.setUniformBuffer("view", first);
    EXPECT_TRUE(registry.setUniformBuffer("view", second) == second);
    EXPECT_TRUE(registry.getUniformBuffer("view") == second);
}

TEST_F(UniformBuffer, SetToAnEmptyPointerIsEmpty) {
    const UniformBufferPtr made = buffer();
    registry.setUniformBuffer("view", made);
    EXPECT_FALSE(registry.setUniformBuffer("view", {}));
    EXPECT_FALSE(registry.getUniformBuffer("view"));
}

TEST_F(UniformBuffer, IsNotOwnedByTheRegistry) {
    UniformBufferPtr made = buffer();
    registry.setUniformBuffer("view", made);
    made = {};
    EXPECT_EQ(log->live["UniformBuffer"], 0);
    EXPECT_EQ(registry.getUniformBuffer("view").controlBlock(), nullptr)
        << "empty though the entry exists";
}

TEST_F(UniformBuffer, IsMadeOnceAndSharedWhileItLives) {
    int made = 0;
    const auto factory = [&] {
        ++made;
        return buffer();
    };
    UniformBufferPtr first = registry.mkUniformBuffer("view", factory);
    ASSERT_TRUE(first);
    EXPECT_TRUE(registry.mkUniformBuffer("view", factory) == first);
    EXPECT_TRUE(registry.getUniformBuffer("view") == first);
    EXPECT_EQ(made, 1) << "the factory is not called for a live buffer";
    EXPECT_FALSE(registry.mkUniformBuffer("other", factory) == first);
    first = {};
    EXPECT_FALSE(registry.getUniformBuffer("view"));
    const UniformBufferPtr next = registry.mkUniformBuffer("view", factory);
    EXPECT_TRUE(next);
    EXPECT_EQ(made, 3) << "a dead one is made anew";
    EXPECT_TRUE(registry.getUniformBuffer("view") == next);
}

TEST_F(UniformBuffer, LiveOneNeedsNoFactory) {
    const UniformBufferPtr made = buffer();
    registry.setUniformBuffer("view", made);
    EXPECT_TRUE(registry.mkUniformBuffer("view", {}) == made);
}

TEST_F(UniformBuffer, FactoryThatIsEmptyThrowsAndLetsGoOfTheLock) {
    EXPECT_THROW(registry.mkUniformBuffer("view", {}), std::bad_function_call);
    EXPECT_TRUE(registry.mkUniformBuffer("view", [this] { return buffer(); }));
}

TEST_F(UniformBuffer, FactoryThatThrowsLeavesNothingBehind) {
    const auto failing = []() -> UniformBufferPtr { throw std::runtime_error("no memory"); };
    EXPECT_THROW(registry.mkUniformBuffer("view", failing), std::runtime_error);
    EXPECT_FALSE(registry.getUniformBuffer("view"));
}

TEST_F(UniformBuffer, FactoryThatMakesNothingIsAskedAgain) {
    EXPECT_FALSE(registry.mkUniformBuffer("view", [] { return UniformBufferPtr(); }));
    EXPECT_TRUE(registry.mkUniformBuffer("view", [this] { return buffer(); }));
}

TEST_F(UniformBuffer, ThreadsThatAskAtOnceShareOneBuffer) {
    constexpr int threads = 4, rounds = 50;
    std::atomic<int> made{0};
    std::vector<UniformBufferPtr> kept(threads * rounds);
    std::vector<std::thread> running;
    for (int thread = 0; thread < threads; ++thread) {
        running.emplace_back([&, thread] {
            for (int round = 0; round < rounds; ++round) {
                const std::string name = "view " + std::to_string(round);
                kept[static_cast<std::size_t>(round * threads + thread)] =
                    registry.mkUniformBuffer(name, [&] {
                        ++made;
                        return buffer();
                    });
                EXPECT_TRUE(registry.getUniformBuffer(name));
            }
        });
    }
    for (std::thread& one : running) one.join();
    EXPECT_EQ(made, rounds);
    for (std::size_t i = 0; i < kept.size(); ++i) {
        EXPECT_TRUE(kept[i] == kept[i - i % threads]);
    }
}

} // namespace
