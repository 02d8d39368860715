#pragma once
// The root of the exception classes; stands on simplestring.

#include <keel/export.hpp>
#include <keel/simplestring.hpp>

#include <exception>

namespace Keel {

/// Root of the system's exceptions: where something went wrong. Copying cannot throw.
class KEEL_EXPORT Exception : public std::exception {
public:
    /// Empty texts, line 0.
    Exception() noexcept;

    /// `function` is the place or message in words. Null pointers count as empty.
    Exception(const char* function, const char* file, int line);

    Exception(const Exception&) noexcept;
    Exception& operator=(const Exception&) noexcept;
    ~Exception() override;

    /// The text of `function`, or "Keel::Exception" if that is empty.
    const char* what() const noexcept override;

    simplestring function;
    simplestring file;
    int line = 0;
};

} // namespace Keel
