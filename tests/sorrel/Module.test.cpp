#include "graphObjects.hpp"

#include <sorrel/GraphFile.hpp>
#include <sorrel/Module.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using namespace Mirk;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
namespace fs = std::filesystem;

class ModuleTest : public testing::Test {
protected:
    ModuleTest() { fs::create_directories(folder); }
    ~ModuleTest() override {
        VActionNotifier::clear();
        for (const Module::Ptr& module : Module::loaded()) {
            std::string reason;
            EXPECT_TRUE(Module::unload(module, reason)) << reason;
        }
        unsetenv("POLYPIA_MODULE_PATH");
        fs::remove_all(folder);
    }

    static Module::Ptr load() {
        std::string reason;
        Module::Ptr module = Module::load(TEST_MODULE, reason);
        EXPECT_TRUE(module) << reason;
        return module;
    }
    static std::string reasonAgainst(const std::string& path) {
        std::string reason;
        EXPECT_FALSE(Module::load(path, reason));
        return reason;
    }
    static VObjectPtr makeSounder(const std::string& name) {
        return VCreatorBase::find("Sounder")->make(name, {}, Keel::Intercube());
    }
    static std::string reasonAgainstUnloading(const Module::Ptr& module) {
        std::string reason;
        EXPECT_FALSE(Module::unload(module, reason));
        return reason;
    }
    static bool unloads(const Module::Ptr& module) {
        std::string reason;
        const bool isUnloaded = Module::unload(module, reason);
        EXPECT_EQ(reason, "");
        return isUnloaded;
    }
    static std::vector<std::string> texts(const std::vector<Module::Failure>& failures) {
        std::vector<std::string> all;
        for (const auto& failure : failures) all.push_back(failure.str());
        return all;
    }

    const std::string folder = testing::TempDir() + "Module." + std::to_string(getpid());
};

TEST_F(ModuleTest, RegistersCreatorsAndValueTypesWhileItIsLoaded) {
    EXPECT_FALSE(VCreatorBase::find("Sounder"));
    EXPECT_FALSE(VValueCreator::find("Depth"));
    const Module::Ptr module = load();
    EXPECT_THAT(module->creators(), ElementsAre("Sounder", "Sounder for inputs"));
    EXPECT_TRUE(VCreatorBase::find("Sounder"));
    EXPECT_TRUE(VValueCreator::find("Depth"));
    EXPECT_EQ(VValueCreator::find("Depth")->create()->text(), "0");
    EXPECT_TRUE(unloads(module));
    EXPECT_FALSE(VCreatorBase::find("Sounder"));
    EXPECT_FALSE(VValueCreator::find("Depth"));
    EXPECT_THAT(Module::loaded(), IsEmpty());
}

TEST_F(ModuleTest, CanBeLoadedAgainAfterUnloading) {
    for (int i = 0; i < 3; ++i) {
        const Module::Ptr module = load();
        const VObjectPtr object = makeSounder("s");
        EXPECT_EQ(object->findInput("draught")->getValueBase({})->text(), "3");
        VRequest request{ValuePoolPtr()};
        object->enableRequestProcessing();
        EXPECT_TRUE(request.process(*object, 1));
        EXPECT_EQ(object->findOutput("depth")->getValueBase({})->text(), "2");
        EXPECT_THAT(reasonAgainstUnloading(module), HasSubstr("\"s\""));
        const_cast<VObjectPtr&>(object) = {};
        EXPECT_TRUE(unloads(module));
    }
}

template<std::size_t Number>
class Kind : public VManagedDomainObject<Kind<Number>> {
public:
    Kind() : VManagedDomainObject<Kind<Number>>("one of a kind", 0) {}
};

template<std::size_t... Numbers>
std::size_t makeOneOfEach(std::index_sequence<Numbers...>) {
    const std::vector<VManagedObjectPtr> objects{VManagedObjectPtr(new Kind<Numbers>)...};
    return (0u + ... +
            std::size_t{VManagedObject::find(typeid(Kind<Numbers>), "one of a kind") ==
                        objects[Numbers]});
}

TEST_F(ModuleTest, LeavesNoTypeInTheRegisterOfObjects) {
    const Module::Ptr module = load();
    makeSounder("s");
    EXPECT_TRUE(unloads(module));
    constexpr std::size_t Kinds = 100;
    EXPECT_EQ(makeOneOfEach(std::make_index_sequence<Kinds>()), Kinds)
        << "the register grows, and looks at all types in it";
}

TEST_F(ModuleTest, IsLoadedOnce) {
    const Module::Ptr module = load();
    EXPECT_EQ(load(), module);
    fs::create_symlink(TEST_MODULE, folder + "/Link.so");
    std::string reason;
    EXPECT_EQ(Module::load(folder + "/Link.so", reason), module);
    EXPECT_THAT(Module::loaded(), ElementsAre(module));
    EXPECT_TRUE(unloads(module));
    EXPECT_FALSE(VCreatorBase::find("Sounder"));
}

TEST_F(ModuleTest, IsNotUnloadedWhileAnObjectLives) {
    const Module::Ptr module = load();
    VObjectPtr object = makeSounder("sonar");
    EXPECT_EQ(reasonAgainstUnloading(module), "the object \"sonar\" of type \"Sounder\" lives");
    EXPECT_TRUE(VCreatorBase::find("Sounder"));
    EXPECT_EQ(module->usedBy(), "the object \"sonar\" of type \"Sounder\" lives");
    object = {};
    EXPECT_EQ(module->usedBy(), "");
    EXPECT_TRUE(unloads(module));
}

TEST_F(ModuleTest, IsNotUnloadedWhileAValueOfItsTypesIsHeld) {
    const GraphTest::Registrations registrations;
    const Module::Ptr module = load();
    const ValuePoolPtr pool(new ValuePool);
    VObjectPtr object(new GraphTest::Everything("host", 0, {}));
    {
        const VParameterPtr parameter(
            new VParameter(VValueCreator::find("Depth")->create(), "depth", {}));
        parameter->Localize();
        object->addParameter("depth", 0, parameter, false);
        parameter->getValue(pool);
    }
    EXPECT_EQ(pool->numberOfValues(), 1u);
    EXPECT_EQ(reasonAgainstUnloading(module), "the slot \"host.depth\" holds a value of its types");
    object = {};
    EXPECT_EQ(pool->numberOfValues(), 0u);
    EXPECT_TRUE(unloads(module));
}

TEST_F(ModuleTest, IsNotUnloadedWhileTheOutputOfADeadObjectIsConnected) {
    const GraphTest::Registrations registrations;
    const Module::Ptr module = load();
    VObjectPtr reader(new GraphTest::Everything("reader", 0, {}));
    {
        const VObjectPtr object = makeSounder("sonar");
        reader->addParameter("depth", 0, object->findOutput("depth")->parameter(), true);
    }
    EXPECT_EQ(reasonAgainstUnloading(module),
              "the slot \"reader.depth\" holds a value of its types");
    reader->detachAll();
    EXPECT_TRUE(unloads(module));
}

TEST_F(ModuleTest, IsNotUnloadedWhileACreatorIsHeld) {
    const Module::Ptr module = load();
    auto creator = VCreatorBase::find("Sounder");
    EXPECT_EQ(reasonAgainstUnloading(module), "the creator \"Sounder\" is in use");
    creator = {};
    EXPECT_TRUE(unloads(module));
    EXPECT_EQ(reasonAgainstUnloading(module), "it is not loaded");
}

TEST_F(ModuleTest, ServesFilesOfGraphs) {
    const std::string text = "objects:\n  s:\n    type: Sounder\n    inputs:\n      draught: 4\n";
    EXPECT_THAT(GraphFile().loadText(text, "a.yaml").messages[0].text, HasSubstr("no type"));
    const Module::Ptr module = load();
    {
        const auto loaded = GraphFile().loadText(text, "a.yaml");
        std::vector<GraphFile::Message> messages;
        EXPECT_EQ(GraphFile().text({loaded.objects.at(0).second}, "a.yaml", messages), text);
        EXPECT_THAT(messages, IsEmpty());
    }
    EXPECT_THAT(reasonAgainstUnloading(module), HasSubstr("\"s\""));
}

TEST_F(ModuleTest, RefusesWhatIsNoModule) {
    std::ofstream(folder + "/Text.so") << "hello";
    EXPECT_THAT(reasonAgainst(folder + "/Text.so"), HasSubstr("can't be loaded"));
    EXPECT_THAT(reasonAgainst(folder + "/None.so"), HasSubstr("No such file"));
    EXPECT_THAT(reasonAgainst(folder), HasSubstr("can't be loaded"));
    EXPECT_EQ(reasonAgainst(NO_MODULE), "this is no module: expected POLYPIA_MODULE in it");
    EXPECT_EQ(reasonAgainst(OLD_MODULE),
              "this module was built for another version of the library: expected 1, got 0");
    EXPECT_THAT(Module::loaded(), IsEmpty());
}

TEST_F(ModuleTest, LoadsTheFoldersOfTheModulePathAndTellsEachFailure) {
    const std::string first = folder + "/first";
    const std::string second = folder + "/second";
    fs::create_directories(first);
    fs::create_directories(second);
    fs::copy_file(TEST_MODULE, first + "/Sounder.so");
    std::ofstream(first + "/Broken.so") << "hello";
    std::ofstream(first + "/words.txt") << "hello";
    std::ofstream(second + "/Sounder.so") << "hidden by the one before";
    std::ofstream(second + "/ForFiles.so") << "for readers";
    std::ofstream(second + "/ForFiles.reader") << "extension x";
    fs::copy_file(NO_MODULE, second + "/Nothing.so");
    setenv("POLYPIA_MODULE_PATH", (first + "::" + second + ':' + folder + "/none").c_str(), 1);
    EXPECT_THAT(
        texts(Module::loadAll()),
        ElementsAre(StartsWith(first + "/Broken.so: this can't be loaded: "),
                    second + "/Nothing.so: this is no module: expected POLYPIA_MODULE in it",
                    StartsWith(folder + "/none: this folder can't be read: No such file")));
    ASSERT_EQ(Module::loaded().size(), 1u);
    EXPECT_EQ(Module::loaded()[0]->path(), fs::canonical(first + "/Sounder.so"));
}

TEST_F(ModuleTest, SearchesTheModulePathBeforeTheFolderOfTheLibrary) {
    setenv("POLYPIA_MODULE_PATH", "/a:/b", 1);
    const auto folders = Module::searchPath();
    ASSERT_EQ(folders.size(), 3u);
    EXPECT_EQ(folders[0], "/a");
    EXPECT_EQ(folders[1], "/b");
    EXPECT_THAT(folders[2], testing::EndsWith("/PolypiaModules"));
}

TEST_F(ModuleTest, NamesThatAreTakenAreAWarning) {
    const GraphTest::Registrations registrations;
    const auto first = VCreatorBase::find("Everything");
    testing::internal::CaptureStdout();
    {
        const CreatorRegistration<VCreator<GraphTest::Everything>> second(
            "Everything", "", VCreatorBase::PreferencesPtr());
        EXPECT_EQ(VCreatorBase::find("Everything"), first);
    }
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("\"Everything\" already"));
    EXPECT_EQ(VCreatorBase::find("Everything"), first);
}

} // namespace
