#include <fennel/VConnectionTypeColors.hpp>

#include <mutex>
#include <typeindex>
#include <unordered_map>

namespace Mirk {

namespace {

struct ColorTable {
    std::mutex mutex; // leaf
    std::unordered_map<std::type_index, std::string> colors;
};

/// Never destroyed: modules may set colours as long as the process lives.
ColorTable& table() {
    static ColorTable& instance = *new ColorTable;
    return instance;
}

} // namespace

void VConnectionTypeColors::set(const std::type_info& type, const std::string& color) {
    const std::lock_guard lock(table().mutex);
    table().colors[type] = color;
}

void VConnectionTypeColors::erase(const std::type_info& type) {
    const std::lock_guard lock(table().mutex);
    table().colors.erase(type);
}

std::string VConnectionTypeColors::get(const std::type_info& type) {
    const std::lock_guard lock(table().mutex);
    const auto found = table().colors.find(type);
    return found != table().colors.end() ? found->second : std::string();
}

} // namespace Mirk
