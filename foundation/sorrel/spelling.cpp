#include <sorrel/spelling.hpp>

#include <algorithm>
#include <numeric>

namespace Mirk {

namespace {

constexpr std::size_t LongestName = 64;
constexpr std::size_t MostNames = 256;

/// Levenshtein's distance, row by row.
std::size_t distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

} // namespace

std::string nearestName(const std::string& mistyped, const std::vector<std::string>& known) {
    if (mistyped.size() > LongestName) return {};
    std::string nearest;
    std::size_t best = mistyped.size() / 3 + 2;
    const std::size_t count = std::min(known.size(), MostNames);
    for (std::size_t i = 0; i < count; ++i) {
        if (known[i].size() > LongestName) continue;
        const std::size_t d = distance(mistyped, known[i]);
        if (d >= best || d >= known[i].size()) continue;
        best = d;
        nearest = known[i];
    }
    return nearest;
}

} // namespace Mirk
