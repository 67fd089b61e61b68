#include <random>

#include "sheaf/sample_data.h"
#include "support/child_process.h"
#include "support/console_capture.h"
#include "support/program_run.h"
#include <gmock/gmock.h>
#include <sys/stat.h>

// No output is ever half there.
namespace {

using namespace TestSupport;
using testing::ElementsAre;
using testing::HasSubstr;

void writeSmall(const std::string& file, unsigned first) {
  put(*vertices(*boundBundle(file)), "v", "f", sampleArray<1, int>({4}, first));
}

int firstValue(const std::string& file) {
  const auto loaded = loadBundle(file);
  const auto array = loaded ? get(*loaded, "v", "f").castTo<Quilt::MemArray<1, int>>() : nullptr;
  return array ? array->first() : -1;
}

using Target = FileTest;

TEST_F(Target, IsUntouchedUntilTheReleaseAndReplacedInOneStep) {
  writeSmall(file_, 1);
  const std::string before = textOf(file_);
  {
    const auto bundle = boundBundle(file_);
    put(*vertices(*bundle), "v", "f", sampleArray<1, int>({4}, 2));
    bundle->sync();
    EXPECT_TRUE(textOf(file_) == before);
    EXPECT_THAT(folder_.files(), ElementsAre("a.q8", "a.q8.partial"));
  }
  EXPECT_EQ(firstValue(file_), 2);
  EXPECT_THAT(folder_.files(), ElementsAre("a.q8"));
}

TEST_F(Target, KeepsItsPermissionsAndItsLink) {
  writeSmall(file_, 1);
  chmod(file_.c_str(), 0640);
  std::filesystem::create_directory(folder_ / "links");
  std::filesystem::create_symlink("../a.q8", folder_ / "links/b.q8");
  writeSmall(folder_ / "links/b.q8", 2);
  EXPECT_EQ(firstValue(file_), 2);
  EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "links/b.q8"));
  struct stat status {};
  stat(file_.c_str(), &status);
  EXPECT_EQ(status.st_mode & 07777, 0640U);
}

using Binding = FileTest;

TEST_F(Binding, ThatFailsTellsWhyAndLeavesNothingBehind) {
  std::filesystem::create_directory(folder_ / "folder.q8");
  std::filesystem::create_directory(folder_ / "blocked.q8.partial");
  folder_.write("plain.txt", "no folder");
  mkfifo((folder_ / "pipe.q8").c_str(), 0600);
  const auto before = folder_.files();
  const struct {
    std::string name;
    const char* text;
  } failures[] = {{"", "the file name is empty"},
                  {folder_ / "missing/a.q8", "No such file or directory"},
                  {folder_ / "folder.q8", "it is a folder"},
                  {folder_ / "pipe.q8", "it is no file"},
                  {folder_ / "plain.txt/a.q8", "Not a directory"},
                  {folder_ / "blocked.q8", "Is a directory"},
                  {folder_ / std::string(300, 'n'), "File name too long"}};
  const ConsoleCapture console;
  for (const auto& failure : failures) {
    SCOPED_TRACE(failure.name);
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    put(*vertices(*bundle), "v", "f", sampleArray<1, int>({4}));
    EXPECT_THAT([&] { bundle.save(failure.name, nullptr, nullptr); },
                testing::ThrowsMessage<Quilt::StorageError>(HasSubstr(failure.text)));
    EXPECT_TRUE(bundle);
    const auto [number, text] = bundle->bindToNew(failure.name);
    EXPECT_FALSE(bundle);
    EXPECT_NE(number, 0);
    EXPECT_THAT(text, HasSubstr(failure.text));
    EXPECT_EQ(folder_.files(), before);
  }
}

TEST_F(Binding, ToAFileThatIsNoneFails) {
  writeSmall(file_, 1);
  folder_.write("text.q8", "this is text");
  folder_.write("empty.q8", "");
  folder_.write("cut.q8", textOf(file_).substr(0, 700));
  for (const char* name : {"missing.q8", "text.q8", "empty.q8", "cut.q8"}) {
    SCOPED_TRACE(name);
    const std::string before = textOf(folder_ / name);
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    const auto [number, text] = bundle->bindTo(folder_ / name);
    EXPECT_NE(number, 0);
    EXPECT_THAT(text, HasSubstr(name));
    EXPECT_FALSE(bundle);
    EXPECT_TRUE(textOf(folder_ / name) == before);
  }
  EXPECT_THAT(folder_.files(), ElementsAre("a.q8", "cut.q8", "empty.q8", "text.q8"));
}

TEST_F(Binding, ASecondOneOfABundleOrOfATargetIsRefused) {
  {
    const auto first = boundBundle(file_);
    EXPECT_NE(first->bindToNew(folder_ / "b.q8").number, 0);
    EXPECT_TRUE(first);
    EXPECT_THAT(folder_.files(), ElementsAre("a.q8.partial"));
    const auto bindAgain = [&] { return Quilt::BundlePtr(new Quilt::Bundle)->bindToNew(file_); };
    EXPECT_THAT(bindAgain().text, HasSubstr("another run is writing it"));
    EXPECT_EQ(inChild([&] { EXPECT_NE(bindAgain().number, 0); }), 0);
    put(*vertices(*first), "v", "f", sampleArray<1, int>({4}, 5));
  }
  EXPECT_EQ(firstValue(file_), 5);
}

/// An array of 256 KiB that no filter makes smaller.
Quilt::MemBaseHandle noise(unsigned seed) {
  std::mt19937 random(seed);
  const auto array = sampleArray<1, unsigned int>({65536});
  for (std::uint64_t i = 0; i < 65536; ++i) (*array)[i] = static_cast<unsigned int>(random());
  return array;
}

/// Hands over arrays of 256 KiB until a call throws.
void fillUp(Quilt::Bundle& bundle) {
  for (unsigned i = 0; i < 64; ++i) {
    put(*vertices(bundle), "big", "f" + std::to_string(i), noise(i));
    if (i % 8 == 7) bundle.sync();
  }
}

/// Meets a limit of some MiB, compressed and not, with a new file and with one that is continued.
void expectPromisesKept(const std::string& file) {
  for (const int level : {0, 1})
    for (const bool existing : {false, true}) {
      const ConsoleCapture console;
      {
        Quilt::BundlePtr bundle(new Quilt::Bundle);
        const auto rules = compressed(level);
        const auto bound = existing ? bundle->bindTo(file, rules) : bundle->bindToNew(file, rules);
        EXPECT_EQ(bound.number, 0);
        EXPECT_THAT([&] { fillUp(*bundle); },
                    testing::ThrowsMessage<Quilt::StorageError>(
                        testing::StartsWith(file + ": write: File too large")));
        EXPECT_THROW(put(*vertices(*bundle), "v", "late", sampleArray<1, int>({1})),
                     Quilt::StorageError);
      }
      EXPECT_TRUE(console.contains("the file was not completed"));
      EXPECT_EQ(firstValue(file), 1) << "the target is whole";
      EXPECT_FALSE(std::filesystem::exists(file + ".partial"));
    }
}

using FullDisk = FileTest;

TEST_F(FullDisk, ByLimitOfTheProcessThrowsAndLeavesTheTarget) {
  writeSmall(file_, 1);
  const int ended = inChild([this] {
    limitFiles(4 << 20);
    const auto chunksBefore = Larder::ChunkBase::TotalMemsize.load();
    expectPromisesKept(file_);
    EXPECT_EQ(Larder::ChunkBase::TotalMemsize.load(), chunksBefore);  // no array was left behind
  });
  EXPECT_EQ(ended, 0);
}

TEST_F(FullDisk, ThatOnlyTheReleaseMeetsIsToldOnTheConsole) {
  writeSmall(file_, 1);
  const int ended = inChild([this] {
    limitFiles(20'000);
    const ConsoleCapture console;
    {
      const auto bundle = boundBundle(file_);
      put(*vertices(*bundle), "v", "f", sampleArray<1, int>({4}, 2));
      // The table of so many fragments takes more than there is.
      std::mt19937_64 random(5);
      for (int i = 0; i < 5000; ++i)
        (*vertices(*bundle))["v"].field()->makeFragmentID(std::to_string(random()));
    }
    EXPECT_TRUE(console.contains("File too large; the file was not completed"));
  });
  EXPECT_EQ(ended, 0);
  EXPECT_EQ(firstValue(file_), 1);
  EXPECT_THAT(folder_.files(), ElementsAre("a.q8"));
}

}  // namespace
