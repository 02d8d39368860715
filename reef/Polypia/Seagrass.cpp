#include <Polypia/Seagrass.hpp>

namespace Mirk {

Seagrass::Seagrass(unsigned long long maxCost, const std::string& name)
    : ThreadPool(32, "Seagrass Thread Pool " + name), cache(new Keel::Cache(maxCost, name)) {}

Seagrass::~Seagrass() = default;

} // namespace Mirk
