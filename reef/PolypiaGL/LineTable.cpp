#include <PolypiaGL/LineTable.hpp>

#include <algorithm>

namespace Mirk::GL {

LineTable::LineTable(std::size_t composedLines)
    : _first(static_cast<long>(std::min(1 + composedLines / static_cast<std::size_t>(_stride),
                                        static_cast<std::size_t>(_last)))) {}

long LineTable::number(std::string_view file, long line) {
    line = std::clamp(line, 0L, _stride - 1);
    if (file.empty()) return line;
    const auto known = _indices.find(std::string(file));
    if (known != _indices.end()) return known->second * _stride + line;

    const long next = _first + static_cast<long>(_files.size());
    if (next > _last) return _last * _stride + line;
    _files.emplace_back(next == _last ? "(one of too many files)" : file);
    _indices.emplace(file, next);
    return next * _stride + line;
}

LineTable::Place LineTable::find(long number) const {
    const long index = number / _stride - _first;
    if (number < 0 || index < 0 || index >= static_cast<long>(_files.size())) return {{}, number};
    return {_files[static_cast<std::size_t>(index)], number % _stride};
}

} // namespace Mirk::GL
