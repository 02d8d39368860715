// The value types that every library has; stands on TypedSlot.

#include <sorrel/TypedSlot.hpp>

namespace Mirk {

namespace {

const ValueTypeRegistration<bool> boolType("bool");
const ValueTypeRegistration<int> intType("int");
const ValueTypeRegistration<double> doubleType("double");
const ValueTypeRegistration<std::string> stringType("string");

const ValueTypeRegistration<float> floatType("float");
const ValueTypeRegistration<unsigned> unsignedType("unsigned");
const ValueTypeRegistration<long> longType("long");
const ValueTypeRegistration<unsigned long> unsignedLongType("unsigned long");
const ValueTypeRegistration<long long> longLongType("long long");
const ValueTypeRegistration<unsigned long long> unsignedLongLongType("unsigned long long");

const ValueTypeRegistration<Skua::FixedArray<int, 2>> int2Type("int2");
const ValueTypeRegistration<Skua::FixedArray<int, 3>> int3Type("int3");
const ValueTypeRegistration<Skua::FixedArray<int, 4>> int4Type("int4");
const ValueTypeRegistration<Skua::FixedArray<float, 2>> float2Type("float2");
const ValueTypeRegistration<Skua::FixedArray<float, 3>> float3Type("float3");
const ValueTypeRegistration<Skua::FixedArray<float, 4>> float4Type("float4");
const ValueTypeRegistration<Skua::FixedArray<double, 2>> double2Type("double2");
const ValueTypeRegistration<Skua::FixedArray<double, 3>> double3Type("double3");
const ValueTypeRegistration<Skua::FixedArray<double, 4>> double4Type("double4");

const ValueTypeRegistration<Skua::PhysicalSpace::point> pointType("point");
const ValueTypeRegistration<Skua::PhysicalSpace::vector> vectorType("vector");
const ValueTypeRegistration<Skua::PhysicalSpace::HessianNormalPlane> planeType("plane");
const ValueTypeRegistration<Skua::PhysicalSpace::Viewport> viewportType("viewport");
const ValueTypeRegistration<Skua::PhysicalSpace::AABB> boxType("box");
const ValueTypeRegistration<Skua::rgba_float_t> colorType("color");
const ValueTypeRegistration<SharedBoundingBox> boundingBoxType("bounding box");

} // namespace

} // namespace Mirk
