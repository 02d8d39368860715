#pragma once
// Our readers of meshes, as the registry starts with them; stands on Reader.

#include <Readers/Reader.hpp>

#include <memory>

namespace Mirk {

/// OBJ: points (v), their colours, normals (vn) and polygons (f); all else is passed over.
std::unique_ptr<const Reader> makeObjReader();
/// OFF with the letters C, N and ST in front.
std::unique_ptr<const Reader> makeOffReader();
/// PLY as text and in both binary byte orders, with any further elements and properties.
std::unique_ptr<const Reader> makePlyReader();
/// STL as text and binary. Equal corners become one point; the normals of the facets are left
/// out, as they say nothing beyond the corners.
std::unique_ptr<const Reader> makeStlReader();

} // namespace Mirk
