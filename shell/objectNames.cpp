#include <objectNames.hpp>

#include <algorithm>
#include <filesystem>

namespace Shell {

namespace {

using Names = std::vector<std::string>;

/// What a file may be called, the shortest first, the whole path last.
Names namesOf(const std::string& file) {
    const std::filesystem::path path(file);
    Names names{path.stem().string(), path.filename().string()};
    for (std::size_t slash = file.size() - names.back().size(); slash > 1;) {
        slash = file.rfind('/', slash - 2) + 1; // 0 behind the last one
        names.push_back(file.substr(slash));
    }
    if (names.back() != file) names.push_back(file);
    return names;
}

bool contains(const Names& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

Names objectNames(const Names& files, const std::string& taken) {
    std::vector<Names> candidates;
    for (const std::string& file : files) candidates.push_back(namesOf(file));
    const auto isOfAnother = [&](const std::string& name, const std::string& file) {
        for (std::size_t i = 0; i < files.size(); ++i) {
            if (files[i] != file && contains(candidates[i], name)) return true;
        }
        return name == taken;
    };
    Names result;
    for (std::size_t i = 0; i < files.size(); ++i) {
        const auto free =
            std::find_if(candidates[i].begin(), candidates[i].end(),
                         [&](const std::string& name) { return !isOfAnother(name, files[i]); });
        result.push_back(free != candidates[i].end() ? *free : files[i]);
    }
    return result;
}

} // namespace Shell
