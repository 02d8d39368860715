#include <Options.hpp>
#include <render.hpp>

#include <Polypia/RenderException.hpp>

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

namespace {

constexpr int failed = 1;
constexpr int misused = 2;

int report(const std::string& message, int code) {
    std::fprintf(stderr, "polypia: %s\n", message.c_str());
    return code;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const Shell::Command command = Shell::parseCommandLine(argc, argv);
        if (command.render) {
            Shell::render(command.options);
        } else {
            std::fputs(command.text.c_str(), stdout);
        }
        return 0;
    } catch (const Shell::UsageError& error) {
        return report(error.what(), misused);
    } catch (const std::invalid_argument& error) {
        return report(error.what(), misused);
    } catch (const Mirk::RenderException& error) {
        return report(error.str(), failed);
    } catch (const std::exception& error) {
        return report(error.what(), failed);
    }
}
