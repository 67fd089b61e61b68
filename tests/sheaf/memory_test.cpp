#include <algorithm>
#include <atomic>
#include <thread>

#include "sheaf/file_bytes.h"
#include "sheaf/sample_data.h"
#include "support/console_capture.h"
#include "support/temp_folder.h"
#include <gmock/gmock.h>

// Bounded memory, and several threads.
namespace {

using namespace TestSupport;

/// Gives the memory cache another budget for one test.
class CacheBudget {
 public:
  explicit CacheBudget(std::size_t bytes) : former_(Larder::Cache::MemCache().budget()) {
    Larder::Cache::MemCache().setBudget(bytes);
  }
  ~CacheBudget() { Larder::Cache::MemCache().setBudget(former_); }

 private:
  std::size_t former_;
};

template <class Work>
void inThreads(unsigned threads, Work work) {
  std::vector<std::thread> running;
  for (unsigned i = 0; i < threads; ++i) running.emplace_back([&work, i] { work(i); });
  for (std::thread& thread : running) thread.join();
}

TEST(Memory, OfAConversionIsBoundedByTheCacheAndTheQueue) {
  constexpr std::int64_t kMiB = 1 << 20;
  constexpr unsigned kArrays = 100;
  const CacheBudget budget(8 * kMiB);
  for (const int level : {0, 1}) {
    const TempFolder folder;
    const std::int64_t before = Larder::ChunkBase::TotalMemsize;
    const auto bundle = boundBundle(folder / "a.q8", compressed(level));
    const auto target = vertices(*bundle);
    const auto array = [](unsigned i) { return sampleArray<1, double>({kMiB / 8}, i); };
    std::int64_t most = 0;
    for (unsigned i = 0; i < kArrays; ++i) {
      put(*target, "v", std::to_string(i), array(i));
      most = std::max(most, Larder::ChunkBase::TotalMemsize - before);
    }
    // The queue, the cache, one array in the writer's hands and one that is just handed over.
    EXPECT_LE(most, (8 + 8 + 2) * kMiB);
    bundle->sync();
    EXPECT_LE(Larder::ChunkBase::TotalMemsize - before, 8 * kMiB);
    for (unsigned i = 0; i < kArrays; i += 9)
      EXPECT_TRUE(sameArrays(get(*bundle, "v", std::to_string(i)), array(i)));
    EXPECT_LE(Larder::ChunkBase::TotalMemsize - before, 8 * kMiB);
  }
}

TEST(Memory, OfSavingALoadedBundleIsBounded) {
  constexpr std::int64_t kMiB = 1 << 20;
  const CacheBudget budget(4 * kMiB);
  const TempFolder folder;
  {
    const auto bundle = boundBundle(folder / "a.q8");
    for (unsigned i = 0; i < 50; ++i)
      put(*vertices(*bundle), "v", std::to_string(i), sampleArray<1, double>({kMiB / 8}, i));
  }
  const std::int64_t before = Larder::ChunkBase::TotalMemsize;
  const auto loaded = loadBundle(folder / "a.q8");
  std::atomic<bool> done{false};
  std::int64_t most = 0;
  std::thread watch([&] {
    for (; !done; std::this_thread::yield())
      most = std::max(most, Larder::ChunkBase::TotalMemsize - before);
  });
  EXPECT_EQ(loaded.save(folder / "b.q8", nullptr, nullptr).number, 0);
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

TEST(Threads, WithABundleEachGiveTheSameFilesAsOneAfterTheOther) {
  constexpr unsigned kThreads = 4;
  const TempFolder folder;
  const auto name = [&](const char* how, unsigned i) { return folder / (how + std::to_string(i)); };
  for (unsigned i = 0; i < kThreads; ++i) fill(*boundBundle(name("one", i), compressed(1)), 7 * i);
  inThreads(kThreads, [&](unsigned i) {
    fill(*boundBundle(name("two", i), compressed(1)), 7 * i);
    EXPECT_TRUE(loadBundle(name("two", i)));
  });
  for (unsigned i = 0; i < kThreads; ++i)
    EXPECT_TRUE(readFile(name("one", i)) == readFile(name("two", i))) << i;
}

TEST(Threads, HandOverIntoOneBundleAndReadFromIt) {
  constexpr unsigned kThreads = 4;
  constexpr std::uint32_t kFragments = 10'400;
  const TempFolder folder;
  const std::string file = folder / "a.q8";
  const auto array = [](std::uint32_t i) { return sampleArray<1, int>({5 + i % 7}, i); };
  {
    const auto bundle = boundBundle(file, compressed(1));
    const auto target = vertices(*bundle);
    const auto packed = (*target)["packed"].field();
    for (std::uint32_t i = 0; i < kFragments; ++i) packed->makeFragmentID(std::to_string(i));
    const auto apart =
        Larder::makeStrong<Quilt::Field>(Larder::makeStrong<Quilt::FragmentIDCollection>());
    for (std::uint32_t i = 0; i < 200; ++i) apart->makeFragmentID(std::to_string(i));
    (*target)["apart"] = apart;
    inThreads(kThreads, [&](unsigned thread) {
      for (std::uint32_t i = thread; i < 2000; i += kThreads) {
        for (const auto& field : {packed, apart}) {
          if (field == apart && i >= 200) continue;
          const auto fragment = field->getFragmentIDCollection()->findFragmentID(i);
          field->setPersistentData(array(i), fragment, Larder::Cache::MemCache(), "");
          const std::uint32_t other = i / 2;
          const auto creator = field->getCreatorByNumber(other);
          EXPECT_TRUE(!creator || sameArrays(creator->get(), array(other)));
        }
      }
    });
  }
  const auto loaded = loadBundle(file);
  // Readers share the fields, and with them the file and the packed dataset.
  inThreads(kThreads, [&](unsigned thread) {
    for (std::uint32_t i = thread; i < 2000; ++i) {
      EXPECT_TRUE(sameArrays(get(*loaded, "packed", std::to_string(i)), array(i)));
      EXPECT_TRUE(i >= 200 || sameArrays(get(*loaded, "apart", std::to_string(i)), array(i)));
    }
  });
}

TEST(Threads, ReadLargeArraysOfOneFileAtOnce) {
  const TempFolder folder;
  const auto points = sampleArray<1, Point>({200'000});
  put(*vertices(*boundBundle(folder / "a.q8", compressed(1))), "Positions", "f", points);
  inThreads(3, [&](unsigned) {
    EXPECT_TRUE(sameArrays(get(*loadBundle(folder / "a.q8"), "Positions", "f"), points));
  });
}

TEST(Threads, OfWhichOneFailsDoNotDisturbEachOther) {
  const TempFolder folder;
  const ConsoleCapture console;
  inThreads(4, [&](unsigned i) {
    if (i % 2 == 0) {
      fill(*boundBundle(folder / std::to_string(i)), i);
      return;
    }
    for (int again = 0; again < 20; ++again) {
      Quilt::BundlePtr bundle(new Quilt::Bundle);
      EXPECT_NE(bundle->bindToNew(folder / "missing/a.q8").number, 0);
      EXPECT_FALSE(loadBundle(folder / "none.q8"));
    }
  });
  for (const char* name : {"0", "2"}) EXPECT_TRUE(loadBundle(folder / name)) << name;
  EXPECT_FALSE(console.contains("was not completed"));
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

TEST(Creators, OutliveTheirBundleAndReadItsFile) {
  const TempFolder folder;
  EXPECT_TRUE(sameArrays(lonelyCreator(folder / "a.q8")->get(), sampleArray<1, int>({100})));
}

TEST(Creators, DoNotReadAFileThatTookThePlaceOfTheirs) {
  const TempFolder folder;
  const auto creator = lonelyCreator(folder / "a.q8");
  const auto other = lonelyCreator(folder / "a.q8");
  const ConsoleCapture console;
  EXPECT_FALSE(creator->get());
  EXPECT_TRUE(console.contains("the file was replaced by another one"));
  EXPECT_TRUE(other->get());
}

}  // namespace
