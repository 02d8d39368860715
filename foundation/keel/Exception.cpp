#include <keel/Exception.hpp>

namespace Keel {

Exception::Exception() noexcept = default;

Exception::Exception(const char* function_, const char* file_, int line_)
    : function(function_), file(file_), line(line_) {}

Exception::Exception(const Exception&) noexcept = default;
Exception& Exception::operator=(const Exception&) noexcept = default;
Exception::~Exception() = default;

const char* Exception::what() const noexcept {
    return function.empty() ? "Keel::Exception" : function.c_str();
}

} // namespace Keel
