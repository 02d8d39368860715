#pragma once
// Texts of values as YAML and back; stands on VValueBase and YAML.

#include <sorrel/VValueBase.hpp>
#include <sorrel/yamlTree.hpp>
#include <sorrel/yamlWriter.hpp>

#include <string>

namespace Mirk {

/// Whether the text of a value is read back as the same text.
bool hasTextForm(const VValueBase& value);
/// Writes the text of a value: numbers and rows of numbers as such, everything else as a text.
void writeValue(YamlWriter& writer, const VValueBase& value);
/// The text for a value of a type, from a scalar or row. False, and `text` is what would be right,
/// if there is none.
bool readValueText(const YamlNode& node, const std::type_info& type, std::string& text);

} // namespace Mirk
