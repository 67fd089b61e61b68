#include "recast/larder/chunk.h"

#include <string>

#include "support/in_threads.h"
#include <gtest/gtest.h>

namespace {

using Larder::Chunk;
using Larder::ChunkBase;

/// What TotalMemsize has grown by since the account was opened.
class Account {
 public:
  std::int64_t grown() const { return ChunkBase::TotalMemsize - atStart_; }

 private:
  std::int64_t atStart_ = ChunkBase::TotalMemsize;
};

TEST(Chunk, StartsWithZerosOrWithRoomAlone) {
  const Account account;
  const auto full = Larder::makeStrong<Chunk<double>>(std::size_t{7});
  EXPECT_EQ(full->elements(), 7U);
  EXPECT_EQ(full->element_size(), sizeof(double));
  for (const double value : *full) EXPECT_EQ(value, 0.0);
  EXPECT_EQ(account.grown(), 56);
  const auto room = Larder::makeStrong<Chunk<double>>(std::size_t{7}, true);
  EXPECT_EQ(room->elements(), 0U);
  EXPECT_GE(room->capacity(), 7U);
  EXPECT_EQ(account.grown(), 56) << "room is not counted";
  const auto none = Larder::makeStrong<Chunk<double>>(std::size_t{0});
  EXPECT_EQ(none->elements(), 0U);
}

TEST(Chunk, KeepsTheAccountOverItsLife) {
  const Account account;
  {
    Chunk<float> grown(10, true);
    for (int i = 0; i < 10; ++i) grown.push_back(1.0F);
    EXPECT_EQ(account.grown(), 0) << "elements added later are not counted";
    const auto copied = grown.copy();
    EXPECT_EQ(account.grown(), 40) << "but those that a copy begins with are";
    Chunk<float> shrunk(100);
    shrunk.clear();
    const Chunk<float> taken(std::vector<float>(5));
    EXPECT_EQ(account.grown(), 460);
  }
  EXPECT_EQ(account.grown(), 0) << "what was counted in is counted out, whatever happened since";
}

TEST(Chunk, CopiesAndMakesItsLikeWithoutKnowledgeOfItsType) {
  const Larder::StrongPtr<ChunkBase> chunk(new Chunk<int>(std::vector<int>{1, 2, 3}));
  const auto copy = chunk->copy();
  static_cast<int*>(chunk->data_ptr())[1] = 20;
  EXPECT_EQ(static_cast<const int*>(copy->const_data_ptr())[1], 2);
  EXPECT_EQ(copy->getType(), typeid(int));
  EXPECT_EQ(copy->getBaseType(), typeid(int));
  const auto fresh = chunk->createNewChunk(4, false);
  EXPECT_EQ(fresh->elements(), 4U);
  EXPECT_TRUE(fresh.castTo<Chunk<int>>());
  EXPECT_EQ(chunk->createNewChunk(4, true)->elements(), 0U);
  const auto typed = chunk.castTo<Chunk<int>>();
  typed->base_vector().push_back(4);
  EXPECT_EQ(chunk->elements(), 4U);
  EXPECT_EQ(typed->typed_data()[3], 4);
}

TEST(Chunk, HoldsTextsThatComeLater) {
  const auto texts = Larder::makeStrong<Larder::ResizableChunk<std::string>>(std::size_t{0});
  texts->emplace_back("a text longer than any that fits in place");
  const auto copy = texts->copy().castTo<Chunk<std::string>>();
  texts->clear();
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->at(0), "a text longer than any that fits in place");
}

TEST(Chunk, SeveralThreadsShareTheAccount) {
  const Account account;
  TestSupport::inThreads(4, [](int) {
    for (int i = 0; i < 500; ++i) const Chunk<int> chunk(static_cast<std::size_t>(i));
  });
  EXPECT_EQ(account.grown(), 0);
}

}  // namespace
