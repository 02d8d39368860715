#include <Polypia/NamedRenderExceptions.hpp>

#include "memberOrder.hpp"

#include <keel/StrongPtr.hpp>
#include <keel/WeakPtr.hpp>

#include <gmock/gmock.h>

#include <type_traits>

namespace {

using Mirk::NamedRenderExceptions;
using Mirk::RenderException;

TEST(NamedRenderExceptions, IsAMap) {
    static_assert(std::is_base_of_v<std::map<std::string, RenderException>, NamedRenderExceptions>);
    NamedRenderExceptions failures;
    EXPECT_TRUE(failures.empty());
    failures["program"] = RenderException(0x502, "link", "f.cpp", 7);
    failures["program"] = RenderException(0x501, "draw", "g.cpp", 8);
    EXPECT_EQ(failures.size(), 1u) << "the last failure of a name counts";
    EXPECT_EQ(failures.at("program").str(),
              "OpenGL Error 501(Generic Render Exception) at g.cpp:8 [draw]");
    failures.clear();
    EXPECT_FALSE(failures.contains("program"));
}

TEST(NamedRenderExceptions, HasItsBasesInOrder) {
    const NamedRenderExceptions failures;
    EXPECT_TRUE(
        standInOrder(static_cast<const Keel::ReferenceBase<NamedRenderExceptions>&>(failures),
                     static_cast<const std::map<std::string, RenderException>&>(failures)));
}

TEST(NamedRenderExceptions, IsCounted) {
    static_assert(
        std::is_base_of_v<Keel::ReferenceBase<NamedRenderExceptions>, NamedRenderExceptions>);
    Keel::StrongPtr<NamedRenderExceptions> failures(new NamedRenderExceptions);
    const Keel::WeakPtr<NamedRenderExceptions> watch(failures);
    EXPECT_TRUE(watch);
    failures = {};
    EXPECT_FALSE(watch);
}

TEST(NamedRenderExceptions, CopiesItsEntriesButNotItsCounts) {
    Keel::StrongPtr<NamedRenderExceptions> failures(new NamedRenderExceptions);
    (*failures)["program"] = RenderException(1, "fn", "f", 2);
    Keel::StrongPtr<NamedRenderExceptions> copy(new NamedRenderExceptions(*failures));
    failures = {};
    EXPECT_EQ(copy->at("program").line, 2);
    NamedRenderExceptions assigned;
    assigned = *copy;
    EXPECT_EQ(assigned.at("program").line, 2);
}

TEST(NamedRenderExceptions, KeepsTheWordsOfABackendThatAreStoredAsDescription) {
    struct BackendException : RenderException {
        using RenderException::RenderException;
        std::string GLdescription() const override { return "invalid operation"; }
    };
    NamedRenderExceptions failures;
    const BackendException error(0x502, "draw", "f.cpp", 7);
    RenderException& stored = failures["program"] = error;
    stored.description = error.GLdescription();
    EXPECT_EQ(failures.at("program").str(), error.str());
}

} // namespace
