#include "temporaryFolder.hpp"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>

namespace Shell::Test {

TemporaryFolder::TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "shellXXXXXX").string();
    _path = mkdtemp(pattern.data());
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
}

std::string TemporaryFolder::write(const std::string& name, const std::string& content) const {
    std::ofstream(_path / name, std::ios::binary) << content;
    return path(name);
}

std::vector<std::string> TemporaryFolder::names() const {
    std::vector<std::string> result;
    for (const auto& entry : std::filesystem::directory_iterator(_path)) {
        result.push_back(entry.path().filename().string());
    }
    std::sort(result.begin(), result.end());
    return result;
}

std::string contentOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace Shell::Test
