#include <Polypia/NamedRenderExceptions.hpp>

namespace Mirk {

NamedRenderExceptions::NamedRenderExceptions() = default;
NamedRenderExceptions::NamedRenderExceptions(const NamedRenderExceptions&) = default;
NamedRenderExceptions& NamedRenderExceptions::operator=(const NamedRenderExceptions&) = default;
NamedRenderExceptions::~NamedRenderExceptions() = default;

} // namespace Mirk
