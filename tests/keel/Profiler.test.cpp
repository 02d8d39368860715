#include <keel/Profiler.hpp>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include <sys/wait.h>

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

std::string contentOf(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

/// Runs a small program with scopes, as the trace starts with the process.
class Profiler : public testing::Test {
protected:
    Profiler() {
        std::string pattern = (fs::temp_directory_path() / "keel-trace-XXXXXX").string();
        folder = ::mkdtemp(pattern.data());
        trace = folder + "/trace file.json";
    }

    ~Profiler() override { fs::remove_all(folder); }

    /// Runs the probe with POLYPIA_TRACE set to `file` and gives its exit code.
    int run(const std::string& what, const std::string& file) {
        const std::string command = "POLYPIA_TRACE='" + file + "' '" TRACE_PROBE "' " + what +
                                    " >'" + folder + "/out' 2>'" + folder + "/err'";
        const int status = std::system(command.c_str());
        output = contentOf(folder + "/out");
        errors = contentOf(folder + "/err");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    /// The events of the probe; the parser is strict, so the file is valid JSON and UTF-8.
    json traced(const std::string& what) {
        EXPECT_EQ(run(what, trace), 0) << errors;
        EXPECT_THAT(errors, IsEmpty());
        return json::parse(contentOf(trace));
    }

    static std::vector<json> complete(const json& events) {
        std::vector<json> result;
        std::copy_if(events.begin(), events.end(), std::back_inserter(result),
                     [](const json& event) { return event.at("ph") == "X"; });
        return result;
    }

    static json named(const json& events, const std::string& name) {
        for (const json& event : events) {
            if (event.at("name") == name) return event;
        }
        ADD_FAILURE() << "no event " << name << " in " << events;
        return {};
    }

    std::string folder, trace, output, errors;
};

TEST_F(Profiler, IsAScopeThatIsNotCopied) {
    static_assert(!std::is_copy_constructible_v<Keel::Profiler>);
    static_assert(
        std::is_constructible_v<Keel::Profiler, const std::string&, int, const std::string&,
                                const std::string&, int, const std::string&>);
}

TEST_F(Profiler, IsOffWithoutTheVariable) {
    EXPECT_EQ(run("isEnabled", ""), 3);
    EXPECT_EQ(run("isEnabled", trace), 0);
}

TEST_F(Profiler, DoesNothingWhenOff) {
    EXPECT_EQ(run("nested", ""), 0);
    EXPECT_THAT(output + errors, IsEmpty());
    EXPECT_FALSE(fs::exists(trace));
}

TEST_F(Profiler, AllocatesNothingWhenOff) {
    EXPECT_EQ(run("allocations", ""), 0);
    EXPECT_EQ(run("allocations", trace), 3) << "the count must be able to find an allocation";
}

TEST_F(Profiler, WritesCompleteEvents) {
    const json events = traced("nested");
    const json outer = named(events, "void outer()");
    EXPECT_EQ(outer.at("ph"), "X");
    EXPECT_EQ(outer.at("cat"), "Polypia");
    EXPECT_TRUE(outer.at("pid").is_number_integer());
    EXPECT_TRUE(outer.at("tid").is_number_integer());
    EXPECT_EQ(outer.at("args"), json::parse(R"({"object": "an object", "file": "dir/f.cpp",
                                                "line": 12, "level": 5})"));
    const json inner = named(events, "void inner()");
    EXPECT_EQ(inner.at("cat"), "GL");
    EXPECT_EQ(inner.at("args"),
              json::parse(R"({"object": "o", "file": "g.cpp", "line": -3, "level": -1})"));
    EXPECT_EQ(complete(events).size(), 2u);
}

TEST_F(Profiler, TimesAreMicrosecondsAndNested) {
    const json events = traced("nested");
    const json outer = named(events, "void outer()"), inner = named(events, "void inner()");
    const double outerStart = outer.at("ts"), outerDuration = outer.at("dur");
    const double innerStart = inner.at("ts"), innerDuration = inner.at("dur");
    EXPECT_GE(outerStart, 0);
    // The scopes sleep for 2 ms and 1 ms, and sleeping never takes less.
    EXPECT_GE(innerStart - outerStart, 2000);
    EXPECT_GE(innerDuration, 1000);
    EXPECT_GE(outerStart + outerDuration, innerStart + innerDuration);
    EXPECT_LT(outerDuration, 600e6) << "no nanoseconds";
}

TEST_F(Profiler, NamesTheProcess) {
    EXPECT_EQ(named(traced("nothing"), "process_name").at("args").at("name"), "keel_trace_probe");
}

TEST_F(Profiler, EscapesTexts) {
    const json event = named(traced("badTexts"), "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x90\x9F");
    EXPECT_EQ(event.at("args").at("file"), "\"quotes\" \\back\\");
    EXPECT_EQ(event.at("cat"), "\x7F");
    std::string controls;
    for (char c = 0; c < ' '; ++c) controls += c;
    EXPECT_EQ(event.at("args").at("object"), controls);
}

TEST_F(Profiler, ReplacesBytesThatAreNoUtf8) {
    const std::string bad = "\xEF\xBF\xBD";
    const json event = named(traced("badTexts"), "a" + bad + bad);
    EXPECT_EQ(event.at("args").at("file"), "a" + bad + "z");
    EXPECT_EQ(event.at("args").at("object"), "a" + bad + bad + bad + "z");
    EXPECT_EQ(event.at("cat"), bad + bad + bad + bad + bad + bad);
}

TEST_F(Profiler, WritesTheEventsOfAllThreads) {
    const json events = traced("threads");
    EXPECT_EQ(complete(events).size(), 4000u);
    std::set<int> threads;
    for (const json& event : complete(events)) threads.insert(event.at("tid").get<int>());
    EXPECT_EQ(threads.size(), 4u);
}

TEST_F(Profiler, NamesTheThreads) {
    std::set<std::string> names;
    for (const json& event : traced("threads")) {
        if (event.at("name") == "thread_name") names.insert(event.at("args").at("name"));
    }
    EXPECT_EQ(names, (std::set<std::string>{"worker 0", "worker 1", "worker 2", "worker 3"}));
}

TEST_F(Profiler, KeepsApartThreadsThatComeAfterEachOther) {
    const json events = traced("threadsInTurn");
    std::set<int> threads;
    for (const json& event : complete(events)) threads.insert(event.at("tid").get<int>());
    EXPECT_EQ(complete(events).size(), 3u);
    EXPECT_EQ(threads.size(), 3u);
}

TEST_F(Profiler, FileIsCompleteIfThreadsLiveAtExit) {
    const json events = traced("aliveAtExit");
    named(events, "closed");
    for (const json& event : events) EXPECT_NE(event.at("name"), "open") << "has no duration yet";
}

TEST_F(Profiler, WorksInDestructorsOfStatics) {
    named(traced("staticDestructor"), "static destructor");
}

TEST_F(Profiler, ForkedChildLeavesTheFileToItsParent) {
    EXPECT_EQ(complete(traced("fork")).size(), 1u);
}

TEST_F(Profiler, ReplacesAnOlderTrace) {
    std::ofstream(trace) << std::string(100'000, 'x');
    EXPECT_EQ(complete(traced("nested")).size(), 2u);
}

TEST_F(Profiler, UnwritableFileGivesOneMessageAndNoTrace) {
    const std::string missing = folder + "/missing/trace.json";
    EXPECT_EQ(run("threads", missing), 0);
    EXPECT_EQ(errors, "Profiler: POLYPIA_TRACE: expected a file that can be written, got \"" +
                          missing + "\" (No such file or directory); no trace is written\n");
    EXPECT_EQ(run("isEnabled", missing), 3);
}

TEST_F(Profiler, FolderGivesOneMessage) {
    EXPECT_EQ(run("nested", folder), 0);
    EXPECT_THAT(errors, HasSubstr("(Is a directory)"));
}

TEST_F(Profiler, FullDiskGivesOneMessage) {
    EXPECT_EQ(run("threads", "/dev/full"), 0);
    EXPECT_EQ(errors, "Profiler: POLYPIA_TRACE: expected a file that can be written, got "
                      "\"/dev/full\" (No space left on device); no trace is written\n");
}

} // namespace
