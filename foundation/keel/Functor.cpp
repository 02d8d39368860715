#include <keel/Functor.hpp>

namespace Keel {

Functor::~Functor() = default;

} // namespace Keel
