#include <keel/DynPtr.hpp>

namespace Keel {

PointerCounter PointerID;

} // namespace Keel
