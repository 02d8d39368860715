#pragma once
// A folder for the files of a test; stands on the standard library.

#include <filesystem>
#include <string>
#include <vector>

namespace Shell::Test {

/// A folder that goes with its object.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string path() const { return _path.string(); }
    std::string path(const std::string& name) const { return (_path / name).string(); }
    /// The path of the new file.
    std::string write(const std::string& name, const std::string& content) const;
    /// Names of what is in it, hidden ones too.
    std::vector<std::string> names() const;

private:
    std::filesystem::path _path;
};

std::string contentOf(const std::string& path);

} // namespace Shell::Test
