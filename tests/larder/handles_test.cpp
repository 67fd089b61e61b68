#include "recast/larder/handles.h"

#include <functional>
#include <stdexcept>

#include "support/in_threads.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recast/larder/cache.h"

namespace {

using Larder::HandleBlock;
using ::testing::ElementsAre;

/// Writes down what happens to it, and does at each step what the test wants.
class Witness : public Larder::Cacheable {
 public:
  struct Story {
    std::vector<std::string> events;
    std::vector<std::int32_t> counts;  ///< the strong count at each event
    std::function<void(Witness&)> atFirstHandle, atUnction, atEnd;
  };

  explicit Witness(Story& story) : story_(story) {}
  ~Witness() override { tell("destroyed", story_.atEnd); }
  void DeferredConstructor() override { tell("first handle", story_.atFirstHandle); }
  void extremeUnction() override { tell("unction", story_.atUnction); }
  std::size_t memsize() const override { return 0; }

 private:
  void tell(const char* event, const std::function<void(Witness&)>& action) {
    story_.events.emplace_back(event);
    story_.counts.push_back(handleBlock().strongCount());
    if (action) action(*this);
  }

  Story& story_;
};

using Handle = Larder::StrongPtr<Witness>;
using Weak = Larder::WeakPtrImpl<Witness>;

TEST(Handles, LiveFromTheFirstHandleToTheLast) {
  Witness::Story story;
  {
    auto* object = new Witness(story);
    EXPECT_TRUE(story.events.empty());
    const Handle first(object);
    const Handle second(object);  // from the raw pointer again
    const Handle copy = second;
    EXPECT_EQ(story.events.size(), 1U);
  }
  EXPECT_THAT(story.events, ElementsAre("first handle", "unction", "destroyed"));
  EXPECT_THAT(story.counts, ElementsAre(1, 0x35000000, -1));
}

TEST(Handles, KeepTheirCountsThroughCopiesMovesAndAssignments) {
  Witness::Story story;
  Handle a(new Witness(story));
  Larder::StrongPtr<Larder::Cacheable> base = a;
  EXPECT_EQ(a.block(), base.block());
  Handle b = a;
  Handle moved = std::move(b);
  EXPECT_FALSE(b);  // NOLINT: what a moved handle is
  EXPECT_EQ(a.block()->strongCount(), 3);
  b = moved;
  b = *&b;
  moved = nullptr;
  std::swap(a, b);
  EXPECT_EQ(a.block()->strongCount(), 3);
  Weak weak = a;
  Weak other = weak;
  other = std::move(weak);
  EXPECT_EQ(a.block()->weakCount(), 4) << "each strong handle counts as a weak one too";
  a.reset();
  base.reset();
  EXPECT_TRUE(other);
  b.reset();
  EXPECT_FALSE(other);
  EXPECT_EQ(story.events.size(), 3U);
}

TEST(Handles, TakenWhileAnObjectDiesNeitherReviveNorDestroyItTwice) {
  Witness::Story story;
  std::vector<Handle> kept;
  Weak weak;
  story.atUnction = [&](Witness& object) {
    EXPECT_TRUE(weak) << "the object is still whole";
    EXPECT_FALSE(weak.lock()) << "but not to be had by a weak handle any more";
    { const Handle passing(&object); }
    kept.emplace_back(&object);
    EXPECT_EQ(kept[0].rawptr(), &object);
    EXPECT_EQ(kept[0].block()->strongCount(), 0x35000001);
  };
  story.atEnd = [&](Witness& object) {
    const Handle passing(&object);
    EXPECT_FALSE(passing);
    kept.push_back(passing);
    EXPECT_EQ(kept[1].block()->strongCount(), -1);
  };
  Handle handle(new Witness(story));
  weak = handle;
  handle.reset();
  EXPECT_THAT(story.events, ElementsAre("first handle", "unction", "destroyed"));
  for (const Handle& late : kept) {
    EXPECT_FALSE(late);
    EXPECT_EQ(late.rawptr(), nullptr);
    EXPECT_EQ(late, nullptr);
    const Handle copy = late;
    EXPECT_FALSE(copy);
  }
  EXPECT_FALSE(weak.lock());
  EXPECT_EQ(kept[0].block()->weakCount(), 3) << "the block lives as long as any handle";
}

TEST(Handles, MadeAtTheFirstHandleDoNotRunItAgain) {
  Witness::Story story;
  story.atFirstHandle = [](Witness& object) { const Handle inner(&object); };
  {
    auto* object = new Witness(story);
    const Weak weak(object);
    EXPECT_TRUE(story.events.empty()) << "a weak handle is no first handle";
    EXPECT_TRUE(weak.lock());
  }
  EXPECT_THAT(story.events, ElementsAre("first handle", "unction", "destroyed"));
}

TEST(Handles, AFailureAtTheFirstHandleDestroysTheObject) {
  Witness::Story story;
  story.atFirstHandle = [](Witness&) { throw std::runtime_error("no memory"); };
  EXPECT_THROW(Larder::makeStrong<Witness>(story), std::runtime_error);
  EXPECT_THAT(story.events, ElementsAre("first handle", "unction", "destroyed"));
  const Weak weak(new Witness(story));
  EXPECT_THROW(weak.lock(), std::runtime_error);
  EXPECT_FALSE(weak);
}

TEST(Handles, ToObjectsWithoutOwnersEndWithThem) {
  Witness::Story story;
  Weak weak;
  {
    Witness local(story);
    weak = Weak(&local);
    EXPECT_TRUE(weak);
  }
  EXPECT_FALSE(weak);
  EXPECT_FALSE(weak.lock());
}

struct Left : Larder::ReferenceBase<Left> {};
struct Right {
  virtual ~Right() = default;
  long right = 2;
};
struct Both : Right, Left {};
struct Other : Left {};

TEST(Handles, FindTheTypeOfTheirObject) {
  const Larder::StrongPtr<Left> handle(new Both);
  EXPECT_EQ(Larder::DynPtr<Both>(handle)->right, 2);
  EXPECT_EQ(handle.castTo<Both>(), handle);
  EXPECT_FALSE(handle.castTo<Other>() || Larder::DynPtr<Other>(handle));
}

/// Counts what lives, and shows when it is used after its end.
class Canary : public Larder::ReferenceBase<Canary> {
 public:
  explicit Canary(std::atomic<int>& alive) : alive_(alive) { ++alive_; }
  ~Canary() override {
    sings_ = false;
    --alive_;
  }
  bool sings() const { return sings_; }

 private:
  std::atomic<int>& alive_;
  std::atomic<bool> sings_{true};
};

TEST(HandlesInThreads, AWeakHandleGetsAWholeObjectOrNone) {
  constexpr std::size_t kObjects = 20000;
  std::atomic<int> alive{0};
  std::atomic<int> wrong{0};
  std::vector<Larder::StrongPtr<Canary>> last;
  std::vector<Larder::WeakPtrImpl<Canary>> weak;
  for (std::size_t i = 0; i < kObjects; ++i) {
    last.push_back(Larder::makeStrong<Canary>(alive));
    weak.emplace_back(last.back());
  }
  // One thread lets the objects go, the others ask for each until it is gone.
  TestSupport::inThreads(3, [&](int thread) {
    for (std::size_t i = 0; i < kObjects; ++i) {
      if (thread == 0) last[i].reset();
      while (const auto promoted = weak[i].lock())
        if (!promoted->sings()) ++wrong;
    }
  });
  for (const auto& each : weak) wrong += each ? 1 : 0;
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(alive, 0);
}

TEST(HandlesInThreads, CountsAddUp) {
  std::atomic<int> alive{0};
  auto* object = new Canary(alive);
  const Larder::StrongPtr<Canary> kept(object);
  TestSupport::inThreads(4, [&](int) {
    for (int i = 0; i < 2000; ++i) {
      const Larder::StrongPtr<Canary> raw(object);
      Larder::StrongPtr<Canary> copy = raw;
      const Larder::WeakPtrImpl<Canary> weak = copy;
      copy = weak.lock();
      EXPECT_TRUE(copy);
    }
  });
  EXPECT_EQ(kept.block()->strongCount(), 1);
  EXPECT_EQ(kept.block()->weakCount(), 1);
}

TEST(HandlesInThreads, TheFirstHandlesAgreeOnOneBlock) {
  for (int round = 0; round < 300; ++round) {
    std::atomic<int> alive{0};
    auto* object = new Canary(alive);
    std::vector<Larder::WeakPtrImpl<Canary>> weak(4);
    TestSupport::inThreads(
        4, [&](int i) { weak[static_cast<std::size_t>(i)] = Larder::WeakPtrImpl<Canary>(object); });
    Larder::StrongPtr<Canary> handle(object);
    EXPECT_EQ(handle.block()->weakCount(), 5);
    handle.reset();
    for (const auto& each : weak) EXPECT_FALSE(each);
    EXPECT_EQ(alive, 0);
  }
}

}  // namespace
