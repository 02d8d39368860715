#include "program.hpp"

#include "../PolypiaGL/glFixture.hpp"

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Shell::Test {

namespace {

/// The children inherit the limit.
class FileSizeLimit {
public:
    explicit FileSizeLimit(const std::optional<unsigned long>& mostBytes) {
        getrlimit(RLIMIT_FSIZE, &_before);
        if (!mostBytes) return;
        rlimit limit = _before;
        limit.rlim_cur = *mostBytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &_before); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit _before{};
};

class FileActions {
public:
    FileActions() { posix_spawn_file_actions_init(&_actions); }
    ~FileActions() { posix_spawn_file_actions_destroy(&_actions); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    void open(int descriptor, const std::string& path, int flags) {
        posix_spawn_file_actions_addopen(&_actions, descriptor, path.c_str(), flags, 0600);
    }
    const posix_spawn_file_actions_t* get() const { return &_actions; }

private:
    posix_spawn_file_actions_t _actions;
};

std::vector<std::string> environmentWith(const std::map<std::string, std::string>& added) {
    std::vector<std::string> result;
    for (char** each = environ; *each != nullptr; ++each) {
        const std::string entry = *each;
        if (!added.contains(entry.substr(0, entry.find('=')))) result.push_back(entry);
    }
    for (const auto& [name, value] : added) result.push_back(name + "=" + value);
    return result;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

int exitCodeOf(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

} // namespace

Process::Process(const std::vector<std::string>& arguments, const Surroundings& surroundings) {
    FileActions actions;
    actions.open(STDIN_FILENO, surroundings.standardInput, O_RDONLY);
    actions.open(STDOUT_FILENO, _folder.path("output"), O_WRONLY | O_CREAT);
    actions.open(STDERR_FILENO, _folder.path("errors"), O_WRONLY | O_CREAT);
    std::vector<std::string> words{POLYPIA_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> environment = environmentWith(surroundings.environment);

    int error = 0;
    {
        const FileSizeLimit limit(surroundings.mostBytesOfFile);
        error = posix_spawn(&_process, POLYPIA_PROGRAM, actions.get(), nullptr,
                            pointersTo(words).data(), pointersTo(environment).data());
    }
    if (error != 0) throw std::runtime_error("cannot start " POLYPIA_PROGRAM);
}

Process::~Process() {
    if (!isRunning()) return;
    send(SIGKILL);
    outcome();
}

std::string Process::output() const {
    return contentOf(_folder.path("output"));
}

std::string Process::errors() const {
    return contentOf(_folder.path("errors"));
}

bool Process::isRunning() {
    int status = 0;
    if (!_exitCode && waitpid(_process, &status, WNOHANG) != 0) _exitCode = exitCodeOf(status);
    return !_exitCode;
}

void Process::send(int signal) const {
    if (!_exitCode) kill(_process, signal);
}

Outcome Process::outcome() {
    int status = 0;
    if (!_exitCode) {
        waitpid(_process, &status, 0);
        _exitCode = exitCodeOf(status);
    }
    return {*_exitCode, output(), errors()};
}

bool Process::waitFor(const std::function<bool()>& condition) {
    using Clock = std::chrono::steady_clock;
    const auto latest = Clock::now() + std::chrono::minutes(3);
    while (!condition()) {
        if (!isRunning() || Clock::now() > latest) return condition();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

Outcome run(const std::vector<std::string>& arguments, const Surroundings& surroundings) {
    return Process(arguments, surroundings).outcome();
}

void Drawing::SetUp() {
    static std::string reason;
    static const bool canDraw = Mirk::GLTest::tryContext({}, reason) != nullptr;
    if (!canDraw) POLYPIA_NO_CONTEXT(reason);
}

Outcome Drawing::render(std::vector<std::string> arguments,
                        const Surroundings& surroundings) const {
    arguments.insert(arguments.begin(), "render");
    arguments.insert(arguments.end(), {"-o", picture()});
    return run(arguments, surroundings);
}

} // namespace Shell::Test
