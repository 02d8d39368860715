#pragma once
// Runs the program polypia as a user does, in a process of its own; stands on GoogleTest
// and TemporaryFolder.

#include "temporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace Shell::Test {

/// What surrounds the process.
struct Surroundings {
    std::map<std::string, std::string> environment = {}; ///< added to that of the tests
    std::optional<unsigned long> mostBytesOfFile = {};   ///< stands for a full disk
    std::string standardInput = "/dev/null";
};

struct Outcome {
    int exitCode; ///< the signal below zero if one has ended the process
    std::string output;
    std::string errors;

    friend void PrintTo(const Outcome& outcome, std::ostream* out) {
        *out << "exit code " << outcome.exitCode << ", output \"" << outcome.output
             << "\", errors \"" << outcome.errors << "\"";
    }
};

/// Waits until it has ended.
Outcome run(const std::vector<std::string>& arguments, const Surroundings& surroundings = {});

/// Is it a refusal: that exit code, one line on standard error with all of the words, nothing on
/// standard output?
MATCHER_P2(Refuses, exitCode, words, "") {
    const std::vector<std::string> expected(words);
    bool ok = arg.exitCode == exitCode && arg.output.empty();
    ok = ok && arg.errors.starts_with("polypia: ") && arg.errors.ends_with('\n');
    ok = ok && arg.errors.find('\n') == arg.errors.size() - 1;
    for (const std::string& word : expected) ok = ok && arg.errors.find(word) != std::string::npos;
    return ok;
}

using Words = std::vector<std::string>;

/// Tests that draw, with a folder for inputs and one for the picture. Skipped where nothing can
/// be drawn.
class Drawing : public testing::Test {
protected:
    void SetUp() override;

    std::string input(const std::string& name, const std::string& content) const {
        return _inputs.write(name, content);
    }
    std::string picture() const { return _outputs.path("picture.png"); }
    /// Renders to picture().
    Outcome render(std::vector<std::string> arguments, const Surroundings& surroundings = {}) const;

    TemporaryFolder _inputs, _outputs;
};

} // namespace Shell::Test
