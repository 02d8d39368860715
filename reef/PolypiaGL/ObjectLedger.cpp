#include <PolypiaGL/ObjectLedger.hpp>

#include <utility>

namespace Mirk::GL {

std::string_view kindName(ObjectKind kind) {
    constexpr std::array<std::string_view, objectKindCount> names{
        "buffer",  "texture",     "sampler",      "renderbuffer", "shader",
        "program", "framebuffer", "vertex array", "query"};
    return names[static_cast<std::size_t>(kind)];
}

ObjectLedger::ObjectLedger(std::shared_ptr<const void> group) : _group(std::move(group)) {}

long ObjectLedger::live(ObjectKind kind) const {
    return _counts[static_cast<std::size_t>(kind)].load(std::memory_order_relaxed);
}

long ObjectLedger::live() const {
    long sum = 0;
    for (const auto& count : _counts) sum += count.load(std::memory_order_relaxed);
    return sum;
}

std::string ObjectLedger::report() const {
    std::string text;
    for (std::size_t i = 0; i < objectKindCount; ++i) {
        const auto kind = static_cast<ObjectKind>(i);
        const long number = live(kind);
        if (number == 0) continue;
        if (!text.empty()) text += ", ";
        text += std::to_string(number) + " " + std::string(kindName(kind));
        if (number == 1) continue;
        if (kind == ObjectKind::Query)
            text.replace(text.size() - 1, 1, "ies");
        else
            text += "s";
    }
    return text;
}

} // namespace Mirk::GL
