#include <fstream>

#include "column_files.h"
#include "support/in_threads.h"

namespace {

using TestSupport::stringList;

int convert(const std::string& input, const std::string& output) {
  Recast::ColumnAsciiToPointCloudQ8 converter;
  converter.addColumn("point", "Positions", {0, 1, 2});
  converter.addColumn("rgb", "Colour", {3, 3, 3});
  converter.DoStripeList = true;
  return converter.convertASCIIToQ8(stringList({input, input}), output, 1, 25832, nullptr, {});
}

std::vector<Heron::PhysicalSpace::point> pointsOf(const std::string& path) {
  const auto bundle = TestSupport::loadBundle(path);
  if (!bundle) return {};
  return TestSupport::fragmentValues<Heron::PhysicalSpace::point>(
      TestSupport::findField(*bundle, "Points", "Positions"), "in_1");
}

TEST(TwoColumnImports, AtOnceGiveTheFilesOfOneAfterTheOther) {
  const TestSupport::TempFolder folder;
  const TestSupport::ConsoleCapture console;
  std::filesystem::current_path(folder.path());
  std::string text;
  for (int i = 0; i < 20'000; ++i)
    text += std::to_string(i % 977) + " " + std::to_string(i) + ".25 7 " + std::to_string(i % 256) +
            "\n";
  const std::string input = folder.write("in.txt", text);
  ASSERT_EQ(convert(input, folder / "alone.q8"), 0);
  const auto points = pointsOf(folder / "alone.q8");
  ASSERT_EQ(points.size(), 20'000u);
  TestSupport::inThreads(2,
                         [&](int i) { EXPECT_EQ(convert(input, folder / std::to_string(i)), 0); });
  EXPECT_TRUE(pointsOf(folder / "0") == points);
  EXPECT_TRUE(pointsOf(folder / "1") == points);
  std::ifstream file(folder / "StripeInfoID.zrk");
  const std::string list(std::istreambuf_iterator<char>(file), {});
  EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), 6);
  EXPECT_EQ(list.size(), 6 * (input.size() + 3)) << "no line is torn:\n" << list;
}

}  // namespace
