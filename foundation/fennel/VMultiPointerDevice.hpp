#pragma once
// Several pointers at once, such as fingers; stands on sorrel's value traits.

#include <fennel/fwd.hpp>

#include <sorrel/valueTraits.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Mirk {

/// The state of all pointers of a device; without any at first.
class FENNEL_EXPORT VMultiPointerDevice {
public:
    enum class Phase { Began, Moved, Stationary, Ended, Cancelled };

    struct Pointer {
        /// Equal by the bits of the numbers.
        bool operator==(const Pointer& other) const;

        /// The same from began to ended.
        std::int64_t id = 0;
        /// Place in the viewer, from 0 at the left and bottom to 1 at the right and top.
        double x = 0.0;
        double y = 0.0;
        /// From 0 to 1; 1 if the device can't tell.
        double pressure = 1.0;
        Phase phase = Phase::Stationary;
    };

    VMultiPointerDevice();
    VMultiPointerDevice(const VMultiPointerDevice&);
    VMultiPointerDevice(VMultiPointerDevice&&) noexcept;
    VMultiPointerDevice& operator=(const VMultiPointerDevice&);
    VMultiPointerDevice& operator=(VMultiPointerDevice&&) noexcept;
    ~VMultiPointerDevice();

    /// Equal pointers in the same order.
    bool operator==(const VMultiPointerDevice& other) const;

    std::vector<Pointer> pointers;
};

/// Of each pointer `1 at 0.5 0.25 pressure 1 moved`, parted by commas: the id, the place, the
/// pressure, and the phase, which is `began`, `moved`, `stationary`, `ended` or `cancelled`.
/// Without pointers `none`.
template<>
struct FENNEL_EXPORT VValueTrait<VMultiPointerDevice> {
    static std::string Text(const VMultiPointerDevice& value);
    static bool setValueFromText(VMultiPointerDevice& value, const std::string& text);
};
template<>
struct FENNEL_EXPORT VValueCompareTrait<VMultiPointerDevice> {
    static bool isDifferent(const VMultiPointerDevice& a, const VMultiPointerDevice& b) {
        return !(a == b);
    }
};

} // namespace Mirk
