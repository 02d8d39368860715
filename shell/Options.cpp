#include <Options.hpp>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>
#include <system_error>

namespace Shell {

namespace {

/// Numbers parted by commas; throws UsageError unless there are between `least` and `most`.
std::vector<double> numbers(const std::string& option, const std::string& text, std::size_t least,
                            std::size_t most, const std::string& expected) {
    const auto refuse = [&] {
        throw UsageError(option + ": expected " + expected + ", got '" + text + "'");
    };
    std::vector<double> values;
    const char* next = text.data();
    const char* const end = next + text.size();
    for (;;) {
        double value = 0;
        const auto [stop, error] = std::from_chars(next, end, value);
        if (error != std::errc() || !std::isfinite(value)) refuse();
        values.push_back(value);
        if (stop == end) break;
        if (*stop != ',') refuse();
        next = stop + 1;
    }
    if (values.size() < least || values.size() > most) refuse();
    return values;
}

double number(const std::string& option, const std::string& text, double least, double most,
              const std::string& expected) {
    const double value = numbers(option, text, 1, 1, expected)[0];
    if (value < least || value > most) {
        throw UsageError(option + ": expected " + expected + ", got '" + text + "'");
    }
    return value;
}

int wholeNumber(const std::string& option, double value, const std::string& expected) {
    if (value < 1 || value > std::numeric_limits<int>::max() || value != std::floor(value)) {
        throw UsageError(option + ": expected " + expected);
    }
    return static_cast<int>(value);
}

Skua::PhysicalSpace::point pointOf(const std::string& option, const std::string& text) {
    const auto v = numbers(option, text, 3, 3, "three numbers X,Y,Z");
    return {v[0], v[1], v[2]};
}

Skua::PhysicalSpace::vector vectorOf(const std::string& option, const std::string& text) {
    const auto v = numbers(option, text, 3, 3, "three numbers X,Y,Z that are not all 0");
    if (v[0] == 0 && v[1] == 0 && v[2] == 0) {
        throw UsageError(option + ": expected three numbers X,Y,Z that are not all 0, got '" +
                         text + "'");
    }
    return {v[0], v[1], v[2]};
}

/// "#RRGGBB", "#RRGGBBAA", or three or four numbers from 0 to 1.
Skua::rgba_float_t colorOf(const std::string& option, const std::string& text) {
    const std::string expected = "#RRGGBB, #RRGGBBAA, or three or four numbers R,G,B,A from 0 to 1";
    const auto refuse = [&] {
        throw UsageError(option + ": expected " + expected + ", got '" + text + "'");
    };
    Skua::rgba_float_t color{0, 0, 0, 1};
    if (text.starts_with('#')) {
        if (text.size() != 7 && text.size() != 9) refuse();
        for (std::size_t i = 0; 2 * i + 1 < text.size(); ++i) {
            unsigned value = 0;
            const char* const first = text.data() + 1 + 2 * i;
            const auto [stop, error] = std::from_chars(first, first + 2, value, 16);
            if (error != std::errc() || stop != first + 2) refuse();
            color[i] = static_cast<float>(value) / 255.0F;
        }
        return color;
    }
    const auto values = numbers(option, text, 3, 4, expected);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i] < 0 || values[i] > 1) refuse();
        color[i] = static_cast<float>(values[i]);
    }
    return color;
}

std::string firstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

} // namespace

Command parseCommandLine(int argc, const char* const* argv) {
    CLI::App app("Turns files of scientific data into pictures.", "polypia");
    app.set_version_flag("--version", std::string("polypia " POLYPIA_VERSION));
    app.require_subcommand(1);
    CLI::App* const render = app.add_subcommand("render", "Draws files into a PNG picture.");

    Command command;
    RenderOptions& options = command.options;
    std::string resolution, position, focalPoint, viewUp, viewAngle, background, lineWidth,
        pointSize, samples;
    render
        ->add_option("FILE", options.files,
                     "Coastlines, rivers and borders (GSHHG netCDF), meshes (OFF, OBJ, PLY, STL; "
                     "gzip too)")
        ->required();
    render->add_option("-o,--output", options.output, "The picture to write")->required();
    render->add_option("--resolution", resolution, "Size in pixels W,H (1024,768)");
    render->add_option("--camera-position", position, "Where the camera stands: X,Y,Z");
    render->add_option("--camera-focal-point", focalPoint, "What it looks at: X,Y,Z");
    render->add_option("--camera-view-up", viewUp, "What is up in the picture: X,Y,Z");
    render->add_option("--camera-view-angle", viewAngle,
                       "Height of the picture in degrees, 0.001 to 170 (30)");
    render->add_option("--background-color", background, "#RRGGBB[AA], or R,G,B[,A] from 0 to 1");
    render->add_option("--line-width", lineWidth, "In pixels, 0.1 to 100 (1.2)");
    render->add_option("--point-size", pointSize, "In pixels, 1 to 100 (3)");
    render->add_option("--samples", samples,
                       "Samples of each pixel against jagged edges, 1 to 64 (4)");
    render->add_option("--device", options.device,
                       "Graphics device: a number, \"surfaceless\" or \"default\" (the best)");
    render->add_flag("--grounding-line", options.groundingLine,
                     "Draws Antarctica's grounding line too");
    render->add_flag("-v,--verbose", options.verbose, "Tells what is done and how long it takes");
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        command.text = render->parsed() ? render->help() : app.help("", CLI::AppFormatMode::All);
        return command;
    } catch (const CLI::CallForVersion&) {
        command.text = "polypia " POLYPIA_VERSION "\n";
        return command;
    } catch (const CLI::ParseError& error) {
        throw UsageError(firstLine(error.what()) + "; see polypia render --help");
    }

    command.render = true;
    if (!resolution.empty()) {
        const std::string expected = "a size in pixels W,H of at least 1,1";
        const auto size = numbers("--resolution", resolution, 2, 2, expected);
        options.widthPixels =
            wholeNumber("--resolution", size[0], expected + ", got '" + resolution + "'");
        options.heightPixels =
            wholeNumber("--resolution", size[1], expected + ", got '" + resolution + "'");
    }
    if (!position.empty()) options.camera.position = pointOf("--camera-position", position);
    if (!focalPoint.empty()) {
        options.camera.focalPoint = pointOf("--camera-focal-point", focalPoint);
    }
    if (!viewUp.empty()) options.camera.viewUp = vectorOf("--camera-view-up", viewUp);
    if (!viewAngle.empty()) {
        options.camera.viewAngleDegrees =
            number("--camera-view-angle", viewAngle, 0.001, 170, "degrees from 0.001 to 170");
    }
    if (!background.empty()) options.background = colorOf("--background-color", background);
    if (!lineWidth.empty()) {
        options.lineWidthPixels =
            number("--line-width", lineWidth, 0.1, 100, "pixels from 0.1 to 100");
    }
    if (!pointSize.empty()) {
        options.pointSizePixels = number("--point-size", pointSize, 1, 100, "pixels from 1 to 100");
    }
    if (!samples.empty()) {
        options.samples =
            wholeNumber("--samples", number("--samples", samples, 1, 64, "a number from 1 to 64"),
                        "a number from 1 to 64");
    }
    return command;
}

} // namespace Shell
