#pragma once
// What every command needs that draws: the files, their scene and a viewer; stands on Scene and
// OffscreenViewer.

#include <Scene.hpp>
#include <StageClock.hpp>

#include <PolypiaGL/OffscreenViewer.hpp>

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace Shell {

/// What a file holds, for reports.
struct FileFacts {
    std::string file;
    std::string kind; ///< "mesh", "points" or "lines"
    /// By their names: "points", and what else the kind has.
    std::map<std::string, std::size_t> counts;
    Skua::BoundingBox bounds; ///< in the world
};

FileFacts factsOf(const std::string& file, const Mirk::Dataset& data);

/// Why something can't be drawn, with a line for each message of the compiler.
class FaultyShader : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Why an object failed. Of faulty shaders what the compiler has said, each message on a line of
/// its own.
std::string wordsOf(const Mirk::GLRenderContext::Failure& failure);

/// Files, drawn.
class Studio {
public:
    /// Reads the files and opens the graphics device. Throws what its parts throw; every message
    /// names what is at fault. `background` is not weighted by alpha. The options outlive this.
    Studio(const std::string& name, const PictureOptions& options,
           const Skua::rgba_float_t& background = {});

    /// From now on the shaders are those in the files of a folder; what is missing is written
    /// there. Ahead of the first drawing.
    void editShaders(const std::string& folder);

    /// Throws std::runtime_error if not all that is to be seen is drawn, a FaultyShader if that is
    /// why.
    void draw(const std::vector<Mirk::GLRenderContext::Eye>& eyes);
    /// The same, but isWhole() has to be asked.
    const Mirk::OffscreenViewer::Frame&
    attempt(const std::vector<Mirk::GLRenderContext::Eye>& eyes);

    const PictureOptions& options() const { return _options; }
    const Scene& scene() const { return _scene; }
    Mirk::OffscreenViewer& viewer() const { return *_viewer; }
    StageClock& clock() { return _clock; }
    const StageClock& clock() const { return _clock; }
    /// Only if there is to be a report.
    const std::vector<FileFacts>& facts() const { return _facts; }
    /// Whether the last frame shows all that is to be seen. With what isDrawnAsBefore(), though
    /// that may be among its failures.
    bool isWhole() const;
    /// Whether an object was drawn whole, but with the shaders that were good before.
    bool isDrawnAsBefore(const std::string& object) const;
    /// The last one.
    const Mirk::OffscreenViewer::Frame& frame() const { return _frame; }
    /// Of the objects that were drawn in it, by name; only if there is to be a report.
    const std::map<std::string, double>& objectSeconds() const { return _objectSeconds; }
    /// The device and the stages in two lines.
    std::string story() const;

private:
    void read();
    void checkSize() const;
    void checkFrame() const;

    const PictureOptions& _options;
    StageClock _clock;
    Scene _scene;
    std::vector<FileFacts> _facts;
    Keel::StrongPtr<Mirk::OffscreenViewer, Mirk::VManagedObjectBase> _viewer;
    Mirk::OffscreenViewer::Frame _frame;
    std::map<std::string, double> _objectSeconds;
};

} // namespace Shell
