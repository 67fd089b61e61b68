#include <thread>

#include "sheaf/sample_data.h"
#include "sheaf/tool_runs.h"
#include "support/console_capture.h"
#include "support/program_run.h"
#include <gmock/gmock.h>

// Fields in files of their own, behind the main file's external links.
namespace {

using namespace TestSupport;
using testing::ElementsAre;
using testing::HasSubstr;

Quilt::StorageHandle inFolder(const std::string& folder) {
  return Larder::makeStrong<OwnFiles>(folder);
}

class ExternalFiles : public FileTest {
 protected:
  ExternalFiles() { std::filesystem::create_directory(folder_ / "ext"); }

  void write(const std::string& grid = "G") {
    const auto bundle = boundBundle(main_, inFolder("ext"));
    put(*vertices(*bundle, grid), "Positions", "f", sampleArray<1, Point>({3}));
    put(*vertices(*bundle, grid), "height", "f", floats_)
        ->setAttribute("unit", Larder::singleValue(std::string("m")));
  }
  void expectContent(const std::string& file, const std::string& grid = "G") {
    const auto loaded = loadBundle(file);
    ASSERT_TRUE(loaded);
    EXPECT_TRUE(sameArrays(get(*loaded, "Positions", "f", grid), sampleArray<1, Point>({3})));
    EXPECT_TRUE(sameArrays(get(*loaded, "height", "f", grid), floats_));
    EXPECT_TRUE(findField(*loaded, grid, "height")->getCreatorByName("f")->getAttribute("unit"));
  }
  /// The main file, to be continued.
  Quilt::BundlePtr continued(const Quilt::StorageHandle& rules = nullptr) {
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    EXPECT_EQ(bundle->bindTo(main_, rules).number, 0);
    return bundle;
  }

  std::string main_ = folder_ / "main.q8";
  std::string height_ = folder_ / "ext/height.q8";
  Quilt::MemBaseHandle floats_ = sampleArray<1, float>({3});
};

TEST_F(ExternalFiles, HoldTheirFieldAtTheSamePlaceAndMoveWithTheirFolder) {
  write();
  EXPECT_THAT(folder_.files(), ElementsAre("ext/height.q8", "main.q8"));
  expectContent(main_);
  const std::string list = run("h5ls " + main_ + "/0.000000/G/Skeleton_3_0/Cartesian").output;
  EXPECT_THAT(list, HasSubstr("External Link {ext/height.q8//0.000000/G/Skeleton_3_0/Cartesian/"
                              "height}"));
  std::filesystem::create_directory(folder_ / "moved");
  std::filesystem::rename(main_, folder_ / "moved/main.q8");
  std::filesystem::rename(folder_ / "ext", folder_ / "moved/ext");
  expectContent(folder_ / "moved/main.q8");
}

TEST_F(ExternalFiles, TakeGridsOfAnyName) {
  for (const char* grid : {"a/b", ".", "50%", "@x"}) {
    SCOPED_TRACE(grid);
    write(grid);
    expectContent(main_, grid);
  }
}

TEST_F(ExternalFiles, ThatAreMissingCostTheirFieldAloneAndOnlyForNow) {
  write();
  std::filesystem::rename(height_, folder_ / "away");
  const ConsoleCapture console;
  {
    const auto loaded = loadBundle(main_);
    ASSERT_TRUE(loaded);
    EXPECT_THAT(console.messages(),
                ElementsAre(HasSubstr("\"height\" lies in \"ext/height.q8\", which can't be opened "
                                      "(No such file or directory); it is left out.")));
    EXPECT_FALSE(findField(*loaded, "G", "height"));
    EXPECT_TRUE(get(*loaded, "Positions", "f"));
  }
  {
    const auto bundle = continued();
    put(*vertices(*bundle), "other", "new", floats_);
    bundle->complete();
    const auto refused = continued();
    EXPECT_THROW(put(*vertices(*refused), "height", "new", floats_), Quilt::StorageError);
    EXPECT_THROW(refused->complete(), Quilt::StorageError);
  }
  std::filesystem::rename(folder_ / "away", height_);
  expectContent(main_);
  EXPECT_TRUE(get(*loadBundle(main_), "other", "new"));
}

TEST_F(ExternalFiles, ThatTellTheFragmentsTakeTheirSharersWithThem) {
  {
    const auto bundle = boundBundle(main_, inFolder("ext"));
    put(*vertices(*bundle), "first", "f", floats_);
    put(*vertices(*bundle), "Positions", "f", sampleArray<1, Point>({3}));
  }
  std::filesystem::rename(folder_ / "ext/first.q8", folder_ / "away");
  const ConsoleCapture console;
  EXPECT_TRUE(loadBundle(main_));
  EXPECT_TRUE(console.contains("\"Positions\" shares the fragments of \"first\", which isn't"));
  EXPECT_THROW(put(*vertices(*continued()), "Positions", "g", sampleArray<1, Point>({1})),
               Quilt::StorageError)
      << "the former data would be lost";
  std::filesystem::rename(folder_ / "away", folder_ / "ext/first.q8");
  EXPECT_TRUE(get(*loadBundle(main_), "Positions", "f"));
}

TEST_F(ExternalFiles, ThatCannotBeReadFailTheLoad) {
  const std::string sound = (write(), textOf(height_));
  std::string damaged = sound;
  damaged[20] ^= 1;  // in the superblock
  const struct {
    std::string content, reason;
  } cases[] = {{"", "this is no .q8 file"},
               {std::string(5000, 'x'), "this is no .q8 file"},
               {sound.substr(0, sound.size() - 1), "truncated"},
               {damaged, "checksum"}};
  for (const auto& [content, reason] : cases) {
    SCOPED_TRACE(reason);
    folder_.write("ext/height.q8", content);
    const ConsoleCapture console;
    EXPECT_FALSE(loadBundle(main_));
    EXPECT_TRUE(console.contains("ext/height.q8: ") && console.contains(reason));
    EXPECT_THAT(Quilt::BundlePtr(new Quilt::Bundle)->bindTo(main_).text, HasSubstr(reason));
  }
  std::filesystem::remove(height_);
  std::filesystem::create_directory(height_);
  EXPECT_FALSE(loadBundle(main_));
}

TEST_F(ExternalFiles, AreTakenFromTheMainFilesFolderAlone) {
  write();
  // The same names in two other places, with other numbers.
  for (const char* place : {"prefix", "working"}) {
    const std::string other = folder_ / place;
    std::filesystem::create_directories(other + "/ext");
    const auto bundle = boundBundle(other + "/main.q8", inFolder("ext"));
    put(*vertices(*bundle), "height", "f", sampleArray<1, float>({3}, 100));
  }
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder_ / "working");
  setenv("HDF5_EXT_PREFIX", (folder_ / "prefix").c_str(), 1);
  std::filesystem::create_symlink(main_, folder_ / "working/link.q8");
  expectContent(main_);
  expectContent("../main.q8");
  expectContent("link.q8");
  std::filesystem::remove(height_);
  const ConsoleCapture console;
  EXPECT_FALSE(findField(*loadBundle(main_), "G", "height"));
  unsetenv("HDF5_EXT_PREFIX");
  std::filesystem::current_path(before);
}

TEST_F(ExternalFiles, AreToldOfWhenOtherThreadsCanReadAgain) {
  write();
  std::filesystem::remove(height_);
  // What shows messages may wait for a thread that is about to write or load a file.
  std::string told;
  const auto former = Larder::Console::setSink([&](const std::string& message) {
    told = message;
    std::thread([this] { boundBundle(folder_ / "b.q8"); }).join();
  });
  EXPECT_TRUE(loadBundle(main_));
  Larder::Console::setSink(former);
  EXPECT_THAT(told, HasSubstr("it is left out"));
}

TEST_F(ExternalFiles, InAFolderThatCannotBeMadeFailTheCall) {
  const ConsoleCapture console;
  folder_.write("file", "");
  {
    const auto bundle = boundBundle(main_, inFolder("file/nowhere"));
    EXPECT_THROW(put(*vertices(*bundle), "height", "f", floats_), Quilt::StorageError);
  }
  EXPECT_TRUE(console.contains("file/nowhere: make the folder: Not a directory"));
  EXPECT_THAT(folder_.files(), ElementsAre("file"));
}

TEST_F(ExternalFiles, OfTwoFieldsInOnePlaceAreRefused) {
  const auto rules = Larder::makeStrong<OwnFiles>("ext");
  rules->inside = "here";
  const ConsoleCapture console;
  const auto bundle = boundBundle(main_, rules);
  put(*vertices(*bundle, "G"), "v", "f", floats_);
  EXPECT_THROW(put(*vertices(*bundle, "H"), "v", "f", floats_), Quilt::StorageError);
}

TEST_F(ExternalFiles, AreContinuedWhereTheyLieWhateverTheRules) {
  for (const bool sameRules : {true, false}) {
    SCOPED_TRACE(sameRules);
    write();
    const std::string before = textOf(height_);
    {
      const auto bundle = continued(sameRules ? inFolder("ext") : nullptr);
      EXPECT_TRUE(get(*bundle, "height", "f"));
      put(*vertices(*bundle), "height", "h", sampleArray<1, float>({7}));
      bundle->sync();
      EXPECT_TRUE(textOf(height_) == before) << "it is whole until the release";
    }
    expectContent(main_);
    EXPECT_TRUE(sameArrays(get(*loadBundle(main_), "height", "h"), sampleArray<1, float>({7})));
    EXPECT_THAT(folder_.files(), ElementsAre("ext/height.q8", "main.q8"));
  }
}

TEST_F(ExternalFiles, AreNotTakenUpByFieldsOfTheMainFile) {
  put(*vertices(*boundBundle(main_)), "height", "f", floats_);
  {
    const auto bundle = continued(inFolder("ext"));
    put(*vertices(*bundle), "height", "g", floats_);
    put(*vertices(*bundle), "new", "g", floats_);
  }
  EXPECT_THAT(folder_.files(), ElementsAre("ext/new.q8", "main.q8"));
  const auto loaded = loadBundle(main_);
  EXPECT_TRUE(get(*loaded, "height", "f") && get(*loaded, "height", "g"));
  EXPECT_TRUE(get(*loaded, "new", "g"));
}

TEST_F(ExternalFiles, ArePartOfWhatSaveWrites) {
  write();
  const auto loaded = loadBundle(main_);
  std::filesystem::create_directory(folder_ / "copy");
  loaded.save(folder_ / "copy/main.q8", nullptr, nullptr);
  std::filesystem::remove_all(folder_ / "ext");
  std::filesystem::remove(main_);
  expectContent(folder_ / "copy/main.q8");
}

}  // namespace
