#include <keel/Ageable.hpp>

namespace Keel {

std::atomic<Ageable::Age> Ageable::GlobalTime{Ageable::Ooooold};

} // namespace Keel
