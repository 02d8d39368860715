#include <FileWatch.hpp>

#include <algorithm>
#include <utility>

namespace Shell {

void FileWatch::begin(Times times) {
    _times = std::move(times);
    for (auto& [file, time] : _times) {
        const auto known = _saved.find(file);
        if (known != _saved.end()) time = std::max(time, known->second.modified);
    }
    _saved.clear();
    _callsWithoutChange = 0;
}

bool FileWatch::areSaved() {
    std::map<std::string, State> saved;
    for (const auto& [file, time] : _times) {
        const Keel::FileInfo info(file);
        if (info.exists && info.modified > time) saved[file] = {info.modified, info.bytes};
    }
    _callsWithoutChange = saved == _saved ? _callsWithoutChange + 1 : 0;
    _saved = std::move(saved);
    const bool hasEmpty = std::any_of(_saved.begin(), _saved.end(),
                                      [](const auto& each) { return each.second.bytes == 0; });
    return !_saved.empty() && _callsWithoutChange >= (hasEmpty ? 10 : 1);
}

} // namespace Shell
