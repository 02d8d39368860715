#include <Polypia/RenderBasin.hpp>

#include "RecordingBasin.hpp"
#include "memberOrder.hpp"
#include "virtualSlot.hpp"

#include <Polypia/RenderException.hpp>
#include <Polypia/Seagrass.hpp>

#include <gmock/gmock.h>

#include <limits>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

using Keel::StrongPtr;
using Mirk::Polyp;
using Mirk::StorageFlags;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

using Basin = Mirk::RenderBasin;

class RenderBasin : public testing::Test {
protected:
    using Recorder = StrongPtr<RecordingProgram, Polyp::Tentacle>;

    RenderBasin() : polyp(new Polyp(Keel::WeakPtr<Keel::Creature>())) {}

    Recorder program(const std::string& name, int key, const std::set<std::string>& blocks) {
        const Recorder made(new RecordingProgram(log, name));
        made->blocks = blocks;
        polyp->insertTentacle(key, made);
        return made;
    }

    const StrongPtr<Mirk::Seagrass> seagrass{new Mirk::Seagrass(1000000, "test")};
    RecordingBasin basin{seagrass};
    const CallLogPtr log = basin.log;
    const StrongPtr<Polyp> polyp;
    const std::vector<unsigned char> data{1, 2, 3, 4};
};

TEST_F(RenderBasin, IsAbstractWithTheNamesOfTheNamespace) {
    static_assert(std::is_abstract_v<Basin>);
    static_assert(std::has_virtual_destructor_v<Basin>);
    static_assert(std::is_base_of_v<Mirk::RenderNamespace, Basin>);
    static_assert(std::is_empty_v<Mirk::RenderNamespace>);
    static_assert(std::is_same_v<decltype(Basin::numberOfLightSources), std::int32_t>);
    EXPECT_EQ(basin.numberOfLightSources, 0);
}

TEST_F(RenderBasin, LineDirectiveIsPartOfItsCondition) {
    EXPECT_EQ(basin.glsl_line_directive(12, "a.cpp"),
              "#if defined(GL_GOOGLE_cpp_style_line_directive) || "
              "defined(GLSL_CAN_DO_LINE_DIRECTIVE)#line 13 \"a.cpp\"\n"
              "#else\n"
              "#line 15 /* a.cpp*/\n"
              "#endif\n");
    EXPECT_THAT(basin.glsl_line_directive(std::numeric_limits<int>::max(), ""),
                testing::HasSubstr("#line 2147483650 /* */\n"));
}

TEST_F(RenderBasin, HasItsFieldsInOrder) {
    struct Fields : RecordingBasin {
        bool areInOrder() const { return standInOrder(seagrass, numberOfLightSources); }
    };
    EXPECT_TRUE(Fields().areInOrder());
}

TEST_F(RenderBasin, HasItsVirtualOperationsInOrder) {
    using ByData = Basin::StorageBufferPtr (Basin::*)(const void*, std::size_t, StorageFlags) const;
    using ByFactory = Basin::StorageBufferPtr (Basin::*)(
        Keel::Intercube&, const Basin::ChunkFactory&, StorageFlags) const;
    using BySize =
        Basin::StorageBufferPtr (Basin::*)(Keel::Intercube&, std::size_t, StorageFlags) const;
    using Texts = const std::vector<std::string>&;
    using Worker = Basin::ProgramPtr (Basin::*)(
        Texts, const std::string&, int, Basin::GeometryInputType, Texts, Basin::GeometryOutputType,
        const std::string&, int, Texts, const std::string&, int, const Basin::LinkParameters&,
        const Basin::ProgramPtr&);
    // Ahead of them are the two destructors.
    EXPECT_EQ(
        (std::vector{virtualSlot(&Basin::createTexture), virtualSlot(&Basin::createTargetTexture),
                     virtualSlot(&Basin::createBufferTexture),
                     virtualSlot(static_cast<ByData>(&Basin::createStorageBuffer)),
                     virtualSlot(&Basin::createUniformBuffer),
                     virtualSlot(static_cast<ByFactory>(&Basin::createStorageBuffer)),
                     virtualSlot(static_cast<BySize>(&Basin::createStorageBuffer)),
                     virtualSlot(&Basin::createCoordinates), virtualSlot(&Basin::createAttribute),
                     virtualSlot(&Basin::getShaderPlatformDefines),
                     virtualSlot(static_cast<Worker>(&Basin::createProgram)),
                     virtualSlot(&Basin::createComputeProgram), virtualSlot(&Basin::createPainter),
                     virtualSlot(&Basin::createTimer), virtualSlot(&Basin::createRenderParameter),
                     virtualSlot(&Basin::createDispatcher)}),
        slotsFrom(2, 16));
}

TEST_F(RenderBasin, AttributesHaveTheNamesOfTheirShaderInputs) {
    std::vector<std::string> names;
    for (int number = 0; number < 8; ++number) {
        names.emplace_back(Basin::AttributeNames(Basin::VertexAttributeTypes(number)));
    }
    EXPECT_THAT(names, ElementsAre("Coordinates", "Normals", "Colors", "SecondaryColors",
                                   "FirstTextureCoordinates", "SecondTextureCoordinates",
                                   "ThirdTextureCoordinates", "FourthTextureCoordinates"));
}

TEST_F(RenderBasin, TimingIsOptional) {
    EXPECT_EQ(basin.Basin::createTimer().controlBlock(), nullptr);
}

TEST_F(RenderBasin, KnowsItsSeagrassWeakly) {
    StrongPtr<Mirk::Seagrass> mortal(new Mirk::Seagrass(1, "mortal"));
    const RecordingBasin other(mortal);
    EXPECT_EQ(other.getSeagrass(), mortal.get());
    mortal = {};
    EXPECT_EQ(other.getSeagrass(), nullptr);
    EXPECT_EQ(RecordingBasin().getSeagrass(), nullptr);
}

TEST_F(RenderBasin, ReleasesItsSeagrassWhenItDies) {
    const int before = seagrass.controlBlock()->weak();
    { const RecordingBasin other(seagrass); }
    EXPECT_EQ(seagrass.controlBlock()->weak(), before);
}

// ---------------------------------------------------------------------------- Programs

TEST_F(RenderBasin, PlainProgramGoesToTheWorkerWithAnEmptyGeometryStage) {
    const Recorder made(basin.createProgram("V", "F", "v.vert", "f.frag", 7, 9, {}, {}));
    ASSERT_TRUE(made);
    EXPECT_THAT(log->calls, ElementsAre("createProgram v.vert"));
    EXPECT_THAT(made->vertex.code, ElementsAre("V"));
    EXPECT_EQ(made->vertex.name, "v.vert");
    EXPECT_EQ(made->vertex.line, 7);
    EXPECT_EQ(made->input, 0);
    EXPECT_THAT(made->geometry.code, ElementsAre(""));
    EXPECT_EQ(made->geometry.name, "");
    EXPECT_EQ(made->geometry.line, 0);
    EXPECT_EQ(made->output, 0);
    EXPECT_THAT(made->fragment.code, ElementsAre("F"));
    EXPECT_EQ(made->fragment.name, "f.frag");
    EXPECT_EQ(made->fragment.line, 9);
}

TEST_F(RenderBasin, GeometryProgramOfTextsHasAllLinesZero) {
    const Recorder made(basin.createGeometryProgram("V", Basin::GeometryInputType(77), "G",
                                                    Basin::GeometryOutputType(88), "F", "v.vert",
                                                    "g.geom", "f.frag", {}, {}));
    ASSERT_TRUE(made);
    EXPECT_THAT(made->vertex.code, ElementsAre("V"));
    EXPECT_THAT(made->geometry.code, ElementsAre("G"));
    EXPECT_THAT(made->fragment.code, ElementsAre("F"));
    EXPECT_EQ(made->vertex.name + made->geometry.name + made->fragment.name, "v.vertg.geomf.frag");
    EXPECT_EQ(made->vertex.line, 0);
    EXPECT_EQ(made->geometry.line, 0);
    EXPECT_EQ(made->fragment.line, 0);
    EXPECT_EQ(made->input, 77) << "passed on unchanged";
    EXPECT_EQ(made->output, 88);
}

TEST_F(RenderBasin, GeometryProgramOfRecordsKeepsTheirLines) {
    const Recorder made(basin.createGeometryProgram({"V", "v", 1}, Basin::PointsInput,
                                                    {"G", "g", 2}, Basin::LineStripOutput,
                                                    {"F", "f", 3}, {}, {}));
    ASSERT_TRUE(made);
    EXPECT_EQ(made->vertex.line, 1);
    EXPECT_EQ(made->geometry.line, 2);
    EXPECT_EQ(made->fragment.line, 3);
    EXPECT_EQ(made->geometry.name, "g");
    EXPECT_EQ(made->input, Basin::PointsInput);
    EXPECT_EQ(made->output, Basin::LineStripOutput);
}

TEST_F(RenderBasin, ShaderRecordIsCodeNameAndLine) {
    const Basin::ShaderProgram empty;
    EXPECT_EQ(empty.code + empty.name, "");
    EXPECT_EQ(empty.line, 0);
    const auto& [code, name, line] = Basin::ShaderProgram{"C", "n", 5};
    EXPECT_EQ(code, "C");
    EXPECT_EQ(name, "n");
    EXPECT_EQ(line, 5);
}

TEST_F(RenderBasin, LinkParametersAndPreviousProgramReachTheWorker) {
    basin.defaultParameters["vertices"] = 3;
    const Basin::LinkParameters change = [](const Mirk::ProgramParameters& defaults) {
        Mirk::ProgramParameters changed = defaults;
        changed["varying"] = std::vector<std::string>{"a", "b"};
        return changed;
    };
    const auto previous = basin.createProgram("V", "F", "old", "f", 0, 0, {}, {});
    EXPECT_EQ(Recorder(previous)->linkParameters, basin.defaultParameters);
    const Recorder made(basin.createProgram("V", "F", "new", "f", 0, 0, change, previous));
    EXPECT_TRUE(made->previous == previous);
    EXPECT_THAT(made->linkParameters,
                ElementsAre(Pair("varying", testing::VariantWith<std::vector<std::string>>(
                                                ElementsAre("a", "b"))),
                            Pair("vertices", testing::VariantWith<int>(3))));
}

TEST_F(RenderBasin, FailureOfTheWorkerReachesTheCaller) {
    log->throwing = {"createProgram bad"};
    log->failing = {"createProgram none"};
    EXPECT_THROW(basin.createProgram("V", "F", "bad", "f", 0, 0, {}, {}), Mirk::RenderException);
    EXPECT_FALSE(basin.createProgram("V", "F", "none", "f", 0, 0, {}, {}));
}

// ---------------------------------------------------------------------------- Storage buffers

TEST_F(RenderBasin, BoundBufferIsTiedToEveryProgramAndInserted) {
    program("a", 0, {"Block"});
    program("b", 1, {});
    program("far", 20000, {"Block"});
    program("below", -32000, {"Block"});
    program("last", 32000, {"Block"});
    program("beyond", 32001, {"Block"});
    const auto buffer =
        basin.bindStorageBuffer(*polyp, "Block", data.data(), data.size(), StorageFlags::None);
    ASSERT_TRUE(buffer);
    EXPECT_THAT(log->calls,
                ElementsAre("createStorageBuffer", "bindToProgram Block of Program below",
                            "bindToProgram Block of Program a", "bindToProgram Block of Program b",
                            "bindToProgram Block of Program far",
                            "bindToProgram Block of Program last"));
    EXPECT_EQ(polyp->NumberOfTentacles(16384, 16384, ~0UL), 1U);
    EXPECT_TRUE(polyp->get_range(16384, 16384).first->second == buffer);
    const StrongPtr<RecordingStorageBuffer, Polyp::Tentacle> recorder(buffer);
    EXPECT_EQ(recorder->boundWith, seagrass.get());
    EXPECT_EQ(recorder->content.size(), data.size());
}

TEST_F(RenderBasin, BufferOfABlockThatNoProgramDeclaresIsReturnedButNotInserted) {
    program("a", 0, {"Other"});
    const auto buffer =
        basin.bindStorageBuffer(*polyp, "Block", data.data(), data.size(), StorageFlags::None);
    EXPECT_TRUE(buffer);
    EXPECT_EQ(std::distance(polyp->get_range(-32000, 32000).first,
                            polyp->get_range(-32000, 32000).second),
              1);
}

TEST_F(RenderBasin, BufferThatDoesNotExistIsBoundToNothing) {
    program("a", 0, {"Block"});
    log->failing = {"createStorageBuffer"};
    EXPECT_EQ(basin.bindStorageBuffer(*polyp, "Block", data.data(), data.size(), StorageFlags::None)
                  .controlBlock(),
              nullptr);
    EXPECT_THAT(log->calls, ElementsAre("createStorageBuffer"));
}

TEST_F(RenderBasin, OnlyProgramsAreTied) {
    polyp->insertTentacle(5, Polyp::TentaclePtr(new RecordingTentacle(log, "no program", 5)));
    basin.bindStorageBuffer(*polyp, "Block", data.data(), data.size(), StorageFlags::None);
    EXPECT_THAT(log->calls, ElementsAre("createStorageBuffer"));
}

TEST_F(RenderBasin, BufferOfAFunctionIsSharedThroughItsHolder) {
    program("a", 0, {"Block"});
    Keel::Intercube holder;
    int made = 0;
    const Basin::ChunkFactory factory = [&] {
        ++made;
        return Basin::ChunkPtr(new Keel::Chunk<int>(std::vector<int>{5, 6}));
    };
    const auto first =
        basin.bindStorageBuffer(*polyp, "Block", holder, factory, StorageFlags::None);
    const StrongPtr<Polyp> other(new Polyp(Keel::WeakPtr<Keel::Creature>()));
    const auto second =
        basin.bindStorageBuffer(*other, "Block", holder, factory, StorageFlags::None);
    EXPECT_TRUE(first == second);
    EXPECT_EQ(made, 1);
    EXPECT_EQ(first->bytes(), 2 * sizeof(int));
    EXPECT_FALSE(polyp->get_range(16384, 16384).first == polyp->get_range(16384, 16384).second);
    EXPECT_TRUE(other->empty()) << "it has no program";
}

TEST_F(RenderBasin, BufferForShadersToWriteHasTheSizeAndFlagsAsked) {
    program("a", 0, {"Block"});
    Keel::Intercube holder;
    const auto flags = StorageFlags::Dynamic | StorageFlags::HostRead;
    const auto buffer = basin.bindStorageBuffer(*polyp, "Block", holder, 4096ULL, flags);
    ASSERT_TRUE(buffer);
    EXPECT_EQ(buffer->bytes(), 4096U);
    EXPECT_EQ(buffer->storageFlags(), flags);
    EXPECT_EQ(polyp->NumberOfTentacles(16384, 16384, ~0UL), 1U);
}

TEST_F(RenderBasin, HolderKeepsABufferForEachForm) {
    Keel::Intercube holder;
    const Basin::ChunkFactory integers = [] {
        return Basin::ChunkPtr(new Keel::Chunk<int>(std::vector<int>{5, 6}));
    };
    const Basin::ChunkFactory floats = [] {
        return Basin::ChunkPtr(new Keel::Chunk<float>(std::vector<float>{5, 6, 7}));
    };
    constexpr auto plain = StorageFlags::None, read = StorageFlags::HostRead;
    const std::vector buffers{basin.createStorageBuffer(holder, integers, plain),
                              basin.createStorageBuffer(holder, floats, plain),
                              basin.createStorageBuffer(holder, floats, read),
                              basin.createStorageBuffer(holder, 8, plain),
                              basin.createStorageBuffer(holder, 16, plain),
                              basin.createStorageBuffer(holder, 16, read)};
    std::vector<std::size_t> sizes;
    for (const auto& buffer : buffers) sizes.push_back(buffer->bytes());
    EXPECT_THAT(sizes, ElementsAre(8, 12, 12, 8, 16, 16));
    EXPECT_EQ(std::set(buffers.begin(), buffers.end()).size(), 6U);
    EXPECT_EQ(buffers[5]->storageFlags(), read);
    EXPECT_TRUE(basin.createStorageBuffer(holder, floats, read) == buffers[2]);
    EXPECT_TRUE(basin.createStorageBuffer(holder, 16, plain) == buffers[4]);
}

Basin::ChunkPtr someChunk() {
    return Basin::ChunkPtr(new Keel::Chunk<int>(1));
}
Basin::ChunkPtr otherChunk() {
    return Basin::ChunkPtr(new Keel::Chunk<int>(2));
}

TEST_F(RenderBasin, StorageFormIsThatOfTheSameRequest) {
    constexpr auto none = StorageFlags::None, dynamic = StorageFlags::Dynamic;
    const auto of = [](const Basin::ChunkFactory& factory) {
        return Basin::StorageForm(factory, StorageFlags::None);
    };
    const auto lambda = [](int number) {
        return [number] {
            static_cast<void>(number);
            return Basin::ChunkPtr();
        };
    };
    EXPECT_EQ(of(lambda(1)), of(lambda(2))) << "one lambda, whatever it captures";
    EXPECT_NE(of(lambda(1)), of([] { return Basin::ChunkPtr(); }));
    EXPECT_EQ(of(someChunk), of(&someChunk));
    EXPECT_NE(of(someChunk), of(otherChunk));
    EXPECT_NE(of(someChunk), Basin::StorageForm(someChunk, dynamic));
    EXPECT_EQ(Basin::StorageForm(4, none), Basin::StorageForm(4, none));
    EXPECT_NE(Basin::StorageForm(4, none), Basin::StorageForm(5, none));
    EXPECT_NE(Basin::StorageForm(4, none), Basin::StorageForm(4, dynamic));
    EXPECT_NE(Basin::StorageForm(0, none), of({}));
}

TEST_F(RenderBasin, StorageFlagsCombine) {
    constexpr StorageFlags both = StorageFlags::Dynamic | StorageFlags::HostWrite;
    static_assert(static_cast<unsigned>(both) == 5);
    static_assert(both & StorageFlags::Dynamic);
    static_assert(!(both & StorageFlags::HostRead));
    static_assert(!(StorageFlags::None & both));
}

// ---------------------------------------------------------------------------- Interaction

TEST_F(RenderBasin, InteractorIsSharedAsLongAsSomebodyHoldsIt) {
    EXPECT_FALSE(basin.getInteractor());
    auto held = basin.makeInteractor();
    ASSERT_TRUE(held);
    EXPECT_TRUE(basin.makeInteractor() == held);
    EXPECT_TRUE(basin.getInteractor() == held);
    EXPECT_TRUE(RecordingBasin(seagrass).getInteractor() == held) << "it is the Seagrass's";
    const auto former = basin.getInteractor();
    held = {};
    EXPECT_FALSE(basin.getInteractor());
    const auto next = basin.makeInteractor();
    EXPECT_TRUE(next);
    EXPECT_FALSE(next == former);
}

TEST_F(RenderBasin, InteractorIsSetWeakly) {
    StrongPtr<Mirk::Interactor> own(new Mirk::Interactor);
    basin.setInteractor(own);
    EXPECT_TRUE(basin.getInteractor() == own);
    EXPECT_TRUE(basin.makeInteractor() == own);
    own = {};
    EXPECT_FALSE(basin.getInteractor());
}

TEST_F(RenderBasin, ThereIsNoInteractorWithoutSeagrass) {
    const RecordingBasin alone;
    const StrongPtr<Mirk::Interactor> own(new Mirk::Interactor);
    alone.setInteractor(own);
    EXPECT_FALSE(alone.getInteractor());
    EXPECT_FALSE(alone.makeInteractor());
}

TEST_F(RenderBasin, FloatedOriginIsZeroUnlessGiven) {
    EXPECT_EQ(Basin::FloatedOrigin().worldOrigin, (Skua::PhysicalSpace::vector{0, 0, 0}));
    EXPECT_EQ(Basin::FloatedOrigin({1, 2, 3}).worldOrigin, (Skua::PhysicalSpace::vector{1, 2, 3}));
}

// ---------------------------------------------------------------------------- The recorder

TEST_F(RenderBasin, RecorderMakesWhatItIsAskedForUnlessToldOtherwise) {
    const Basin::ChunkPtr points(new Keel::Chunk<Skua::PhysicalSpace::point>(3));
    const auto format = Basin::Red(Basin::BitPrecision::Integer8);
    const auto makeAll = [&] {
        Keel::Intercube holder;
        std::vector<bool> made;
        const auto add = [&](const auto& pointer) { made.push_back(bool(pointer)); };
        add(basin.createTexture(points, 1, 1, 0, 2, format, 0, false, {}));
        add(basin.createTargetTexture(4, 4, 2, format));
        add(basin.createBufferTexture(points, 2));
        add(basin.createStorageBuffer(data.data(), data.size(), StorageFlags::None));
        add(basin.createUniformBuffer(16));
        add(basin.createStorageBuffer(holder, std::size_t{16}, StorageFlags::None));
        add(basin.createCoordinates(points, "C"));
        add(basin.createAttribute(points, 1, "N"));
        add(basin.createComputeProgram({"code"}, "P", 1, {}, {}));
        add(basin.createPainter(Basin::Lines, 0));
        add(basin.createTimer());
        add(basin.createRenderParameter("R", {}, typeid(float), 1));
        add(basin.createDispatcher(1, 1, 1));
        return made;
    };
    EXPECT_THAT(makeAll(), testing::Each(true));
    const std::vector<std::string> calls = log->take();
    log->failing.insert(calls.begin(), calls.end());
    EXPECT_THAT(makeAll(), testing::Each(false));
    EXPECT_EQ(log->take(), calls);
    EXPECT_THAT(log->live, testing::Each(Pair(testing::_, 0))) << "nothing is left behind";
}

TEST_F(RenderBasin, RecorderWritesAWholeWaveDown) {
    basin.uniforms = {"Radius"};
    const Basin::ChunkPtr points(new Keel::Chunk<Skua::PhysicalSpace::point>(3));
    const auto coordinates = basin.createCoordinates(points, "Coordinates");
    polyp->insert(basin.createTimer());
    polyp->insert(basin.createProgram("V", "F", "line", "f", 0, 0, {}, {}));
    polyp->insert(coordinates);
    polyp->insert(coordinates->createPainter(Basin::LineStrip));
    log->take();
    EXPECT_EQ(polyp->wave(~0U), 4);
    EXPECT_THAT(log->take(),
                ElementsAre("activate Timer", "activate Program line",
                            "activate VertexAttribute Coordinates", "activate Painter Coordinates",
                            "prepare Program line", "draw Painter Coordinates",
                            "deactivate Painter Coordinates",
                            "deactivate VertexAttribute Coordinates", "deactivate Program line",
                            "deactivate Timer"));
    EXPECT_EQ(log->live["Program"], 1);
    polyp->clear();
    EXPECT_EQ(log->live["Program"], 0);
}

} // namespace
