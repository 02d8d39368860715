#include <Options.hpp>
#include <Studio.hpp>
#include <UsageError.hpp>
#include <onOneLine.hpp>
#include <pick.hpp>
#include <render.hpp>

#include <Polypia/RenderException.hpp>
#include <PolypiaGL/ContextError.hpp>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <string>
#include <variant>

namespace {

constexpr int failed = 1;
constexpr int misused = 2;

int report(const std::string& message, int code) {
    std::fprintf(stderr, "polypia: %s\n", message.c_str());
    return code;
}

/// Reports that a text did not get out: the disk behind standard output may be full.
int flushOutput() {
    // What was longer than the buffer has failed ahead of this.
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return 0;
    return report(std::string("cannot write to standard output: ") + std::strerror(errno), failed);
}

/// What a command has to tell.
struct Execution {
    std::string operator()(const std::string& text) const { return text; }
    std::string operator()(const Shell::RenderOptions& options) const {
        return Shell::render(options);
    }
    std::string operator()(const Shell::PickOptions& options) const { return Shell::pick(options); }
};

int run(int argc, char** argv) {
    const std::string text = std::visit(Execution(), Shell::parseCommandLine(argc, argv));
    std::fputs(text.c_str(), stdout);
    return flushOutput();
}

} // namespace

int main(int argc, char** argv) {
    // A file beyond the limit of its size is to be an error of the write, not the end.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return run(argc, argv);
    } catch (const Shell::UsageError& error) {
        return report(Shell::onOneLine(error.what()), misused);
    } catch (const Shell::FaultyShader& error) {
        return report(error.what(), failed); // a line for each message of the compiler
    } catch (const Mirk::ContextError& error) {
        return report(error.what(), failed); // a line for each device that was tried
    } catch (const Mirk::RenderException& error) {
        return report(error.str(), failed); // may hold the log of the driver
    } catch (const std::bad_alloc&) {
        return report("there is not enough memory", failed);
    } catch (const std::exception& error) {
        return report(Shell::onOneLine(error.what()), failed);
    }
}
