#include <filesystem>
#include <optional>

#include "sheaf/sample_data.h"
#include "support/child_process.h"
#include "support/console_capture.h"
#include "support/program_run.h"
#include <gmock/gmock.h>

#include "recast/larder/console.h"

// What was stored is in the file or reported as missing.
namespace {

using namespace TestSupport;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::ThrowsMessage;

// Constructed before HDF5 is initialised, so destroyed after everything that it registers at exit.
Quilt::BundlePtr staticBundle;

Quilt::MemBaseHandle ints(unsigned first, std::uint64_t elements = 4) {
  return sampleArray<1, int>({elements}, first);
}

bool holds(const std::string& file, const std::string& field, const Quilt::MemBaseHandle& array,
           const std::string& grid = "G") {
  const auto loaded = loadBundle(file);
  return loaded && sameArrays(get(*loaded, field, "f", grid), array);
}

class Promises : public FileTest {
 protected:
  void writeOld() {
    const auto bundle = boundBundle(file_);
    put(*vertices(*bundle), "v", "f", ints(1));
    bundle->complete();
  }
};

TEST_F(Promises, SmallArraysOnAFullDiskFailTheCallOrTheCompletion) {
  // Small arrays reach the file through HDF5's own buffers, some time after they were written.
  writeOld();
  std::filesystem::create_directory(folder_ / "ext");
  for (const rlim_t room : {100U, 900U, 3000U, 9000U, 30'000U, 100'000U})
    for (const int kind : {0, 1, 2}) {
      SCOPED_TRACE(testing::Message() << room << " bytes, kind " << kind);
      const int ended = inChild([&] {
        limitFiles(room);
        const ConsoleCapture console;
        bool threw = false;
        try {
          const auto bundle = boundBundle(
              file_, kind == 2 ? Larder::makeStrong<OwnFiles>("ext") : compressed(kind));
          for (unsigned i = 0; i < 400; ++i)
            put(*vertices(*bundle), "w" + std::to_string(i % 3), "f" + std::to_string(i),
                ints(i, 100));
          bundle->complete();
        } catch (const Quilt::StorageError& error) {
          threw = true;
          EXPECT_THAT(error.what(), HasSubstr("File too large"));
        }
        EXPECT_TRUE(threw);
        // The process goes on working after the failure.
        limitFiles(room);
        EXPECT_TRUE(holds(file_, "v", ints(1)));
      });
      EXPECT_EQ(ended, 0);
      EXPECT_TRUE(holds(file_, "v", ints(1)));
      EXPECT_THAT(folder_.files(), ElementsAre("a.q8"));
    }
}

TEST_F(Promises, AFailedWriteStopsTheRunAtTheNextCall) {
  const int ended = inChild([&] {
    limitFiles(2000);
    const ConsoleCapture console;
    const auto bundle = boundBundle(file_);
    put(*vertices(*bundle), "v", "f", ints(1, 10'000));
    EXPECT_THROW(bundle->sync(), Quilt::StorageError);
    EXPECT_THROW(put(*vertices(*bundle), "v", "g", ints(1)), Quilt::StorageError);
  });
  EXPECT_EQ(ended, 0);
}

TEST_F(Promises, ABundleOfStaticLifetimeCompletesItsFile) {
  const int ended = inChild([&] {
    staticBundle = boundBundle(file_, compressed(1));
    put(*vertices(*staticBundle), "v", "f", ints(7, 100'000));
  });
  EXPECT_EQ(ended, 0);
  EXPECT_TRUE(holds(file_, "v", ints(7, 100'000)));
}

TEST_F(Promises, MessagesNeverGoIntoFilesThatTookTheStandardStreams) {
  const int ended = inChild([&] {
    for (const int stream : {0, 1, 2}) close(stream);
    const auto bundle = boundBundle(file_);
    put(*vertices(*bundle), "v", "f", ints(3, 100'000));
    for (int i = 0; i < 100; ++i) Larder::Console() << "a message " << i;
    bundle->complete();
    for (int i = 0; i < 100; ++i) Larder::Console() << "a message " << i;
  });
  EXPECT_EQ(ended, 0);
  EXPECT_TRUE(holds(file_, "v", ints(3, 100'000)));
}

TEST_F(Promises, TargetsAreTheFilesThatTheirNamesMeantAtBinding) {
  writeOld();
  const std::string before = textOf(file_);
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  EXPECT_THAT(bundle->bindToNew(file_ + std::string("\0.q8", 4)).text, HasSubstr("NUL byte"));
  EXPECT_TRUE(textOf(file_) == before);

  std::filesystem::create_directories(folder_ / "one/two");
  std::filesystem::create_symlink("../behind.q8", folder_ / "one/dangling.q8");
  const int ended = inChild([&] {
    std::filesystem::current_path(folder_ / "one");
    const auto relative = boundBundle("relative.q8");
    put(*vertices(*relative), "v", "f", ints(2));
    const auto dangling = boundBundle("dangling.q8");
    put(*vertices(*dangling), "v", "f", ints(3));
    std::filesystem::current_path(folder_ / "one/two");
    relative->complete();
    dangling->complete();
    EXPECT_TRUE(sameArrays(get(*relative, "v", "f"), ints(2)));
  });
  EXPECT_EQ(ended, 0);
  EXPECT_TRUE(holds(folder_ / "one/relative.q8", "v", ints(2)));
  EXPECT_TRUE(holds(folder_ / "behind.q8", "v", ints(3)));
  EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "one/dangling.q8"));
}

TEST_F(Promises, AFieldThatStandsInSeveralPlacesIsInAllOfThem) {
  enum { Save, Bind, Continue };
  for (const int way : {Save, Bind, Continue}) {
    SCOPED_TRACE(way);
    if (way == Continue) writeOld();
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    if (way == Bind) bundle->bindToNew(file_);
    if (way == Continue) bundle->bindTo(file_);
    if (way != Continue) put(*vertices(*bundle), "v", "f", ints(1));
    const auto field = findField(*bundle, "G", "v");
    (*vertices(*bundle, "H"))["w"] = field;
    (*vertices(*bundle, "G", 1.0))["v"] = field;
    if (way == Save)
      bundle.save(file_, nullptr, nullptr);
    else
      bundle->complete();
    EXPECT_TRUE(holds(file_, "v", ints(1)));
    EXPECT_TRUE(holds(file_, "w", ints(1), "H"));
    const auto loaded = loadBundle(file_);
    const auto later = (*(*loaded)(1.0))("G")->getCartesianRepresentation("")->findField("v");
    EXPECT_TRUE(sameArrays(later->getCreatorByName("f")->get(), ints(1)));
    std::filesystem::remove(file_);
  }
}

TEST_F(Promises, AFieldTakesTheTypeOfTheDataThatReplacesAllOfIt) {
  const auto doubles = sampleArray<1, double>({3});
  const auto bundle = boundBundle(file_);
  put(*vertices(*bundle), "v", "f", sampleArray<1, float>({3}));
  put(*vertices(*bundle), "v", "f", doubles);
  put(*vertices(*bundle), "w", "f", sampleArray<1, float>({3}));
  put(*vertices(*bundle), "w", "g", sampleArray<1, float>({3}));
  EXPECT_THAT([&] { put(*vertices(*bundle), "w", "g", doubles); },
              ThrowsMessage<Quilt::StorageError>(HasSubstr("holds elements of float")));
  bundle->complete();  // what was refused left the field as it was
  EXPECT_TRUE(holds(file_, "v", doubles));
  EXPECT_TRUE(sameArrays(get(*loadBundle(file_), "w", "g"), sampleArray<1, float>({3})));
}

TEST_F(Promises, AnArrayWithoutMemoryIsRefused) {
  const Quilt::MemBaseHandle hollow(new Quilt::MemArray<1, int>(
      Larder::StrongPtr<Larder::ChunkBase>(), Quilt::MultiIndex<1>(4), nullptr));
  const auto bundle = boundBundle(file_);
  EXPECT_THAT([&] { put(*vertices(*bundle), "v", "f", hollow); },
              ThrowsMessage<Quilt::StorageError>(HasSubstr("its array has no memory")));
}

TEST_F(Promises, ACreatorNeverReadsTheDataThatReplacedItsOwn) {
  for (const bool continued : {false, true}) {
    SCOPED_TRACE(continued);
    if (continued) writeOld();
    const ConsoleCapture console;
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    continued ? bundle->bindTo(file_) : bundle->bindToNew(file_);
    if (!continued) put(*vertices(*bundle), "v", "f", ints(1));
    const auto former = findField(*bundle, "G", "v")->getCreatorByName("f");
    bundle->sync();
    put(*vertices(*bundle), "v", "f", ints(2));
    bundle->sync();
    EXPECT_FALSE(former->get());
    EXPECT_TRUE(console.contains("other data has replaced it"));
    EXPECT_TRUE(sameArrays(get(*bundle, "v", "f"), ints(2)));
    bundle->complete();
    EXPECT_TRUE(holds(file_, "v", ints(2)));
    std::filesystem::remove(file_);
  }
}

TEST_F(Promises, ExternalFilesAreRestoredWhenTheMainFileCannotBeReplaced) {
  const auto write = [this](unsigned first, auto between) {
    const auto bundle = boundBundle(file_, Larder::makeStrong<OwnFiles>("ext"));
    put(*vertices(*bundle), "v", "f", ints(first));
    put(*vertices(*bundle), first == 1 ? "w" : "new", "f", ints(first));
    between();
    bundle->complete();
  };
  write(1, [] {});
  const std::string before = textOf(folder_ / "ext/v.q8");
  EXPECT_THAT(([&] {
                write(2, [this] {
                  std::filesystem::rename(file_, folder_ / "main.q8");
                  std::filesystem::create_directory(file_);  // nothing can replace it
                });
              }),
              ThrowsMessage<Quilt::StorageError>(HasSubstr("a.q8: replace: Is a directory")));
  EXPECT_TRUE(textOf(folder_ / "ext/v.q8") == before);
  EXPECT_THAT(folder_.files(), ElementsAre("ext/v.q8", "ext/w.q8", "main.q8"));
  EXPECT_TRUE(holds(folder_ / "main.q8", "v", ints(1)));
}

TEST_F(Promises, DataLeavesTheCacheThatTheHostGave) {
  Larder::Cache cache(1 << 20);
  const auto bundle = boundBundle(file_);
  const auto field = (*vertices(*bundle))["v"].field();
  std::optional<Quilt::CreatorHandle> creators[2];
  for (const char* name : {"f", "g"}) {
    const auto creator = field->setPersistentData(ints(1), field->makeFragmentID(name), cache, "");
    creators[*name - 'f'] = creator;
  }
  bundle->sync();
  EXPECT_EQ(cache.bytesHeld(), 0U);
  EXPECT_TRUE((*creators[0])->get());
  EXPECT_GT(cache.bytesHeld(), 0U);
  (*creators[0])->letGo();
  EXPECT_EQ(cache.bytesHeld(), 0U);
}

}  // namespace
