#pragma once
// Readable names of classes; stands on nothing.

#include <keel/export.hpp>

#include <string>
#include <typeinfo>

namespace Keel {

/// The name of a class as it is written in the source, such as "Mirk::Polyp". A name that the
/// compiler's runtime cannot read is given as it is stored.
KEEL_EXPORT std::string Typename(const std::type_info& type);

} // namespace Keel
