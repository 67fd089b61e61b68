#include "clouds.h"
#include <gtest/gtest.h>

using namespace RefragmentTest;

namespace {

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
    {
      const CloudFile file(folder / "in.q8");
      file.add<Point>("Positions", "a", {{0.5, 0.5, 0.5}, {1.5, 0.5, 0.5}, {1.6, 0.5, 0.5}});
      file.add<int>("Number", "a", {10, 20, 30});
      file.add<float>("../up/Height", "a", {1, 2, 3});
    }
    const auto cutInto = [&](const std::string& name) {
      auto parameters = parametersFor({folder / "in.q8"}, folder / name + "/cloud.q8");
      fixBox(parameters, {0, 0, 0}, {2, 1, 1});
      parameters.fragLength = {1, 0, 0};
      parameters.extLink = absolute ? folder / name + "/deep/fields" : "deep/fields";
      return refragment(parameters);
    };
    std::filesystem::create_directory(folder / "out");
    ASSERT_EQ(cutInto("out"), "");
    EXPECT_EQ(folder.files(), (std::vector<std::string>{"in.q8", "out/cloud.q8",
                                                        "out/deep/fields/..%2Fup%2FHeight.q8",
                                                        "out/deep/fields/Number.q8"}));
    expectContent(folder / "out/cloud.q8");
    std::filesystem::rename(folder / "out", folder / "moved");
    expectContent(folder / "moved/cloud.q8");
    ASSERT_EQ(cutInto("moved"), "") << "a second run replaces the files of the first";
    expectContent(folder / "moved/cloud.q8");
  }
}

}  // namespace
