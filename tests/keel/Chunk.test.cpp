#include <keel/Chunk.hpp>

#include <gtest/gtest.h>

#include <thread>

using Keel::Chunk;
using Keel::ChunkBase;
using Keel::StrongPtr;

namespace {

static_assert(std::is_same_v<Keel::RootOf_t<Chunk<int>>, Chunk<int>::ReferenceRoot>);
static_assert(std::is_same_v<Keel::RootOf_t<Keel::TypedChunk<int>>, ChunkBase>);
static_assert(std::is_same_v<Keel::RootOf_t<Keel::TypedChunkBase<int>>, ChunkBase>);

TEST(ChunkTest, TellsItsElementsWithoutKnowingTheType) {
    const StrongPtr<ChunkBase> chunk(new Chunk<double>({1.0, 2.0, 3.0}));
    EXPECT_EQ(chunk->numberOfElements(), 3u);
    EXPECT_EQ(chunk->elementSize(), sizeof(double));
    EXPECT_EQ(chunk->bytes(), 24u);
    EXPECT_EQ(chunk->elementType(), typeid(double));
    EXPECT_EQ(static_cast<const double*>(chunk->data())[2], 3.0);
    EXPECT_EQ(static_cast<std::vector<double>*>(chunk->storingVector())->size(), 3u);
}

TEST(ChunkTest, IsMadeFromAListAVectorOrASize) {
    EXPECT_EQ(StrongPtr<Chunk<int>>(new Chunk<int>({5}))->vector(), std::vector<int>{5});
    EXPECT_EQ(StrongPtr<Chunk<int>>(new Chunk<int>({5, 6}))->vector(), (std::vector<int>{5, 6}));
    EXPECT_EQ(StrongPtr<Chunk<int>>(new Chunk<int>(2))->vector(), (std::vector<int>{0, 0}));
    EXPECT_EQ(StrongPtr<Chunk<int>>(new Chunk<int>(std::vector{7}))->vector(), std::vector<int>{7});
    EXPECT_TRUE(StrongPtr<Chunk<int>>(new Chunk<int>)->vector().empty());
}

TEST(ChunkTest, TypedViewFailsForAnotherType) {
    const StrongPtr<ChunkBase> chunk(new Chunk<double>(3));
    EXPECT_TRUE(StrongPtr<Keel::TypedChunk<double>>(chunk));
    EXPECT_FALSE(StrongPtr<Keel::TypedChunk<float>>(chunk));
}

TEST(ChunkTest, CloneHasItsOwnElements) {
    const StrongPtr<Chunk<int>> chunk(new Chunk<int>({1, 2}));
    const StrongPtr<Chunk<int>> clone(chunk->clone());
    clone->vector()[0] = 7;
    EXPECT_EQ(chunk->elements()[0], 1);
    EXPECT_EQ(clone->elements()[0], 7);
}

TEST(ChunkTest, CountsItsCapacityForAsLongAsItLives) {
    const long long before = ChunkBase::TotalMemsize;
    {
        std::vector<int> roomy;
        roomy.reserve(100);
        const StrongPtr<Chunk<int>> chunk(new Chunk<int>(std::move(roomy)));
        EXPECT_EQ(ChunkBase::TotalMemsize - before, 400);
        chunk->vector().resize(1000);
    }
    EXPECT_EQ(ChunkBase::TotalMemsize, before);
}

TEST(ChunkTest, StatisticToleratesThreads) {
    std::thread other([] {
        for (int n = 0; n < 100; ++n) const StrongPtr<ChunkBase> chunk(new Chunk<int>(10));
    });
    for (int n = 0; n < 100; ++n) const StrongPtr<ChunkBase> chunk(new Chunk<int>(10));
    other.join();
}

} // namespace
