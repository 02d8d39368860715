#include <PolypiaGL/GLFactory.hpp>

#include "glBasin.hpp"

#include <cstring>
#include <numeric>
#include <set>

using namespace Mirk;
using namespace Mirk::GLTest;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// Too much for the driver, and refused before anybody asks the system for it.
constexpr std::size_t tooMuch = std::size_t{1} << 40;

class GLBuffersTest : public BasinTest {
protected:
    template<class T>
    static std::vector<T> content(const MapMemory& memory) {
        std::vector<T> values(memory.bytes() / sizeof(T));
        EXPECT_TRUE(memory.read(0, values.data(), memory.bytes()));
        return values;
    }

    // Adds 1 to each number.
    const std::string incrementText = "#version 430\n"
                                      "layout(local_size_x = 1) in;\n"
                                      "layout(std430) buffer Numbers { int numbers[]; };\n"
                                      "void main() { ++numbers[gl_GlobalInvocationID.x]; }\n";
};

/// What every buffer does as memory.
void expectMemoryOperations(MapMemory& memory) {
    const std::array<int, 4> numbers{1, 2, 3, 4};
    EXPECT_TRUE(memory.upload(numbers.data(), sizeof numbers));
    EXPECT_EQ(memory.bytes(), 16U);
    EXPECT_NE(memory.native(), 0U);
    const std::array<int, 2> others{8, 9};
    EXPECT_TRUE(memory.write(4, others.data(), 8));
    std::array<int, 4> back{};
    EXPECT_TRUE(memory.read(0, back.data(), 16));
    EXPECT_THAT(back, ElementsAre(1, 8, 9, 4));

    EXPECT_FALSE(memory.write(12, others.data(), 8));
    EXPECT_FALSE(memory.read(17, back.data(), 0));
    EXPECT_FALSE(memory.read(8, back.data(), ~std::size_t{0}));
    EXPECT_TRUE(memory.read(16, nullptr, 0));

    auto* const mapped = static_cast<int*>(memory.map());
    ASSERT_NE(mapped, nullptr);
    EXPECT_EQ(mapped[1], 8);
    mapped[3] = 77;
    EXPECT_EQ(memory.map(), nullptr);
    EXPECT_FALSE(memory.read(0, back.data(), 16));
    EXPECT_FALSE(memory.write(0, back.data(), 16));
    EXPECT_TRUE(memory.unmap());
    EXPECT_FALSE(memory.unmap());
    EXPECT_TRUE(memory.read(12, back.data(), 4));
    EXPECT_EQ(back[0], 77);

    EXPECT_NE(memory.map(), nullptr);
    EXPECT_TRUE(memory.upload(numbers.data(), 8)); // ends the mapping
    EXPECT_FALSE(memory.unmap());
    EXPECT_TRUE(memory.resize(32));
    EXPECT_EQ(memory.bytes(), 32U);
    EXPECT_FALSE(memory.resize(tooMuch));
    EXPECT_EQ(memory.bytes(), 0U);
    EXPECT_TRUE(memory.upload(nullptr, 0));
    EXPECT_EQ(memory.bytes(), 0U);
    EXPECT_EQ(memory.native(), 0U);
    EXPECT_EQ(memory.map(), nullptr);
    EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR});
}

TEST_F(GLBuffersTest, AStorageBufferIsMemory) {
    const int number = 5;
    const auto buffer = basin->createStorageBuffer(&number, sizeof number,
                                                   StorageFlags::HostRead | StorageFlags::Dynamic);
    EXPECT_EQ(content<int>(*buffer), std::vector<int>{5});
    EXPECT_EQ(buffer->memsize(), 4U);
    EXPECT_EQ(buffer->storageFlags(), StorageFlags::HostRead | StorageFlags::Dynamic);
    expectMemoryOperations(*buffer);
}

TEST_F(GLBuffersTest, AUniformBufferIsMemory) {
    const auto buffer = basin->createUniformBuffer(12);
    EXPECT_EQ(buffer->bytes(), 12U);
    EXPECT_EQ(buffer->memsize(), 12U);
    expectMemoryOperations(*buffer);
}

TEST_F(GLBuffersTest, TooLargeABufferIsAnException) {
    const auto message = [](const auto& call) -> std::string {
        try {
            call();
        } catch (const RenderException& exception) {
            return exception.str();
        }
        return "no exception";
    };
    Keel::Intercube holder;
    const std::string words = "no memory for a buffer of 1099511627776 bytes";
    EXPECT_THAT(message([&] { basin->createUniformBuffer(tooMuch); }), HasSubstr(words));
    EXPECT_THAT(message([&] { basin->createStorageBuffer(nullptr, tooMuch, StorageFlags::None); }),
                HasSubstr(words));
    EXPECT_THAT(message([&] { basin->createStorageBuffer(holder, tooMuch, StorageFlags::None); }),
                HasSubstr(words));
    EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR});
}

TEST_F(GLBuffersTest, AStorageBufferServesTwoPrograms) {
    const auto fragment = [](const std::string& component) {
        return "#version 430\n"
               "layout(std430) buffer Other" +
               component +
               " { float other; };\n"
               "layout(std430) buffer Values { float values[]; };\n"
               "out vec4 result;\n"
               "void main() { result = vec4(0.0, 0.0, 0.0, other); result." +
               component + " = values[1]; }\n";
    };
    polyp->insert(program(passVertex, fragment("r")), 0);
    polyp->insert(program(passVertex, fragment("g")), 1);
    const std::array<float, 2> values{0.25F, 1.0F};
    const auto buffer = basin->bindStorageBuffer(*polyp, "Values", values.data(), sizeof values,
                                                 StorageFlags::None);
    const float zero = 0.0F;
    basin->bindStorageBuffer(*polyp, "Otherr", &zero, sizeof zero, StorageFlags::None);
    basin->bindStorageBuffer(*polyp, "Otherg", &zero, sizeof zero, StorageFlags::None);
    EXPECT_EQ(polyp->NumberOfTentacles(Polyp::TextureKey, Polyp::TextureKey, ~0UL), 3U);
    insertDrawn(fullPicture(), RenderNamespace::TriangleStrip);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    waveKeepingState();
    glDisable(GL_BLEND);
    EXPECT_EQ(center(), (Color{255, 255, 0, 255}));
}

TEST_F(GLBuffersTest, ABlockThatNoProgramHasIsNotInserted) {
    polyp->insert(program(passVertex, colorFragment));
    const float value = 1.0F;
    const auto buffer =
        basin->bindStorageBuffer(*polyp, "Absent", &value, sizeof value, StorageFlags::None);
    EXPECT_TRUE(buffer);
    EXPECT_EQ(polyp->NumberOfTentacles(-32000, 32000, ~0UL), 1U);
    EXPECT_FALSE(buffer->bindToProgram({}, "Absent", nullptr));
}

TEST_F(GLBuffersTest, AHolderSharesOneBufferForEachContext) {
    Keel::Intercube holder;
    int made = 0;
    const RenderBasin::ChunkFactory factory = [&] {
        ++made;
        return chunk(std::vector<int>{4, 5, 6});
    };
    auto first = basin->createStorageBuffer(holder, factory, StorageFlags::None);
    EXPECT_EQ(made, 1);
    EXPECT_EQ(first->memsize(), 12U); // ahead of the upload too
    EXPECT_EQ(first->native(), 0U);
    EXPECT_EQ(basin->createStorageBuffer(holder, factory, StorageFlags::None), first);
    EXPECT_EQ(made, 1);
    EXPECT_EQ(content<int>(*first), (std::vector<int>{4, 5, 6}));
    EXPECT_NE(first->native(), 0U);
    {
        GLRenderBasin other(*context, Keel::WeakPtr<Seagrass>());
        const auto foreign = other.createStorageBuffer(holder, factory, StorageFlags::None);
        EXPECT_NE(foreign, first);
        EXPECT_EQ(made, 2);
    }
    first = {};
    const auto anew = basin->createStorageBuffer(holder, factory, StorageFlags::None);
    EXPECT_EQ(made, 3);
    EXPECT_EQ(content<int>(*anew), (std::vector<int>{4, 5, 6}));
}

TEST_F(GLBuffersTest, AHolderKeepsABufferForEachForm) {
    Keel::Intercube holder;
    constexpr auto plain = StorageFlags::None, read = StorageFlags::HostRead;
    const RenderBasin::ChunkFactory integers = [] { return chunk(std::vector<int>{4, 5}); };
    // Asks the same holder while its own buffer is being made.
    RenderBasin::StorageBufferPtr inner;
    const RenderBasin::ChunkFactory floats = [&] {
        inner = basin->createStorageBuffer(holder, integers, plain);
        return chunk(std::vector<float>{1, 2, 3});
    };
    const auto outer = basin->createStorageBuffer(holder, floats, plain);
    const auto small = basin->createStorageBuffer(holder, 8, plain);
    const auto large = basin->createStorageBuffer(holder, 16, plain);
    const auto readable = basin->createStorageBuffer(holder, 16, read);
    EXPECT_EQ(content<float>(*outer), (std::vector<float>{1, 2, 3}));
    EXPECT_EQ(content<int>(*inner), (std::vector<int>{4, 5}));
    EXPECT_EQ(small->bytes(), 8U);
    EXPECT_EQ(large->bytes(), 16U);
    EXPECT_EQ(readable->storageFlags(), read);
    EXPECT_EQ((std::set{outer, inner, small, large, readable}.size()), 5U);
    EXPECT_EQ(basin->createStorageBuffer(holder, integers, plain), inner);
    EXPECT_EQ(basin->createStorageBuffer(holder, 16, plain), large);
}

TEST_F(GLBuffersTest, AHolderWithoutDataGivesAnEmptyPointer) {
    Keel::Intercube holder;
    const RenderBasin::ChunkFactory nothing = [] { return RenderBasin::ChunkPtr(); };
    EXPECT_FALSE(basin->createStorageBuffer(holder, nothing, StorageFlags::None));
    const RenderBasin::ChunkFactory something = [] { return chunk(std::vector<int>{1}); };
    EXPECT_TRUE(basin->createStorageBuffer(holder, something, StorageFlags::None));
}

TEST_F(GLBuffersTest, ABufferForShadersIsZeroAtFirst) {
    Keel::Intercube holder;
    // No multiple of the 4 bytes of a number.
    const auto buffer = basin->createStorageBuffer(holder, 7, StorageFlags::None);
    EXPECT_EQ(content<char>(*buffer), std::vector<char>(7));
    EXPECT_EQ(basin->createStorageBuffer(holder, 7, StorageFlags::None), buffer);
}

TEST_F(GLBuffersTest, AComputeDispatchWritesWhatIsReadBack) {
    polyp->insert(compute(incrementText));
    std::vector<int> numbers(100);
    std::iota(numbers.begin(), numbers.end(), 0);
    const auto buffer = basin->bindStorageBuffer(
        *polyp, "Numbers", numbers.data(), numbers.size() * sizeof(int), StorageFlags::HostRead);
    const auto dispatcher = polyp->insert(basin->createDispatcher(100, 1, 1));
    EXPECT_EQ(waveKeepingState(), 3);
    std::iota(numbers.begin(), numbers.end(), 1);
    EXPECT_EQ(content<int>(*buffer), numbers);
    dispatcher->setGroups(1, 1, 1);
    wave();
    ++numbers[0];
    EXPECT_EQ(content<int>(*buffer), numbers);
    dispatcher->setGroups(0, 1, 1);
    wave();
    EXPECT_EQ(content<int>(*buffer), numbers);
    dispatcher->setGroups(0x7FFFFFFFU, 1, 1);
    EXPECT_THROW(waveKeepingState(), RenderException);
}

TEST_F(GLBuffersTest, WhatAComputeProgramWritesIsDrawnInTheSameWave) {
    polyp->insert(compute(incrementText), 0);
    polyp->insert(program(passVertex,
                          "#version 430\n"
                          "layout(std430) buffer Numbers { int numbers[]; };\n"
                          "out vec4 result;\n"
                          "void main() { result = vec4(float(numbers[3]) / 255.0); }\n"),
                  1);
    Keel::Intercube holder;
    const auto buffer =
        basin->bindStorageBuffer(*polyp, "Numbers", holder, 16ULL, StorageFlags::None);
    polyp->insert(basin->createDispatcher(4, 1, 1));
    insertDrawn(fullPicture(), RenderNamespace::TriangleStrip);
    waveKeepingState();
    EXPECT_EQ(center()[0], 1);
    waveKeepingState();
    EXPECT_EQ(center()[0], 2);
}

TEST_F(GLBuffersTest, AnErrorFromElsewhereIsNoWantOfMemory) {
    const auto buffer = basin->createUniformBuffer(0);
    const std::array<float, 4> values{};
    for (const bool areChecksOn : {false, true}) {
        basin->factory().setErrorChecks(areChecksOn);
        glEnable(GL_NONE);
        testing::internal::CaptureStdout();
        EXPECT_TRUE(buffer->upload(values.data(), sizeof values));
        testing::internal::GetCapturedStdout();
    }
}

TEST_F(GLBuffersTest, AUniformBufferIsSeenByAllProgramsThatShareIt) {
    const auto fragment = [](const std::string& component) {
        return "#version 330\n"
               "layout(std140) uniform Unused { vec4 unused; };\n"
               "layout(std140) uniform Shared { vec4 first; float second; };\n"
               "out vec4 result;\n"
               "void main() {\n"
               "    result = unused; result." +
               component + " = first." + component +
               " * second;\n"
               "}\n";
    };
    const auto one = program(passVertex, fragment("r"));
    const auto two = program(passVertex, fragment("g"));
    const auto buffer = basin->createUniformBuffer(0);
    const auto unused = basin->createUniformBuffer(16);
    const std::array<float, 4> zero{};
    unused->upload(zero.data(), sizeof zero);
    for (const auto& shader : {one, two}) {
        EXPECT_TRUE(shader->bindUniformBlock("Shared", buffer));
        EXPECT_TRUE(shader->bindUniformBlock("Unused", unused));
        EXPECT_FALSE(shader->bindUniformBlock("Absent", buffer));
    }
    polyp->insert(one, 0);
    polyp->insert(two, 1);
    polyp->insert(buffer);
    insertDrawn(fullPicture(), RenderNamespace::TriangleStrip);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    const auto shown = [&](const std::array<float, 8>& values) {
        buffer->upload(values.data(), sizeof values);
        clear();
        waveKeepingState();
        return center();
    };
    EXPECT_EQ(shown({1, 1, 1, 1, 1}), (Color{255, 255, 0, 255}));
    EXPECT_EQ(shown({0.4F, 0.8F, 1, 1, 0.5F}), (Color{51, 102, 0, 255}));
    EXPECT_TRUE(buffer->upload(nullptr, 0));
    EXPECT_NO_THROW(wave());
    EXPECT_EQ(shown({1, 1, 1, 1, 1}), (Color{255, 255, 0, 255}));
    glDisable(GL_BLEND);
}

} // namespace
