#include <render.hpp>

#include <PictureFiles.hpp>
#include <Studio.hpp>
#include <UsageError.hpp>
#include <eyes.hpp>
#include <pictures.hpp>
#include <report.hpp>
#include <watch.hpp>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace Shell {

namespace {

namespace fs = std::filesystem;

std::vector<std::string> outputsOf(const RenderOptions& options) {
    const bool areTwo = options.stereo && options.stereo->layout == StereoLayout::separate;
    return areTwo ? namesForEyes(options.output) : std::vector{options.output};
}

/// Throws UsageError if a picture would take the place of a file that it is made from.
void checkOutputs(const std::vector<std::string>& outputs, const std::string& source) {
    std::error_code ignored; // what can't be found is no such file
    const fs::path file = fs::weakly_canonical(source, ignored);
    for (const std::string& output : outputs) {
        if (fs::weakly_canonical(output, ignored) != file) continue;
        throw UsageError("-o: expected a file that the picture isn't made from, got '" + output +
                         "'");
    }
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

/// Why a file can't be read, though there is something of that name; else empty.
std::string faultOf(const std::string& path) {
    std::error_code error;
    if (!fs::exists(fs::symlink_status(path, error))) return "";
    const fs::file_status status = fs::status(path, error);
    if (error) return error.message();
    if (!fs::exists(status)) return std::generic_category().message(ENOENT);
    if (fs::is_directory(status)) return std::generic_category().message(EISDIR);
    if (!fs::is_regular_file(status)) return "not a regular file";
    return ::access(path.c_str(), R_OK) == 0 ? "" : std::generic_category().message(errno);
}

/// Throws std::runtime_error if there is one that can't be read, as the picture would be drawn
/// without it, and UsageError if it would be replaced by the picture.
void checkShaderFiles(const RenderOptions& options, const Scene& scene,
                      const std::vector<std::string>& outputs) {
    for (const Scene::Object& object : scene.objects()) {
        for (const char* stage : {".vert", ".geom", ".frag"}) {
            const std::string path =
                options.shaderFolder + "/" + object.display->shaderStem() + stage;
            checkOutputs(outputs, path);
            const std::string fault = faultOf(path);
            if (fault.empty()) continue;
            throw std::runtime_error("--edit-shaders: expected a file that can be read, got '" +
                                     path + "': " + fault);
        }
    }
}

} // namespace

std::string render(const RenderOptions& options) {
    const bool editsShaders = !options.shaderFolder.empty();
    if (editsShaders) checkShaderFolder(options.shaderFolder);
    const std::vector<std::string> outputs = outputsOf(options);
    for (const std::string& file : options.files) checkOutputs(outputs, file);
    const PictureFiles files(outputs);
    Studio studio("polypia render", options, options.background);
    if (editsShaders) {
        checkShaderFiles(options, studio.scene(), outputs);
        studio.editShaders(options.shaderFolder);
    }
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
