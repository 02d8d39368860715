// Every slot of every display object says what it is for.

#include "displayData.hpp"

#include <Displays/Displays.hpp>
#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VValue.hpp>

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

using namespace Mirk;

namespace {

struct Kind {
    const char* name;
    std::function<VObject*()> make;
    std::size_t inputs; ///< at least, of its own
};
std::ostream& operator<<(std::ostream& out, const Kind& kind) {
    return out << kind.name;
}

class SlotHelp : public testing::TestWithParam<Kind> {
protected:
    ~SlotHelp() override { VActionNotifier::clear(); }

    static std::string helpOf(const VSlotPtr& slot) {
        const VValuePtr help = slot->parameter()->getProperty("help");
        const auto* const text = dynamic_cast<const VTypedValueBase<std::string>*>(help.get());
        std::string words;
        if (text != nullptr) text->get(words);
        return words;
    }
    static void expectSentence(const VSlotPtr& slot) {
        const std::string help = helpOf(slot);
        EXPECT_GT(help.size(), 10U) << slot->Name();
        EXPECT_TRUE(help.ends_with('.')) << slot->Name() << ": " << help;
    }
};

TEST_P(SlotHelp, IsASentenceForEachInputAndOutput) {
    const Keel::StrongPtr<VObject, VManagedObjectBase> object(GetParam().make());
    EXPECT_GE(object->inputs().size(), GetParam().inputs);
    EXPECT_FALSE(object->outputs().empty());
    for (const VSlotPtr& input : object->inputs()) expectSentence(input);
    for (const VSlotPtr& output : object->outputs()) expectSentence(output);
}

INSTANTIATE_TEST_SUITE_P(
    Of, SlotHelp,
    testing::Values(Kind{"PointCloud", [] { return new PointCloud("object", cloud({})); }, 3},
                    Kind{"LineSet", [] { return new LineSet("object", polylines({}), false); }, 3},
                    Kind{"TriangleSurface",
                         [] { return new TriangleSurface("object", mesh({}, {})); }, 9},
                    Kind{"BoundingBoxDisplay", [] { return new BoundingBoxDisplay("object"); }, 3},
                    Kind{"GlobeDisplay", [] { return new GlobeDisplay("object"); }, 3},
                    Kind{"AmbientLight", [] { return new AmbientLight("object"); }, 2},
                    Kind{"DirectionalLight", [] { return new DirectionalLight("object"); }, 4},
                    Kind{"PositionalLight", [] { return new PositionalLight("object"); }, 7},
                    Kind{"SpotLight", [] { return new SpotLight("object"); }, 10},
                    Kind{"Headlight", [] { return new Headlight("object"); }, 3}),
    [](const testing::TestParamInfo<Kind>& test) { return std::string(test.param.name); });

} // namespace
