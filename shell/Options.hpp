#pragma once
// The command line; stands on CLI11.

#include <Camera.hpp>

#include <rookery/Coordinates.hpp>

#include <string>
#include <vector>

namespace Shell {

/// What `polypia render` is asked for.
struct RenderOptions {
    std::vector<std::string> files;
    std::string output;
    int widthPixels = 1024;
    int heightPixels = 768;
    int samples = 4;
    CameraWishes camera;
    Skua::rgba_float_t background{0.018F, 0.026F, 0.043F, 1.0F};
    double lineWidthPixels = 1.2;
    double pointSizePixels = 3.0;
    std::string device;
    bool groundingLine = false;
    bool verbose = false;
};

/// What a command line comes to: something to render, or a text that was asked for.
struct Command {
    bool render = false;
    RenderOptions options;
    std::string text;
};

/// Throws UsageError.
Command parseCommandLine(int argc, const char* const* argv);

} // namespace Shell
