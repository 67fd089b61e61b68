#include <limits>

#include "clouds.h"
#include <gtest/gtest.h>

#include "recast/trelliskinds/uniform_array.h"

using namespace RefragmentTest;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

void writePoint(const std::string& path, const std::string& grid = kGrid, double time = 0.0) {
  const CloudFile file(path, grid, time);
  file.add<Point>("Positions", "a", {{0.5, 0.5, 0.5}});
}

class RefragmentationErrors : public ::testing::Test {
 protected:
  std::string in() const { return folder_ / "in.q8"; }
  Recast::RefragmentationParameters parameters() const {
    return parametersFor({in()}, folder_ / "out.q8");
  }
  /// Writes the input anew, with one field of one fragment.
  template <class T>
  void write(const std::string& field, std::vector<T> values) const {
    CloudFile(in()).add(field, "a", std::move(values));
  }
  void expectNoOutput() const { EXPECT_FALSE(std::filesystem::exists(folder_ / "out.q8")); }

  TempFolder folder_;
  ConsoleCapture console_;
};

TEST_F(RefragmentationErrors, InputsThatCannotBeLoaded) {
  EXPECT_EQ(refragment(parametersFor({}, folder_ / "out.q8")), "Q8efragment--> no file(s): ");
  EXPECT_EQ(refragment(Recast::RefragmentationParameters{}), "Q8efragment--> no file(s): ");
  EXPECT_EQ(refragment(parameters()), "Refragment--> no bundle");
  writePoint(in());
  const auto foreign = folder_.write("foreign.q8", "x y z\n");
  EXPECT_EQ(refragment(parametersFor({in(), foreign}, folder_ / "out.q8")),
            "Refragment--> no bundle");
  expectNoOutput();
}

TEST_F(RefragmentationErrors, GridsThatAreNotThere) {
  constexpr const char* kNoName = "need to have a grid name. There is more than one grid available";
  ASSERT_EQ(Quilt::BundlePtr(new Quilt::Bundle)->bindToNew(in()).number, 0);
  EXPECT_EQ(refragment(parameters()), kNoName) << "there is none";
  writePoint(in(), "One");
  writePoint(folder_ / "two.q8", "Two");
  auto wanted = parametersFor({in(), folder_ / "two.q8"}, folder_ / "out.q8");
  EXPECT_EQ(refragment(wanted), kNoName);
  EXPECT_TRUE(console_.contains("Have grids: One"));
  EXPECT_TRUE(console_.contains("Have grids: Two"));
  wanted.gridName = "Three";
  EXPECT_EQ(refragment(wanted), "GridThree does not exist");
  wanted.gridName = "Two";
  EXPECT_EQ(refragment(wanted), "");
}

TEST_F(RefragmentationErrors, GridsWithoutPoints) {
  writePoint(in());
  auto wanted = parameters();
  for (const double time : {1.0, std::numeric_limits<double>::quiet_NaN()}) {
    wanted.time = time;
    EXPECT_EQ(refragment(wanted), "no positions");
  }
  write<int>("Number", {1});
  EXPECT_EQ(refragment(parameters()), "no positions");
  write<int>("Positions", {1});
  EXPECT_EQ(refragment(parameters()), "no bbox for: ");
  write<Point>("Positions", {});
  EXPECT_EQ(refragment(parameters()), "no sbbox for ");
  CloudFile(in())
      .field("Positions")
      ->setPersistentData(arrayOf<Point>({{1, 2, 3}}), nullptr, Larder::Cache::MemCache(), "");
  EXPECT_EQ(refragment(parameters()), "no fragment data");
  {
    const CloudFile file(in());
    const auto positions = file.field("Positions");
    positions->setPersistentData(
        Quilt::UniformCartesianArray::overBox({0, 0, 0}, {2, 2, 2}, {1, 1, 1}),
        positions->makeFragmentID("a"), Larder::Cache::MemCache(), "");
  }
  EXPECT_NE(refragment(parameters()).find("is no list of values of the field's type"),
            std::string::npos);
}

TEST_F(RefragmentationErrors, BoxesThatAreNone) {
  writePoint(in());
  auto wanted = parameters();
  wanted.useBBoxMin = true;
  EXPECT_EQ(refragment(wanted), "a given box is to be used, and there is none");
  wanted.bbox = Larder::makeStrong<Heron::BoundingBox>(Point{5, 0, 0}, Point{6, 1, 1});
  EXPECT_EQ(refragment(wanted), "Lenght for bounding box is negativ. Wrong input");
  wanted = parameters();
  wanted.lowerMargin = {kInfinity, 0, 0};
  EXPECT_EQ(refragment(wanted), "Lenght for bounding box is negativ. Wrong input");
  expectNoOutput();
}

TEST_F(RefragmentationErrors, AnInfinitePointIsLeftOutByAGivenBox) {
  write<Point>("Positions", {{0.5, 0.5, 0.5}, {-kInfinity, 0.5, 0.5}});
  auto wanted = parameters();
  EXPECT_EQ(refragment(wanted), "Lenght for bounding box is negativ. Wrong input");
  fixBox(wanted, {0, 0, 0}, {1, 1, 1});
  EXPECT_EQ(refragment(wanted), "");
  const auto output = TestSupport::loadBundle(folder_ / "out.q8");
  EXPECT_EQ(valuesOf<Point>(output, "Positions").at("RegularFragment[0x0x0]").size(), 1u);
}

TEST_F(RefragmentationErrors, CoordinatesBeyondTenMillionMeetTheStartOfTheSearch) {
  write<Point>("Positions", {{20000000.5, 0.5, 0.5}});
  Recast::RefragmentationPlan plan;
  ASSERT_EQ(planRefragmentation(parameters(), plan), "");
  EXPECT_EQ(plan.lattice.lower[0], 9999999.0);
  EXPECT_EQ(plan.lattice.upper[0], 20000002.0);
}

TEST_F(RefragmentationErrors, OutputsThatCannotBeWritten) {
  writePoint(in());
  auto wanted = parameters();
  for (const std::string& name : {std::string(), folder_ / "missing" + "/out.q8", folder_ / ""}) {
    wanted.outFile = name;
    EXPECT_EQ(refragment(wanted), "no bundle") << name;
  }
  wanted = parameters();
  wanted.extLink = folder_.write("a file", "") + "/fields";
  {
    const CloudFile file(in());
    file.add<Point>("Positions", "a", {{0.5, 0.5, 0.5}});
    file.add<int>("Number", "a", {1});
  }
  EXPECT_NE(refragment(wanted).find(wanted.extLink), std::string::npos);
}

TEST_F(RefragmentationErrors, FieldsThatDoNotFitTheirPoints) {
  for (const std::size_t count : {2U, 4U})
    for (const int threads : {1, 2}) {
      {
        const CloudFile file(in());
        file.add<Point>("Positions", "a", {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}});
        file.add("Odd", "a", std::vector<int>(count));
      }
      auto wanted = parameters();
      wanted.threads = threads;
      EXPECT_EQ(refragment(wanted), "field \"Odd\", fragment \"a\": there are " +
                                        std::to_string(count) + " values for 3 points");
    }
}

TEST_F(RefragmentationErrors, WhatTheHostThrowsArrives) {
  struct Throwing : Larder::LoaderProgress {
    bool reportProgress(const std::string& text, int, int) override {
      if (text == "Write") throw std::logic_error("the host's own");
      return true;
    }
    void reportMessage(const std::string&) override {}
  };
  writePoint(in());
  auto wanted = parameters();
  wanted.threads = 2;
  EXPECT_THROW(refragment(wanted, Larder::makeStrong<Throwing>()), std::logic_error);
}

}  // namespace
