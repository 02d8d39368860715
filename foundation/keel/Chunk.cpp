#include <keel/Chunk.hpp>

namespace Keel {

ChunkBase::ByteCounter ChunkBase::TotalMemsize;

ChunkBase::ChunkBase(std::size_t capacityBytes)
    : _countedBytes(static_cast<long long>(capacityBytes)) {
    TotalMemsize.add(_countedBytes);
}

ChunkBase::~ChunkBase() {
    TotalMemsize.add(-_countedBytes);
}

} // namespace Keel
