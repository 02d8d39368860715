#pragma once
// Writes YAML, the same bytes for the same calls; stands on libyaml.

#include <memory>
#include <string>
#include <string_view>

namespace Mirk {

/// Makes one document of nodes in their order; the key of a map is a text. Throws std::bad_alloc
/// if memory ends.
class YamlWriter {
public:
    YamlWriter();
    ~YamlWriter();
    YamlWriter(const YamlWriter&) = delete;
    YamlWriter& operator=(const YamlWriter&) = delete;

    enum class Layout { Lines, OneLine };

    void openMap(Layout layout = Layout::Lines);
    void closeMap();
    /// In one line.
    void openRow();
    void closeRow();
    /// Any bytes. They are quoted if they could be taken for something else: a number, a word with
    /// a meaning, or a part of YAML. Bytes that are no UTF-8 become "!!binary".
    void text(std::string_view value);
    /// A number or a word with a meaning, such as "true", as it stands.
    void plain(std::string_view value);

    /// Ends the document.
    std::string finish();

private:
    struct Emitter;
    const std::unique_ptr<Emitter> _emitter;
};

} // namespace Mirk
