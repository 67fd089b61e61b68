#include "recast/larder/cache.h"

#include <algorithm>
#include <list>
#include <random>

#include "support/in_threads.h"
#include <gtest/gtest.h>

#include "recast/larder/creator.h"

namespace {

using Larder::Cache;

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

/// A cache and what it should hold, the most recently used first.
struct Model {
  using Entry = std::pair<Seen, std::size_t>;

  std::size_t total() const {
    std::size_t sum = 0;
    for (const auto& [data, bytes] : entries) sum += bytes;
    return sum;
  }
  void hold(std::size_t bytes) {
    const Data data(new Block(bytes));
    cache.hold(data);
    all.push_back(data);
    if (bytes > budget) return;
    entries.emplace_front(data, bytes);
    while (total() > budget) entries.pop_back();
  }
  void setBudget(std::size_t bytes) {
    cache.setBudget(budget = bytes);
    while (total() > budget) entries.pop_back();
  }
  /// Uses an entry again, in one of two ways, or drops it.
  void touch(std::list<Entry>::iterator entry, unsigned how) {
    const Data data = entry->first.lock();
    if (how == 0) cache.markAsUsed(*data);
    if (how == 1) cache.hold(data);
    if (how == 2) cache.drop(*data);
    entries.splice(entries.begin(), entries, entry);
    if (how == 2) entries.pop_front();
  }

  std::size_t budget = 50;
  Cache cache{budget};
  std::vector<Seen> all;
  std::list<Entry> entries;
};

TEST(Cache, HoldsWhatWasUsedLastWithinItsBudget) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  Model model;
  for (int step = 0; step < 1000; ++step) {
    const unsigned action = random() % 8;
    if (action == 0)
      model.setBudget(random() % 100);
    else if (action < 5 || model.entries.empty())
      model.hold(random() % (action == 1 ? 120 : 12));
    else
      model.touch(
          std::next(model.entries.begin(), static_cast<long>(random() % model.entries.size())),
          action - 5);
    ASSERT_EQ(model.cache.bytesHeld(), model.total());
    const auto alive = std::count_if(model.all.begin(), model.all.end(),
                                     [](const Seen& data) { return bool(data); });
    ASSERT_EQ(static_cast<std::size_t>(alive), model.entries.size());
    for (const auto& [data, bytes] : model.entries) ASSERT_TRUE(data);
  }
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

class Creators : public ::testing::Test {
 protected:
  void SetUp() override {
    Cache::MemCache().setBudget(0);  // empties it
    Cache::MemCache().setBudget(1000);
  }
  void TearDown() override { Cache::MemCache().setBudget(budget_); }

  const Larder::StrongPtr<Maker> maker_ = Larder::makeStrong<Maker>();

 private:
  const std::size_t budget_ = Cache::MemCache().budget();
};

TEST_F(Creators, MakeDataOnceAsLongAsItIsInMemoryAndThenAnew) {
  EXPECT_FALSE(maker_->create(true));
  {
    const auto data = maker_->create(false);
    EXPECT_EQ(data->dataCreator().lock(), maker_);
    Cache::MemCache().setBudget(0);
    EXPECT_EQ(maker_->get(), data) << "its user holds it";
    EXPECT_EQ(maker_->made, 1);
  }
  EXPECT_FALSE(maker_->create(true));
  Cache::MemCache().setBudget(1000);
  maker_->get();
  maker_->get();
  EXPECT_EQ(maker_->made, 2) << "the cache holds it";
  Cache::MemCache().setBudget(0);
  maker_->empty = true;
  EXPECT_FALSE(maker_->get());
}

TEST_F(Creators, RenewTheUseOfDataThatIsAskedFor) {
  Cache own(1000);
  for (Cache* cache : {&Cache::MemCache(), &own}) {
    const auto first = Larder::makeStrong<Maker>();
    const auto second = Larder::makeStrong<Maker>();
    for (const auto& maker : {first, second}) {
      maker->letGo(*cache);
      maker->get();
    }
    first->get();
    cache->setBudget(10);
    EXPECT_TRUE(first->present());
    EXPECT_FALSE(second->present());
  }
}

TEST_F(Creators, WithoutCachingLeaveDataToItsUser) {
  maker_->enableCaching(false);
  EXPECT_TRUE(maker_->get());
  EXPECT_FALSE(maker_->present());
}

TEST_F(Creators, PinWhatCanNotBeMadeAgainUntilItCan) {
  Cache cache(10);
  maker_->keep(Data(new Block(10)));
  EXPECT_TRUE(maker_->create(true));
  EXPECT_EQ(cache.bytesHeld() + Cache::MemCache().bytesHeld(), 0U);
  maker_->letGo(cache);
  EXPECT_EQ(cache.bytesHeld(), 10U);
  cache.setBudget(0);
  EXPECT_FALSE(maker_->present());
  cache.setBudget(10);
  maker_->get();
  EXPECT_EQ(cache.bytesHeld(), 10U) << "new data goes where the former went";
}

TEST_F(Creators, TakeTheirDataOutOfTheCacheWhenTheyGo) {
  Larder::makeStrong<Maker>()->get();
  EXPECT_EQ(Cache::MemCache().bytesHeld(), 0U);
}

TEST_F(Creators, ServeSeveralThreadsFromASmallCache) {
  Cache::MemCache().setBudget(30);
  std::vector<Larder::StrongPtr<Maker>> makers;
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
