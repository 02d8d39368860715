#pragma once
// Runs the program polypia as a user does, in a process of its own; stands on GoogleTest
// and TemporaryFolder.

#include "temporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <sys/types.h>

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

/// A process that goes on until it is ended, at the latest by the end of the object.
class Process {
public:
    explicit Process(const std::vector<std::string>& arguments,
                     const Surroundings& surroundings = {});
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process();

    /// Up to now.
    std::string output() const;
    std::string errors() const;
    bool isRunning();
    void send(int signal) const;
    /// Waits until it has ended.
    Outcome outcome();
    /// Waits until something is the case. False if it hasn't become so within minutes, or by the
    /// time that the process has ended.
    bool waitFor(const std::function<bool()>& condition);

private:
    const TemporaryFolder _folder;
    pid_t _process = 0;
    std::optional<int> _exitCode;
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
