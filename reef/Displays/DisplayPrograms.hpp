#pragma once
// The programs of a display object; stands on DisplayObject and Programmable.

#include <Displays/DisplayObject.hpp>

#include <Polypia/PolypCreator.hpp>
#include <Polypia/Programmable.hpp>

#include <exception>
#include <memory>
#include <string>

namespace Mirk {

/// What fails as an exception that can be reported: a RenderException. Null if nothing does.
std::exception_ptr reportable(const std::exception_ptr& failure);
/// Whether such a one is what a compiler says of a text.
bool isOfCompiler(const std::exception_ptr& reported);

/// The text of a program, all of it but what files replace.
class DisplayObject::Composer final : public Programmable {
public:
    Composer(const DisplayObject& display, VRenderContext& context, const Content& content,
             Form form, const TransformOperator& transform);

    bool isSame(const Composer& other) const;
    /// Makes empty files for the main code of the stages, where there is nothing.
    void requestFiles(const std::string& name) const;

    std::string vertex_shader(VRenderContext&) const override {
        return std::string(_stages.vertex);
    }
    std::string fragment_shader(VRenderContext&) const override {
        return std::string(_stages.fragment);
    }
    std::string geometry_shader(VRenderContext&) const override {
        return std::string(_stages.geometry);
    }
    std::string VertexShaderPrefix(VRenderContext&) const override { return _vertexPrefix; }
    std::string FragmentShaderPrefix(VRenderContext&) const override { return _fragmentPrefix; }
    std::string GeometryShaderPrefix(VRenderContext&) const override { return _geometryPrefix; }

private:
    Stages _stages;
    std::string _vertexPrefix;
    std::string _geometryPrefix;
    std::string _fragmentPrefix;
    std::string _platformDefines;
};

/// A program of one text in one Seagrass. It is compiled when it is asked for: again only if it was
/// evicted or if a file has changed that took part, whether it was good or not; and, if what failed
/// wasn't the text, as for want of memory, the hundredth time that it is asked for. What is empty
/// since a moment only may be about to be written: that is waited for, as it would be filled
/// otherwise.
class DisplayObject::Compiled {
public:
    /// `name` is that of its files, if it takes any; of `knownFiles` the object's other programs
    /// have been made, so that one of them that is empty now may be about to be written.
    Compiled(const Seagrass& seagrass, const Composer& composer, const std::string& name,
             bool takesFiles, MissingShaderFiles missing,
             const Programmable::FileTimes& knownFiles);

    bool isFor(const Seagrass& seagrass, const Composer& composer, bool takesFiles) const;
    /// Of the present files or, if these are faulty, the good one before. Null if there is none.
    RenderBasin::ProgramPtr program(VRenderContext& context);
    /// Why the last attempt has failed, as a RenderException; null if it was good. As long as there
    /// is one, the program before stays in the cache, as nothing could make it again.
    const std::exception_ptr& failure() const { return _failure; }
    /// Whether there is such a program.
    bool isIrreplaceable() const { return _failure && _program; }
    /// Whether faulty files aren't what they were any more.
    bool isOutdated() const { return _failure && stateOfFiles() == Files::Changed; }
    /// Has points among the variables of a program, which may be the one before, be relative to an
    /// origin. Sends nothing while that is the last one.
    void tellOrigin(const RenderBasin::ProgramPtr& program, const point& origin);
    /// Of the last attempt; none if it takes no files.
    const Programmable::FileTimes& fileTimes() const { return _fileTimes; }

private:
    using Keeper = PolypCreator<DefaultPolypInitializer>;

    enum class Files { Unchanged, Changed, BeingSaved };

    Files stateOfFiles() const;
    bool isToBeRepeated();
    RenderBasin::ProgramPtr compile(VRenderContext& context) const;
    void rememberFiles();
    void keep(const RenderBasin::ProgramPtr& program, bool inAnyCase);

    const Keel::WeakPtr<Seagrass> _seagrass;
    const Composer _composer;
    const std::string _name;
    const bool _takesFiles;
    const MissingShaderFiles _missingFiles;
    Keel::WeakPtr<RenderBasin::Program, Polyp::Tentacle> _program;
    // A program has to die on the render thread, so that only polyps hold it: this one as long as
    // there is no piece.
    const Keel::StrongPtr<PolypCreatorBase> _keeper;
    Keel::WeakPtr<RenderBasin::Program, Polyp::Tentacle> _toldProgram;
    point _toldOrigin{};
    Programmable::FileTimes _fileTimes; // of the last attempt; ahead of the first, of others
    std::exception_ptr _failure;
    bool _isTextAtFault = false;
    int _questions = 0; // since it failed
};

} // namespace Mirk
