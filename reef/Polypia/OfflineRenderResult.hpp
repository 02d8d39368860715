#pragma once
// Why an image could not be made; stands on nothing.

#include <Polypia/export.hpp>

#include <cstdint>
#include <string>

namespace Mirk {

/// The outcome of making an image without a window.
class POLYPIA_EXPORT OfflineRenderResult {
public:
    enum Reason : std::uint32_t {
        Success = 0,
        ProgressStop = 1,
        EventStop = 2,
        TimeOut = 3,
        OutOfMemory = 4,
        NoObjects = 5,
        NoViewer = 6,
        RenderDeviceFailure = 7,
        OutputOpenFailure = 8,
        OutputCloseFailure = 9,
        Unknown = 10
    };

    OfflineRenderResult() noexcept = default;
    // Not explicit: an operation that makes an image returns the reason as it is.
    OfflineRenderResult(Reason reason) noexcept : code(reason) {}
    explicit OfflineRenderResult(std::uint32_t reasonCode) noexcept : code(reasonCode) {}

    /// A sentence for the user; empty for success.
    std::string to_string() const;

    friend bool operator==(const OfflineRenderResult&, const OfflineRenderResult&) = default;

    std::uint32_t code = Success;
};

} // namespace Mirk
