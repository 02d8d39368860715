#include <PolypiaGL/glslAdapt.hpp>

#include <PolypiaGL/glslNames.hpp>
#include <PolypiaGL/glslScan.hpp>

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

namespace Mirk::GL {
namespace {

using Kind = LogicalLine::Kind;
constexpr std::size_t npos = std::string::npos;

/// Messages name this file for lines that the adaptation adds.
constexpr std::string_view ownText = "PolypiaGL";
/// Holds the number of the line before which declarations are put; see insertDeclarations.
constexpr std::string_view lineMacro = "zelk_b_line";

std::string ownName(std::string_view name) {
    return std::string(ownNamePrefix).append(name);
}

struct Version {
    long number = 110; // what the language assumes without a version line
    std::string profile;
    bool isGiven = false;
    bool isReadable = false; // number and profile, nothing else
    std::size_t line = 0;
    std::string words; // as given

    bool isEmbedded() const { return profile == "es" || number == 100; }
};

Version parseVersion(std::string_view words) {
    Version version;
    version.isGiven = true;
    version.words = trim(words);
    const std::string_view all = version.words;
    const auto digits =
        static_cast<std::size_t>(std::find_if_not(all.begin(), all.end(), isDigit) - all.begin());
    constexpr std::size_t mostDigits = 4;
    if (digits == 0 || digits > mostDigits) return version;
    const std::string_view rest = trim(all.substr(digits));
    if (rest != wordAt(rest, 0)) return version;
    std::from_chars(all.data(), all.data() + digits, version.number);
    version.profile = rest;
    version.isReadable = true;
    return version;
}

/// A word beginning with "gl_", or `ftransform`.
struct Word {
    std::size_t begin;
    std::size_t length;
    std::size_t dot;   // of a member access `.word`, else npos
    std::size_t close; // the ] of `word[...]`, else npos
};

/// Replaces `length` characters at `begin`.
struct Edit {
    std::size_t begin;
    std::size_t length;
    std::string text;
};

std::string_view withoutPrefix(std::string_view word) {
    return word.substr(0, 3) == "gl_" ? word.substr(3) : word;
}

/// "FrontColor" of "FrontColorIn"; empty without that ending.
std::string_view withoutIn(std::string_view name) {
    return name.size() > 2 && name.substr(name.size() - 2) == "In" ? name.substr(0, name.size() - 2)
                                                                   : std::string_view();
}

bool isPerVertex(std::string_view name) {
    return name == "Position" || name == "PointSize" || name == "ClipVertex" ||
           name == "ClipDistance" || findName(fixedVaryings, name).has_value();
}

/// True if only the compatibility profile has the name.
bool isFixedName(std::string_view word) {
    if (word == "ftransform") return true;
    const std::string_view name = withoutPrefix(word);
    return findName(fixedInputs, name) || findName(fixedUniforms, name) ||
           findName(fixedVaryings, name) || findName(fixedVaryings, withoutIn(name)) ||
           findName(fixedOutputs, name) ||
           std::find(fixedStates.begin(), fixedStates.end(), name) != fixedStates.end();
}

bool isInterpolation(std::string_view word) {
    return word == "flat" || word == "smooth" || word == "noperspective" || word == "centroid";
}

/// A text of one sign that outlives changes to the text around it.
std::string_view signText(char sign) {
    constexpr std::string_view signs = "(),.;[]{}";
    const std::size_t at = signs.find(sign);
    return at == npos ? std::string_view("?") : signs.substr(at, 1);
}

bool isInputPrimitive(std::string_view word) {
    return word == "points" || word == "lines" || word == "lines_adjacency" ||
           word == "triangles" || word == "triangles_adjacency";
}

bool isOutputPrimitive(std::string_view word) {
    return word == "max_vertices" || word == "points" || word == "line_strip" ||
           word == "triangle_strip";
}

std::string_view layoutName(GeometryInput input) {
    switch (input) {
    case GeometryInput::Points:
        return "points";
    case GeometryInput::Lines:
        return "lines";
    case GeometryInput::LinesAdjacency:
        return "lines_adjacency";
    case GeometryInput::Triangles:
        return "triangles";
    case GeometryInput::TrianglesAdjacency:
        return "triangles_adjacency";
    case GeometryInput::None:
        break;
    }
    return {};
}

std::string_view layoutName(GeometryOutput output) {
    switch (output) {
    case GeometryOutput::Points:
        return "points";
    case GeometryOutput::LineStrip:
        return "line_strip";
    case GeometryOutput::TriangleStrip:
        return "triangle_strip";
    case GeometryOutput::None:
        break;
    }
    return {};
}

/// What the walk over the words of a text finds and repairs on its way: per-vertex blocks, `set` in
/// layouts, the order of interpolation words, and the positions of the names that matter later.
class WordWalk {
public:
    struct Result {
        std::vector<Word> words;
        bool hasInputLayout = false;
        bool hasOutputLayout = false;
        bool setRemoved = false;
        bool blockRemoved = false;
        bool wordsSwapped = false;
    };

    WordWalk(GlslScan& scan, bool removeBlocks, bool swapWords)
        : _scan(scan), _removeBlocks(removeBlocks), _swapWords(swapWords) {}

    Result run() {
        for (_line = 0; _line < _scan.lines.size(); ++_line) {
            const Kind kind = _scan.lines[_line].kind;
            if (kind == Kind::Code) walkLine(_codeFrames);
            if (kind == Kind::Define) {
                std::vector<Frame> frames; // a macro's brackets are its own
                forgetNeighbours();
                walkLine(frames);
                forgetNeighbours();
            }
        }
        return std::move(_result);
    }

private:
    /// An open bracket, with what stands in it when it is that of a layout.
    struct Frame {
        char bracket = '(';
        std::size_t word = npos; // for [: index of the word ahead of it
        bool isLayout = false;
        std::size_t begin = 0;         // of `layout`
        std::size_t setBegin = npos;   // of `set` in the current argument
        std::size_t lastComma = npos;  // behind the last kept argument
        std::size_t keptArguments = 0; // finished ones
        bool input = false;
        bool output = false;
    };

    void forgetNeighbours() {
        _lastWord = npos;
        _lastCode = npos;
        _previous = _beforePrevious = {};
    }

    void walkLine(std::vector<Frame>& frames) {
        const std::size_t end = _scan.lines[_line].end;
        for (_at = _scan.lines[_line].body; _at < end;) {
            const char c = _scan.blank[_at];
            if (isWordStart(c)) {
                word(frames);
            } else if (isDigit(c)) { // 1e5f is no word
                while (_at < end && (isWordPart(_scan.blank[_at]) || _scan.blank[_at] == '.'))
                    ++_at;
                remember({});
            } else {
                if (!isSpace(c)) sign(frames, c);
                ++_at;
            }
        }
    }

    void remember(std::string_view token) {
        _beforePrevious = _previous;
        _previous = token;
    }

    void word(std::vector<Frame>& frames) {
        const std::string_view name = wordAt(_scan.blank, _at);
        const std::size_t begin = _at;
        _at += name.size();
        if (_removeBlocks && name == "gl_PerVertex" && _previous == "out" &&
            _beforePrevious != ")" && removeBlock(begin))
            return forgetNeighbours();
        if (_swapWords && (name == "in" || name == "out") && swapWords(begin, name.size()))
            return forgetNeighbours();
        if (!frames.empty() && frames.back().isLayout) layoutWord(frames.back(), begin, name);

        const bool matters = name.substr(0, 3) == "gl_" || name == "ftransform";
        const std::size_t dot = _previous == "." ? _lastCode : npos;
        if (matters) _result.words.push_back({begin, name.size(), dot, npos});
        remember(name);
        _lastWord = matters ? _result.words.size() - 1 : npos;
        _lastCode = begin;
        _lastNameBegin = begin;
    }

    void sign(std::vector<Frame>& frames, char c) {
        switch (c) {
        case '(':
        case '[':
        case '{':
            open(frames, c);
            break;
        case ')':
        case ']':
        case '}':
            close(frames, c);
            break;
        case ',':
            if (!frames.empty() && frames.back().isLayout) endArgument(frames.back(), false);
            break;
        default:
            break;
        }
        remember(signText(c));
        _lastWord = npos;
        _lastCode = _at;
    }

    void open(std::vector<Frame>& frames, char c) {
        Frame frame;
        frame.bracket = c;
        if (c == '[') frame.word = _lastWord;
        frame.isLayout = c == '(' && _previous == "layout";
        frame.begin = _lastNameBegin;
        frames.push_back(frame);
    }

    void close(std::vector<Frame>& frames, char c) {
        const char opening = c == ')' ? '(' : c == ']' ? '[' : '{';
        if (frames.empty() || frames.back().bracket != opening) return;
        Frame frame = frames.back();
        frames.pop_back();
        if (frame.word != npos) _result.words[frame.word].close = _at;
        if (!frame.isLayout) return;
        endArgument(frame, true);
        noteStageLayout(frame);
    }

    void layoutWord(Frame& frame, std::size_t begin, std::string_view name) {
        frame.input = frame.input || isInputPrimitive(name);
        frame.output = frame.output || isOutputPrimitive(name);
        const std::size_t next = skipSpace(_scan.blank, begin + name.size());
        const bool isSet = name == "set" && next < _scan.blank.size() && _scan.blank[next] == '=';
        if (isSet && (_previous == "(" || _previous == ",")) frame.setBegin = begin;
    }

    /// At the comma or bracket that ends an argument of a layout: descriptor sets belong to another
    /// API, and drivers refuse the word.
    void endArgument(Frame& frame, bool isLast) {
        if (frame.setBegin == npos) {
            ++frame.keptArguments;
            frame.lastComma = _at;
            return;
        }
        _result.setRemoved = true;
        if (isLast && frame.keptArguments == 0) {
            _scan.erase(frame.begin, _at + 1); // `layout()` is no layout
        } else {
            _scan.erase(frame.setBegin, isLast ? _at : _at + 1);
            if (isLast) _scan.erase(frame.lastComma, frame.lastComma + 1);
        }
        frame.setBegin = npos;
    }

    /// Takes down `layout(...) in;` and `layout(...) out;` of a geometry stage.
    void noteStageLayout(const Frame& frame) {
        const std::size_t begin = skipSpace(_scan.blank, _at + 1);
        const std::string_view direction = wordAt(_scan.blank, begin);
        const std::size_t end = skipSpace(_scan.blank, begin + direction.size());
        if (end >= _scan.blank.size() || _scan.blank[end] != ';') return;
        if (direction == "in" && frame.input) _result.hasInputLayout = true;
        if (direction == "out" && frame.output) _result.hasOutputLayout = true;
    }

    /// `out flat` becomes `flat out`, the only order before 4.20.
    bool swapWords(std::size_t begin, std::size_t length) {
        std::size_t next = begin + length;
        while (next < _scan.text.size() && isBlank(_scan.text[next])) ++next;
        const std::string qualifier(wordAt(_scan.blank, next));
        if (next == begin + length || !isInterpolation(qualifier)) return false;
        const std::size_t whole = next + qualifier.size() - begin;
        const std::string swapped = qualifier +
                                    _scan.text.substr(begin + length, next - begin - length) +
                                    _scan.text.substr(begin, length);
        _scan.text.replace(begin, whole, swapped);
        _scan.blank.replace(begin, whole, swapped);
        _at = begin + whole;
        _result.wordsSwapped = true;
        return true;
    }

    /// Blanks `out gl_PerVertex { ... } name[...];` from its `out` on; directives within it stay.
    bool removeBlock(std::size_t name) {
        const std::string& blank = _scan.blank;
        const std::size_t brace = skipSpace(blank, name + std::string_view("gl_PerVertex").size());
        if (brace >= blank.size() || blank[brace] != '{' || brace >= _noClosingBraceFrom)
            return false;
        std::size_t end = blank.find('}', brace);
        if (end == npos) {
            _noClosingBraceFrom = brace;
            return false;
        }
        end = skipSpace(blank, end + 1);
        end = skipSpace(blank, end + wordAt(blank, end).size());
        if (end < blank.size() && blank[end] == '[') {
            end = skipSpace(blank, end + 1);
            while (end < blank.size() && isWordPart(blank[end])) ++end;
            end = skipSpace(blank, end);
            if (end >= blank.size() || blank[end] != ']') return false;
            end = skipSpace(blank, end + 1);
        }
        if (end >= blank.size() || blank[end] != ';') return false;
        eraseCode(_lastNameBegin, end + 1);
        _result.blockRemoved = true;
        return true;
    }

    void eraseCode(std::size_t begin, std::size_t end) {
        std::size_t line = _line;
        while (line > 0 && _scan.lines[line].begin > begin) --line;
        for (; line < _scan.lines.size() && _scan.lines[line].begin < end; ++line) {
            if (_scan.lines[line].kind != Kind::Code) continue;
            _scan.erase(std::max(begin, _scan.lines[line].begin),
                        std::min(end, _scan.lines[line].end));
        }
    }

    GlslScan& _scan;
    const bool _removeBlocks;
    const bool _swapWords;
    Result _result;
    std::vector<Frame> _codeFrames;
    std::size_t _line = 0;
    std::size_t _at = 0;
    std::size_t _lastWord = npos; // index of the word that was the last token
    std::size_t _lastCode = npos; // begin of the last token
    std::size_t _lastNameBegin = 0;
    std::size_t _noClosingBraceFrom = npos;
    std::string_view _previous, _beforePrevious;
};

/// What one stage takes from its neighbours and gives to them, by row of fixedVaryings.
using Varyings = std::array<bool, fixedVaryings.size()>;

class StageAdapter {
public:
    StageAdapter(const StageText& source, const AdaptOptions& options, bool hasGeometryStage)
        : _stage(source.stage),
          _options(options),
          _hasGeometryStage(hasGeometryStage),
          _mainLine(source.mainLine),
          _scan(source.text) {
        countOwnLines(source);
        readVersion();
        if (_version.isEmbedded()) return;
        sortExtensions();
        eraseWarnings();
        readWords();
        if (_options.pass == Pass::Layers) writeLayer();
        if (_options.pass == Pass::Extension && _stage == Stage::Vertex) writeOnlyView();
    }

    Stage stage() const { return _stage; }
    LineNumbering lineNumbering() const;
    std::size_t lineCount() const { return _scan.lineCount; }
    const Varyings& reads() const { return _reads; }
    const Varyings& writes() const { return _writes; }
    const std::vector<std::string>& notes() const { return _notes; }

    /// Lets the vertex stage hand on the colour attribute, for a later stage that reads a colour.
    void passColor() {
        if (_version.isEmbedded()) return;
        _writes[frontColor] = true;
        _usesFixedNames = true;
        if (isCore()) {
            _inputs[*findName(fixedInputs, "Color")] = true;
            _before += varyingName(Stage::Vertex, frontColor) + " = " + ownName("Color") + "; ";
        } else {
            _before += "gl_FrontColor = gl_BackColor = gl_Color; ";
        }
        note("main wrapped, it hands on gl_Color");
    }

    /// Declares what the next stage reads: in a core context an input without an output of the
    /// stage before is an error.
    void declareOutputs(const Varyings& wanted) {
        for (std::size_t i = 0; i < wanted.size(); ++i) _writes[i] = _writes[i] || wanted[i];
    }

    std::string finish(LineTable& lines);

private:
    bool isCore() const { return _options.profile == Profile::Core; }
    bool hasExtension(std::string_view name) const { return _options.extensions.contains(name); }
    std::string_view name(const Word& word) const {
        return std::string_view(_scan.text).substr(word.begin, word.length);
    }
    void note(const std::string& what) {
        _notes.push_back(std::string(stageName(_stage)) + ": " + what);
    }

    void countOwnLines(const StageText& source);
    void readVersion();
    long raisedVersion() const;
    std::string versionDirective() const;
    void sortExtensions();
    void sortExtension(LogicalLine& line, bool isLate);
    void drop(LogicalLine& line);
    void eraseWarnings();
    void readWords();
    void noteVarying(const Word& word);
    void noteFixedName(const Word& word);
    void writeOnlyView();
    void writeLayer();
    Stage inputStage() const {
        return _stage == Stage::Fragment && _hasGeometryStage ? Stage::Geometry : Stage::Vertex;
    }
    static std::string varyingName(Stage writer, std::size_t row) {
        return ownName(stageName(writer)).append(fixedVaryings[row].name);
    }

    std::vector<std::string> enabledExtensions() const;
    std::string declarations() const;
    std::string prefix(LineTable& lines, const std::string& lineOfDeclarations) const;
    std::string suffix(LineTable& lines) const;
    std::string lineDirective(long nextLine) const {
        return "#line " + std::to_string(lineOperand(nextLine));
    }
    long lineOperand(long nextLine) const;
    std::string ownLineDirective(LineTable& lines) const;
    std::size_t declarationLine() const;
    void editLines(LineTable& lines, std::size_t declarationsAt, bool needsMacro);
    std::string lineText(LineTable& lines, const LineOperands& at, std::size_t next,
                         std::size_t declarationsAt) const;
    void insertDeclarations(const std::string& text, std::size_t at, bool hasLineDirectives);
    void editWords();
    void editGeometryWord(const Word& word);
    void editInputMember(const Word& array);
    void editCoreWord(const Word& word);
    void replace(const Word& word, std::string text) {
        _edits.push_back({word.begin, word.length, std::move(text)});
    }
    std::string editedText();

    const Stage _stage;
    const AdaptOptions& _options;
    const bool _hasGeometryStage;
    const std::size_t _mainLine;
    GlslScan _scan;
    Version _version;
    long _number = 110; // of the version, after raising it
    WordWalk::Result _walk;
    std::string _hoisted; // #extension lines that came too late
    std::string _macros;
    std::string _before, _after; // statements around the text's own main
    std::string _ownUniforms;
    std::vector<std::string> _extraExtensions;
    bool _usesFixedNames = false;
    Varyings _reads{}, _writes{};
    std::array<bool, fixedInputs.size()> _inputs{};
    std::array<bool, fixedUniforms.size()> _uniforms{};
    std::array<bool, fixedOutputs.size()> _outputs{};
    std::vector<Edit> _edits;
    std::vector<std::string> _notes;
};

// ---------------------------------------------------------------------------------------------
// Version and extensions

void StageAdapter::readVersion() {
    const auto line = std::find_if(_scan.lines.begin(), _scan.lines.end(),
                                   [](const LogicalLine& l) { return l.kind == Kind::Version; });
    if (line != _scan.lines.end()) {
        _version =
            parseVersion(std::string_view(_scan.blank).substr(line->body, line->end - line->body));
        _version.line = line->number;
        const bool isFirst = std::all_of(
            _scan.lines.begin(), line, [](const LogicalLine& l) { return l.kind == Kind::Empty; });
        drop(*line);
        if (!isFirst) note("#version moved ahead of other text");
    }
    _number = raisedVersion();
    if (_number != _version.number)
        note("version " + std::to_string(_version.number) + " raised to " +
             std::to_string(_number));
}

long StageAdapter::raisedVersion() const {
    const long given = _version.number;
    if (_version.isEmbedded() || (_version.isGiven && !_version.isReadable)) return given;
    if (_stage == Stage::Compute) return _version.isGiven ? given : 430;
    if (_stage == Stage::Geometry) return std::max(given, 150L); // no geometry stages before
    if (isCore()) return std::max(given, 140L); // 130 has no gl_InstanceID in a core context
    return given;
}

std::string StageAdapter::versionDirective() const {
    if (_version.isGiven && !_version.isReadable) return "#version " + _version.words;
    if (!_version.isGiven && _number == _version.number) return {};
    std::string profile = _version.profile;
    if (!_version.isEmbedded() && _number >= 150) {
        if (isCore())
            profile = profile == "compatibility" ? "core" : profile;
        else if (profile.empty() || (profile == "core" && _usesFixedNames))
            profile = "compatibility";
    }
    return "#version " + std::to_string(_number) + (profile.empty() ? "" : " ") + profile;
}

void StageAdapter::drop(LogicalLine& line) {
    _scan.erase(line.begin, line.end);
    line.kind = Kind::Empty;
}

void StageAdapter::sortExtensions() {
    bool isLate = false;
    for (LogicalLine& line : _scan.lines) {
        isLate = isLate || line.kind == Kind::Code;
        if (line.kind == Kind::Extension) sortExtension(line, isLate);
    }
}

void StageAdapter::sortExtension(LogicalLine& line, bool isLate) {
    const std::string_view blank = std::string_view(_scan.blank).substr(0, line.end);
    const std::string name(wordAt(blank, skipSpace(blank, line.body)));
    const bool isBuiltIn =
        name == "GL_EXT_geometry_shader4" ||
        ((name == "GL_ARB_gpu_shader5" || name == "GL_ARB_uniform_buffer_object") &&
         !hasExtension(name));
    if (isBuiltIn) {
        drop(line);
        note("#extension " + name + " dropped");
        return;
    }
    const std::size_t colon = blank.find(':', line.body);
    const bool isOn = colon != npos && trim(blank.substr(colon + 1)) != "disable";
    // Drivers refuse an extension line behind code, though it may be a mere repetition.
    if (!isLate || !isOn || !hasExtension(name)) return;
    _hoisted += "#extension " + name + " :" + std::string(blank.substr(colon + 1)) + "\n";
    drop(line);
    note("#extension " + name + " moved ahead of code");
}

void StageAdapter::eraseWarnings() {
    for (LogicalLine& line : _scan.lines)
        if (line.kind == Kind::Warning) drop(line);
}

std::vector<std::string> StageAdapter::enabledExtensions() const {
    std::vector<std::string> names;
    if (_number >= 130 && _number < 400 && hasExtension("GL_ARB_gpu_shader5"))
        names.emplace_back("GL_ARB_gpu_shader5");
    if (_number >= 130 && _number < 420 && hasExtension("GL_ARB_shading_language_420pack"))
        names.emplace_back("GL_ARB_shading_language_420pack");
    const bool locatesOutputs = _stage == Stage::Fragment && isCore();
    const bool locates = locatesOutputs || (_stage == Stage::Vertex && isCore());
    if (locates && _number < 330 && hasExtension("GL_ARB_explicit_attrib_location"))
        names.emplace_back("GL_ARB_explicit_attrib_location");
    names.insert(names.end(), _extraExtensions.begin(), _extraExtensions.end());
    return names;
}

// ---------------------------------------------------------------------------------------------
// Words

void StageAdapter::readWords() {
    const bool swap = _number < 420 && !hasExtension("GL_ARB_shading_language_420pack");
    _walk = WordWalk(_scan, _stage == Stage::Vertex, swap).run();
    if (_walk.setRemoved) note("set removed from layout");
    if (_walk.blockRemoved) note("redeclaration of gl_PerVertex removed");
    if (_walk.wordsSwapped) note("interpolation put ahead of in or out");
    for (const Word& word : _walk.words) {
        noteVarying(word);
        noteFixedName(word);
    }
}

void StageAdapter::noteVarying(const Word& word) {
    const std::string_view plain = withoutPrefix(name(word));
    if (_stage == Stage::Fragment) {
        if (const auto row = findFragmentInput(plain)) _reads[*row] = true;
        return;
    }
    const bool isRead = _stage == Stage::Geometry && word.dot != npos;
    if (const auto row = findName(fixedVaryings, plain)) (isRead ? _reads : _writes)[*row] = true;
    if (_stage != Stage::Geometry) return;
    if (const auto row = findName(fixedVaryings, withoutIn(plain))) _reads[*row] = true;
}

void StageAdapter::noteFixedName(const Word& word) {
    const std::string_view plain = withoutPrefix(name(word));
    const auto output = findName(fixedOutputs, plain);
    if (_stage == Stage::Fragment && output && isCore()) {
        _outputs[*output] = true;
        return;
    }
    if (!isFixedName(name(word))) return;
    _usesFixedNames = true;
    if (const auto row = findName(fixedUniforms, plain)) _uniforms[*row] = true;
    if (_stage != Stage::Vertex) return;
    if (const auto row = findName(fixedInputs, plain)) _inputs[*row] = true;
    if (plain == "ftransform") {
        _inputs[*findName(fixedInputs, "Vertex")] = true;
        _uniforms[modelViewProjection] = true;
    }
}

void StageAdapter::editWords() {
    for (const Word& word : _walk.words) {
        if (_stage == Stage::Geometry)
            editGeometryWord(word);
        else if (word.dot == npos)
            editCoreWord(word);
    }
}

/// Arrays of the extension that came before geometry stages became part of the language.
void StageAdapter::editGeometryWord(const Word& word) {
    const std::string_view plain = withoutPrefix(name(word));
    if (plain == "VerticesIn") return replace(word, "gl_in.length()");

    const std::string_view base = withoutIn(plain);
    if (isPerVertex(base) && word.close != npos) {
        const auto row = findName(fixedVaryings, base);
        if (isCore() && row && !fixedVaryings[*row].suffix.empty()) return;
        if (isCore() && row) return replace(word, varyingName(Stage::Vertex, *row));
        _edits.push_back({word.close + 1, 0, ".gl_" + std::string(base)});
        return replace(word, "gl_in");
    }
    if (!isCore()) return;
    if (plain == "in") return editInputMember(word);
    if (word.dot == npos) editCoreWord(word);
}

/// `gl_in[i].gl_FrontColor` becomes an own array's `[i]`.
void StageAdapter::editInputMember(const Word& array) {
    if (array.close == npos) return;
    const std::size_t dot = skipSpace(_scan.blank, array.close + 1);
    const auto member = std::partition_point(_walk.words.begin(), _walk.words.end(),
                                             [&](const Word& w) { return w.begin <= array.close; });
    if (member == _walk.words.end() || member->dot != dot) return;
    const auto row = findName(fixedVaryings, withoutPrefix(name(*member)));
    if (!row || !fixedVaryings[*row].suffix.empty()) return;
    replace(array, varyingName(Stage::Vertex, *row));
    _edits.push_back({dot, 1, {}});
    replace(*member, {});
}

void StageAdapter::editCoreWord(const Word& word) {
    const std::string_view plain = withoutPrefix(name(word));
    if (_options.pass == Pass::Layers && _stage == Stage::Vertex && plain == "InstanceID")
        return replace(word, "(gl_InstanceID + zelk_b_view)");
    const bool isFragment = _stage == Stage::Fragment;
    if (isFragment && isCore() && findName(fixedOutputs, plain))
        return replace(word, ownName(plain));
    if (!isCore()) return;

    if (findName(fixedUniforms, plain)) return replace(word, ownName(plain));
    if (_stage == Stage::Vertex && plain == "ftransform")
        return replace(word, ownName("transform"));
    if (_stage == Stage::Vertex && findName(fixedInputs, plain))
        return replace(word, ownName(plain));
    const auto row = isFragment ? findFragmentInput(plain) : findName(fixedVaryings, plain);
    if (row) replace(word, varyingName(isFragment ? inputStage() : _stage, *row));
}

// ---------------------------------------------------------------------------------------------
// Text that is added

/// Of the other views each vertex lies outside of the picture.
void StageAdapter::writeOnlyView() {
    _ownUniforms += "uniform int zelk_b_view; ";
    _after += "if (zelk_b_view > 0 && int(gl_ViewID_OVR) + 1 != zelk_b_view) "
              "gl_Position = vec4(2.0, 2.0, 2.0, 1.0); ";
}

void StageAdapter::writeLayer() {
    if (_stage != Stage::Compute) _ownUniforms += "uniform int zelk_b_view; ";
    if (_stage == Stage::Vertex && !_hasGeometryStage) {
        _after += "gl_Layer = gl_InstanceID; ";
        _extraExtensions.emplace_back(hasExtension("GL_ARB_shader_viewport_layer_array")
                                          ? "GL_ARB_shader_viewport_layer_array"
                                          : "GL_AMD_vertex_shader_layer");
    }
    if (_stage == Stage::Geometry)
        _macros += "#define EmitVertex() (gl_Layer = int(zelk_getViewID()) - zelk_b_view, "
                   "EmitVertex())\n";
    if (_stage == Stage::Fragment) {
        _macros += "#define zelk_getViewID() uint(gl_Layer + zelk_b_view)\n";
        if (_number < 430) _extraExtensions.emplace_back("GL_ARB_fragment_layer_viewport");
    }
}

std::string StageAdapter::declarations() const {
    std::string text;
    const auto declare = [&](std::string_view qualifier, std::string_view type,
                             const std::string& name, std::string_view suffix) {
        text.append(qualifier).append(" ").append(type).append(" ").append(name);
        text.append(suffix).append("; ");
    };
    text += _ownUniforms;
    if (_stage == Stage::Geometry) {
        const std::string_view in = layoutName(_options.geometryInput);
        const std::string_view out = layoutName(_options.geometryOutput);
        if (!_walk.hasInputLayout && !in.empty())
            text.append("layout(").append(in).append(") in; ");
        if (!_walk.hasOutputLayout && !out.empty())
            text.append("layout(").append(out).append(", max_vertices = ") +=
                std::to_string(_options.maxVertices) + ") out; ";
    }
    for (std::size_t i = 0; i < fixedOutputs.size(); ++i)
        if (_outputs[i])
            declare("layout(location = 0) out", fixedOutputs[i].type, ownName(fixedOutputs[i].name),
                    fixedOutputs[i].suffix);
    if (!isCore()) return text;

    for (std::size_t i = 0; i < fixedInputs.size(); ++i)
        if (_inputs[i])
            declare("layout(location = " + std::to_string(fixedInputs[i].location) + ") in",
                    fixedInputs[i].type, ownName(fixedInputs[i].name), {});
    for (std::size_t i = 0; i < fixedUniforms.size(); ++i)
        if (_uniforms[i])
            declare("uniform", fixedUniforms[i].type, ownName(fixedUniforms[i].name),
                    fixedUniforms[i].suffix);
    for (std::size_t i = 0; i < fixedVaryings.size(); ++i) {
        const FixedVarying& row = fixedVaryings[i];
        const bool isGeometry = _stage == Stage::Geometry;
        // An array of arrays as an input would need version 430.
        if (_reads[i] && !(isGeometry && !row.suffix.empty()))
            declare("in", row.type, varyingName(inputStage(), i), isGeometry ? "[]" : row.suffix);
        if (_writes[i]) declare("out", row.type, varyingName(_stage, i), row.suffix);
    }
    const bool transforms = std::any_of(_walk.words.begin(), _walk.words.end(),
                                        [&](const Word& w) { return name(w) == "ftransform"; });
    if (transforms && _stage == Stage::Vertex)
        text += "vec4 zelk_b_transform() { return zelk_b_ModelViewProjectionMatrix * "
                "zelk_b_Vertex; } ";
    return text;
}

LineNumbering StageAdapter::lineNumbering() const {
    const long firstWithN = _version.isEmbedded() ? 300 : 330;
    return _number >= firstWithN ? LineNumbering::N : LineNumbering::NPlusOne;
}

long StageAdapter::lineOperand(long nextLine) const {
    return lineNumbering() == LineNumbering::N ? nextLine : std::max(nextLine - 1, 0L);
}

std::string StageAdapter::ownLineDirective(LineTable& lines) const {
    return _options.fileNumbers ? lineDirective(lines.number(ownText, 1)) + "\n" : std::string();
}

std::string StageAdapter::prefix(LineTable& lines, const std::string& lineOfDeclarations) const {
    std::string text;
    const std::string version = versionDirective();
    if (!version.empty()) {
        text.append(_version.line, '\n'); // an error in the version line is reported at its line
        text += version + "\n";
    }
    text += ownLineDirective(lines);
    if (!_version.isEmbedded())
        for (const std::string& extension : enabledExtensions())
            text += "#extension " + extension + " : enable\n";
    text += _hoisted;
    text += _options.platformDefines;
    if (!_options.platformDefines.empty() && text.back() != '\n') text += "\n";
    text += _macros;
    if (!_before.empty() || !_after.empty()) text += "#define main zelk_b_main\n";
    text += lineOfDeclarations;
    return text + lineDirective(1) + "\n";
}

std::string StageAdapter::suffix(LineTable& lines) const {
    if (_before.empty() && _after.empty()) return {};
    const bool isContinued = !_scan.text.empty() && _scan.text.back() == '\\';
    return (isContinued ? "\n\n" : "\n") + ownLineDirective(lines) + "#undef main\nvoid main() { " +
           _before + "zelk_b_main(); " + _after + "}\n";
}

// ---------------------------------------------------------------------------------------------
// Lines

/// Index of the line before which declarations reach all code and no `#extension` line follows:
/// the first code, or the outermost condition around it unless that also enables extensions.
std::size_t StageAdapter::declarationLine() const {
    std::size_t depth = 0, outermost = 0;
    bool hasCode = false, hasExtensions = false;
    for (std::size_t i = 0; i < _scan.lines.size(); ++i) {
        const Kind kind = _scan.lines[i].kind;
        if (kind == Kind::Code && depth == 0) return i;
        if (kind == Kind::Code) hasCode = true;
        if (kind == Kind::Extension) hasExtensions = true;
        if (kind == Kind::If && depth++ == 0) {
            outermost = i;
            hasCode = hasExtensions = false;
        }
        if (kind != Kind::Endif || depth == 0) continue;
        if (--depth == 0 && hasCode && !hasExtensions) return outermost;
    }
    return depth > 0 && hasCode && !hasExtensions ? outermost : _scan.lines.size();
}

/// Has directives that stand for lines of the text itself say so.
void StageAdapter::countOwnLines(const StageText& source) {
    for (LogicalLine& line : _scan.lines) {
        if (line.kind != Kind::Line || !line.at) continue;
        const bool isOwn =
            source.isWhole || (!source.ownName.empty() && line.at->file == source.ownName);
        if (isOwn) line.at = LineOperands{static_cast<long>(line.number) + 2, ""};
    }
}

/// Writes the `#line` directives anew, and one that ends the effect of those ahead of the main
/// code.
void StageAdapter::editLines(LineTable& lines, std::size_t declarationsAt, bool needsMacro) {
    bool isCounted = false; // by a directive ahead
    for (std::size_t i = 0; i < _scan.lines.size(); ++i) {
        const LogicalLine& line = _scan.lines[i];
        if (isCounted && line.number + 1 == _mainLine) {
            const LineOperands own{static_cast<long>(_mainLine), ""};
            const bool setsMacro = needsMacro && i <= declarationsAt;
            _edits.push_back(
                {line.begin, 0,
                 lineText(lines, own, line.number, setsMacro ? declarationsAt : npos) + "\n"});
        }
        if (line.kind != Kind::Line || !line.at) continue;
        _scan.erase(line.first, line.end);
        if (!_options.fileNumbers) continue;
        isCounted = true;
        const bool setsMacro = needsMacro && i < declarationsAt;
        _edits.push_back(
            {line.first, 0,
             lineText(lines, *line.at, line.number + 1, setsMacro ? declarationsAt : npos)});
    }
}

/// A directive for the line with the number `next`, counted from 0. Ahead of the declarations, if
/// there is a line for them, it also notes the number that the line behind them has if this turns
/// out to be the last directive in effect.
std::string StageAdapter::lineText(LineTable& lines, const LineOperands& at, std::size_t next,
                                   std::size_t declarationsAt) const {
    std::string text;
    if (declarationsAt != npos) {
        const std::size_t distance = _scan.lines[declarationsAt].number - next;
        const long then = at.number + static_cast<long>(distance);
        text.append("#undef ").append(lineMacro).append("\n#define ").append(lineMacro) +=
            " " + std::to_string(lineOperand(lines.number(at.file, then))) + "\n";
    }
    return text + lineDirective(lines.number(at.file, at.number));
}

/// Puts the declarations on lines of their own and sets the count back to the composed text's.
/// `#line` directives ahead of them may stand in conditions, so that only the preprocessor knows
/// the count. Then declarations go on the line of the code; ahead of a condition, which needs its
/// line for itself, the count comes from a macro that each of the directives sets. Not always, as
/// Mesa's preprocessor counts otherwise behind a `#line` with a macro.
void StageAdapter::insertDeclarations(const std::string& text, std::size_t at,
                                      bool hasLineDirectives) {
    if (at == _scan.lines.size()) {
        _edits.push_back({_scan.text.size(), 0, "\n" + text + "\n"});
        return;
    }
    const LogicalLine& line = _scan.lines[at];
    if (hasLineDirectives && line.kind == Kind::Code) {
        _edits.push_back({line.begin, 0, text});
        return;
    }
    const std::string back = hasLineDirectives ? "#line " + std::string(lineMacro)
                                               : lineDirective(static_cast<long>(line.number) + 1);
    _edits.push_back({line.begin, 0, text + "\n" + back + "\n"});
}

std::string StageAdapter::editedText() {
    std::stable_sort(_edits.begin(), _edits.end(), [](const Edit& a, const Edit& b) {
        return std::pair(a.begin, a.length) < std::pair(b.begin, b.length);
    });
    std::string text;
    text.reserve(_scan.text.size() + _scan.text.size() / 8);
    std::size_t at = 0;
    for (const Edit& edit : _edits) {
        text.append(_scan.text, at, edit.begin - at).append(edit.text);
        at = edit.begin + edit.length;
    }
    return text.append(_scan.text, at);
}

std::string StageAdapter::finish(LineTable& lines) {
    const std::string declared = _version.isEmbedded() ? std::string() : declarations();
    const std::size_t at = declarationLine();
    const bool hasLineDirectives =
        _options.fileNumbers &&
        std::any_of(_scan.lines.begin(), _scan.lines.begin() + static_cast<std::ptrdiff_t>(at),
                    [](const LogicalLine& l) { return l.kind == Kind::Line && l.at; });
    const bool needsMacro = !declared.empty() && hasLineDirectives && at < _scan.lines.size() &&
                            _scan.lines[at].kind != Kind::Code;
    std::string lineOfDeclarations;
    if (needsMacro) {
        const long line = static_cast<long>(_scan.lines[at].number) + 1;
        lineOfDeclarations =
            "#define " + std::string(lineMacro) + " " + std::to_string(lineOperand(line)) + "\n";
    }
    const std::string head = prefix(lines, lineOfDeclarations);
    editLines(lines, at, needsMacro);
    if (!declared.empty()) insertDeclarations(declared, at, hasLineDirectives);
    editWords();
    return head + editedText() + suffix(lines);
}

/// What a stage hands to the next one depends on both.
void connect(std::vector<StageAdapter>& stages, const AdaptOptions& options) {
    const auto find = [&](Stage stage) {
        const auto found = std::find_if(stages.begin(), stages.end(),
                                        [&](const StageAdapter& s) { return s.stage() == stage; });
        return found == stages.end() ? nullptr : &*found;
    };
    StageAdapter* const vertex = find(Stage::Vertex);
    StageAdapter* const geometry = find(Stage::Geometry);
    StageAdapter* const fragment = find(Stage::Fragment);
    StageAdapter* const behindVertex = geometry ? geometry : fragment;
    if (vertex && behindVertex) {
        // Without this the colour is undefined, and drivers do draw differently run by run.
        if (behindVertex->reads()[frontColor] && !vertex->writes()[frontColor]) vertex->passColor();
        if (options.profile == Profile::Core) vertex->declareOutputs(behindVertex->reads());
    }
    if (geometry && fragment && options.profile == Profile::Core)
        geometry->declareOutputs(fragment->reads());
}

} // namespace

std::string_view stageName(Stage stage) {
    switch (stage) {
    case Stage::Vertex:
        return "vertex";
    case Stage::Geometry:
        return "geometry";
    case Stage::Fragment:
        return "fragment";
    case Stage::Compute:
        break;
    }
    return "compute";
}

AdaptedProgram adaptProgram(const std::vector<StageText>& stages, const AdaptOptions& options) {
    const bool hasGeometryStage = std::any_of(stages.begin(), stages.end(), [](const StageText& s) {
        return s.stage == Stage::Geometry;
    });
    std::vector<StageAdapter> adapters;
    adapters.reserve(stages.size());
    std::size_t longest = 0;
    for (const StageText& stage : stages) {
        adapters.emplace_back(stage, options, hasGeometryStage);
        longest = std::max(longest, adapters.back().lineCount());
    }
    connect(adapters, options);

    AdaptedProgram program;
    program.lines = LineTable(longest);
    for (StageAdapter& adapter : adapters) {
        program.stages.push_back(
            {adapter.stage(), adapter.finish(program.lines), adapter.lineNumbering()});
        program.notes.insert(program.notes.end(), adapter.notes().begin(), adapter.notes().end());
    }
    return program;
}

} // namespace Mirk::GL
