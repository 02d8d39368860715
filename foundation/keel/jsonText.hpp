#pragma once
// Text as JSON strings, for the trace files; stands on nothing. Not installed.

#include <string>
#include <string_view>

namespace Keel {

/// Appends `text` to `json` as a JSON string with its quotes. Each byte that is not part of valid
/// UTF-8 (RFC 3629: no surrogates, no overlong forms) becomes U+FFFD.
void appendJsonString(std::string& json, std::string_view text);

} // namespace Keel
