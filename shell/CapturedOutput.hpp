#pragma once
// What others print; stands on the standard library.

#include <cstdio>
#include <string>

namespace Shell {

/// Keeps what the process prints to standard output; what nobody has asked for by the end of the
/// scope is printed then. One at a time. Without room for it, all is printed at once.
class CapturedOutput {
public:
    CapturedOutput();
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;
    ~CapturedOutput();

    /// What was printed up to now; what comes is printed.
    std::string end();

private:
    std::FILE* _file = nullptr; // null: nothing is kept
    int _output = -1;           // what standard output was
};

} // namespace Shell
