#pragma once
// Runs of the test program in processes of their own; stands on POSIX.

#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>

#include <sys/wait.h>

/// Tests of this program under a filter, with variables of the environment, in a process that runs
/// beside this one.
class RunOfThisProgram {
public:
    RunOfThisProgram(const std::string& environment, const std::string& filter)
        : _output(
              popen((environment + " '" + std::filesystem::read_symlink("/proc/self/exe").string() +
                     "' --gtest_filter='" + filter + "'")
                        .c_str(),
                    "r")) {}
    RunOfThisProgram(RunOfThisProgram&& other) noexcept
        : _output(std::exchange(other._output, nullptr)) {}
    RunOfThisProgram& operator=(RunOfThisProgram&&) = delete;
    ~RunOfThisProgram() {
        if (_output != nullptr) pclose(_output);
    }

    /// All that it prints, and behind that "exit " with its status, or "crash". To be called once.
    std::string result() {
        if (_output == nullptr) return "crash";
        std::string lines;
        for (int letter = std::fgetc(_output); letter != EOF; letter = std::fgetc(_output)) {
            lines += static_cast<char>(letter);
        }
        const int status = pclose(std::exchange(_output, nullptr));
        return lines +
               (WIFEXITED(status) ? "exit " + std::to_string(WEXITSTATUS(status)) : "crash");
    }

private:
    std::FILE* _output;
};
