// Messages that drivers wrote elsewhere, in the file recordedMessages.txt: they get the one form,
// and lead to the faults of programs wherever their texts come from.

#include "../Polypia/RecordingContext.hpp"
#include "faultyPrograms.hpp"
#include "numberedLines.hpp"

#include <PolypiaGL/glslAdapt.hpp>
#include <PolypiaGL/glslLog.hpp>
#include <PolypiaGL/textOrigins.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <ostream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

using namespace Mirk::GL;
using namespace Mirk::GLTest;
using Mirk::RenderException;
using testing::StartsWith;

namespace {

struct Recorded {
    std::string title;
    bool isOfLink = false;
    long line = 0; ///< of the first error
    std::string log;
    std::string mapped; ///< in the one form
};
std::ostream& operator<<(std::ostream& out, const Recorded& recorded) {
    return out << recorded.title;
}

std::vector<Recorded> recordedLogs() {
    std::vector<Recorded> logs;
    std::ifstream file(RECORDED_MESSAGES);
    std::string* text = nullptr;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("== ")) {
            std::istringstream words(line.substr(3));
            std::string kind;
            Recorded& recorded = logs.emplace_back();
            words >> recorded.title >> kind >> recorded.line;
            recorded.isOfLink = kind == "link";
            text = &recorded.log;
        } else if (line == "=>") {
            text = &logs.back().mapped;
        } else if (text != nullptr && !line.starts_with("-- ")) {
            *text += line + "\n";
        }
    }
    for (Recorded& recorded : logs) { // an empty line ends them
        while (recorded.mapped.ends_with("\n\n")) recorded.mapped.pop_back();
    }
    return logs;
}

std::vector<Recorded> logsOfCompilers() {
    std::vector<Recorded> logs = recordedLogs();
    std::erase_if(logs, [](const Recorded& recorded) { return recorded.isOfLink; });
    return logs;
}

std::string titleOf(const testing::TestParamInfo<Recorded>& test) {
    return test.param.title;
}

class RecordedMessages : public testing::TestWithParam<Recorded> {};

TEST_P(RecordedMessages, HaveTheOneForm) {
    const Recorded& recorded = GetParam();
    const std::string mapped =
        recorded.isOfLink ? mapLinkerLog(recorded.log, LineTable(), "vertex and fragment stage")
                          : mapCompilerLog(recorded.log, LineTable(), LineNumbering::N);
    // A log's last blanks are dropped.
    EXPECT_EQ(mapped, "\n" + recorded.mapped);
}

INSTANTIATE_TEST_SUITE_P(Logs, RecordedMessages, testing::ValuesIn(recordedLogs()), titleOf);

TEST(RecordedMessagesFile, HasSeveralLogsOfEachVendor) {
    const std::vector<Recorded> logs = recordedLogs();
    for (const char* const vendor :
         {"Nvidia_", "Amd_", "Intel_", "Apple_", "Adreno_", "Mali_", "Angle_", "Mesa_"}) {
        const auto ofVendor = [&](const Recorded& log) { return log.title.starts_with(vendor); };
        EXPECT_GE(std::count_if(logs.begin(), logs.end(), ofVendor), 2) << vendor;
    }
}

/// Keeps what is known of the texts that it gets.
class ContextOfOrigins : public RecordingContext {
public:
    ProgramPtr createProgram(const std::vector<std::string>& vertexCode,
                             const std::string& vertexName, int vertexLine, GeometryInputType input,
                             const std::vector<std::string>& geometryCode,
                             GeometryOutputType output, const std::string& geometryName,
                             int geometryLine, const std::vector<std::string>& fragmentCode,
                             const std::string& fragmentName, int fragmentLine,
                             const LinkParameters& parameters,
                             const ProgramPtr& previous) override {
        origins = textOrigins;
        return RecordingContext::createProgram(
            vertexCode, vertexName, vertexLine, input, geometryCode, output, geometryName,
            geometryLine, fragmentCode, fragmentName, fragmentLine, parameters, previous);
    }
    using RenderBasin::createProgram;

    std::vector<TextOrigin> origins;
};

/// Composes faulty programs and has them refused in the words of a recorded log.
class RecordedFaults : public testing::TestWithParam<Recorded>, protected FaultyPrograms {
protected:
    RecordedFaults() : FaultyPrograms(programmable) {}

    /// A stage, and what the backend knows of it.
    StageText textOf(Stage stage, const RecordingProgram::Stage& recorded) const {
        StageText text{stage, recorded.code.empty() ? std::string() : recorded.code.front()};
        const auto origin =
            std::find_if(context.origins.begin(), context.origins.end(),
                         [&](const auto& known) { return known.stage == recorded.name; });
        if (origin == context.origins.end()) return text;
        text.isWhole = origin->isVerbatim;
        text.mainLine = origin->firstLine;
        if (origin->file.empty()) text.ownName = origin->stage;
        return text;
    }
    AdaptedProgram adapted(const RecordingProgram& program) const {
        std::vector<StageText> texts{textOf(Stage::Vertex, program.vertex)};
        AdaptOptions options;
        if (!program.geometry.code.empty()) {
            texts.push_back(textOf(Stage::Geometry, program.geometry));
            options.geometryInput = GeometryInput::Triangles;
            options.geometryOutput = GeometryOutput::TriangleStrip;
        }
        texts.push_back(textOf(Stage::Fragment, program.fragment));
        return adaptProgram(texts, options);
    }
    /// The line that a compiler finds the fault in, of the one stage that has it.
    static long lineOf(const Fault& fault, const AdaptedStage& stage) {
        const long version = stage.numbering == LineNumbering::N ? 330 : 130;
        for (const auto& [number, line] : numberedLines(stage.text, version)) {
            if (line.find(fault.words) != std::string::npos) return number;
        }
        return -1;
    }
    /// The log, its first error being in that line.
    static std::string logWithErrorIn(long line) {
        const std::regex place("(^|\n)((?:[A-Z]+: )?0[:(])" + std::to_string(GetParam().line) +
                               "(?=[:()])");
        return std::regex_replace(GetParam().log, place, "$1$02" + std::to_string(line));
    }

    void expect(const Fault& fault) {
        const Keel::StrongPtr<RecordingProgram, Mirk::Polyp::Tentacle> program(
            compileFaulty(context));
        const AdaptedProgram texts = adapted(*program);
        const std::string name = "N." + stageSuffix();
        const RecordingProgram::Stage& stage = stageSuffix() == "vert"   ? program->vertex
                                               : stageSuffix() == "geom" ? program->geometry
                                                                         : program->fragment;
        for (const AdaptedStage& compiled : texts.stages) {
            const long line = lineOf(fault, compiled);
            if (line < 0) continue;
            RenderException exception(0, "createProgram", name.c_str(), 0);
            exception.shaderLog =
                mapCompilerLog(logWithErrorIn(line), texts.lines, compiled.numbering);
            nameFiles(exception, context.origins);
            expectPlace(fault, exception, stage.code.front());
            return;
        }
        ADD_FAILURE() << "no stage has " << fault.words;
    }
    void expectPlace(const Fault& fault, const RenderException& exception,
                     const std::string& composed) const {
        const bool isComposed = fault.file == "0";
        const std::string log = exception.shaderLog.str();
        EXPECT_EQ(exception.file.str(), isComposed ? "composed N." + stageSuffix() : fault.file);
        EXPECT_THAT(log, StartsWith("\n0(" + std::to_string(exception.line) + ") : error: "));
        if (isComposed) {
            EXPECT_EQ(splitLines(composed).at(static_cast<std::size_t>(exception.line - 1)),
                      fault.words);
        } else {
            EXPECT_EQ(static_cast<std::size_t>(exception.line), fault.line);
        }
        EXPECT_EQ(splitLines(log).size(), splitLines("\n" + GetParam().mapped).size())
            << "nothing is lost";
    }

    const ShaderFolder folder;
    ContextOfOrigins context;
    ToldProgrammable programmable;
};

#if defined(__SANITIZE_ADDRESS__)
constexpr int faultsOfAKind = 5; // each of which takes ten times as long
#else
constexpr int faultsOfAKind = 40;
#endif

TEST_P(RecordedFaults, AreFoundInEachKindOfText) {
    for (int i = 0; i < faultsOfAKind; ++i) {
        expect(inMainCode());
        expect(inOverridingFile(i));
        expect(inIncludedFile(i));
        expect(inPrefix(i));
        expect(inInjectedSegment(i));
    }
}

INSTANTIATE_TEST_SUITE_P(Logs, RecordedFaults, testing::ValuesIn(logsOfCompilers()), titleOf);

} // namespace
