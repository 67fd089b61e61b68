#include <algorithm>
#include <atomic>
#include <thread>

#include "sheaf/sample_data.h"
#include "support/console_capture.h"
#include "support/in_threads.h"
#include "support/program_run.h"

// Bounded memory, and several threads.
namespace {

using namespace TestSupport;

constexpr std::int64_t kMiB = 1 << 20;

Quilt::MemBaseHandle mebibyte(unsigned first) {
  return sampleArray<1, double>({kMiB / 8}, first);
}

class Memory : public FileTest {
 protected:
  ~Memory() override { Larder::Cache::MemCache().setBudget(formerBudget_); }
  std::int64_t grown() const { return Larder::ChunkBase::TotalMemsize - atStart_; }

 private:
  const std::size_t formerBudget_ = Larder::Cache::MemCache().budget();
  const std::int64_t atStart_ = Larder::ChunkBase::TotalMemsize;
};

TEST_F(Memory, OfAConversionIsBoundedByTheCacheAndTheQueue) {
  constexpr unsigned kArrays = 50;
  Larder::Cache::MemCache().setBudget(8 * kMiB);
  for (const int level : {0, 12}) {  // at 12 the writing takes longer than the making
    const auto bundle = boundBundle(file_, compressed(level));
    const auto target = vertices(*bundle);
    std::int64_t most = 0;
    for (unsigned i = 0; i < kArrays; ++i) {
      put(*target, "v", std::to_string(i), mebibyte(i));
      most = std::max(most, grown());
    }
    // The queue, the cache, one array in the writer's hands and one that is just handed over.
    EXPECT_LE(most, (8 + 8 + 2) * kMiB);
    bundle->sync();
    EXPECT_LE(grown(), 8 * kMiB);
    for (unsigned i = 0; i < kArrays; i += 9)
      EXPECT_TRUE(sameArrays(get(*bundle, "v", std::to_string(i)), mebibyte(i)));
    EXPECT_LE(grown(), 8 * kMiB);
  }
}

TEST_F(Memory, OfSavingALoadedBundleIsBounded) {
  Larder::Cache::MemCache().setBudget(4 * kMiB);
  {
    const auto bundle = boundBundle(file_);
    for (unsigned i = 0; i < 50; ++i) put(*vertices(*bundle), "v", std::to_string(i), mebibyte(i));
  }
  const std::int64_t before = grown();
  const auto loaded = loadBundle(file_);
  std::atomic<bool> done{false};
  std::int64_t most = 0;
  std::thread watch([&] {
    for (; !done; std::this_thread::yield()) most = std::max(most, grown() - before);
  });
  loaded.save(folder_ / "b.q8", nullptr, nullptr);
  done = true;
  watch.join();
  EXPECT_LE(most, (4 + 4 + 3) * kMiB);
}

/// Some fields of several kinds; `seed` makes them different.
void fill(Quilt::Bundle& bundle, unsigned seed) {
  const auto target = vertices(bundle);
  for (unsigned i = 0; i < 20; ++i) {
    const std::string fragment = "f" + std::to_string(i);
    put(*target, "Positions", fragment, sampleArray<1, Point>({3000 + i}, seed + i))
        ->setAttribute("CellSize", Larder::singleValue(1.0 * i));
    put(*target, "Elevation", fragment, sampleArray<3, float>({40, 30, 1}, seed + i));
    put(*target, "lists", fragment, sampleArray<1, Lists>({20}, seed + i));
  }
}

using Threads = FileTest;

TEST_F(Threads, WithABundleEachGiveTheSameFilesAsOneAfterTheOther) {
  constexpr int kThreads = 4;
  const auto name = [this](const char* how, int i) { return folder_ / (how + std::to_string(i)); };
  const auto write = [](const std::string& file, int i) {
    fill(*boundBundle(file, compressed(1)), static_cast<unsigned>(7 * i));
  };
  for (int i = 0; i < kThreads; ++i) write(name("one", i), i);
  const ConsoleCapture console;
  inThreads(kThreads, [&](int i) {
    write(name("two", i), i);
    // The failures of others don't disturb it.
    EXPECT_FALSE(loadBundle(folder_ / "none.q8"));
    const auto loaded = loadBundle(name("two", i));
    EXPECT_TRUE(loaded && get(*loaded, "Positions", "f19"));
  });
  for (int i = 0; i < kThreads; ++i)
    EXPECT_TRUE(textOf(name("one", i)) == textOf(name("two", i))) << i;
}

TEST_F(Threads, HandOverIntoOneBundleAndReadFromIt) {
  constexpr int kThreads = 4;
  constexpr std::uint32_t kFragments = 2000;
  const auto array = [](std::uint32_t i) { return sampleArray<1, int>({5 + i % 7}, i); };
  {
    const auto bundle = boundBundle(file_, compressed(1));
    const auto target = vertices(*bundle);
    const auto packed = (*target)["packed"].field();
    for (std::uint32_t i = 0; i < 10'400; ++i) packed->makeFragmentID(std::to_string(i));
    const auto apart =
        Larder::makeStrong<Quilt::Field>(Larder::makeStrong<Quilt::FragmentIDCollection>());
    for (std::uint32_t i = 0; i < 200; ++i) apart->makeFragmentID(std::to_string(i));
    (*target)["apart"] = apart;
    inThreads(kThreads, [&](int thread) {
      for (auto i = static_cast<std::uint32_t>(thread); i < kFragments; i += kThreads)
        for (const auto& field : {packed, apart}) {
          if (field == apart && i >= 200) continue;
          const auto fragment = field->getFragmentIDCollection()->findFragmentID(i);
          field->setPersistentData(array(i), fragment, Larder::Cache::MemCache(), "");
          if (i % 3 == 0) field->letGo(fragment);
          EXPECT_TRUE(field->hasData(fragment) && field->getCreatorByNumber(i));
          const std::uint32_t other = i / 2;
          const auto creator = field->getCreatorByNumber(other);
          EXPECT_TRUE(!creator || sameArrays(creator->get(), array(other)));
        }
    });
  }
  const auto loaded = loadBundle(file_);
  // Readers share the fields, and with them the file and the packed dataset.
  inThreads(kThreads, [&](int thread) {
    for (auto i = static_cast<std::uint32_t>(thread); i < kFragments; ++i) {
      EXPECT_TRUE(sameArrays(get(*loaded, "packed", std::to_string(i)), array(i)));
      EXPECT_TRUE(i >= 200 || sameArrays(get(*loaded, "apart", std::to_string(i)), array(i)));
    }
  });
}

/// A creator whose bundle is gone and whose array is not in memory.
Quilt::CreatorHandle lonelyCreator(const std::string& file) {
  Quilt::CreatorHandle creator;
  {
    const auto bundle = boundBundle(file);
    creator = put(*vertices(*bundle), "v", "f", sampleArray<1, int>({100}));
  }
  if (const auto data = creator->present()) Larder::Cache::MemCache().drop(*data);
  EXPECT_FALSE(creator->present());
  return creator;
}

using Creators = FileTest;

TEST_F(Creators, OutliveTheirBundleAndReadItsFileButNoneThatTookItsPlace) {
  const auto creator = lonelyCreator(file_);
  const auto other = lonelyCreator(file_);
  const ConsoleCapture console;
  EXPECT_FALSE(creator->get());
  EXPECT_TRUE(console.contains("the file was replaced by another one"));
  EXPECT_TRUE(sameArrays(other->get(), sampleArray<1, int>({100})));
}

}  // namespace
