#pragma once
// Files and lines packed into the one number that a `#line` directive carries, on the standard
// library alone. Compilers differ in what they accept and report beside the number, and some lose
// the source number of `#line N S` in semantic errors; a plain large number survives everywhere.

#include <PolypiaGL/export.hpp>

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Mirk::GL {

/// Which number compilers give the line behind `#line N`. It depends on version and profile of the
/// language.
enum class LineNumbering { N, NPlusOne };

/// One table serves all stages of a program. Numbers below the first file are lines of the composed
/// text itself. Copyable; not synchronised.
class POLYPIAGL_EXPORT LineTable {
public:
    /// A place in a file; an empty file is the composed text.
    struct Place {
        std::string_view file; ///< lives as long as the table
        long line = 0;
    };

    /// `composedLines`: lines of the longest stage text; numbers of files begin above it.
    explicit LineTable(std::size_t composedLines = 0);

    /// The packed number of a line in a file. An empty file gives the line itself. Lines are held
    /// within 0 to 999999; when all file numbers are in use, further files share the last one.
    long number(std::string_view file, long line);

    /// What a packed number stands for. A number of no known file comes back as a line of the
    /// composed text.
    Place find(long number) const;

private:
    static constexpr long _stride = 1000000;
    static constexpr long _last = 2146; // 2146 * stride + 999999 still fits 31 bits

    long _first;
    std::vector<std::string> _files;
    std::unordered_map<std::string, long> _indices;
};

} // namespace Mirk::GL
