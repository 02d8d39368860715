#include <Polypia/RenderTentacles.hpp>

#include "RecordingBasin.hpp"
#include "memberOrder.hpp"
#include "virtualSlot.hpp"

#include <Polypia/RenderException.hpp>
#include <Polypia/Seagrass.hpp>

#include <keel/File.hpp>

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

using Keel::StrongPtr;
using Mirk::Polyp;
using Mirk::RenderBasin;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class RenderTentacles : public testing::Test {
protected:
    using Program = StrongPtr<RecordingProgram, Polyp::Tentacle>;

    RenderTentacles()
        : polyp(new Polyp(Keel::WeakPtr<Keel::Creature>())),
          painter(new RecordingPainter(log, "", RenderBasin::Triangles)) {}

    Program program(const std::string& name = "") const {
        return Program(new RecordingProgram(log, name));
    }

    const CallLogPtr log = std::make_shared<CallLog>();
    const StrongPtr<Polyp> polyp;
    const StrongPtr<RecordingPainter, Polyp::Tentacle> painter;
};

TEST_F(RenderTentacles, HaveTheKeysOfTheirClasses) {
    EXPECT_EQ(RecordingTimer(log).tentacleKey, -16384);
    EXPECT_EQ(program()->tentacleKey, 0);
    EXPECT_EQ(RecordingParameter(log, "", typeid(int), 1).tentacleKey, 1024);
    EXPECT_EQ(RenderBasin::UniformParameter("u", 1).tentacleKey, 1024);
    EXPECT_EQ(RecordingFlag(log, "").tentacleKey, 1024);
    EXPECT_EQ(RecordingUniformBuffer(log).tentacleKey, 1024);
    EXPECT_EQ(RenderBasin::Illumination({}).tentacleKey, 1024);
    EXPECT_EQ(RecordingAttribute(log, "", 0).tentacleKey, 2048);
    EXPECT_EQ(RecordingAttribute(log, "", 5).tentacleKey, 2053);
    EXPECT_EQ(
        RecordingTexture(log, 0, RenderBasin::Red(RenderBasin::BitPrecision::Integer8)).tentacleKey,
        16384);
    EXPECT_EQ(RecordingStorageBuffer(log, Mirk::StorageFlags::None).tentacleKey, 16384);
    EXPECT_EQ(RecordingDispatcher(log, {1, 1, 1}).tentacleKey, 20224);
    EXPECT_EQ(painter->tentacleKey, 20480);
}

TEST_F(RenderTentacles, TakePartInEveryWave) {
    for (const Mirk::Activity_t mask :
         {RecordingTimer(log).activityMask, program()->activityMask,
          RecordingParameter(log, "", typeid(int), 1).activityMask,
          RenderBasin::UniformParameter("u", 1).activityMask, RecordingFlag(log, "").activityMask,
          RecordingUniformBuffer(log).activityMask, RenderBasin::Illumination({}).activityMask,
          RecordingAttribute(log, "", 1).activityMask,
          RecordingStorageBuffer(log, Mirk::StorageFlags::None).activityMask,
          RecordingDispatcher(log, {1, 1, 1}).activityMask, painter->activityMask}) {
        EXPECT_EQ(mask, 0xFFFFFFFFU);
    }
}

TEST_F(RenderTentacles, StandOnTheClassesOfTheirKeys) {
    using Basin = RenderBasin;
    static_assert(std::is_base_of_v<Polyp::SpecializedTentacle<-16384>, Basin::RenderTimer>);
    static_assert(std::is_base_of_v<Polyp::SpecializedTentacle<0>, Basin::Program>);
    static_assert(std::is_base_of_v<Mirk::RenderNamespace::ProgramVariables, Basin::Program>);
    static_assert(std::is_base_of_v<Polyp::SpecializedTentacle<1024>, Basin::RenderParameter>);
    static_assert(std::is_base_of_v<Polyp::SpecializedTentacle<1024>, Basin::UniformParameter>);
    static_assert(std::is_base_of_v<Polyp::SpecializedTentacle<1024>, Basin::RenderFlag>);
    static_assert(std::is_base_of_v<Polyp::SpecializedTentacle<1024>, Basin::Illumination>);
    static_assert(std::is_base_of_v<Polyp::SpecializedTentacle<1024>, Mirk::UniformBuffer>);
    static_assert(std::is_base_of_v<Polyp::SpecializedTentacle<2048>, Basin::VertexAttribute>);
    static_assert(std::is_base_of_v<Polyp::SpecializedTentacle<16384>, Basin::TextureTentacle>);
    static_assert(
        std::is_base_of_v<Polyp::SpecializedTentacle<16384>, Basin::StorageBufferTentacle>);
    static_assert(
        std::is_base_of_v<Polyp::SpecializedTentacle<20224>, Basin::ComputationDispatcher>);
    static_assert(std::is_base_of_v<Polyp::SpecializedTentacle<20480>, Basin::Painter>);
    static_assert(std::is_base_of_v<Basin::Painter, Basin::RangedPainter>);
    static_assert(std::is_base_of_v<Mirk::MapMemory, Basin::Buffer>);
    static_assert(std::is_base_of_v<Basin::Buffer, Basin::StorageBufferTentacle>);
    static_assert(std::is_base_of_v<Mirk::MapMemory, Mirk::UniformBuffer>);
    // A backend's one mixin of memory serves both kinds of buffers.
    static_assert(isVirtualBase<Mirk::MapMemory, Basin::Buffer>);
    static_assert(isVirtualBase<Basin::Buffer, Basin::StorageBufferTentacle>);
    static_assert(isVirtualBase<Mirk::MapMemory, Mirk::UniformBuffer>);
    static_assert(!isVirtualBase<Basin::Painter, Basin::RangedPainter>);
}

TEST_F(RenderTentacles, HaveTheirFieldsInOrder) {
    const Program made = program();
    EXPECT_TRUE(standInOrder(static_cast<const Polyp::Tentacle&>(*made),
                             static_cast<const Mirk::RenderNamespace::ProgramVariables&>(*made),
                             made->IlluminationUniformNames, made->ProgramSources,
                             made->ProgramFileTimes, made->SamplerBindings));
    EXPECT_TRUE(standInOrder(painter->backendInteger1, painter->backendInteger2, painter->first,
                             painter->count));
    const RenderBasin::UniformParameter uniform("u", 1);
    EXPECT_TRUE(
        standInOrder(uniform.name, uniform.value, uniform.backendWord, uniform.updateFunction));
    const RecordingTexture texture(log, 0, RenderBasin::Red(RenderBasin::BitPrecision::Integer8));
    EXPECT_TRUE(standInOrder(texture.samplerName, texture.textureName));
}

TEST_F(RenderTentacles, HaveTheirOwnVirtualOperationsAfterThoseOfTentacleInOrder) {
    using Basin = RenderBasin;
    constexpr std::size_t own = 10;
    EXPECT_EQ((std::vector{virtualSlot(&Basin::Program::prepare),
                           virtualSlot(&Basin::Program::setProgramVariable),
                           virtualSlot(&Basin::Program::hasUniform),
                           virtualSlot(&Basin::Program::uniformLocation),
                           virtualSlot(&Basin::Program::bindUniformBlock),
                           virtualSlot(&Basin::Program::nativeHandle)}),
              slotsFrom(own, 6));
    EXPECT_EQ((std::vector{virtualSlot(&Basin::VertexAttribute::createPainter),
                           virtualSlot(&Basin::VertexAttribute::bytes)}),
              slotsFrom(own, 2));
    EXPECT_EQ(
        (std::vector{virtualSlot(&Basin::Painter::draw), virtualSlot(&Basin::Painter::primitive)}),
        slotsFrom(own, 2));
    EXPECT_EQ((std::vector{virtualSlot(&Basin::ComputationDispatcher::setGroups),
                           virtualSlot(&Basin::ComputationDispatcher::dispatch)}),
              slotsFrom(own, 2));
    EXPECT_EQ((std::vector{virtualSlot(&Basin::RenderTimer::reset),
                           virtualSlot(&Basin::RenderTimer::seconds)}),
              slotsFrom(own, 2));
    EXPECT_EQ((std::vector{virtualSlot(&Basin::StorageBufferTentacle::storageFlags),
                           virtualSlot(&Basin::StorageBufferTentacle::bindToProgram)}),
              slotsFrom(own, 2));
    EXPECT_EQ((std::vector{virtualSlot(&Basin::TextureTentacle::setParameter),
                           virtualSlot(&Basin::TextureTentacle::readBack)}),
              slotsFrom(own, 2));
    EXPECT_EQ((std::vector{virtualSlot(&Basin::RenderParameter::setValue),
                           virtualSlot(&Basin::RenderParameter::parameterName)}),
              slotsFrom(own, 2));
}

TEST_F(RenderTentacles, BuffersAreOneMemoryWithAWord) {
    using Memory = Mirk::MapMemory;
    // Ahead of them are the two destructors.
    EXPECT_EQ((std::vector{virtualSlot(&Memory::bytes), virtualSlot(&Memory::resize),
                           virtualSlot(&Memory::upload), virtualSlot(&Memory::write),
                           virtualSlot(&Memory::read), virtualSlot(&Memory::map),
                           virtualSlot(&Memory::unmap), virtualSlot(&Memory::native)}),
              slotsFrom(2, 8));
    const StrongPtr<RecordingStorageBuffer, Polyp::Tentacle> buffer(
        new RecordingStorageBuffer(log, Mirk::StorageFlags::None));
    EXPECT_EQ(buffer->backendWord, 0U);
    Memory& memory = *buffer;
    const int value = 42;
    EXPECT_TRUE(memory.upload(&value, sizeof(value)));
    int back = 0;
    EXPECT_TRUE(static_cast<RenderBasin::Buffer&>(*buffer).read(0, &back, sizeof(back)));
    EXPECT_EQ(back, 42);
}

// ---------------------------------------------------------------------------- Program

TEST_F(RenderTentacles, ProgramStartsWithoutEntries) {
    const Program made = program();
    EXPECT_TRUE(made->empty());
    EXPECT_TRUE(made->hasNoKinds());
    EXPECT_THAT(made->IlluminationUniformNames, IsEmpty());
    EXPECT_THAT(made->ProgramSources, IsEmpty());
    EXPECT_THAT(made->ProgramFileTimes, IsEmpty());
    EXPECT_THAT(made->SamplerBindings, IsEmpty());
}

TEST_F(RenderTentacles, ProgramSendsAllVariablesInTheOrderOfTheirNames) {
    const Program made = program();
    (*made)["c"] = 1.5;
    (*made)["a"] = 1;
    (*made)["b"] = Skua::PhysicalSpace::point{1, 2, 3};
    made->setAllProgramVariables(RenderBasin::FloatedOrigin({7, 8, 9}));
    EXPECT_THAT(log->calls,
                ElementsAre("setProgramVariable a of Program", "setProgramVariable b of Program",
                            "setProgramVariable c of Program"));
    EXPECT_EQ(std::get<Skua::PhysicalSpace::point>(made->sent.at("b").value),
              (Skua::PhysicalSpace::point{1, 2, 3}));
    EXPECT_EQ(made->sent.at("b").worldOrigin, (Skua::PhysicalSpace::vector{7, 8, 9}));
}

TEST_F(RenderTentacles, ProgramSendsEachNameOfItsMapsOnce) {
    const Program made = program();
    (*made)["c"] = 1.5;
    (*made)["both"] = 1;
    made->values<float>()["both"] = 2.5F;
    made->values<double>()["a"] = 3.5;
    made->values<Skua::Quadratic<4, float>>()["d"] = Skua::Quadratic<4, float>::identity();
    made->setAllProgramVariables(RenderBasin::FloatedOrigin());
    EXPECT_THAT(log->calls,
                ElementsAre("setProgramVariable a of Program", "setProgramVariable both of Program",
                            "setProgramVariable c of Program", "setProgramVariable d of Program"));
    EXPECT_EQ(std::get<int>(made->sent.at("both").value), 1);
    EXPECT_EQ(std::get<double>(made->sent.at("a").value), 3.5);
    EXPECT_TRUE((std::holds_alternative<Skua::Quadratic<4, float>>(made->sent.at("d").value)));
}

class ProgramFiles : public RenderTentacles {
protected:
    ProgramFiles() {
        folder = (std::filesystem::temp_directory_path() / "program-files-XXXXXX").string();
        EXPECT_NE(::mkdtemp(folder.data()), nullptr);
        file = folder + "/line.glsl";
        EXPECT_TRUE(Keel::FileWrite(file, "void main() {}\n", "w"));
        made->ProgramFileTimes[file] = Keel::FileInfo(file).modified;
    }
    ~ProgramFiles() override { std::filesystem::remove_all(folder); }

    bool hasChanged() {
        testing::internal::CaptureStdout();
        const bool changed = made->SourceHasChanged();
        report = testing::internal::GetCapturedStdout();
        return changed;
    }

    std::string folder, file, report;
    const Program made = program();
};

TEST_F(ProgramFiles, NoneHaveNotChanged) {
    EXPECT_FALSE(program()->SourceHasChanged());
}

TEST_F(ProgramFiles, OfTheSameTimeHaveNotChanged) {
    EXPECT_FALSE(hasChanged());
    EXPECT_THAT(report, IsEmpty());
}

TEST_F(ProgramFiles, OfALaterTimeHaveChangedAndAreReported) {
    made->ProgramFileTimes[file] = Keel::Filetime(1);
    EXPECT_TRUE(hasChanged());
    EXPECT_THAT(report, testing::StartsWith("GL: " + file));
}

TEST_F(ProgramFiles, OfAnEarlierTimeHaveNotChanged) {
    made->ProgramFileTimes[file] = Keel::Filetime(99999999999);
    EXPECT_FALSE(hasChanged());
}

TEST_F(ProgramFiles, ThatHaveVanishedDoNotCount) {
    made->ProgramFileTimes[folder + "/gone.glsl"] = Keel::Filetime(1);
    EXPECT_FALSE(hasChanged());
}

TEST_F(ProgramFiles, AreLookedAtInTheOrderOfTheirNames) {
    const std::string earlier = folder + "/a.glsl";
    EXPECT_TRUE(Keel::FileWrite(earlier, "", "w"));
    made->ProgramFileTimes[earlier] = Keel::Filetime(1);
    made->ProgramFileTimes[file] = Keel::Filetime(1);
    EXPECT_TRUE(hasChanged());
    EXPECT_THAT(report, testing::StartsWith("GL: " + earlier));
    EXPECT_THAT(report, testing::Not(testing::HasSubstr(file))) << "the first is enough";
}

// ---------------------------------------------------------------------------- VertexAttribute

TEST_F(RenderTentacles, AttributeIsOfFloatingPointAtFirst) {
    EXPECT_EQ(RecordingAttribute(log, "", 3).hints & 0x0F, 2);
    static_assert(sizeof(RenderBasin::VertexAttribute::hints) == 1);
}

TEST_F(RenderTentacles, TypeLetterSetsTheLowFourBitsOfTheHints) {
    struct Case {
        char letter;
        int kind;
    };
    RecordingAttribute attribute(log, "", 0);
    for (const Case& one : {Case{'d', 10}, Case{'i', 3}, Case{'I', 6}, Case{'q', 2}, Case{'f', 2},
                            Case{'D', 2}, Case{'\0', 2}}) {
        for (const int high : {0x00, 0x50, 0xF0}) {
            attribute.hints = static_cast<std::uint8_t>(high | 0x0F);
            attribute.setHintsFromName(one.letter);
            EXPECT_EQ(attribute.hints, high | one.kind) << one.letter;
        }
    }
}

/// A grid that needs no data: its vertices follow from their numbers.
class GridAttribute : public RenderBasin::VertexAttribute {
public:
    explicit GridAttribute(RenderBasin::PainterPtr gridPainter)
        : VertexAttribute(RenderBasin::Coordinates), _painter(std::move(gridPainter)) {}

    bool activate(const Polyp& polyp) override {
        const RenderBasin::ProgramPtr program(polyp.getProgram(~0UL));
        if (program) (*program)["gridDims"] = Skua::FixedArray<int, 3>{2, 3, 4};
        return true;
    }
    bool deactivate(const Polyp&) override { return true; }
    std::size_t NumberOfElements() const override { return 24; }
    RenderBasin::PainterPtr createPainter(RenderBasin::Primitive) const override {
        return _painter;
    }
    std::size_t bytes() const override { return 0; }

private:
    const RenderBasin::PainterPtr _painter;
};

TEST_F(RenderTentacles, AttributeMayBeAFunctionOfTheNumberOfTheVertex) {
    const StrongPtr<GridAttribute, Polyp::Tentacle> grid(new GridAttribute(painter));
    polyp->insert(grid);
    EXPECT_EQ(polyp->wave(~0U), 1) << "without program it is active all the same";
    const Program made = program();
    polyp->insert(made);
    polyp->insert(grid->createPainter(RenderBasin::Points));
    EXPECT_EQ(polyp->wave(~0U), 3);
    EXPECT_EQ(made->at("gridDims").index(), 7U);
    ASSERT_EQ(painter->drawn.size(), 1U);
    EXPECT_EQ(painter->drawn[0].vertices, 24U);
}

// ---------------------------------------------------------------------------- Painter

TEST_F(RenderTentacles, PainterStartsAtZero) {
    EXPECT_EQ(painter->backendInteger1, 0);
    EXPECT_EQ(painter->backendInteger2, 0);
}

TEST_F(RenderTentacles, RangedPainterStartsWithEverything) {
    EXPECT_EQ(painter->first, 0);
    EXPECT_EQ(painter->count, -1);
    static_assert(sizeof(painter->first) == 4 && sizeof(painter->count) == 4);
}

TEST_F(RenderTentacles, PainterPreparesTheProgramAndDraws) {
    polyp->insert(program("a"));
    EXPECT_TRUE(painter->RangedPainter::activate(*polyp));
    EXPECT_THAT(log->take(), ElementsAre("prepare Program a", "draw Painter"));
    log->failing = {"draw Painter"};
    EXPECT_FALSE(painter->RangedPainter::activate(*polyp)) << "the answer is that of draw";
    EXPECT_TRUE(painter->RangedPainter::deactivate(*polyp));
}

TEST_F(RenderTentacles, PainterDrawsOnceForEachOfSeveralPrograms) {
    polyp->insert(program("a"), 0);
    polyp->insert(program("b"), 1);
    log->failing = {"draw Painter"};
    EXPECT_TRUE(painter->RangedPainter::activate(*polyp)) << "whatever draw says";
    EXPECT_THAT(log->calls, ElementsAre("prepare Program a", "draw Painter", "prepare Program b",
                                        "draw Painter"));
}

TEST_F(RenderTentacles, PainterOfSeveralTentaclesDrawsForProgramsOnly) {
    polyp->insert(program("a"));
    polyp->insertTentacle(7, Polyp::TentaclePtr(new RecordingTentacle(log, "none", 7)));
    EXPECT_TRUE(painter->RangedPainter::activate(*polyp));
    EXPECT_THAT(log->calls, ElementsAre("prepare Program a", "draw Painter"));
}

TEST_F(RenderTentacles, PainterDrawsWithoutProgram) {
    EXPECT_TRUE(painter->RangedPainter::activate(*polyp));
    polyp->insert(painter);
    EXPECT_TRUE(painter->RangedPainter::activate(*polyp))
        << "the painter itself stands where the program would";
    polyp->insertTentacle(7, Polyp::TentaclePtr(new RecordingTentacle(log, "none", 7)));
    EXPECT_TRUE(painter->RangedPainter::activate(*polyp));
    EXPECT_THAT(log->calls, ElementsAre("draw Painter", "draw Painter", "draw Painter"));
}

TEST_F(RenderTentacles, ExceptionFromPrepareKeepsThePainterFromDrawing) {
    polyp->insert(program("a"));
    polyp->insert(painter);
    log->throwing = {"prepare Program a"};
    EXPECT_THROW(polyp->wave(~0U), Mirk::RenderException);
    EXPECT_THAT(log->calls, ElementsAre("activate Program a", "activate Painter",
                                        "prepare Program a", "deactivate Program a"));
}

// ---------------------------------------------------------------------------- Others

TEST_F(RenderTentacles, TimerForgetsWhatItMeasured) {
    static_assert(sizeof(RenderBasin::RenderTimer::startNanoseconds) == 8);
    RecordingTimer timer(log);
    EXPECT_EQ(timer.startNanoseconds, 0U);
    EXPECT_EQ(timer.totalNanoseconds, 0U);
    EXPECT_EQ(timer.measurements, 0U);
    timer.startNanoseconds = 1;
    timer.totalNanoseconds = 2;
    timer.measurements = 3;
    RenderBasin::RenderTimer& base = timer;
    base.reset();
    EXPECT_THAT(log->calls, ElementsAre("reset Timer")) << "it can be overridden";
    EXPECT_EQ(timer.startNanoseconds, 0U);
    EXPECT_EQ(timer.totalNanoseconds, 0U);
    EXPECT_EQ(timer.measurements, 0U);
}

TEST_F(RenderTentacles, FlagHasNoFieldsOfItsOwn) {
    static_assert(sizeof(RenderBasin::RenderFlag) == sizeof(Polyp::SpecializedTentacle<1024>));
}

TEST_F(RenderTentacles, FlagSetsAStateDuringTheWaveAndRestoresIt) {
    polyp->insert(StrongPtr<RecordingFlag, Polyp::Tentacle>(new RecordingFlag(log, "blend")));
    polyp->insert(painter);
    polyp->wave(~0U);
    EXPECT_THAT(log->calls,
                ElementsAre("activate RenderFlag blend", "activate Painter", "draw Painter",
                            "deactivate Painter", "deactivate RenderFlag blend"));
}

TEST_F(RenderTentacles, IlluminationLetsTheWavePass) {
    const StrongPtr<Mirk::Seagrass> seagrass(new Mirk::Seagrass(1000, "test"));
    const StrongPtr<RenderBasin::Illumination, Polyp::Tentacle> light(
        new RenderBasin::Illumination(seagrass));
    EXPECT_TRUE(light->activate(*polyp));
    EXPECT_TRUE(light->deactivate(*polyp));
    EXPECT_EQ(seagrass.controlBlock()->strong(), 1) << "it does not keep the Seagrass";
}

} // namespace
