// The value types that every library has; stands on TypedSlot.

#include <sorrel/TypedSlot.hpp>

namespace Mirk {

namespace {

const ValueTypeRegistration<bool> boolType("bool");
const ValueTypeRegistration<int> intType("int");
const ValueTypeRegistration<double> doubleType("double");
const ValueTypeRegistration<std::string> stringType("string");

} // namespace

} // namespace Mirk
