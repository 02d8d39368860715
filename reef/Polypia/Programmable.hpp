#pragma once
// What composes the stages of shader programs; stands on the render context.

#include <Polypia/RenderBasin.hpp>
#include <Polypia/RenderTentacles.hpp>
#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <keel/File.hpp>

#include <initializer_list>
#include <list>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>

namespace Mirk {

/// The base of all that owns a shader program. A derived class tells the main code of its stages
/// and what goes in front of it; CompileShader() puts the stages together and has the backend
/// compile them:
///
///     head of the stage           VertexHeader, ...: #version and the prefix that all stages have
///     the kind of the stage       define_VERTEX_SHADER, ...
///     platform defines            of the backend
///     prefix of the class         VertexShaderPrefix(), ...
///     local prefix                handed to CompileShader()
///     main code                   vertex_shader(), ..., with its includes
///
/// An object may serve several contexts, but not two threads at the same time: composing is for the
/// thread that draws.
///
/// Files beside the program, in its working directory unless the name has a folder in it, take part
/// while VRenderContext::ShaderFileOverrides is on:
///
///     NAME.vert, .frag, .geom            main code of a stage
///     NAME_vert.glsl, _frag, _geom       the same, where the first can't be opened for update
///     NAME.vert.glsl, .geom.glsl, ...    a whole stage, of a program with a geometry stage only
///
/// and NAME.comp, a whole compute shader, always does. One that exists and is empty is filled with
/// the text that is used; one with content replaces it. A file is never created, nor written to by
/// way of a symbolic link.
class POLYPIA_EXPORT Programmable {
public:
    /// What an operation for main code looks like.
    using CodeOperation = std::string (Programmable::*)(VRenderContext&) const;
    using ProgramPtr = RenderBasin::ProgramPtr;
    using LinkParameters = RenderBasin::LinkParameters;
    using FileTimes = std::map<std::string, Keel::Filetime>;

    /// Notes on a stage, which don't enter its text.
    struct POLYPIA_EXPORT ShaderStage {
        enum ExtensionMode { Enable = 0, Require = 1, Warn = 2, Disable = 3 };

        /// Notes "#extension NAME : MODE". A mode that is none counts as Enable.
        void addExtension(const std::string& name, int mode);

        // The order of the fields is part of the interface.

        std::string Label;
        std::list<std::string> Extensions;
        std::list<std::string> Segments;
    };

    /// A piece of shader code under a name, for modules to find; best a static object. Not
    /// synchronised: modules are loaded and unloaded one at a time.
    class POLYPIA_EXPORT ShaderSegment {
    public:
        using Table = std::unordered_map<std::string, std::string>;

        /// Replaces what the table of the process has under the name.
        ShaderSegment(const std::string& name, const std::string& code);
        ShaderSegment(const ShaderSegment&) = delete;
        ShaderSegment& operator=(const ShaderSegment&) = delete;
        /// Erases the entry of the name, whoever made it.
        ~ShaderSegment();

        /// Code by name.
        static const Table& table();

        const std::string Name;
    };

    // Exported texts.

    static const std::string define_VERTEX_SHADER;
    static const std::string define_FRAGMENT_SHADER;
    static const std::string define_GEOMETRY_SHADER;
    static const std::string default_vertex_shader;
    static const std::string default_fragment_shader;
    static const std::string default_geometry_shader;

    /// Stages of version 130, without geometry stage.
    Programmable();

    // The order of the virtual operations is part of the interface.

    virtual ~Programmable() = 0;
    /// The main code of the stages. The bodies here return the default texts.
    virtual std::string vertex_shader(VRenderContext& context) const = 0;
    virtual std::string fragment_shader(VRenderContext& context) const = 0;
    virtual std::string geometry_shader(VRenderContext& context) const;
    /// What goes in front of it; empty here.
    virtual std::string VertexShaderPrefix(VRenderContext& context) const;
    virtual std::string FragmentShaderPrefix(VRenderContext& context) const;
    virtual std::string GeometryShaderPrefix(VRenderContext& context) const;

    /// Composes and compiles the stages. There is a geometry stage if GeometryInput and
    /// GeometryOutput are both set and the text for it isn't empty. Mind the order of the local
    /// prefixes, where geometry stands in the middle.
    ///
    /// Empty if the backend made no program; its RenderException passes through. The program that
    /// is made knows the texts of its stages and all files that took part, with their times: beside
    /// those of the table above the files that were included.
    ///
    /// Control characters and bytes beyond 7 bits are dropped from `name`. A name with `*` and `/`
    /// side by side ends the comments in the text of a geometry stage.
    ProgramPtr CompileShader(VRenderContext& context, const std::string& name,
                             const LinkParameters& parameters, const ProgramPtr& previous,
                             const std::string& vertexPrefix, const std::string& geometryPrefix,
                             const std::string& fragmentPrefix) const;
    /// The main code of a stage, as it enters the text of the stage, and the name of its file,
    /// `name` and `suffix`. The local prefix plays no part.
    std::pair<std::string, std::string> getCode(VRenderContext& context, const std::string& name,
                                                const std::string& suffix, CodeOperation operation,
                                                const std::string& localPrefix) const;

    /// Compiles a compute shader, whose text is complete: it gets no head. The one that is no
    /// static operation looks for included files in the IncludePath of this object, and has the
    /// times of the files that took part in `lastFileTimes`; who means to go on with an older
    /// program while a file is faulty needs these.
    ProgramPtr getComputeShader(RenderBasin& basin, const std::string& name,
                                const std::string& code) const;
    static ProgramPtr makeComputeShader(RenderBasin& basin, const std::string& name,
                                        const std::string& code);

    /// False if a file of one of the programs has changed, or if there is no program; always true
    /// while the context has ShaderFileOverrides off.
    static bool hasValidShaderPrograms(const Polyp& polyp, VRenderContext& context);

    /// A line of GLSL with a constant that has the present number of light sources.
    static std::string setNumberOfLightSources(VRenderContext& context, const std::string& name);

    /// The version of the language, with a profile behind it if wanted ("330 core"). An empty
    /// version leaves its stages as they are. Drops what enableViewportArray() has added to the
    /// stages that are set.
    void setGLSLVersion(const std::string& version);
    /// The first for vertex and geometry stage.
    void setGLSLVersion(const std::string& version, const std::string& fragmentVersion);
    void setGLSLVersion(const std::string& vertexVersion, const std::string& geometryVersion,
                        const std::string& fragmentVersion);
    /// Appends to the heads what shaders need to draw to several viewports; see
    /// ViewportGeometry.glsl and ViewportFragment.glsl. With false the fragment stage gets nothing.
    /// To be called once, behind setGLSLVersion(): each call appends again, and shaders that
    /// declare their uniforms twice don't compile.
    void enableViewportArray(bool enable);

    /// "$ZELK_ROOT", "$ZELK_ROOT/themes/default", "$ZELK_ROOT/themes/$ZELK_THEME". The variables
    /// are looked up whenever a file is; an entry with one that isn't set is passed over.
    static const std::list<std::string>& DefaultIncludePath();
    /// Replaces each line `#include "NAME"x` by the lines of the file NAME with a `#line` directive
    /// on both sides. The line begins with the word; NAME stands between a delimiter and *two*
    /// characters that end the line: the closing delimiter and one more, in general the carriage
    /// return of a text with CRLF. On a line that ends at the delimiter NAME loses its last letter;
    /// that is meant, and shaders are written to suit it.
    ///
    /// With the delimiter `"` the working directory is searched ahead of the path, with `?` as
    /// well, and the line is traced on standard output; with any other only the path. The file is
    /// the first of `entry/NAME` that exists: a NAME with ".." in it leaves the folders of the
    /// path, and one that begins with a slash is sought below them like any other.
    ///
    /// Includes don't nest. What isn't found is told on standard output, and the directive behind
    /// it is left. The result ends at the first NUL of the text and has a line feed behind each
    /// line. The directive behind an include has the number of its own line: what follows is told
    /// one line too low by compilers of version 330 and above. That is put right for main code, and
    /// can't be for other text, such as a prefix.
    static std::string processIncludes(const std::string& code, const std::string& filename,
                                       const std::list<std::string>& searchPath);
    /// The same on the IncludePath of this object.
    std::string processIncludes(const std::string& code, const std::string& filename) const;

    /// The content of a file; `code` if there is none. A file that holds nothing but `?` is
    /// overwritten with `code`.
    static std::string OptionalFileRead(const std::string& filename, const std::string& code);
    /// The content of a file, which is told on standard error the first time; `code` if there is
    /// none, and an empty file is filled with it.
    static std::string OptionalFileReadAndWrite(const std::string& filename,
                                                const std::string& code);

    // The order of the fields is part of the interface.

    /// Where included files are looked for: DefaultIncludePath() at first.
    std::list<std::string> IncludePath;
    ShaderStage vertexStage;
    ShaderStage geometryStage;
    ShaderStage thirdStage; // the third and the fifth are reserved
    ShaderStage fragmentStage;
    ShaderStage fifthStage;
    /// The heads of the stages: the line with the version and what else has to stand ahead of all
    /// code. In text that every stage has no line marker stands ahead of it, as nothing could have
    /// switched markers on by then.
    std::string VertexHeader;
    std::string FragmentHeader;
    std::string GeometryHeader;
    /// A geometry stage is built if both are set.
    RenderNamespace::GeometryInputType GeometryInput = RenderNamespace::NoGeometryInput;
    RenderNamespace::GeometryOutputType GeometryOutput = RenderNamespace::NoGeometryOutput;
    /// What was left of the name of the last CompileShader().
    mutable std::string ShaderName;
    /// The files that took part in the last CompileShader() or getComputeShader(), with their
    /// times, also if it failed; a file that is missing has Filetime().
    /// Who keeps an older program then gives them to it, in Program::ProgramFileTimes: or the same
    /// fault is compiled and told again in each frame.
    mutable FileTimes lastFileTimes;

private:
    struct MainCode;
    struct Stage;

    MainCode mainCode(VRenderContext& context, const std::string& name, const std::string& suffix,
                      CodeOperation operation) const;
    std::string geometryAhead(VRenderContext& context, const std::string& defines,
                              const std::string& geometryPrefix) const;
    ProgramPtr compilePlain(RenderBasin& basin, const Stage& vertex, const Stage& fragment,
                            const LinkParameters& parameters, const ProgramPtr& previous) const;
    ProgramPtr compileGeometry(VRenderContext& context, Stage& vertex, Stage& geometry,
                               Stage& fragment, const LinkParameters& parameters,
                               const ProgramPtr& previous) const;
    void rememberTimes(std::initializer_list<const Stage*> stages) const;
    /// Texts, which may be long, by key.
    using Sources = std::initializer_list<std::pair<const char*, const std::string*>>;
    ProgramPtr finished(const ProgramPtr& program, const Sources& sources) const;
    void tell(const char* what) const;
};

} // namespace Mirk
