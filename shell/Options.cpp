#include <Options.hpp>

#include <UsageError.hpp>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace Shell {

namespace {

/// The value of an option, with the words for one that won't do.
struct Value {
    [[noreturn]] void refuse() const {
        throw UsageError(option + ": expected " + expected + ", got '" + text + "'");
    }

    std::string option;
    std::string text;
    std::string expected;
};

/// Numbers parted by commas, as many as wanted.
std::vector<double> numbers(const Value& value, std::size_t least, std::size_t most) {
    std::vector<double> result;
    const char* next = value.text.data();
    const char* const end = next + value.text.size();
    for (;;) {
        double number = 0;
        const auto [stop, error] = std::from_chars(next, end, number);
        if (error != std::errc() || !std::isfinite(number)) value.refuse();
        result.push_back(number);
        if (stop == end) break;
        if (*stop != ',') value.refuse();
        next = stop + 1;
    }
    if (result.size() < least || result.size() > most) value.refuse();
    return result;
}

double number(const Value& value, double least, double most) {
    const double result = numbers(value, 1, 1)[0];
    if (result < least || result > most) value.refuse();
    return result;
}

int wholeNumber(const Value& value, double number, int most) {
    if (!(number >= 1 && number <= most) || number != std::floor(number)) value.refuse();
    return static_cast<int>(number);
}

point pointOf(const std::string& option, const std::string& text) {
    // Squares of what lies between two such points are numbers still.
    constexpr double farthest = 1e100;
    const Value value{option, text, "three numbers X,Y,Z from -1e100 to 1e100"};
    const auto v = numbers(value, 3, 3);
    for (const double coordinate : v) {
        if (std::abs(coordinate) > farthest) value.refuse();
    }
    return {v[0], v[1], v[2]};
}

vector vectorOf(const std::string& option, const std::string& text) {
    const Value value{option, text, "three numbers X,Y,Z that are not all 0"};
    const auto v = numbers(value, 3, 3);
    // Made as long as the largest is, whose square can be too large or too small a number.
    const double largest = std::max({std::abs(v[0]), std::abs(v[1]), std::abs(v[2])});
    if (largest == 0) value.refuse();
    return {v[0] / largest, v[1] / largest, v[2] / largest};
}

/// "#RRGGBB", "#RRGGBBAA", or three or four numbers from 0 to 1.
Skua::rgba_float_t colorOf(const std::string& option, const std::string& text) {
    const Value value{option, text,
                      "#RRGGBB, #RRGGBBAA, or three or four numbers R,G,B,A from 0 to 1"};
    Skua::rgba_float_t color{0, 0, 0, 1};
    if (text.starts_with('#')) {
        if (text.size() != 7 && text.size() != 9) value.refuse();
        for (std::size_t i = 0; 2 * i + 1 < text.size(); ++i) {
            unsigned byte = 0;
            const char* const first = text.data() + 1 + 2 * i;
            const auto [stop, error] = std::from_chars(first, first + 2, byte, 16);
            if (error != std::errc() || stop != first + 2) value.refuse();
            color[i] = static_cast<float>(byte) / 255.0F;
        }
        return color;
    }
    const auto components = numbers(value, 3, 4);
    for (std::size_t i = 0; i < components.size(); ++i) {
        if (components[i] < 0 || components[i] > 1) value.refuse();
        color[i] = static_cast<float>(components[i]);
    }
    return color;
}

std::string deviceOf(const std::string& option, const std::string& text) {
    const bool isNumber =
        !text.empty() && text.size() < 10 && text.find_first_not_of("0123456789") == text.npos;
    if (isNumber || text == "surfaceless" || text == "default") return text;
    Value{option, text, "a device number, 'surfaceless' or 'default'"}.refuse();
}

/// In our words, or those of CLI11 where they are good.
std::string words(const CLI::ParseError& error) {
    const std::string text = error.what();
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ArgumentMismatch)) {
        return text.substr(0, text.find(':')) + ": expected one value";
    }
    return text.substr(0, text.find('\n'));
}

std::string wrongCommand(int argc, const char* const* argv) {
    return "expected the command 'render', got " +
           (argc > 1 ? "'" + std::string(argv[1]) + "'" : std::string("none"));
}

} // namespace

Command parseCommandLine(int argc, const char* const* argv) {
    CLI::App app("Turns files of scientific data into pictures.", "polypia");
    app.set_version_flag("--version", std::string("polypia " POLYPIA_VERSION));
    app.require_subcommand(1);
    CLI::App* const render = app.add_subcommand("render", "Draws files into a PNG picture.");

    Command command;
    RenderOptions& options = command.options;
    render
        ->add_option("FILE", options.files,
                     "Coastlines, rivers and borders (GSHHG netCDF), meshes and clouds of points "
                     "(OFF, OBJ, PLY, STL; gzip too)")
        ->required();
    render->add_option("-o,--output", options.output, "The picture to write")->required();

    // Each is taken as text, so that all words about wrong ones are ours.
    const auto add = [render](const std::string& name, const std::string& help, auto take) {
        render->add_option_function<std::string>(
            name, [name, take](const std::string& text) { take(name, text); }, help);
    };
    using Text = const std::string&;
    add("--resolution", "Size in pixels W,H (1024,768)", [&](Text name, Text text) {
        const Value value{name, text, "a size in pixels W,H of at least 1,1"};
        const auto size = numbers(value, 2, 2);
        constexpr int most = std::numeric_limits<int>::max();
        options.widthPixels = wholeNumber(value, size[0], most);
        options.heightPixels = wholeNumber(value, size[1], most);
    });
    add("--camera-position", "Where the camera stands: X,Y,Z",
        [&](Text name, Text text) { options.camera.position = pointOf(name, text); });
    add("--camera-focal-point", "What it looks at: X,Y,Z",
        [&](Text name, Text text) { options.camera.focalPoint = pointOf(name, text); });
    add("--camera-view-up", "What is up in the picture: X,Y,Z",
        [&](Text name, Text text) { options.camera.viewUp = vectorOf(name, text); });
    add("--camera-view-angle", "Height of the picture in degrees, 0.001 to 170 (30)",
        [&](Text name, Text text) {
            options.camera.viewAngleDegrees =
                number({name, text, "degrees from 0.001 to 170"}, 0.001, 170);
        });
    add("--background-color", "#RRGGBB[AA], or R,G,B[,A] from 0 to 1",
        [&](Text name, Text text) { options.background = colorOf(name, text); });
    add("--line-width", "In pixels, 0.1 to 100 (1.2)", [&](Text name, Text text) {
        options.lineWidthPixels = number({name, text, "pixels from 0.1 to 100"}, 0.1, 100);
    });
    add("--point-size", "In pixels, 1 to 100 (3)", [&](Text name, Text text) {
        options.pointSizePixels = number({name, text, "pixels from 1 to 100"}, 1, 100);
    });
    add("--samples", "Samples of each pixel against jagged edges, 1 to 64 (4)",
        [&](Text name, Text text) {
            const Value value{name, text, "a whole number from 1 to 64"};
            options.samples = wholeNumber(value, number(value, 1, 64), 64);
        });
    add("--device", "Graphics device: a number, \"surfaceless\" or \"default\" (the best)",
        [&](Text name, Text text) { options.device = deviceOf(name, text); });
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
        throw UsageError((render->parsed() ? words(error) : wrongCommand(argc, argv)) +
                         "; see polypia render --help");
    }
    if (options.output.empty()) throw UsageError("--output: expected the name of a file, got ''");
    command.render = true;
    return command;
}

} // namespace Shell
