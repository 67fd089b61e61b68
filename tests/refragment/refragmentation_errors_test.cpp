#include <limits>
#include <numeric>

#include "clouds.h"
#include "support/program_run.h"
#include <gtest/gtest.h>

#include "recast/recastbase/run_report.h"
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
    EXPECT_TRUE(console_.contains(Recast::lastRunReport().failure)) << "the reason";
    EXPECT_NE(Recast::lastRunReport().failure, "no bundle");
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

TEST_F(RefragmentationErrors, ValuesAreMissedOnlyWhereAPointWantsThem) {
  const struct {
    std::size_t values;
    double upper;  // of the lattice, along x
    bool enough;
  } cases[] = {{4, 4, true}, {2, 4, false}, {2, 2, true}, {1, 2, false}, {0, 1, false}};
  for (const auto& [values, upper, enough] : cases)
    for (const int threads : {1, 2}) {
      SCOPED_TRACE(std::to_string(values) + " values up to " + std::to_string(upper));
      std::vector<int> numbers(values);
      std::iota(numbers.begin(), numbers.end(), 10);
      {
        const CloudFile file(in());
        file.add<Point>("Positions", "a", {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}});
        file.add("Odd", "a", numbers);
      }
      auto wanted = parameters();
      wanted.threads = threads;
      fixBox(wanted, {0, 0, -1}, {upper, 1, 1});
      const std::string result = refragment(wanted);
      if (!enough) {
        EXPECT_EQ(result, "field \"Odd\", fragment \"a\": there are " + std::to_string(values) +
                              " values for 3 points");
        continue;
      }
      EXPECT_EQ(result, "");
      numbers.resize(static_cast<std::size_t>(std::min(upper, 3.0)));
      EXPECT_EQ(valuesOf<int>(TestSupport::loadBundle(folder_ / "out.q8"), "Odd")
                    .at("RegularFragment[0x0x0]"),
                numbers);
    }
}

TEST_F(RefragmentationErrors, APlanThatWasNotMadeOrWasRefusedIsNotRun) {
  EXPECT_EQ(Recast::runRefragmentation({}, nullptr), "no bundle");
  writePoint(in());
  Recast::RefragmentationPlan plan;
  ASSERT_EQ(planRefragmentation(parameters(), plan), "");
  auto wrong = parameters();
  wrong.lowerMargin = {-9, 0, 0};
  EXPECT_NE(planRefragmentation(wrong, plan), "");
  EXPECT_EQ(runRefragmentation(plan, nullptr), "no bundle") << "nothing is left of the former plan";
  ASSERT_EQ(planRefragmentation(parameters(), plan), "");
  Recast::RefragmentationPlan changed = plan;
  changed.lattice = {};
  EXPECT_EQ(runRefragmentation(changed, nullptr), "Number of fragments is zero!");
  changed = plan;
  changed.gridName = "Other";
  EXPECT_EQ(runRefragmentation(changed, nullptr), "GridOther does not exist");
  expectNoOutput();
}

/// What becomes of an output file that is there already when a run fails.
TEST_F(RefragmentationErrors, AFailedRunKeepsTheFileUnlessItHasStoredSome) {
  const auto input = [this](const std::string& name, std::vector<int> numbers) {
    const CloudFile file(folder_ / name);
    file.add<Point>("Positions", name, {{0, 0, 0}, {1, 1, 1}});
    file.add("Number", name, std::move(numbers));
    return folder_ / name;
  };
  const auto ofUniformGrid = [this] {
    const CloudFile file(folder_ / "uniform");
    const auto positions = file.field("Positions");
    positions->setPersistentData(
        Quilt::UniformCartesianArray::overBox({0, 0, 0}, {2, 2, 2}, {1, 1, 1}),
        positions->makeFragmentID("a"), Larder::Cache::MemCache(), "");
    return folder_ / "uniform";
  };
  const auto tooFew = input("too few", {1});
  std::filesystem::create_directory(folder_ / "fields");
  const auto external = input("fields/Number.q8", {1});
  const struct {
    const char* what;
    const char* failure;
    std::vector<std::string> files;
    std::string output;
    std::string extLink;
    bool replaced;
  } cases[] = {
      {"nothing stored", "is no list", {ofUniformGrid()}, "out.q8", "", false},
      {"positions stored", "1 values for 2 points", {tooFew}, "out.q8", "", true},
      {"the output is the input", "1 values for 2 points", {tooFew}, "too few", "", false},
      {"an external file is the input", "1 values for", {external}, "out.q8", "fields", false},
  };
  for (const auto& [what, failure, files, output, extLink, replaced] : cases) {
    SCOPED_TRACE(what);
    input("out.q8", {7, 8});
    const auto before = TestSupport::textOf(folder_ / output);
    const auto inputBefore = TestSupport::textOf(files[0]);
    const auto filesBefore = folder_.files();
    auto wanted = parametersFor(files, folder_ / output);
    wanted.extLink = extLink;
    const std::string result = refragment(wanted);
    EXPECT_NE(result.find(failure), std::string::npos) << result;
    EXPECT_EQ(Recast::lastRunReport().failure, result);
    EXPECT_EQ(TestSupport::textOf(folder_ / output) == before, !replaced);
    EXPECT_TRUE(TestSupport::textOf(files[0]) == inputBefore);
    EXPECT_EQ(folder_.files(), filesBefore);
    if (!replaced) continue;
    const auto left = TestSupport::loadBundle(folder_ / output);
    EXPECT_EQ(valuesOf<Point>(left, "Positions").at("RegularFragment[0x0x0]").size(), 2u);
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
