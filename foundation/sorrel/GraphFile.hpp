#pragma once
// A graph of objects as a YAML file that people write and read; stands on VObject and creators.

#include <sorrel/VObject.hpp>

#include <keel/Interface.hpp>

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Mirk {

/// Reads and writes objects with their values and connections:
///
///     objects:
///       coast:                           # the object's name; the order of objects doesn't matter
///         type: LineSet                  # the name of its creator
///         preferences: word word         # for the creator; may be left out, as all that follows
///         active: false                  # VObject::active
///         inputs:
///           width: 1.5
///           color: [1, 0, 0, 1]          # numbers in a row: the text "1 0 0 1"
///           title: "1.5"                 # in quotes a text stands for itself
///           data: { from: reader.points }            # connected to the output of an object
///           mask: { from: [a.b, out], value: 3 }     # the same; with the input's own value
///         pools:
///           left: { visible: false }     # values of inputs that are local to each pool
///
/// A plain `~` or nothing at all is no value; ".inf", "-.inf" and ".nan" are numbers, but for
/// inputs of texts. The output may be left out if the object has one of the input's type only.
/// Bytes that are no UTF-8 are tagged "!!binary".
///
/// Values are written that were set at some time, also to what they were at first, and in pools
/// those that are different from the value elsewhere. Reading a value sets it. So a file that was
/// written, read and written again is the same, byte for byte, and holds what a user has chosen,
/// not what a later version may choose better. Values without text form, and inputs that an object
/// makes for its connections, are not written: they come from the objects themselves.
///
/// An object of this class may be used by several threads; one call is for one thread.
class SORREL_EXPORT GraphFile {
public:
    /// By the names that the file has for them.
    using Pools = std::map<std::string, ValuePoolPtr>;

    /// Something that the user should know.
    struct Message {
        std::string file;
        std::size_t line = 0; ///< from 1; 0 if it is about no line
        std::string text;

        /// "file:line: text".
        SORREL_EXPORT std::string str() const;
    };

    struct Loaded {
        /// Whether the file could be read as YAML with a map of objects; if not, there is one
        /// message, and nothing has changed.
        bool isGraph = false;
        /// What was made, in the order of the file, by the names in it.
        std::vector<std::pair<std::string, VObjectPtr>> objects;
        /// What could not be read: everything else was.
        std::vector<Message> messages;
    };

    struct Saved {
        /// Whether the file has been written; if not, it is as it was.
        bool isWritten = false;
        /// What could not be written.
        std::vector<Message> messages;
    };

    /// Values of other pools are neither read nor written.
    explicit GraphFile(Pools pools = {});

    /// Makes the objects of a file, sets their values, connects and announces them, and runs
    /// VSlotContainer::setup of each. Names that are taken get a number (VManagedObject::Name);
    /// what the file connects are its own objects all the same. `context` goes to the creators.
    Loaded load(const std::string& path, const Keel::Intercube& context = Keel::Intercube()) const;
    /// The same for a text; `fileName` is for the messages.
    Loaded loadText(const std::string& text, const std::string& fileName,
                    const Keel::Intercube& context = Keel::Intercube()) const;

    /// Writes objects in the given order, such as VActionNotifier::objects(). The file is written
    /// aside and renamed.
    Saved save(const std::string& path, const std::vector<VObjectPtr>& objects) const;
    /// The text that save() writes. `fileName` is for the messages, which are appended.
    std::string text(const std::vector<VObjectPtr>& objects, const std::string& fileName,
                     std::vector<Message>& messages) const;

private:
    const Pools _pools;
};

} // namespace Mirk
