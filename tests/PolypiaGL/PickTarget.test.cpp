#include <PolypiaGL/PickTarget.hpp>

#include "glBasin.hpp"

#include <PolypiaGL/glMachine.hpp>

#include <cstdint>
#include <limits>

using namespace Mirk;
using namespace Mirk::GLTest;
using testing::Each;

namespace {

class PickTargetTest : public BasinTest {
protected:
    GL::Machine& machine() const { return basin->factory().machine(); }
    void drawAll() {
        if (polyp->NumberOfTentacles(Polyp::PainterKey, Polyp::PainterKey, ~0UL) == 0) {
            fillPicture(program(passVertex, colorFragment));
        }
        wave();
    }
};

TEST_F(PickTargetTest, NumbersAreExactUpToTheGreatest) {
    const GL::PickTarget target(machine(), 1, 2, 3, 2, size, size, 1);
    EXPECT_THAT(target.read(), Each(0u));
    target.bind();
    for (const std::uint32_t number : {1U, (1U << 24) + 1, (1U << 31) - 1, 1U << 31, (1U << 31) + 1,
                                       std::numeric_limits<std::uint32_t>::max() - 1,
                                       std::numeric_limits<std::uint32_t>::max()}) {
        drawAll();
        target.assign(number);
        EXPECT_THAT(target.read(), Each(number));
    }
}

TEST_F(PickTargetTest, ErrorsOfOthersAreNotItsOwn) {
    for (const bool areChecksOn : {true, false}) {
        basin->factory().setErrorChecks(areChecksOn);
        glEnable(GL_NONE);
        EXPECT_NO_THROW(GL::PickTarget(machine(), 0, 0, 1, 1, size, size, 1));
    }
}

TEST_F(PickTargetTest, LeavesNoNumberOfAnObjectThatHasEnded) {
    const GL::DrawState::Scope frame(machine().drawState);
    {
        const GL::PickTarget target(machine(), 0, 0, 1, 1, size, size, 1);
        target.bind();
        drawAll();
        target.assign(1);
    }
    // Of one that has ended the driver would be back at none, and give its number to the next.
    EXPECT_NE(currentState().at("vertex array"), 0);
    const GL::VertexArrayId array = GL::createVertexArray();
    machine().drawState.bindVertexArray(array.number());
    EXPECT_EQ(currentState().at("vertex array"), static_cast<int>(array.number()));
}

} // namespace
