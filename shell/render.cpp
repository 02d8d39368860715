#include <render.hpp>

#include <PictureFiles.hpp>
#include <Studio.hpp>
#include <eyes.hpp>
#include <pictures.hpp>
#include <report.hpp>
#include <watch.hpp>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace Shell {

namespace {

std::vector<std::string> outputsOf(const RenderOptions& options) {
    const bool areTwo = options.stereo && options.stereo->layout == StereoLayout::separate;
    return areTwo ? namesForEyes(options.output) : std::vector{options.output};
}

/// By a file that goes at once. Throws std::runtime_error if none can be made there.
void checkShaderFolder(const std::string& folder) {
    std::string path = folder + "/.polypia-XXXXXX";
    const int file = ::mkostemp(path.data(), O_CLOEXEC);
    if (file < 0) {
        throw std::runtime_error(
            "--edit-shaders: expected a folder that files can be written to, got '" + folder +
            "': " + std::generic_category().message(errno));
    }
    ::close(file);
    ::unlink(path.c_str());
}

} // namespace

std::string render(const RenderOptions& options) {
    const bool editsShaders = !options.shaderFolder.empty();
    if (editsShaders) checkShaderFolder(options.shaderFolder);
    const PictureFiles files(outputsOf(options));
    Studio studio("polypia render", options, options.background);
    if (editsShaders) studio.editShaders(options.shaderFolder);
    const auto eyes = eyesOf(studio.scene(), options, options.stereo);
    if (options.watch) {
        watch(studio, options, eyes, files);
        return "";
    }
    studio.draw(eyes);
    studio.clock().begin("read back");
    std::vector<Pixels> pictures = picturesOf(studio, options);
    studio.clock().begin("encode");
    writePictures(files, std::move(pictures), options);
    studio.clock().end();
    if (options.report) return renderReport(studio, options, eyes, files.paths());
    return options.verbose ? studio.story() : "";
}

} // namespace Shell
