#include <Polypia/ShaderInjector.hpp>

#include "../sorrel/Recorder.hpp"
#include "anyRenderContext.hpp"
#include "virtualSlot.hpp"

#include <Polypia/Fog.hpp>

#include <sorrel/TypedSlot.hpp>

#include <gmock/gmock.h>

#include <string>
#include <type_traits>

using testing::EndsWith;
using testing::StartsWith;

namespace {

using Base = Mirk::ShaderInjectorBase;

class ShaderInjector : public testing::Test {
protected:
    Mirk::VRenderContext& context = anyRenderContext();
};

/// Has code for each stage.
class Wind : public Mirk::ShaderInjector<Wind> {
public:
    static std::string default_vertex_shader(Mirk::VRenderContext&) { return "vertex"; }
    static std::string default_geometry_shader(Mirk::VRenderContext&) { return "geometry"; }
    static std::string default_fragment_shader(Mirk::VRenderContext&) { return "fragment"; }
};

/// A fog that is one.
class Mist : public Mirk::Fog {
public:
    std::string fragment_shader(Mirk::VRenderContext&) const override { return "mist"; }
};

TEST_F(ShaderInjector, HasFivePureOperationsBehindItsDestructors) {
    static_assert(std::is_abstract_v<Base>);
    static_assert(std::is_base_of_v<Keel::ReferenceBase<Base>, Base>);
    const std::size_t first = virtualSlot(&Base::vertex_shader);
    EXPECT_THAT(
        (std::vector{first, virtualSlot(&Base::geometry_shader), virtualSlot(&Base::third_shader),
                     virtualSlot(&Base::fragment_shader), virtualSlot(&Base::fifth_shader)}),
        testing::ElementsAreArray(slotsFrom(first, 5)));
}

TEST_F(ShaderInjector, SaysNothingByDefault) {
    EXPECT_EQ(Base::default_vertex_shader(context), "");
    EXPECT_EQ(Base::default_geometry_shader(context), "");
    EXPECT_EQ(Base::default_fragment_shader(context), "");
}

TEST_F(ShaderInjector, AnswersWithTheStaticOperationsOfItsClass) {
    const auto wind = Keel::StrongPtr<Base, Base>(new Wind);
    EXPECT_EQ(wind->vertex_shader(context), "vertex");
    EXPECT_EQ(wind->geometry_shader(context), "geometry");
    EXPECT_EQ(wind->fragment_shader(context), "fragment");
    EXPECT_EQ(wind->third_shader(context), "");
    EXPECT_EQ(wind->fifth_shader(context), "");
}

TEST_F(ShaderInjector, FogIsAFunctionThatReturnsTheSurface) {
    static_assert(std::is_base_of_v<Mirk::ShaderInjector<Mirk::Fog>, Mirk::Fog>);
    EXPECT_EQ(Mirk::Fog::default_vertex_shader(context), "");
    EXPECT_EQ(Mirk::Fog::default_geometry_shader(context), "");
    const std::string text = Mirk::Fog::default_fragment_shader(context);
    EXPECT_THAT(text, StartsWith("#ifdef ZELK_DO_LINE_DIRECTIVE\n"
                                 "#line 3 \"reef/Polypia/Fog.glsl\"\n"
                                 "#endif /* ZELK_DO_LINE_DIRECTIVE */\n"));
    EXPECT_THAT(text, EndsWith("vec4 Fog(vec4 SurfaceColor, in RelativeVertex P, vec3 Observer, "
                               "vec3 LookAt)\n{\n\treturn SurfaceColor;\n}\n"));
    const Mirk::FogPtr fog(new Mirk::Fog);
    EXPECT_EQ(fog->fragment_shader(context), text);
}

TEST_F(ShaderInjector, FogIsReplacedByAnotherOne) {
    const Mirk::FogPtr mist(new Mist);
    EXPECT_EQ(mist->fragment_shader(context), "mist");
    EXPECT_EQ(mist->vertex_shader(context), "");
}

TEST_F(ShaderInjector, FogHasAFixedTextAndIsNotReadFromOne) {
    using Trait = Mirk::VValueTrait<Mirk::FogPtr>;
    const Mirk::FogPtr fog(new Mirk::Fog);
    EXPECT_EQ(Trait::Text(fog), "(fog)");
    EXPECT_EQ(Trait::Text({}), "(fog)");
    Mirk::FogPtr value = fog;
    EXPECT_FALSE(Trait::setValueFromText(value, "(fog)"));
    EXPECT_FALSE(Trait::setValueFromText(value, ""));
    EXPECT_TRUE(value == fog);
    EXPECT_EQ(Mirk::VValue<Mirk::FogPtr>(fog).text(), "(fog)");
}

TEST_F(ShaderInjector, FogIsAnInputLikeAnyOther) {
    class Foggy : public Mirk::VObject {
    public:
        Foggy() : VObject("foggy", 0, {}) {}
        const Mirk::TypedSlot<Mirk::FogPtr> slot{this, "fog", {}, 0};
    };
    const ShellRecorderPtr shell = listenToShell();
    testing::internal::CaptureStdout();
    {
        const Keel::StrongPtr<Foggy, Mirk::VManagedObjectBase> object(new Foggy);
        const WatcherPtr watcher(new Watcher);
        object->slot->parameter()->addNotifier(watcher);
        const Mirk::FogPtr mist(new Mist);
        object->slot.set({}, mist);
        EXPECT_TRUE(object->slot.value({}) == mist);
        EXPECT_EQ(watcher->changes, 1);
        object->slot.set({}, mist);
        EXPECT_EQ(watcher->changes, 1) << "the same fog";
        object->slot.set({}, Mirk::FogPtr(new Mist));
        EXPECT_EQ(watcher->changes, 2) << "another one of the same text";
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_THAT(shell->events(), testing::Not(testing::Contains(StartsWith("warning"))));
    Mirk::VActionNotifier::clear();
}

} // namespace
