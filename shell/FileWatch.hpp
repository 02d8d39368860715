#pragma once
// Tells when files have been saved; stands on Keel's files.

#include <keel/File.hpp>

#include <map>
#include <string>

namespace Shell {

/// Looks at the times of files, again and again.
class FileWatch {
public:
    using Times = std::map<std::string, Keel::Filetime>;

    /// From now on a file counts as saved if it is later than its time here, and than what
    /// areSaved() has told of.
    void begin(Times times);
    /// Whether files have been saved, and are complete as far as can be told: they were the same at
    /// the call before, a tenth of a second or so ago. Editors may empty a file and then write it,
    /// which is not to be taken for an empty one that was wanted: such a file has to be the same
    /// for ten calls.
    bool areSaved();

private:
    struct State {
        Keel::Filetime modified;
        unsigned long long bytes = 0;

        bool operator==(const State&) const = default;
    };

    Times _times;
    std::map<std::string, State> _saved;
    int _callsWithoutChange = 0;
};

} // namespace Shell
