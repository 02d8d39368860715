#pragma once
// Scopes of the profiler in tests; stands on GoogleTest and POSIX.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/// Whether this process writes a trace: then the test does what is to be traced, and returns.
inline bool isTraced() {
    return std::getenv("POLYPIA_TRACE") != nullptr;
}

/// The lines of a trace in which a text stands. A trace begins with a process, so that the test
/// that calls this is run once more in a process of its own.
inline std::vector<std::string> traceOfThisTest(const std::string& text) {
    namespace fs = std::filesystem;
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    std::string folder = (fs::temp_directory_path() / "polypia-trace-XXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr) return {"no folder for a trace"};
    const std::string trace = folder + "/trace.json";
    const std::string program = fs::read_symlink("/proc/self/exe").string();
    const std::string command = "POLYPIA_TRACE='" + trace + "' '" + program +
                                "' --gtest_filter=" + test.test_suite_name() + "." + test.name() +
                                " >'" + folder + "/out' 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0);
    std::vector<std::string> found;
    std::ifstream lines(trace);
    for (std::string line; std::getline(lines, line);) {
        if (line.find(text) != std::string::npos) found.push_back(line);
    }
    lines.close();
    fs::remove_all(folder);
    return found;
}
