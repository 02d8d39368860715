#pragma once
// A YAML text as a tree of nodes that know their lines; stands on libyaml.

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Mirk {

/// One node. Of a map, `items` are its keys and values in turn; the keys are scalars, each a
/// different one.
struct YamlNode {
    enum class Kind {
        /// `text` is the value; `plain` tells that it stands there without quotes or tag, so that
        /// its looks say what it is.
        Scalar,
        Row,
        Map,
        /// Something that was reported already, and is to be passed over.
        Faulty
    };

    /// Whether nothing stands there: "~", "null", or nothing at all.
    bool isNull() const;

    Kind kind = Kind::Scalar;
    std::size_t line = 0; ///< from 1
    std::string text;
    bool plain = false;
    std::vector<YamlNode> items;
};

/// How deep rows and maps may lie in each other.
constexpr std::size_t MaximalYamlDepth = 64;

/// Told of each fault in the text.
using YamlReport = std::function<void(std::size_t line, const std::string& text)>;

/// Reads the first document of a text in UTF-8. Nothing, after one report, if it is no YAML or too
/// deep. What else is wrong is reported and left out: a key that is there twice or is no scalar,
/// an alias, a tag of an unknown type, further documents.
std::optional<YamlNode> parseYaml(const std::string& text, const YamlReport& report);

} // namespace Mirk
