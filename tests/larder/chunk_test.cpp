#include "recast/larder/chunk.h"

#include <gtest/gtest.h>

namespace {

using Larder::Chunk;
using Larder::ChunkBase;

TEST(Chunks, KeepTheAccountOverTheirLife) {
  const std::int64_t before = ChunkBase::TotalMemsize;
  const auto grown = [before] { return ChunkBase::TotalMemsize - before; };
  {
    const Chunk<double> zeros(7);
    EXPECT_EQ(zeros.base_vector(), std::vector<double>(7, 0.0));
    Chunk<float> longer(10, true);
    EXPECT_GE(longer.capacity(), 10U);
    for (int i = 0; i < 10; ++i) longer.push_back(1.0F);
    EXPECT_EQ(grown(), 56) << "neither room nor elements that were added later are counted";
    EXPECT_EQ(longer.createNewChunk(4, false)->elements(), 4U);
    const auto copied = longer.copy();
    EXPECT_EQ(grown(), 56 + 40) << "but those that a copy begins with are";
    Chunk<float> shrunk(100);
    shrunk.clear();
    const Chunk<float> taken(std::vector<float>(5));
    EXPECT_EQ(grown(), 56 + 460);
  }
  EXPECT_EQ(grown(), 0) << "what was counted in is counted out, whatever happened since";
}

}  // namespace
