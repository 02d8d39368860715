#pragma once
// How far the loading of a file has come; stands on ReferenceBase.

#include <keel/ReferenceBase.hpp>
#include <keel/export.hpp>

#include <mutex>
#include <string>
#include <type_traits>

namespace Keel {

/// How far the loading of a file has come. The loader reports from its thread, others look.
class KEEL_EXPORT LoaderProgress : public ReferenceBase<LoaderProgress> {
public:
    LoaderProgress();
    ~LoaderProgress() override;

    /// `fraction` is limited to 0 (nothing yet, also for NaN) to 1 (all); `text` is for humans.
    void report(double fraction, const std::string& text);

    double fraction() const;
    std::string text() const;

private:
    mutable std::mutex _mutex;
    double _fraction = 0;
    std::string _text;
};

static_assert(std::is_same_v<RootOf_t<LoaderProgress>, LoaderProgress::ReferenceRoot>);

} // namespace Keel
