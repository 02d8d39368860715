#pragma once
// What is told of faulty objects that are drawn again and again; stands on nothing.

#include <set>
#include <string>
#include <vector>

namespace Shell {

/// Remembers what has failed, to tell when it is good again.
class Faults {
public:
    /// A failure of one frame.
    struct Fault {
        std::string object;
        std::string words; ///< why, in one or more lines
        bool isOfShaders = false;
        bool isDrawnAsBefore = false;
    };
    /// An object behind that frame.
    struct State {
        std::string object;
        bool hasReport = false;
    };

    /// What to tell of a frame: of what has failed in it, those with the same reason together, and
    /// of the objects whose report has gone since the frame before.
    std::vector<std::string> follow(const std::vector<Fault>& faults,
                                    const std::vector<State>& states);

private:
    std::set<std::string> _reported; // objects
    std::set<std::string> _ofShaders;
};

} // namespace Shell
