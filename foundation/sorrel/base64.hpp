#pragma once
// Bytes as letters, by RFC 4648, section 4; stands on nothing.

#include <string>
#include <string_view>

namespace Mirk {

std::string encodeBase64(std::string_view bytes);
/// White space does not count. False, and `bytes` is unchanged, if the text is no base64. `text`
/// may lie in `bytes`.
bool decodeBase64(std::string_view text, std::string& bytes);

} // namespace Mirk
