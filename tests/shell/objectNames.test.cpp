#include <objectNames.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using Shell::objectNames;
using testing::ElementsAre;

namespace {

TEST(ObjectNames, AreThoseOfTheFilesWithoutEnding) {
    EXPECT_THAT(objectNames({"data/torus.ply", "coast.nc", "/a/mesh.ply.gz"}, ""),
                ElementsAre("torus", "coast", "mesh.ply"));
}

TEST(ObjectNames, HaveTheEndingWhereItTellsThemApart) {
    EXPECT_THAT(objectNames({"a/mesh.ply", "b/mesh.off"}, ""), ElementsAre("mesh.ply", "mesh.off"));
}

TEST(ObjectNames, HaveAsManyFoldersAsTellThemApart) {
    EXPECT_THAT(objectNames({"/x/1/a/mesh.ply", "/x/2/a/mesh.ply", "/x/2/b/mesh.ply"}, ""),
                ElementsAre("1/a/mesh.ply", "2/a/mesh.ply", "b/mesh.ply"));
    EXPECT_THAT(objectNames({"mesh.ply", "./mesh.ply", "/mesh.ply"}, ""),
                ElementsAre("mesh.ply", "./mesh.ply", "/mesh.ply"));
}

TEST(ObjectNames, AreNotWhatAnotherCouldBeCalled) {
    EXPECT_THAT(objectNames({"mesh.ply.gz", "mesh.ply", "mesh.off"}, ""),
                ElementsAre("mesh.ply.gz", "mesh.ply", "mesh.off"));
}

TEST(ObjectNames, AreTheSameForOneFileTwice) {
    EXPECT_THAT(objectNames({"a/mesh.ply", "a/mesh.ply"}, ""), ElementsAre("mesh", "mesh"));
}

TEST(ObjectNames, AreNotTaken) {
    EXPECT_THAT(objectNames({"a/globe.ply"}, "globe"), ElementsAre("globe.ply"));
    EXPECT_THAT(objectNames({"a/globe"}, "globe"), ElementsAre("a/globe"));
    EXPECT_THAT(objectNames({"a/globe.ply"}, ""), ElementsAre("globe"));
}

} // namespace
