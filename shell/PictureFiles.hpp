#pragma once
// Where the pictures of a command go; stands on PngWriter.

#include <Writers/PngWriter.hpp>

#include <string>
#include <vector>

namespace Shell {

/// "dir/name-left.png" and "dir/name-right.png" for "dir/name.png".
std::vector<std::string> namesForEyes(const std::string& path);

/// Files of pictures that belong together: all are replaced, or none.
class PictureFiles {
public:
    /// Throws Mirk::WriteError, as PngWriter does, if one of them can't be written there.
    explicit PictureFiles(std::vector<std::string> paths);

    const std::vector<std::string>& paths() const { return _paths; }
    /// One picture for each path. Throws Mirk::WriteError; then each file is what it was.
    void write(const std::vector<Mirk::PngWriter::Picture>& pictures) const;

private:
    std::vector<std::string> _paths;
};

} // namespace Shell
