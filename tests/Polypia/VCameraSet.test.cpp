#include <Polypia/VCameraSet.hpp>

#include <gmock/gmock.h>

namespace {

using SetPtr = Keel::StrongPtr<Mirk::VCameraSet>;

class VCameraSet : public testing::Test {};

TEST_F(VCameraSet, HoldsCamerasInTheOrderOfTheirNames) {
    Mirk::VCameraSet set;
    Mirk::VCamera camera;
    set.set("top", camera);
    camera.fieldOfView = 20;
    set.set("front", camera);
    EXPECT_EQ(set.cameras().begin()->first, "front");
    EXPECT_EQ(set.cameras().size(), 2U);
}

TEST_F(VCameraSet, ReplacesACameraOfTheSameName) {
    Mirk::VCameraSet set;
    Mirk::VCamera camera;
    set.set("top", camera);
    camera.fieldOfView = 20;
    set.set("top", camera);
    EXPECT_EQ(set.cameras().size(), 1U);
    EXPECT_EQ(set.cameras().at("top").fieldOfView, 20);
}

TEST_F(VCameraSet, HasNoText) {
    SetPtr set(new Mirk::VCameraSet);
    const SetPtr same = set;
    EXPECT_EQ(Mirk::VValueTrait<SetPtr>::Text(set), "");
    EXPECT_FALSE(Mirk::VValueTrait<SetPtr>::setValueFromText(set, "top"));
    EXPECT_FALSE(Mirk::VInputValueTrait<SetPtr>::setValueFromText(set, "top"));
    Mirk::VInputValueTrait<SetPtr>::init(set);
    EXPECT_EQ(set, same);
}

} // namespace
