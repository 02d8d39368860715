#include <sorrel/yamlTree.hpp>

#include <sorrel/base64.hpp>

#include <yaml.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace Mirk {

namespace {

class Parser {
public:
    explicit Parser(const std::string& text) : _text(text) {
        _ready = yaml_parser_initialize(&_parser) != 0;
        if (!_ready) return;
        yaml_parser_set_encoding(&_parser, YAML_UTF8_ENCODING);
        yaml_parser_set_input_string(&_parser, reinterpret_cast<const unsigned char*>(text.data()),
                                     text.size());
    }
    ~Parser() {
        if (_ready) yaml_parser_delete(&_parser);
    }
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;

    bool next(yaml_event_t& event) { return _ready && yaml_parser_parse(&_parser, &event) != 0; }

    void reportProblem(const YamlReport& report) const {
        if (!_ready || _parser.error == YAML_MEMORY_ERROR) {
            report(1, "there is not enough memory to read this");
            return;
        }
        std::string problem = _parser.problem != nullptr ? _parser.problem : "unknown error";
        if (_parser.error == YAML_READER_ERROR) {
            report(lineOfByte(_parser.problem_offset), "this is no text in UTF-8: " + problem);
            return;
        }
        if (_parser.context != nullptr) problem += std::string(", ") + _parser.context;
        report(_parser.problem_mark.line + 1, "this is no YAML: " + problem + ", in column " +
                                                  std::to_string(_parser.problem_mark.column + 1));
    }

private:
    std::size_t lineOfByte(std::size_t offset) const {
        const auto begin = _text.begin();
        const auto end = begin + static_cast<std::ptrdiff_t>(std::min(offset, _text.size()));
        return 1 + static_cast<std::size_t>(std::count(begin, end, '\n'));
    }

    const std::string& _text;
    yaml_parser_t _parser{};
    bool _ready = false;
};

std::string stringOf(const yaml_char_t* text) {
    return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

constexpr std::string_view TagPrefix = "tag:yaml.org,2002:";

/// What a tag of YAML itself names, such as "str"; "" for no tag, "?" for a tag of another origin.
std::string standardTag(const yaml_char_t* tag) {
    const std::string name = stringOf(tag);
    if (name.empty() || name == "!") return {};
    return name.starts_with(TagPrefix) ? name.substr(TagPrefix.size()) : "?";
}

class TreeBuilder {
public:
    explicit TreeBuilder(const YamlReport& report) : _report(report) {}

    /// False if the event leads too deep.
    bool take(const yaml_event_t& event) {
        const std::size_t line = event.start_mark.line + 1;
        switch (event.type) {
        case YAML_SCALAR_EVENT:
            add(scalar(event, line));
            return true;
        case YAML_ALIAS_EVENT:
            _report(line, "the alias \"*" + stringOf(event.data.alias.anchor) +
                              "\" is not followed, write what it stands for");
            add(faulty(line));
            return true;
        case YAML_SEQUENCE_START_EVENT:
            return open(YamlNode::Kind::Row, event.data.sequence_start.tag, "seq", line);
        case YAML_MAPPING_START_EVENT:
            return open(YamlNode::Kind::Map, event.data.mapping_start.tag, "map", line);
        case YAML_SEQUENCE_END_EVENT:
        case YAML_MAPPING_END_EVENT:
            close();
            return true;
        default:
            return true;
        }
    }

    YamlNode takeRoot() { return std::move(_root); }

private:
    static YamlNode faulty(std::size_t line) {
        YamlNode node;
        node.kind = YamlNode::Kind::Faulty;
        node.line = line;
        return node;
    }

    YamlNode scalar(const yaml_event_t& event, std::size_t line) {
        const auto& data = event.data.scalar;
        static constexpr std::array<std::string_view, 6> known{"",      "str",  "int",
                                                               "float", "bool", "null"};
        const std::string tag = standardTag(data.tag);
        YamlNode node;
        node.line = line;
        node.text.assign(reinterpret_cast<const char*>(data.value), data.length);
        node.plain = data.style == YAML_PLAIN_SCALAR_STYLE && tag != "str";
        if (tag == "binary") {
            node.plain = false;
            if (decodeBase64(node.text, node.text)) return node;
            _report(line, "!!binary: expected bytes in base64");
            return faulty(line);
        }
        if (std::find(known.begin(), known.end(), tag) != known.end()) return node;
        reportTag(data.tag, line);
        return faulty(line);
    }

    void reportTag(const yaml_char_t* tag, std::size_t line) {
        _report(line, "the tag \"" + stringOf(tag) + "\" means nothing here");
    }

    bool open(YamlNode::Kind kind, const yaml_char_t* tag, std::string_view expected,
              std::size_t line) {
        if (_open.size() == MaximalYamlDepth) {
            _report(line, "rows and maps lie in each other more than " +
                              std::to_string(MaximalYamlDepth) + " deep");
            return false;
        }
        const std::string given = standardTag(tag);
        YamlNode node;
        node.kind = kind;
        node.line = line;
        // What it holds is read all the same, as its end has to be found.
        _isFaulty.push_back(!given.empty() && given != expected);
        if (_isFaulty.back()) reportTag(tag, line);
        _open.push_back(std::move(node));
        return true;
    }

    void close() {
        YamlNode node = std::move(_open.back());
        _open.pop_back();
        const bool isFaulty = _isFaulty.back();
        _isFaulty.pop_back();
        if (node.kind == YamlNode::Kind::Map) checkKeys(node);
        // A part of a row can't be left out without changing what the others mean.
        const bool isTorn = node.kind == YamlNode::Kind::Row &&
                            std::any_of(node.items.begin(), node.items.end(), [](const auto& item) {
                                return item.kind == YamlNode::Kind::Faulty;
                            });
        add(isFaulty || isTorn ? faulty(node.line) : std::move(node));
    }

    void add(YamlNode node) {
        if (_open.empty()) {
            _root = std::move(node);
        } else {
            _open.back().items.push_back(std::move(node));
        }
    }

    void checkKeys(YamlNode& map) {
        std::vector<YamlNode> kept;
        std::unordered_map<std::string, std::size_t> lines;
        for (std::size_t i = 0; i + 1 < map.items.size(); i += 2) {
            YamlNode& key = map.items[i];
            if (key.kind == YamlNode::Kind::Faulty) continue;
            if (key.kind != YamlNode::Kind::Scalar) {
                _report(key.line, "a key must be a text, not a row or a map");
                continue;
            }
            const auto [first, isNew] = lines.emplace(key.text, key.line);
            if (!isNew) {
                _report(key.line, "\"" + key.text + "\" stands here a second time, first in line " +
                                      std::to_string(first->second) + ", which counts");
                continue;
            }
            kept.push_back(std::move(key));
            kept.push_back(std::move(map.items[i + 1]));
        }
        map.items = std::move(kept);
    }

    const YamlReport& _report;
    YamlNode _root;
    std::vector<YamlNode> _open;
    std::vector<bool> _isFaulty;
};

} // namespace

bool YamlNode::isNull() const {
    return kind == Kind::Scalar && plain &&
           (text.empty() || text == "~" || text == "null" || text == "Null" || text == "NULL");
}

std::optional<YamlNode> parseYaml(const std::string& text, const YamlReport& report) {
    Parser parser(text);
    TreeBuilder builder(report);
    YamlNode nothing;
    nothing.line = 1;
    nothing.plain = true;
    std::optional<YamlNode> root(std::move(nothing));
    for (bool hasDocument = false;;) {
        yaml_event_t event{};
        if (!parser.next(event)) {
            parser.reportProblem(report);
            return {};
        }
        const yaml_event_type_t type = event.type;
        const std::size_t line = event.start_mark.line + 1;
        const bool isTaken = builder.take(event);
        yaml_event_delete(&event);
        if (!isTaken) return {};
        if (type == YAML_STREAM_END_EVENT) return root;
        if (type == YAML_DOCUMENT_END_EVENT) root = builder.takeRoot();
        if (type != YAML_DOCUMENT_START_EVENT) continue;
        if (hasDocument) {
            report(line, "only the first document of a file is read");
            return root;
        }
        hasDocument = true;
    }
}

} // namespace Mirk
