#include <cstdio>

#include "clouds.h"
#include <gtest/gtest.h>

using namespace RefragmentTest;

namespace {

void writeCloud(const std::string& path) {
  const CloudFile file(path);
  file.add<Point>("Positions", "a", {{0.5, 0.5, 0.5}, {1.5, 0.5, 0.5}, {1.6, 0.5, 0.5}});
  file.add<int>("Number", "a", {10, 20, 30});
  file.add<float>("../up/Height", "a", {1, 2, 3});
}

std::string cut(const std::string& input, const std::string& output, const std::string& extLink) {
  auto parameters = parametersFor({input}, output);
  fixBox(parameters, {0, 0, 0}, {2, 1, 1});
  parameters.fragLength = {1, 0, 0};
  parameters.extLink = extLink;
  return refragment(parameters);
}

void expectContent(const std::string& path) {
  const auto output = TestSupport::loadBundle(path);
  ASSERT_TRUE(output);
  const std::string second = "RegularFragment[1x0x0]";
  EXPECT_EQ(valuesOf<Point>(output, "Positions").at(second).size(), 2u);
  EXPECT_EQ(valuesOf<int>(output, "Number").at(second), (std::vector<int>{20, 30}));
  EXPECT_EQ(valuesOf<float>(output, "../up/Height").at(second), (std::vector<float>{2, 3}));
}

TEST(ExternalFields, EachFieldButThePositionsGetsAFile) {
  for (const bool absolute : {false, true}) {
    const TempFolder folder;
    const ConsoleCapture console;
    writeCloud(folder / "in.q8");
    std::filesystem::create_directory(folder / "out");
    const std::string extLink = absolute ? folder / "out/deep/fields" : "deep/fields";
    ASSERT_EQ(cut(folder / "in.q8", folder / "out/cloud.q8", extLink), "");
    EXPECT_EQ(folder.files(), (std::vector<std::string>{"in.q8", "out/cloud.q8",
                                                        "out/deep/fields/..%2Fup%2FHeight.q8",
                                                        "out/deep/fields/Number.q8"}));
    expectContent(folder / "out/cloud.q8");
    std::filesystem::rename(folder / "out", folder / "moved");
    expectContent(folder / "moved/cloud.q8");
    // A second run replaces the files of the first.
    ASSERT_EQ(cut(folder / "in.q8", folder / "moved/cloud.q8",
                  absolute ? folder / "moved/deep/fields" : "deep/fields"),
              "");
    expectContent(folder / "moved/cloud.q8");
  }
}

TEST(ExternalFields, OtherReadersFollowTheLinks) {
  if (std::system("/usr/bin/python3 -c 'import h5py' 2>/dev/null") != 0) GTEST_SKIP() << "no h5py";
  const TempFolder folder;
  const ConsoleCapture console;
  writeCloud(folder / "in.q8");
  std::filesystem::create_directory(folder / "out");
  ASSERT_EQ(cut(folder / "in.q8", folder / "out/cloud.q8", "fields"), "");
  std::filesystem::rename(folder / "out", folder / "moved");
  const std::string script = folder.write("read.py", R"(
import h5py, sys
with h5py.File(sys.argv[1], "r") as main:
    grid = main["0.000000/Cloud/Skeleton_3_0/Cartesian"]
    assert grid["Positions/RegularFragment[1x0x0]"].shape == (2, 3)
    assert list(grid["Number/RegularFragment[1x0x0]"]) == [20, 30]
    link = grid.get("Number", getlink=True)
    assert link.filename == "fields/Number.q8", link.filename
with h5py.File(sys.argv[2], "r") as field:
    assert list(field["0.000000/Cloud/Skeleton_3_0/Cartesian/Number/RegularFragment[0x0x0]"]) == [10]
)");
  EXPECT_EQ(std::system(("cd / && /usr/bin/python3 " + script + " " + (folder / "moved/cloud.q8") +
                         " " + (folder / "moved/fields/Number.q8"))
                            .c_str()),
            0);
}

}  // namespace
