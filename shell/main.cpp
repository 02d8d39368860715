#include <Options.hpp>
#include <UsageError.hpp>
#include <render.hpp>

#include <Polypia/RenderException.hpp>
#include <PolypiaGL/ContextError.hpp>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <string>

namespace {

constexpr int failed = 1;
constexpr int misused = 2;

int report(const std::string& message, int code) {
    std::fprintf(stderr, "polypia: %s\n", message.c_str());
    return code;
}

/// Names of files and values of options may hold anything.
std::string onOneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char letter) {
            const auto code = static_cast<unsigned char>(letter);
            return code < 0x20 || code == 0x7f;
        },
        '?');
    return text;
}

/// Reports that a text did not get out: the disk behind standard output may be full.
int flushOutput() {
    if (std::fflush(stdout) == 0) return 0;
    return report(std::string("cannot write to standard output: ") + std::strerror(errno), failed);
}

int run(int argc, char** argv) {
    const Shell::Command command = Shell::parseCommandLine(argc, argv);
    if (command.render) {
        Shell::render(command.options);
    } else {
        std::fputs(command.text.c_str(), stdout);
    }
    return flushOutput();
}

} // namespace

int main(int argc, char** argv) {
    // A file beyond the limit of its size is to be an error of the write, not the end.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return run(argc, argv);
    } catch (const Shell::UsageError& error) {
        return report(onOneLine(error.what()), misused);
    } catch (const Mirk::ContextError& error) {
        return report(error.what(), failed); // a line for each device that was tried
    } catch (const Mirk::RenderException& error) {
        return report(error.str(), failed); // may hold the log of the driver
    } catch (const std::bad_alloc&) {
        return report("there is not enough memory", failed);
    } catch (const std::exception& error) {
        return report(onOneLine(error.what()), failed);
    }
}
