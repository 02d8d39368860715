#include <CapturedOutput.hpp>

#include <array>

#include <fcntl.h>
#include <unistd.h>

namespace Shell {

CapturedOutput::CapturedOutput() {
    std::fflush(stdout);
    _output = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    if (_output < 0) return;
    _file = std::tmpfile();
    if (_file != nullptr) ::dup2(::fileno(_file), STDOUT_FILENO);
}

CapturedOutput::~CapturedOutput() {
    std::fputs(end().c_str(), stdout);
    if (_output >= 0) ::close(_output);
}

std::string CapturedOutput::end() {
    if (_file == nullptr) return {};
    std::fflush(stdout);
    ::dup2(_output, STDOUT_FILENO);
    std::rewind(_file);
    std::string text;
    std::array<char, 4096> part{};
    for (std::size_t count = 1; count > 0;) {
        count = std::fread(part.data(), 1, part.size(), _file);
        text.append(part.data(), count);
    }
    std::fclose(_file);
    _file = nullptr;
    return text;
}

} // namespace Shell
