#pragma once
// The colours of connections in the user interface; stands on the standard library.

#include <fennel/fwd.hpp>

#include <string>
#include <typeinfo>

namespace Mirk {

/// The colour in which the user interface draws connections of a value type. All operations may be
/// called from any thread.
class FENNEL_EXPORT VConnectionTypeColors {
public:
    /// Records a colour, in place of the one that was recorded for the type.
    static void set(const std::type_info& type, const std::string& color);
    /// Forgets the colour of a type: for modules that have set one and are to be unloaded.
    static void erase(const std::type_info& type);
    /// The recorded colour, or "".
    static std::string get(const std::type_info& type);
};

} // namespace Mirk
