#pragma once
// How an object fares, for its user; stands on sorrel's value traits.

#include <fennel/fwd.hpp>

#include <sorrel/valueTraits.hpp>

#include <array>
#include <cstdint>
#include <string>

namespace Mirk {

/// A message about an object. An empty text says that all is well.
class FENNEL_EXPORT VObjectStatus {
public:
    /// Two colours, red, green, blue, alpha each: of the text, then of what is behind it.
    using Colors = std::array<unsigned char, 8>;
    static constexpr Colors DefaultColors{0, 0, 0, 0, 192, 192, 192, 255};

    VObjectStatus();
    /// Sets `text`; the colours are the default ones, the code is 0.
    explicit VObjectStatus(const std::string& statusText);
    VObjectStatus(const VObjectStatus&);
    VObjectStatus(VObjectStatus&&) noexcept;
    VObjectStatus& operator=(const VObjectStatus&);
    VObjectStatus& operator=(VObjectStatus&&) noexcept;
    ~VObjectStatus();

    // The order of these fields is part of the interface.

    /// A fragment of HTML.
    std::string text;
    Colors colors = DefaultColors;
    std::uint32_t code = 0;
};

/// `text "…"`, followed by `colors 0 0 0 0 192 192 192 255` and `code 0` where they are others than
/// the default. Reads the fields in any order, but one must be there.
template<>
struct FENNEL_EXPORT VValueTrait<VObjectStatus> {
    static std::string Text(const VObjectStatus& value);
    static bool setValueFromText(VObjectStatus& value, const std::string& text);
};
/// Text and code count; colours don't.
template<>
struct FENNEL_EXPORT VValueCompareTrait<VObjectStatus> {
    static bool isDifferent(const VObjectStatus& a, const VObjectStatus& b) {
        return a.text != b.text || a.code != b.code;
    }
};

} // namespace Mirk
