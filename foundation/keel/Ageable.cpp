#include <keel/Ageable.hpp>

namespace Keel {

std::atomic<Ageable::Age> Ageable::GlobalTime{Ageable::Ooooold};
std::atomic<std::uint64_t> Ageable::Changes{1};

} // namespace Keel
