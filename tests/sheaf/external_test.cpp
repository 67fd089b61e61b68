#include "sheaf/file_bytes.h"
#include "sheaf/sample_data.h"
#include "sheaf/tool_runs.h"
#include "support/console_capture.h"
#include "support/temp_folder.h"
#include <gmock/gmock.h>
#include <sys/stat.h>

// Fields in files of their own, behind the main file's external links.
namespace {

using namespace TestSupport;
using testing::ElementsAre;
using testing::HasSubstr;

/// Every field but "Positions" goes to `<folder>/<field>.q8`, at the place with the names as they
/// are.
struct OwnFiles : Quilt::StorageTransformations {
  explicit OwnFiles(std::string folder) : folder_(std::move(folder)) {}
  std::pair<std::string, std::string> getExternalLocation(double time, const std::string& grid,
                                                          const Quilt::SkeletonID& skeleton,
                                                          const std::string& representation,
                                                          const std::string& field) const override {
    if (field == "Positions") return {};
    return {folder_ + "/" + field + ".q8",
            std::to_string(time) + "/" + grid + "/" + skeleton.name() + "/" + representation};
  }
  std::string folder_;
};

Quilt::StorageHandle inFolder(const std::string& folder) {
  return Larder::makeStrong<OwnFiles>(folder);
}

class ExternalFiles : public testing::Test {
 protected:
  ExternalFiles() { std::filesystem::create_directory(folder_ / "ext"); }

  void write(const std::string& grid = "G") {
    const auto bundle = boundBundle(main_, inFolder("ext"));
    const auto target = vertices(*bundle, grid);
    for (const char* fragment : {"f", "g"}) {
      put(*target, "Positions", fragment, sampleArray<1, Point>({3}));
      put(*target, "height", fragment, sampleArray<1, float>({3}, 1))
          ->setAttribute("unit", Larder::singleValue(std::string("m")));
      put(*target, "class", fragment, sampleArray<1, unsigned char>({3}, 5));
    }
  }
  void expectContent(const std::string& file, const std::string& grid = "G") {
    const auto loaded = loadBundle(file);
    ASSERT_TRUE(loaded);
    for (const char* fragment : {"f", "g"}) {
      EXPECT_TRUE(
          sameArrays(get(*loaded, "Positions", fragment, grid), sampleArray<1, Point>({3})));
      EXPECT_TRUE(sameArrays(get(*loaded, "height", fragment, grid), sampleArray<1, float>({3})));
      EXPECT_TRUE(
          sameArrays(get(*loaded, "class", fragment, grid), sampleArray<1, unsigned char>({3}, 5)));
    }
    EXPECT_TRUE(findField(*loaded, grid, "height")->getCreatorByName("f")->getAttribute("unit"));
  }

  TempFolder folder_;
  std::string main_ = folder_ / "main.q8";
};

TEST_F(ExternalFiles, HoldTheirFieldAtTheSamePlace) {
  write();
  EXPECT_THAT(folder_.files(), ElementsAre("ext/class.q8", "ext/height.q8", "main.q8"));
  expectContent(main_);
  const std::string list = run("h5ls " + main_ + "/0.000000/G/Skeleton_3_0/Cartesian").output;
  EXPECT_THAT(list, HasSubstr("External Link {ext/height.q8//0.000000/G/Skeleton_3_0/Cartesian/"
                              "height}"));
}

TEST_F(ExternalFiles, MoveWithTheirFolder) {
  write();
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

TEST_F(ExternalFiles, ThatAreMissingCostTheirFieldAlone) {
  write();
  std::filesystem::remove(folder_ / "ext/height.q8");
  const ConsoleCapture console;
  const auto loaded = loadBundle(main_);
  ASSERT_TRUE(loaded);
  EXPECT_THAT(console.messages(),
              ElementsAre(HasSubstr("\"height\" lies in \"ext/height.q8\", which can't be opened "
                                    "(No such file or directory); it is left out.")));
  EXPECT_FALSE(findField(*loaded, "G", "height"));
  EXPECT_TRUE(get(*loaded, "class", "f"));
}

TEST_F(ExternalFiles, ThatTellTheFragmentsTakeTheirSharersWithThem) {
  {
    const auto bundle = boundBundle(main_, inFolder("ext"));
    put(*vertices(*bundle), "first", "f", sampleArray<1, float>({3}));
    put(*vertices(*bundle), "Positions", "f", sampleArray<1, Point>({3}));
  }
  std::filesystem::remove(folder_ / "ext/first.q8");
  const ConsoleCapture console;
  const auto loaded = loadBundle(main_);
  ASSERT_TRUE(loaded);
  EXPECT_TRUE(console.contains("\"Positions\" shares the fragments of \"first\", which isn't"));
}

TEST_F(ExternalFiles, StayWholeUntilTheRelease) {
  write();
  const std::string before = readFile(folder_ / "ext/height.q8");
  {
    const auto bundle = boundBundle(main_, inFolder("ext"));
    put(*vertices(*bundle), "height", "f", sampleArray<1, float>({100}));
    bundle->sync();
    EXPECT_TRUE(readFile(folder_ / "ext/height.q8") == before);
    expectContent(main_);
  }
  EXPECT_FALSE(readFile(folder_ / "ext/height.q8") == before);
}

TEST_F(ExternalFiles, InAFolderThatCannotBeMadeFailTheCall) {
  const ConsoleCapture console;
  folder_.write("file", "");
  {
    const auto bundle = boundBundle(main_, inFolder("file/nowhere"));
    put(*vertices(*bundle), "Positions", "f", sampleArray<1, Point>({3}));
    EXPECT_THROW(put(*vertices(*bundle), "height", "f", sampleArray<1, float>({3})),
                 Quilt::StorageError);
  }
  EXPECT_TRUE(console.contains("file/nowhere: make the folder: Not a directory"));
  EXPECT_THAT(folder_.files(), ElementsAre("file"));
}

TEST_F(ExternalFiles, OfTwoFieldsInOnePlaceAreRefused) {
  struct OnePlace : Quilt::StorageTransformations {
    std::pair<std::string, std::string> getExternalLocation(double, const std::string&,
                                                            const Quilt::SkeletonID&,
                                                            const std::string&,
                                                            const std::string&) const override {
      return {"ext/all.q8", "here"};
    }
  };
  const ConsoleCapture console;
  const auto bundle = boundBundle(main_, Larder::makeStrong<OnePlace>());
  put(*vertices(*bundle, "G"), "v", "f", sampleArray<1, float>({3}));
  EXPECT_THROW(put(*vertices(*bundle, "H"), "v", "f", sampleArray<1, float>({3})),
               Quilt::StorageError);
}

TEST_F(ExternalFiles, AreContinuedWhereTheyLieWhateverTheRules) {
  for (const bool sameRules : {true, false}) {
    SCOPED_TRACE(sameRules);
    write();
    const std::string before = readFile(folder_ / "ext/height.q8");
    {
      Quilt::BundlePtr bundle(new Quilt::Bundle);
      const auto rules = sameRules ? inFolder("ext") : nullptr;
      ASSERT_EQ(bundle->bindTo(main_, rules).number, 0);
      EXPECT_TRUE(get(*bundle, "height", "f"));
      put(*vertices(*bundle), "height", "h", sampleArray<1, float>({7}));
      bundle->sync();
      EXPECT_TRUE(readFile(folder_ / "ext/height.q8") == before);
    }
    expectContent(main_);
    EXPECT_TRUE(sameArrays(get(*loadBundle(main_), "height", "h"), sampleArray<1, float>({7})));
    EXPECT_THAT(folder_.files(), ElementsAre("ext/class.q8", "ext/height.q8", "main.q8"));
  }
}

TEST_F(ExternalFiles, AreNotTakenUpByFieldsOfTheMainFile) {
  put(*vertices(*boundBundle(main_)), "height", "f", sampleArray<1, float>({3}));
  {
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    ASSERT_EQ(bundle->bindTo(main_, inFolder("ext")).number, 0);
    put(*vertices(*bundle), "height", "g", sampleArray<1, float>({3}));
    put(*vertices(*bundle), "new", "g", sampleArray<1, float>({3}));
  }
  EXPECT_THAT(folder_.files(), ElementsAre("ext/new.q8", "main.q8"));
  const auto loaded = loadBundle(main_);
  EXPECT_TRUE(get(*loaded, "height", "f") && get(*loaded, "height", "g"));
  EXPECT_TRUE(get(*loaded, "new", "g"));
}

TEST_F(ExternalFiles, ThatAreLostDoNotKeepTheMainFileFromBeingContinued) {
  write();
  std::filesystem::remove(folder_ / "ext/height.q8");
  const ConsoleCapture console;
  {
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    ASSERT_EQ(bundle->bindTo(main_).number, 0);
    put(*vertices(*bundle), "height", "new", sampleArray<1, float>({3}));
    put(*vertices(*bundle), "class", "new", sampleArray<1, unsigned char>({3}));
  }
  EXPECT_FALSE(console.contains("was not completed"));
  const auto loaded = loadBundle(main_);
  EXPECT_TRUE(get(*loaded, "height", "new"));
  EXPECT_TRUE(get(*loaded, "class", "new") && get(*loaded, "class", "f"));
}

TEST_F(ExternalFiles, ArePartOfWhatSaveWrites) {
  write();
  const auto loaded = loadBundle(main_);
  std::filesystem::create_directory(folder_ / "copy");
  ASSERT_EQ(loaded.save(folder_ / "copy/main.q8", nullptr, nullptr).number, 0);
  std::filesystem::remove_all(folder_ / "ext");
  std::filesystem::remove(main_);
  expectContent(folder_ / "copy/main.q8");
}

/// Makes the main file's link to "height" lead to `file`.
void relink(const std::string& main, const std::string& file) {
  const auto [status, output] = run(RECAST_H5PY " -c \"import h5py; g = h5py.File('" + main +
                                    "', 'r+')"
                                    "['0.000000/G/Skeleton_3_0/Cartesian']; del g['height'];"
                                    "g['height'] = h5py.ExternalLink('" +
                                    file + "', '/0.000000/G')\"");
  if (status != 0) throw std::runtime_error(output);
}

TEST_F(ExternalFiles, ThatAreNoneCostTheirFieldAlone) {
  if (std::string(RECAST_H5PY).empty()) GTEST_SKIP() << "there is no Python with h5py";
  write();
  mkfifo((folder_ / "pipe").c_str(), 0600);
  folder_.write("text", "no file of ours");
  for (const char* target : {"pipe", "text", "main.q8", "ext", "/dev/zero", "ext/class.q8"}) {
    SCOPED_TRACE(target);
    relink(main_, target);
    const ConsoleCapture console;
    const auto loaded = loadBundle(main_);
    // The main file itself and another field's file are HDF5; what stands there is no field.
    if (!loaded) continue;
    EXPECT_FALSE(get(*loaded, "height", "f"));
    EXPECT_TRUE(get(*loaded, "class", "f"));
  }
}

}  // namespace
