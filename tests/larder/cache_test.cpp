#include "recast/larder/cache.h"

#include <list>
#include <random>

#include "support/in_threads.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recast/larder/creator.h"

namespace {

using Larder::Cache;
using ::testing::ElementsAre;

/// Data of a given size that stands for an array.
class Block : public Larder::Cacheable {
 public:
  explicit Block(std::size_t bytes) : bytes_(bytes) {}
  std::size_t memsize() const override { return bytes_; }

 private:
  std::size_t bytes_;
};

using Data = Larder::StrongPtr<Block, Larder::Cacheable>;
using Seen = Larder::WeakPtrImpl<Block, Larder::Cacheable>;

/// Which of the blocks of these sizes a cache still holds, when nobody else does.
struct Shelf {
  explicit Shelf(std::size_t budget) : cache(budget) {}
  void add(std::size_t bytes) {
    const Data data(new Block(bytes));
    seen.push_back(data);
    cache.hold(data);
  }
  std::vector<int> held() const {
    std::vector<int> result;
    for (const Seen& each : seen) result.push_back(each ? 1 : 0);
    return result;
  }
  Cache cache;
  std::vector<Seen> seen;
};

TEST(Cache, DropsTheLeastRecentlyUsedFirst) {
  Shelf shelf(100);
  for (int i = 0; i < 4; ++i) shelf.add(25);
  EXPECT_EQ(shelf.cache.bytesHeld(), 100U) << "a budget may be filled to the last byte";
  shelf.cache.markAsUsed(*shelf.seen[0].lock());
  shelf.cache.hold(shelf.seen[1].lock());  // held already: used again, not counted again
  shelf.add(26);
  EXPECT_THAT(shelf.held(), ElementsAre(1, 1, 0, 0, 1));
  EXPECT_EQ(shelf.cache.bytesHeld(), 76U);
}

TEST(Cache, DoesNotTakeWhatExceedsItsBudget) {
  Shelf shelf(100);
  shelf.add(60);
  shelf.add(101);
  EXPECT_THAT(shelf.held(), ElementsAre(1, 0)) << "and drops nothing for it";
  shelf.add(100);
  EXPECT_THAT(shelf.held(), ElementsAre(0, 0, 1));
  shelf.cache.hold(nullptr);
}

TEST(Cache, FollowsItsBudgetAndLetsGoOnDemand) {
  Shelf shelf(100);
  for (const std::size_t bytes : {10U, 20U, 30U, 40U}) shelf.add(bytes);
  shelf.cache.drop(*shelf.seen[1].lock());
  shelf.cache.drop(*Data(new Block(1)));  // not held: nothing happens
  EXPECT_EQ(shelf.cache.bytesHeld(), 80U);
  shelf.cache.setBudget(70);
  EXPECT_THAT(shelf.held(), ElementsAre(0, 0, 1, 1));
  shelf.cache.setBudget(0);
  EXPECT_EQ(shelf.cache.bytesHeld(), 0U);
}

TEST(Cache, LeavesDataToThoseWhoHoldIt) {
  Cache cache(10);
  const Data mine(new Block(10));
  cache.hold(mine);
  cache.setBudget(5);
  EXPECT_TRUE(mine);
  EXPECT_EQ(mine.block()->strongCount(), 1);
}

TEST(Cache, AgreesWithAPlainListOfUses) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  constexpr std::size_t kBudget = 50;
  Shelf shelf(kBudget);
  std::list<std::size_t> order;  // most recently used first
  std::vector<std::size_t> sizes;
  const auto total = [&] {
    std::size_t sum = 0;
    for (const std::size_t i : order) sum += sizes[i];
    return sum;
  };
  for (int step = 0; step < 2000; ++step) {
    if (!order.empty() && random() % 2 == 0) {
      const auto used = std::next(order.begin(), static_cast<long>(random() % order.size()));
      shelf.cache.markAsUsed(*shelf.seen[*used].lock());
      order.splice(order.begin(), order, used);
    } else {
      sizes.push_back(random() % 12);
      order.push_front(sizes.size() - 1);
      shelf.add(sizes.back());
      while (total() > kBudget) order.pop_back();
    }
    ASSERT_EQ(shelf.cache.bytesHeld(), total());
  }
  std::vector<int> expected(sizes.size(), 0);
  for (const std::size_t i : order) expected[i] = 1;
  EXPECT_EQ(shelf.held(), expected);
}

/// Makes blocks of 10 bytes and counts them; or pins one.
class Maker : public Larder::CreatorBase<Block> {
 public:
  Handle produce() override {
    ++made;
    return empty ? nullptr : Handle(new Block(10));
  }
  void keep(const Handle& data) { pin(data); }
  void letGo(Cache& cache) { unpin(cache); }

  std::atomic<int> made{0};
  bool empty = false;
};

using MakerHandle = Larder::StrongPtr<Maker>;

class Creators : public ::testing::Test {
 protected:
  void SetUp() override {
    Cache::MemCache().setBudget(0);  // empties it
    Cache::MemCache().setBudget(1000);
  }
  void TearDown() override { Cache::MemCache().setBudget(budget_); }

 private:
  const std::size_t budget_ = Cache::MemCache().budget();
};

TEST_F(Creators, MakeDataOnceAsLongAsItIsInMemory) {
  const auto maker = Larder::makeStrong<Maker>();
  EXPECT_FALSE(maker->create(true));
  EXPECT_FALSE(maker->present());
  const auto data = maker->create(false);
  EXPECT_EQ(maker->create(true), data);
  EXPECT_EQ(maker->get(), data);
  EXPECT_EQ(maker->made, 1);
  EXPECT_EQ(data->dataCreator().lock(), maker);
  Cache::MemCache().setBudget(0);
  EXPECT_EQ(maker->get(), data) << "its user holds it";
}

TEST_F(Creators, MakeDataAnewWhenMemoryHasLetItGo) {
  const auto maker = Larder::makeStrong<Maker>();
  maker->get();
  maker->get();
  EXPECT_EQ(maker->made, 1) << "the cache holds it";
  Cache::MemCache().setBudget(0);
  EXPECT_FALSE(maker->create(true));
  maker->get();
  EXPECT_EQ(maker->made, 2);
  maker->empty = true;
  EXPECT_FALSE(maker->get());
}

TEST_F(Creators, RenewTheUseOfDataThatIsAskedFor) {
  const auto first = Larder::makeStrong<Maker>();
  const auto second = Larder::makeStrong<Maker>();
  first->get();
  second->get();
  first->get();
  Cache::MemCache().setBudget(10);
  EXPECT_TRUE(first->present());
  EXPECT_FALSE(second->present());
}

TEST_F(Creators, WithoutCachingLeaveDataToItsUser) {
  const auto maker = Larder::makeStrong<Maker>();
  maker->enableCaching(false);
  {
    const auto data = maker->get();
    EXPECT_EQ(maker->get(), data);
  }
  EXPECT_FALSE(maker->present());
  EXPECT_EQ(Cache::MemCache().bytesHeld(), 0U);
}

TEST_F(Creators, PinWhatCanNotBeMadeAgainUntilItCan) {
  Cache cache(10);
  const auto maker = Larder::makeStrong<Maker>();
  maker->keep(Data(new Block(10)));
  EXPECT_TRUE(maker->create(true));
  EXPECT_EQ(cache.bytesHeld() + Cache::MemCache().bytesHeld(), 0U);
  maker->letGo(cache);
  EXPECT_EQ(cache.bytesHeld(), 10U);
  EXPECT_TRUE(maker->present());
  cache.setBudget(0);
  EXPECT_FALSE(maker->present());
  cache.setBudget(10);
  maker->get();
  EXPECT_EQ(cache.bytesHeld(), 10U) << "new data goes where the former went";
}

TEST_F(Creators, TakeTheirDataOutOfTheCacheWhenTheyGo) {
  auto maker = Larder::makeStrong<Maker>();
  const auto other = Larder::makeStrong<Maker>();
  other->get();
  const Seen data = maker->get();
  maker.reset();
  EXPECT_FALSE(data);
  EXPECT_EQ(Cache::MemCache().bytesHeld(), 10U);
}

TEST_F(Creators, ServeSeveralThreadsFromASmallCache) {
  Cache::MemCache().setBudget(30);
  std::vector<MakerHandle> makers;
  for (int i = 0; i < 8; ++i) makers.push_back(Larder::makeStrong<Maker>());
  TestSupport::inThreads(4, [&](int thread) {
    std::mt19937 random(static_cast<unsigned>(thread));
    for (int i = 0; i < 2000; ++i) {
      const auto data = makers[random() % makers.size()]->get();
      if (!data || data->memsize() != 10) ADD_FAILURE() << "no data";
      if (i % 100 == 0) Cache::MemCache().setBudget(10 + random() % 50);
    }
  });
  EXPECT_LE(Cache::MemCache().bytesHeld(), Cache::MemCache().budget());
}

TEST_F(Creators, MakeDataOnceForSeveralThreads) {
  for (int round = 0; round < 100; ++round) {
    const auto maker = Larder::makeStrong<Maker>();
    TestSupport::inThreads(4, [&](int) { maker->get(); });
    EXPECT_EQ(maker->made, 1);
  }
}

}  // namespace
