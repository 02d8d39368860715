#pragma once
// Files of shader text that a developer lays beside the program; stands on keel's files.

#include <keel/File.hpp>

#include <string>

namespace Mirk {

/// The content of a regular file; empty if there is none, if it can't be read, or if it is larger
/// than any shader. Whatever else has that name, a pipe or a folder, is not touched.
std::string readShaderFile(const std::string& path);

bool isSymbolicLink(const std::string& path);

/// What is found where a text may be written to.
enum class ShaderRequest {
    None,   ///< nothing that can be opened for update
    Kept,   ///< something that stays as it is: it has content, or is no regular file
    Filled, ///< an empty file, which has the text now
};

struct ShaderAnswer {
    ShaderRequest request = ShaderRequest::None;
    /// Of a file that was filled, as it was behind the writing: later ones are of other writers.
    Keel::Filetime time = {};
};

/// Writes `text` into a file that exists and is empty, the request for it. Nothing is created, and
/// nothing is written over: whether the file is empty is asked of the opened file right ahead of
/// the write. Symbolic links and whatever is no regular file stay untouched. With `isTold` a line
/// on standard error says so ahead of the write.
ShaderAnswer fillShaderRequest(const std::string& path, const std::string& text, bool isTold);

} // namespace Mirk
