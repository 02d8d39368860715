#pragma once
// The command line; stands on CLI11.

#include <Camera.hpp>
#include <lightOptions.hpp>

#include <rookery/Coordinates.hpp>

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace Shell {

/// What a picture shows, whatever is done with it.
struct PictureOptions {
    std::vector<std::string> files;
    int widthPixels = 1024;
    int heightPixels = 768;
    int samples = 4;
    CameraWishes camera;
    double lineWidthPixels = 1.2;
    double pointSizePixels = 3.0;
    std::vector<LightOptions> lights;
    std::string device;
    bool groundingLine = false;
    bool verbose = false;
    bool report = false; ///< as JSON
};

enum class StereoLayout {
    sideBySide, ///< one picture, twice as wide, with the left eye's on the left
    anaglyph,   ///< one picture: red of the left eye, green and blue of the right one
    separate    ///< two pictures
};

/// Two eyes, each at half of their distance beside the camera.
struct StereoOptions {
    StereoLayout layout = StereoLayout::sideBySide;
    double eyeSeparation = 0.03; ///< in distances of the focal point
    /// From the camera, in the world: what lies there is at the same place for both eyes. At first
    /// that of the focal point.
    std::optional<double> convergence = {};
    bool toeIn = false; ///< the eyes are turned to the focal point, and not parallel
};

/// What `polypia render` is asked for.
struct RenderOptions : PictureOptions {
    std::string output;
    Skua::rgba_float_t background{0.018F, 0.026F, 0.043F, 1.0F};
    std::optional<StereoOptions> stereo;
    std::string shaderFolder; ///< for shaders that are edited; none if empty
    bool watch = false;       ///< draws anew whenever one of these has been saved
};

/// Pixels of a picture, counted from its upper left corner.
struct PixelRectangle {
    int x = 0, y = 0;
    int width = 1, height = 1;
};

/// What `polypia pick` is asked for. The rectangle lies in the picture.
struct PickOptions : PictureOptions {
    PixelRectangle rectangle;
};

/// What a command line comes to: a text that was asked for, or something to do.
using Command = std::variant<std::string, RenderOptions, PickOptions>;

/// Throws UsageError.
Command parseCommandLine(int argc, const char* const* argv);

} // namespace Shell
