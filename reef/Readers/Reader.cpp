#include <Readers/Reader.hpp>

namespace Mirk {

// Out of line, so that the type information of the class is in this library alone.
Reader::~Reader() = default;

} // namespace Mirk
