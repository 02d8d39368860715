#include "program.hpp"

#include "../PolypiaGL/glFixture.hpp"

#include <stdexcept>

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

} // namespace

Outcome run(const std::vector<std::string>& arguments, const Surroundings& surroundings) {
    const TemporaryFolder folder;
    const std::string output = folder.path("output"), errors = folder.path("errors");
    FileActions actions;
    actions.open(STDIN_FILENO, surroundings.standardInput, O_RDONLY);
    actions.open(STDOUT_FILENO, output, O_WRONLY | O_CREAT);
    actions.open(STDERR_FILENO, errors, O_WRONLY | O_CREAT);
    std::vector<std::string> words{POLYPIA_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> environment = environmentWith(surroundings.environment);

    pid_t process = 0;
    int error = 0;
    {
        const FileSizeLimit limit(surroundings.mostBytesOfFile);
        error = posix_spawn(&process, POLYPIA_PROGRAM, actions.get(), nullptr,
                            pointersTo(words).data(), pointersTo(environment).data());
    }
    if (error != 0) throw std::runtime_error("cannot start " POLYPIA_PROGRAM);
    int status = 0;
    waitpid(process, &status, 0);
    const int exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return {exitCode, contentOf(output), contentOf(errors)};
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
