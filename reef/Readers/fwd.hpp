#pragma once
// Names of the readers, for headers that only pass them on.

namespace Mirk {

class InputFile;
struct PointSet;
struct Polylines;
struct ReadOptions;
class Reader;
class ReaderError;
class ReaderRegistry;
struct TriangleMesh;

} // namespace Mirk
