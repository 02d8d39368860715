#include <keel/SpeakPtr.hpp>

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <vector>

using Keel::SpeakPtr;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

struct Seal {};

/// What is printed to standard error and handed to the listener by one operation.
class SpeakPtrTest : public testing::Test {
protected:
    SpeakPtrTest() {
        speaker.setListener([this](const std::string& line) { lines.push_back(line); });
        testing::internal::CaptureStderr();
    }
    ~SpeakPtrTest() override { speaker.setListener({}); }
    static std::string printed() { return testing::internal::GetCapturedStderr(); }

    SpeakPtr& speaker = SpeakPtr::theSpeaker();
    std::vector<std::string> lines;
};

TEST_F(SpeakPtrTest, IsOne) {
    EXPECT_EQ(&SpeakPtr::theSpeaker(), &speaker);
    EXPECT_EQ(printed(), "");
}

TEST_F(SpeakPtrTest, TellsAnInvalidWeakCount) {
    speaker.InvalidWeakPtr(typeid(int), typeid(Seal), typeid(long), typeid(Seal), -111, -1, &lines,
                           nullptr, 42);
    EXPECT_THAT(printed(), AllOf(HasSubstr("Seal"), HasSubstr("weak count -1"),
                                 HasSubstr("strong count -111"), EndsWith("id 42\n")));
    EXPECT_EQ(lines.size(), 1u);
}

TEST_F(SpeakPtrTest, TellsAConstructionFromItself) {
    speaker.SelfConstruction(typeid(Seal), &lines, nullptr);
    EXPECT_THAT(printed(), HasSubstr("is constructed from itself"));
    EXPECT_EQ(lines.size(), 1u);
}

TEST_F(SpeakPtrTest, TellsAChangeWhileTheLastReferenceGoes) {
    speaker.WarningUnctionChange(2, 3, typeid(Seal));
    EXPECT_THAT(printed(),
                HasSubstr("Seal got new references while its last one went: strong count "
                          "2, weak count 3\n"));
}

TEST_F(SpeakPtrTest, TracesReferences) {
    speaker.printRS("copy", "of a pointer", typeid(Seal), true);
    speaker.printRS("release", "of a pointer", typeid(int), 1, 2, typeid(Seal), &lines, &lines);
    EXPECT_THAT(printed(), AllOf(HasSubstr("copy of a pointer: "), HasSubstr("Seal, alive\n"),
                                 HasSubstr("release of a pointer: int to "),
                                 HasSubstr("strong count 1, weak count 2")));
    EXPECT_EQ(lines.size(), 2u);
}

TEST_F(SpeakPtrTest, CutsTextsThatAreTooLongForALine) {
    speaker.printRS(std::string(5000, 'x').c_str(), "", typeid(Seal), true);
    EXPECT_THAT(printed(), AllOf(HasSubstr("xxxx"), EndsWith("x\n")));
}

TEST_F(SpeakPtrTest, SurvivesAListenerThatThrows) {
    speaker.setListener([](const std::string&) { throw std::runtime_error("no"); });
    speaker.WarningUnctionChange(2, 3, typeid(Seal));
    EXPECT_THAT(printed(), HasSubstr("Seal got new references"));
}

} // namespace
