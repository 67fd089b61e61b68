#include <csignal>
#include <random>
#include <thread>

#include "sheaf/file_bytes.h"
#include "sheaf/sample_data.h"
#include "sheaf/tool_runs.h"
#include "support/console_capture.h"
#include "support/temp_folder.h"
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

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

/// Runs `work` in a process of its own. \return its exit code, or 256 + the signal that ended it.
template <class Work>
int inChild(Work work) {
  const pid_t child = fork();
  if (child == 0) {
    int code = 99;
    try {
      code = work();
    } catch (const std::exception& error) {
      std::fprintf(stderr, "child: %s\n", error.what());
    }
    _exit(code);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) ? 256 + WTERMSIG(status) : WEXITSTATUS(status);
}

TEST(Target, IsUntouchedUntilTheReleaseAndReplacedInOneStep) {
  const TempFolder folder;
  const std::string file = folder / "a.q8";
  writeSmall(file, 1);
  const std::string before = readFile(file);
  {
    const auto bundle = boundBundle(file);
    put(*vertices(*bundle), "v", "f", sampleArray<1, int>({4}, 2));
    bundle->sync();
    EXPECT_TRUE(readFile(file) == before);
    EXPECT_THAT(folder.files(), ElementsAre("a.q8", "a.q8.partial"));
  }
  EXPECT_EQ(firstValue(file), 2);
  EXPECT_THAT(folder.files(), ElementsAre("a.q8"));
}

TEST(Target, IsCompletedWhenAnExceptionReleasesTheBundle) {
  const TempFolder folder;
  try {
    const auto bundle = boundBundle(folder / "a.q8");
    put(*vertices(*bundle), "v", "f", sampleArray<1, int>({4}, 3));
    throw std::runtime_error("a parser gave up");
  } catch (const std::runtime_error&) {
  }
  EXPECT_EQ(firstValue(folder / "a.q8"), 3);
}

TEST(Target, KeepsItsPermissionsAndItsLink) {
  const TempFolder folder;
  writeSmall(folder / "real.q8", 1);
  chmod((folder / "real.q8").c_str(), 0640);
  std::filesystem::create_directory(folder / "links");
  std::filesystem::create_symlink("../real.q8", folder / "links/a.q8");
  writeSmall(folder / "links/a.q8", 2);
  EXPECT_EQ(firstValue(folder / "real.q8"), 2);
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "links/a.q8"));
  struct stat status {};
  stat((folder / "real.q8").c_str(), &status);
  EXPECT_EQ(status.st_mode & 07777, 0640U);
}

TEST(Target, OfAKilledProcessIsTheOldOneAndTheLeftoverIsReplaced) {
  const TempFolder folder;
  const std::string file = folder / "a.q8";
  writeSmall(file, 1);
  for (const bool existing : {false, true}) {
    const int ended = inChild([&] {
      Quilt::BundlePtr bundle(new Quilt::Bundle);
      if (existing)
        bundle->bindTo(file);
      else
        bundle->bindToNew(file);
      put(*vertices(*bundle), "v", "f", sampleArray<1, int>({100'000}, 2));
      bundle->sync();
      raise(SIGKILL);
      return 0;
    });
    EXPECT_EQ(ended, 256 + SIGKILL);
    EXPECT_EQ(firstValue(file), 1);
    EXPECT_THAT(folder.files(), ElementsAre("a.q8", "a.q8.partial"));
  }
  writeSmall(file, 3);
  EXPECT_EQ(firstValue(file), 3);
  EXPECT_THAT(folder.files(), ElementsAre("a.q8"));
}

TEST(Target, OfAProcessKilledAtAnyMomentIsTheOldOrTheNewOne) {
  const TempFolder folder;
  const std::string file = folder / "a.q8";
  writeSmall(file, 1);
  for (int delay = 0; delay < 12; ++delay) {
    const pid_t child = fork();
    if (child == 0) {
      for (unsigned i = 2;; ++i) writeSmall(file, i);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(3 + 2 * delay));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_GE(firstValue(file), 1) << delay;
  }
}

struct Failure {
  const char* why;
  std::string name;
  const char* text;
};

TEST(Binding, ThatFailsTellsWhyAndLeavesNothingBehind) {
  const TempFolder folder;
  std::filesystem::create_directory(folder / "folder.q8");
  std::filesystem::create_directory(folder / "blocked.q8.partial");
  folder.write("plain.txt", "no folder");
  mkfifo((folder / "pipe.q8").c_str(), 0600);
  const auto before = folder.files();
  for (const Failure& failure : std::vector<Failure>{
           {"no name", "", "the file name is empty"},
           {"missing folder", folder / "missing/a.q8", "No such file or directory"},
           {"folder", folder / "folder.q8", "it is a folder"},
           {"pipe", folder / "pipe.q8", "it is no file"},
           {"below a file", folder / "plain.txt/a.q8", "Not a directory"},
           {"partial is a folder", folder / "blocked.q8", "Is a directory"},
           {"name too long", folder / std::string(300, 'n'), "File name too long"}}) {
    SCOPED_TRACE(failure.why);
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    const auto [number, text] = bundle->bindToNew(failure.name);
    EXPECT_NE(number, 0);
    EXPECT_THAT(text, HasSubstr(failure.text));
    EXPECT_FALSE(bundle);
    EXPECT_EQ(folder.files(), before);
  }
}

TEST(Binding, ToAFileThatIsNoneFails) {
  const TempFolder folder;
  writeSmall(folder / "a.q8", 1);
  folder.write("text.q8", "this is text");
  folder.write("empty.q8", "");
  folder.write("cut.q8", readFile(folder / "a.q8").substr(0, 700));
  for (const char* name : {"missing.q8", "text.q8", "empty.q8", "cut.q8"}) {
    SCOPED_TRACE(name);
    const std::string before = readFile(folder / name);
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    const auto [number, text] = bundle->bindTo(folder / name);
    EXPECT_NE(number, 0);
    EXPECT_THAT(text, HasSubstr(name));
    EXPECT_FALSE(bundle);
    EXPECT_TRUE(readFile(folder / name) == before);
  }
  EXPECT_THAT(folder.files(), ElementsAre("a.q8", "cut.q8", "empty.q8", "text.q8"));
}

TEST(Binding, OfABundleThatIsBoundChangesNothing) {
  const TempFolder folder;
  const auto bundle = boundBundle(folder / "a.q8");
  EXPECT_NE(bundle->bindToNew(folder / "b.q8").number, 0);
  EXPECT_TRUE(bundle);
  EXPECT_THAT(folder.files(), ElementsAre("a.q8.partial"));
}

TEST(Binding, ASecondWriterOfOneTargetIsRefused) {
  const TempFolder folder;
  const std::string file = folder / "a.q8";
  {
    const auto first = boundBundle(file);
    Quilt::BundlePtr second(new Quilt::Bundle);
    EXPECT_THAT(second->bindToNew(file).text, HasSubstr("another run is writing it"));
    EXPECT_EQ(inChild([&] {
                Quilt::BundlePtr third(new Quilt::Bundle);
                return third->bindToNew(file).number == 0 ? 1 : 0;
              }),
              0);
    put(*vertices(*first), "v", "f", sampleArray<1, int>({4}, 5));
  }
  EXPECT_EQ(firstValue(file), 5);
}

TEST(Binding, WithoutPermissionFails) {
  const TempFolder folder;
  writeSmall(folder / "a.q8", 1);
  // The privileged user may write everywhere but to what is mounted for reading only.
  const bool privileged = geteuid() == 0;
  const char* path = folder.path().c_str();
  if (privileged && (mount(path, path, nullptr, MS_BIND, nullptr) != 0 ||
                     mount(path, path, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) != 0)) {
    umount2(path, MNT_DETACH);
    GTEST_SKIP() << "this test may not mount";
  }
  if (!privileged) chmod(path, 0555);
  for (const char* name : {"a.q8", "new.q8"}) {
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    EXPECT_NE(bundle->bindToNew(folder / name).number, 0) << name;
    EXPECT_FALSE(bundle);
    Quilt::BundlePtr continued(new Quilt::Bundle);
    EXPECT_NE(continued->bindTo(folder / name).number, 0) << name;
  }
  EXPECT_EQ(firstValue(folder / "a.q8"), 1);
  if (privileged)
    umount2(path, MNT_DETACH);
  else
    chmod(path, 0755);
  EXPECT_THAT(folder.files(), ElementsAre("a.q8"));
}

/// An array of 256 KiB that no filter makes smaller.
Quilt::MemBaseHandle noise(unsigned seed) {
  std::mt19937 random(seed);
  const auto array = sampleArray<1, unsigned int>({65536});
  for (std::uint64_t i = 0; i < 65536; ++i) (*array)[i] = static_cast<unsigned int>(random());
  return array;
}

/// Hands over arrays of 256 KiB until a call throws. \return what it threw; empty if none did.
std::string errorWhenFull(Quilt::Bundle& bundle) {
  const auto target = vertices(bundle);
  try {
    for (unsigned i = 0; i < 64; ++i) {
      put(*target, "big", "f" + std::to_string(i), noise(i));
      if (i % 8 == 7) bundle.sync();
    }
  } catch (const Quilt::StorageError& error) {
    return error.what();
  }
  return {};
}

/// Meets a limit of some MiB, compressed and not, with a new file and with one that is continued,
/// and says on the standard error stream which promise was not kept. \return how many were not.
int brokenPromises(const std::string& folder, const std::string& reason) {
  const std::string file = folder + "/a.q8";
  int broken = 0;
  const auto promise = [&broken](bool kept, const char* what) {
    if (kept) return;
    std::fprintf(stderr, "not kept: %s\n", what);
    ++broken;
  };
  for (const int level : {0, 1})
    for (const bool existing : {false, true}) {
      const ConsoleCapture console;
      {
        Quilt::BundlePtr bundle(new Quilt::Bundle);
        const auto bound = existing ? bundle->bindTo(file, compressed(level))
                                    : bundle->bindToNew(file, compressed(level));
        promise(bound.number == 0, "binding works");
        promise(errorWhenFull(*bundle).find(file + ": write: " + reason) == 0,
                "the call that meets the end throws, with the reason");
        try {
          put(*vertices(*bundle), "v", "late", sampleArray<1, int>({1}));
          promise(false, "the calls after it throw too");
        } catch (const Quilt::StorageError&) {
        }
      }
      promise(console.contains("the file was not completed"), "the release tells");
      promise(firstValue(file) == 1, "the target is whole");
      promise(!std::filesystem::exists(file + ".partial"), "nothing is left behind");
    }
  return broken;
}

TEST(FullDisk, ByLimitOfTheProcessThrowsAndLeavesTheTarget) {
  const TempFolder folder;
  writeSmall(folder / "a.q8", 1);
  EXPECT_EQ(inChild([&] {
              const rlimit limit{4 << 20, 4 << 20};
              setrlimit(RLIMIT_FSIZE, &limit);
              return brokenPromises(folder.path().string(), "File too large");
            }),
            0);
}

TEST(FullDisk, ThatOnlyTheReleaseMeetsIsToldOnTheConsole) {
  const TempFolder folder;
  writeSmall(folder / "a.q8", 1);
  EXPECT_EQ(inChild([&] {
              const rlimit limit{20'000, 20'000};
              setrlimit(RLIMIT_FSIZE, &limit);
              const ConsoleCapture console;
              {
                const auto bundle = boundBundle(folder / "a.q8");
                put(*vertices(*bundle), "v", "f", sampleArray<1, int>({4}, 2));
                // The table of so many fragments takes more than there is.
                std::mt19937_64 random(5);
                for (int i = 0; i < 5000; ++i)
                  (*vertices(*bundle))["v"].field()->makeFragmentID(std::to_string(random()));
              }
              return console.contains("File too large; the file was not completed") ? 0 : 1;
            }),
            0);
  EXPECT_EQ(firstValue(folder / "a.q8"), 1);
  EXPECT_THAT(folder.files(), ElementsAre("a.q8"));
}

TEST(FullDisk, OfAMountThrowsAndLeavesTheTarget) {
  const TempFolder folder;
  const char* path = folder.path().c_str();
  if (mount("tmpfs", path, "tmpfs", 0, "size=4m") != 0) GTEST_SKIP() << "this test may not mount";
  writeSmall(folder / "a.q8", 1);
  const auto chunksBefore = Larder::ChunkBase::TotalMemsize.load();
  EXPECT_EQ(brokenPromises(folder.path().string(), "No space left on device"), 0);
  EXPECT_EQ(Larder::ChunkBase::TotalMemsize.load(), chunksBefore);  // no array was left behind
  umount2(path, MNT_DETACH);
}

TEST(FullDisk, OfAnExternalFileLeavesAllFiles) {
  struct Apart : Quilt::StorageTransformations {
    std::pair<std::string, std::string> getExternalLocation(
        double, const std::string&, const Quilt::SkeletonID&, const std::string&,
        const std::string& field) const override {
      return {field == "v" ? "ext.q8" : "", ""};
    }
  };
  const TempFolder folder;
  const auto write = [&](unsigned first, std::uint64_t elements) {
    const auto bundle = boundBundle(folder / "a.q8", Larder::makeStrong<Apart>());
    put(*vertices(*bundle), "Positions", "f", sampleArray<1, Point>({4}));
    put(*vertices(*bundle), "v", "f", sampleArray<1, int>({elements}, first));
  };
  write(1, 4);
  const std::string before = readFile(folder / "ext.q8");
  EXPECT_EQ(inChild([&] {
              const rlimit limit{1 << 20, 1 << 20};
              setrlimit(RLIMIT_FSIZE, &limit);
              const ConsoleCapture console;
              try {
                write(2, 1 << 20);
              } catch (const Quilt::StorageError&) {
              }
              return console.contains("ext.q8: ") ? 0 : 1;
            }),
            0);
  EXPECT_EQ(firstValue(folder / "a.q8"), 1);
  EXPECT_TRUE(readFile(folder / "ext.q8") == before);
  EXPECT_THAT(folder.files(), ElementsAre("a.q8", "ext.q8"));
}

TEST(Save, ThatFailsGivesNumberAndText) {
  const TempFolder folder;
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  put(*vertices(*bundle), "v", "f", sampleArray<1, int>({4}));
  const ConsoleCapture console;
  const auto [number, text] = bundle.save(folder / "missing/a.q8", nullptr, nullptr);
  EXPECT_NE(number, 0);
  EXPECT_THAT(text, HasSubstr("No such file or directory"));
  EXPECT_TRUE(bundle);
}

}  // namespace
