#pragma once
// What reads one kind of file; the class that modules derive from. Stands on InputFile, Dataset.

#include <Readers/Dataset.hpp>
#include <Readers/InputFile.hpp>
#include <Readers/export.hpp>

#include <string>
#include <vector>

namespace Mirk {

/// What a caller of readFile may choose.
struct ReadOptions {
    /// Coordinates of lines on the earth.
    CoordinateSystem coordinates = CoordinateSystem::Geographic;
    /// Antarctica is in the coastline files twice; true adds the grounding line of its ice to
    /// the front of its ice.
    bool groundingLine = false;
};

/// How sure a reader is that a file is for it.
enum class Recognition {
    None,
    Container, ///< the format fits, which also holds for files with quite other content
    Content    ///< the content itself is known
};

/// Reads files of one kind. Readers hold no state: several threads may use one at a time.
class READERS_EXPORT Reader {
public:
    virtual ~Reader();

    /// For messages: "PLY mesh".
    virtual std::string name() const = 0;
    /// Usual endings of file names, in lower case, without the dot. They count only if no reader
    /// recognises the content.
    virtual std::vector<std::string> extensions() const = 0;
    /// Looks at the content, best at no more than its head; must not throw for bad content.
    virtual Recognition recognises(const InputFile& file) const = 0;
    /// Reads the whole file. Throws ReaderError with the place and what would be right.
    virtual Dataset read(const InputFile& file, const ReadOptions& options) const = 0;
};

} // namespace Mirk
