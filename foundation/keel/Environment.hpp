#pragma once
// Settings from environment variables, with a listing of the known ones; stands on nothing.

#include <keel/export.hpp>

#include <string>
#include <vector>

namespace Keel {

// Numbers are read alike in every locale: a dot before the fraction, no separators. Blanks round
// a number do not matter, and a variable that holds only blanks counts as missing. A number that
// cannot be read gives the default, and one warning on standard error for each such text.
//
// All functions may be called from several threads at once, and at load time. As everywhere in C,
// no thread may change the environment meanwhile.

/// Value of the environment variable `name` in decimal, or the default if it is missing.
/// The description is for the listing, where the first call for a name counts.
KEEL_EXPORT int getEnvInteger(const char* name, const char* description, int defaultValue);

/// The same for a floating point value. "inf" can be given, "nan" cannot.
KEEL_EXPORT double getEnvFloat(const char* name, const char* description, double defaultValue);

/// The same for text, which is given as it stands, blanks included; empty if missing.
KEEL_EXPORT std::string getEnvString(const char* name, const char* description);

/// What a user may want to know of one variable.
struct EnvironmentVariable {
    std::string name;
    std::string description;
    std::string defaultValue; ///< empty for text
    std::string currentValue; ///< what is in force now: the default if missing or unreadable
};

/// All variables that have been asked for so far, in the order of their names.
KEEL_EXPORT std::vector<EnvironmentVariable> listEnvironmentVariables();

} // namespace Keel
