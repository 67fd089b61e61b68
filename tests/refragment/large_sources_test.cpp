// Source fragments of more than one segment, which are read in pieces or as a whole depending on
// how they lie in the file.

#include <filesystem>
#include <random>

#include "clouds.h"
#include <gtest/gtest.h>

using namespace RefragmentTest;

namespace {

constexpr double kOverlap = 0.05;

/// Points over 4 x 4 cells of 1 x 1, each with its running number.
struct Cloud {
  std::vector<Point> points;
  std::vector<std::vector<unsigned>> idsBySource;

  explicit Cloud(const std::vector<std::size_t>& sizes) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> across(0.0, 4.0);
    for (const std::size_t size : sizes) {
      auto& ids = idsBySource.emplace_back();
      for (std::size_t i = 0; i < size; ++i) {
        ids.push_back(static_cast<unsigned>(points.size()));
        points.push_back({across(random), across(random), 0.5});
      }
    }
  }

  void write(const std::string& path, int compression) const {
    const CloudFile file(path, kGrid, 0.0, compression);
    for (std::size_t s = 0; s < idsBySource.size(); ++s) {
      const std::string name = "source " + std::to_string(s);
      std::vector<Point> ofSource;
      std::vector<unsigned short> shorts;
      for (const unsigned id : idsBySource[s]) {
        ofSource.push_back(points[id]);
        shorts.push_back(static_cast<unsigned short>(id));
      }
      file.add("Positions", name, ofSource);
      file.add("id", name, idsBySource[s]);
      file.add("short", name, shorts);
    }
  }

  /// The points of each cell, by the name of its fragment.
  std::map<std::string, std::vector<unsigned>> idsByCell() const {
    std::map<std::string, std::vector<unsigned>> ids;
    for (unsigned id = 0; id < points.size(); ++id)
      for (unsigned long long x = 0; x < 4; ++x)
        for (unsigned long long y = 0; y < 4; ++y)
          if (reaches(points[id].x(), x) && reaches(points[id].y(), y))
            ids["RegularFragment" + to_string(Quilt::MultiIndex<3>(x, y, 0))].push_back(id);
    return ids;
  }

 private:
  static bool reaches(double place, unsigned long long cell) {
    const double fromCell = place - static_cast<double>(cell);
    return fromCell > -kOverlap && fromCell < 1.0 + kOverlap;
  }
};

Recast::RefragmentationParameters parametersIn(const TempFolder& folder) {
  auto parameters = parametersFor({folder / "in.q8"}, folder / "out.q8");
  fixBox(parameters, {0, 0, 0}, {4, 4, 1});
  parameters.fragLength = {1, 1, 0};
  parameters.overlap = kOverlap;
  return parameters;
}

TEST(LargeSources, GiveTheirPointsInOrderHoweverTheyLie) {
  const TempFolder folder;
  const ConsoleCapture console;
  const Cloud cloud({140000, 3, 65536, 65537});
  const auto expected = cloud.idsByCell();
  for (const int compression : {-1, 0})
    for (const int threads : {1, 3}) {
      SCOPED_TRACE("compression " + std::to_string(compression) + ", " + std::to_string(threads) +
                   " threads");
      cloud.write(folder / "in.q8", compression);
      auto parameters = parametersIn(folder);
      parameters.threads = threads;
      ASSERT_EQ(refragment(parameters), "");
      const auto output = TestSupport::loadBundle(folder / "out.q8");
      const auto ids = valuesOf<unsigned>(output, "id");
      EXPECT_TRUE(ids == expected);
      const auto points = valuesOf<Point>(output, "Positions");
      const auto shorts = valuesOf<unsigned short>(output, "short");
      for (const auto& [fragment, idsOfFragment] : ids)
        for (std::size_t i = 0; i < idsOfFragment.size(); ++i) {
          ASSERT_EQ(points.at(fragment).at(i), cloud.points[idsOfFragment[i]]);
          ASSERT_EQ(shorts.at(fragment).at(i), static_cast<unsigned short>(idsOfFragment[i]));
        }
    }
}

TEST(LargeSources, AFileThatGetsShorterEndsTheRun) {
  const TempFolder folder;
  const ConsoleCapture console;
  Cloud({100000}).write(folder / "in.q8", -1);
  Recast::RefragmentationPlan plan;
  ASSERT_EQ(planRefragmentation(parametersIn(folder), plan), "");
  std::filesystem::resize_file(folder / "in.q8", 1000000);
  EXPECT_EQ(runRefragmentation(plan, nullptr),
            "field \"Positions\", fragment \"source 0\": the data can't be read");
  EXPECT_TRUE(console.contains("in.q8: read: the file ends before the data does"));
}

}  // namespace
