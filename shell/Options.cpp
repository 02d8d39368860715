#include <Options.hpp>

#include <UsageError.hpp>
#include <optionValues.hpp>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <utility>

namespace Shell {

namespace {

using Text = const std::string&;

/// An option whose value is taken as text, so that all words about wrong ones are ours.
void addOption(CLI::App& command, Text name, Text help,
               const std::function<void(Text name, Text text)>& take) {
    command.add_option_function<std::string>(
        name, [name, take](Text text) { take(name, text); }, help);
}

// --- What the commands have in common ------------------------------------------------------------

void addCamera(CLI::App& command, CameraWishes& camera) {
    addOption(command, "--camera-position", "Where the camera stands: X,Y,Z",
              [&](Text name, Text text) { camera.position = pointOf(name, text); });
    addOption(command, "--camera-focal-point", "What it looks at: X,Y,Z",
              [&](Text name, Text text) { camera.focalPoint = pointOf(name, text); });
    addOption(command, "--camera-view-up", "What is up in the picture: X,Y,Z",
              [&](Text name, Text text) { camera.viewUp = vectorOf(name, text); });
    addOption(
        command, "--camera-view-angle", "Height of the picture in degrees, 0.001 to 170 (30)",
        [&](Text name, Text text) {
            camera.viewAngleDegrees = number({name, text, "degrees from 0.001 to 170"}, 0.001, 170);
        });
}

void addLights(CLI::App& command, std::vector<LightOptions>& lights) {
    static constexpr const char* name = "--light";
    const auto take = [&lights](const std::vector<std::string>& texts) {
        for (Text text : texts) lights.push_back(lightOf(name, text));
    };
    const std::string help =
        "A light for meshes, in place of the one that goes with the camera: KIND or "
        "KIND:NAME=VALUE,NAME=VALUE...; given several times for several lights. Kinds and names "
        "are " +
        helpOfLights();
    // Or the files behind it would be lights.
    command.add_option_function<std::vector<std::string>>(name, take, help)
        ->allow_extra_args(false);
}

void addLook(CLI::App& command, PictureOptions& options) {
    addOption(command, "--line-width", "In pixels, 0.1 to 100 (1.2)", [&](Text name, Text text) {
        options.lineWidthPixels = number({name, text, "pixels from 0.1 to 100"}, 0.1, 100);
    });
    addOption(command, "--point-size", "In pixels, 1 to 100 (3)", [&](Text name, Text text) {
        options.pointSizePixels = number({name, text, "pixels from 1 to 100"}, 1, 100);
    });
    addOption(
        command, "--samples",
        "Samples of each pixel against jagged edges, 1 to 64, or as many as the driver has (4)",
        [&](Text name, Text text) {
            const Value value{name, text, "a whole number from 1 to 64"};
            options.samples = wholeNumber(value, number(value, 1, 64), 1, 64);
        });
    addLights(command, options.lights);
    command.add_flag("--grounding-line", options.groundingLine,
                     "Draws Antarctica's grounding line too");
}

void addWords(CLI::App& command, PictureOptions& options) {
    addOption(command, "--report",
              "Tells everything to standard output, for programs; the one form is \"json\"",
              [&](Text name, Text text) {
                  if (text != "json") Value{name, text, "'json'"}.refuse();
                  options.report = true;
              });
    command.add_flag("-v,--verbose", options.verbose, "Tells what is done and how long it takes");
}

void addPicture(CLI::App& command, PictureOptions& options) {
    addOption(command, "--resolution", "Size in pixels W,H (1024,768)", [&](Text name, Text text) {
        const std::vector<int> size = sizeOf(name, text);
        options.widthPixels = size[0];
        options.heightPixels = size[1];
    });
    addCamera(command, options.camera);
    addLook(command, options);
    addOption(command, "--device",
              "Graphics device: a number, \"surfaceless\" or \"default\" (the best)",
              [&](Text name, Text text) { options.device = deviceOf(name, text); });
    addWords(command, options);
}

void checkPicture(const PictureOptions& options) {
    if (!options.verbose || !options.report) return;
    throw UsageError("--verbose: expected without --report, which tells the same");
}

constexpr const char* kindsOfFiles =
    "Coastlines, rivers and borders (GSHHG netCDF), meshes and clouds of points "
    "(OFF, OBJ, PLY, STL; gzip too)";

// --- render --------------------------------------------------------------------------------------

/// The options for stereo as they come, in any order.
struct StereoWords {
    std::optional<StereoLayout> layout;
    std::optional<double> eyeSeparation;
    std::optional<double> convergence;
    bool toeIn = false;
};

StereoLayout layoutOf(Text name, Text text) {
    static const std::map<std::string, StereoLayout> layouts{
        {"side-by-side", StereoLayout::sideBySide},
        {"anaglyph", StereoLayout::anaglyph},
        {"separate", StereoLayout::separate}};
    const auto found = layouts.find(text);
    if (found != layouts.end()) return found->second;
    Value{name, text, "'side-by-side', 'anaglyph' or 'separate'"}.refuse();
}

void addStereo(CLI::App& command, StereoWords& words) {
    addOption(command, "--stereo",
              "Draws for two eyes: \"side-by-side\" is one picture twice as wide with the left "
              "eye's on the left; \"anaglyph\" has the red of the left eye's with the green and "
              "blue of the right eye's, each as it is; \"separate\" is two files, named with "
              "-left and -right",
              [&](Text name, Text text) { words.layout = layoutOf(name, text); });
    addOption(
        command, "--eye-separation",
        "Between the eyes, in distances of the focal point, 0.0001 to 1 (0.03)",
        [&](Text name, Text text) {
            words.eyeSeparation = number({name, text, "a number from 0.0001 to 1"}, 0.0001, 1);
        });
    addOption(command, "--convergence",
              "Distance of what both eyes see at the same place, in units of the data (that of "
              "the focal point)",
              [&](Text name, Text text) {
                  const Value value{name, text, "a distance above 0 and up to 1e100"};
                  words.convergence =
                      number(value, std::numeric_limits<double>::denorm_min(), 1e100);
              });
    command.add_flag("--toe-in", words.toeIn,
                     "Turns the eyes to the focal point; else they look parallel, through skewed "
                     "frusta");
}

std::optional<StereoOptions> stereoOf(const StereoWords& words) {
    if (!words.layout) {
        const std::pair<bool, const char*> others[] = {
            {words.eyeSeparation.has_value(), "--eye-separation"},
            {words.convergence.has_value(), "--convergence"},
            {words.toeIn, "--toe-in"}};
        for (const auto& [isGiven, option] : others) {
            if (isGiven) throw UsageError(std::string(option) + ": expected with --stereo only");
        }
        return {};
    }
    if (words.toeIn && words.convergence) {
        throw UsageError("--convergence: expected without --toe-in, which turns the eyes to the "
                         "focal point");
    }
    StereoOptions options;
    options.layout = *words.layout;
    options.eyeSeparation = words.eyeSeparation.value_or(options.eyeSeparation);
    options.convergence = words.convergence;
    options.toeIn = words.toeIn;
    return options;
}

void addShaders(CLI::App& command, RenderOptions& options) {
    addOption(command, "--edit-shaders",
              "A folder that shaders are taken from, to be edited there; those that are missing "
              "are written to it",
              [&](Text name, Text text) { options.shaderFolder = folderOf(name, text); });
    command.add_flag("--watch", options.watch,
                     "Writes the picture anew whenever one of these shaders has been saved, until "
                     "interrupted (Ctrl-C)");
}

void checkWatch(const RenderOptions& options) {
    if (!options.watch) return;
    const bool isTwo = options.stereo && options.stereo->layout == StereoLayout::separate;
    if (options.shaderFolder.empty()) {
        throw UsageError("--watch: expected with --edit-shaders only");
    }
    if (options.report) {
        throw UsageError("--watch: expected without --report, which tells of one picture");
    }
    if (isTwo) {
        throw UsageError("--watch: expected without --stereo=separate, which is two pictures");
    }
}

/// `polypia render`.
class RenderCommand {
public:
    explicit RenderCommand(CLI::App& program)
        : app(*program.add_subcommand("render", "Draws files into a PNG picture.")) {
        app.add_option("FILE", _options.files, kindsOfFiles)->required();
        app.add_option("-o,--output", _options.output, "The picture to write")->required();
        addPicture(app, _options);
        addOption(app, "--background-color", "#RRGGBB[AA], or R,G,B[,A] from 0 to 1",
                  [&](Text name, Text text) { _options.background = colorOf(name, text); });
        addStereo(app, _stereo);
        addShaders(app, _options);
    }

    // The program writes into this.
    RenderCommand(const RenderCommand&) = delete;
    RenderCommand& operator=(const RenderCommand&) = delete;

    RenderOptions options() const {
        checkPicture(_options);
        if (!std::filesystem::path(_options.output).has_filename()) {
            Value{"--output", _options.output, "the name of a file"}.refuse();
        }
        RenderOptions result = _options;
        result.stereo = stereoOf(_stereo);
        checkWatch(result);
        return result;
    }

    CLI::App& app;

private:
    RenderOptions _options;
    StereoWords _stereo;
};

// --- pick ----------------------------------------------------------------------------------------

bool isNumber(Text word) {
    return numberIn(word).has_value();
}

/// Of two or four numbers; it lies in the picture.
PixelRectangle rectangleOf(const std::vector<std::string>& words, const PictureOptions& options) {
    Value value{"X Y [W H]", "",
                "whole numbers of pixels within the picture of " +
                    std::to_string(options.widthPixels) + " x " +
                    std::to_string(options.heightPixels)};
    for (Text word : words) value.text += (value.text.empty() ? "" : " ") + word;
    const auto within = [&](std::size_t i, int least, int most) {
        return wholeNumber(value, *numberIn(words[i]), least, most);
    };
    PixelRectangle result;
    result.x = within(0, 0, options.widthPixels - 1);
    result.y = within(1, 0, options.heightPixels - 1);
    if (words.size() == 2) return result;
    result.width = within(2, 1, options.widthPixels - result.x);
    result.height = within(3, 1, options.heightPixels - result.y);
    return result;
}

/// `polypia pick`.
class PickCommand {
public:
    explicit PickCommand(CLI::App& program)
        : app(*program.add_subcommand(
              "pick", "Tells what lies under pixels of the picture that `render` would draw with "
                      "the same options.")) {
        app.add_option("FILE", _words,
                       std::string(kindsOfFiles) +
                           ". Behind them the rectangle of pixels: X Y from the upper left "
                           "corner of the picture, from 0, and W H for more than one pixel. A "
                           "file whose name is a number is given as ./5")
            ->required();
        addPicture(app, _options);
    }

    // The program writes into this.
    PickCommand(const PickCommand&) = delete;
    PickCommand& operator=(const PickCommand&) = delete;

    PickOptions options() const {
        checkPicture(_options);
        const auto firstNumber = std::find_if(_words.begin(), _words.end(), isNumber);
        PickOptions result = _options;
        result.files.assign(_words.begin(), firstNumber);
        const std::vector<std::string> rectangle(firstNumber, _words.end());
        checkOrder(result.files, rectangle);
        result.rectangle = rectangleOf(rectangle, _options);
        return result;
    }

    CLI::App& app;

private:
    static void checkOrder(const std::vector<std::string>& files,
                           const std::vector<std::string>& rectangle) {
        const auto word = std::find_if_not(rectangle.begin(), rectangle.end(), isNumber);
        if (word != rectangle.end()) {
            throw UsageError("X Y [W H]: expected numbers behind all files, got '" + *word +
                             "' behind '" + *(word - 1) +
                             "'; a file whose name is a number is given as ./" + *(word - 1));
        }
        if (files.empty()) throw UsageError("FILE: expected a file ahead of X Y [W H], got none");
        if (rectangle.size() == 2 || rectangle.size() == 4) return;
        throw UsageError("X Y [W H]: expected two or four numbers behind the files, got " +
                         std::to_string(rectangle.size()));
    }

    std::vector<std::string> _words; ///< files and numbers
    PickOptions _options;
};

// --- Words about the whole -----------------------------------------------------------------------

/// In our words, or those of CLI11 where they are good.
std::string words(const CLI::ParseError& error) {
    const std::string text = error.what();
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ArgumentMismatch)) {
        return text.substr(0, text.find(':')) + ": expected one value";
    }
    return text.substr(0, text.find('\n'));
}

std::string wrongCommand(int argc, const char* const* argv) {
    return "expected the command 'render' or 'pick', got " +
           (argc > 1 ? "'" + std::string(argv[1]) + "'" : std::string("none")) +
           "; see polypia --help";
}

} // namespace

Command parseCommandLine(int argc, const char* const* argv) {
    CLI::App app("Turns files of scientific data into pictures.", "polypia");
    app.set_version_flag("--version", std::string("polypia " POLYPIA_VERSION));
    app.require_subcommand(1);
    const RenderCommand render(app);
    const PickCommand pick(app);
    const auto parsedCommand = [&]() -> const CLI::App* {
        if (render.app.parsed()) return &render.app;
        return pick.app.parsed() ? &pick.app : nullptr;
    };
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        const CLI::App* const command = parsedCommand();
        return command != nullptr ? command->help() : app.help("", CLI::AppFormatMode::All);
    } catch (const CLI::CallForVersion&) {
        return "polypia " POLYPIA_VERSION "\n";
    } catch (const CLI::ParseError& error) {
        const CLI::App* const command = parsedCommand();
        if (command == nullptr) throw UsageError(wrongCommand(argc, argv));
        throw UsageError(words(error) + "; see polypia " + command->get_name() + " --help");
    }
    if (render.app.parsed()) return render.options();
    return pick.options();
}

} // namespace Shell
