#include "support/bundles.h"
#include "support/console_capture.h"
#include "support/temp_folder.h"
#include <gtest/gtest.h>

#include "recast/raster/terrain_import.h"
#include "recast/recastbase/run_report.h"
#include "recast/typed_arrays/mem_array_allocator.h"

namespace {

using Heron::PhysicalSpace;
using TestSupport::ConsoleCapture;
using TestSupport::findField;
using TestSupport::fragmentArray;
using TestSupport::TempFolder;

/// A bundle in memory and what a reader hands back.
struct Reading {
  Quilt::BundlePtr bundle{new Quilt::Bundle};
  double noData = -1.0;
  PhysicalSpace::vector cellSize{7.0, 7.0, 7.0};
  PhysicalSpace::point origin{8.0, 8.0, 8.0};
  std::string gridName;
  int status = -1;

  Reading& text(const std::string& path) {
    status = Recast::readDGMAsTxt(bundle, path, nullptr, noData, cellSize, origin, gridName);
    return *this;
  }
  Reading& raster(const std::string& path) {
    status = Recast::readDGMAsGrd(bundle, path, nullptr, noData, cellSize, origin, gridName);
    return *this;
  }
  Larder::StrongPtr<Quilt::MemArray<3, float>> tile(const std::string& name) const {
    return fragmentArray<3, float>(findField(*bundle, gridName, "Elevation"), name);
  }
  std::vector<float> heights(const std::string& name) const {
    const auto array = tile(name);
    return array ? std::vector<float>(array->data, array->data + array->nElements())
                 : std::vector<float>();
  }
};

TEST(TerrainText, SamplesInAnyOrderFillTheirNodes) {
  const TempFolder folder;
  Reading reading;
  const std::string text =
      "3500000 5400000 1\n3500010 5400000 2\n3500020 5400010 6\n3500000 5400010 4\n"
      "3500020 5400000 3\n";
  ASSERT_EQ(reading.text(folder.write("t.xyz", text)).status, 0);
  EXPECT_EQ(reading.heights("t"), (std::vector<float>{1, 2, 3, 4, -9999, 6}));
  EXPECT_EQ(reading.origin, PhysicalSpace::point(3500000, 5400000, 0));
  EXPECT_EQ(reading.cellSize, PhysicalSpace::vector(10, 10, 0));
  EXPECT_EQ(reading.gridName, "DGM_CellSize_10");
  EXPECT_EQ(reading.noData, -1.0);
  const auto elevation = findField(*reading.bundle, reading.gridName, "Elevation");
  EXPECT_EQ((Quilt::FragmentLocation<3, 1>::make(*elevation->getFragmentIDs()[0])),
            Quilt::MultiIndex<3>(50000, 40000, 0));
}

TEST(TerrainText, SpacingComesFromTheExtensionOrTheFirstTwoSamples) {
  const struct {
    const char* file;
    const char* text;
    int status;
    double spacing;
    std::vector<float> heights;
  } cases[] = {
      {"x.txt", "0 0 1\n2 0 2\n0 2 3\n", 0, 2, {1, 2, 3, -9999}},
      {"along y.txt", "0 0 1\n0 2 2\n2 0 3\n", 0, 2, {1, 3, 2, -9999}},
      {"diagonal counts along x.txt", "0 0 1\n2 4 2\n", 0, 2, {1, -9999, -9999, -9999, -9999, 2}},
      {"same point.txt", "1 1 1\n1 1 2\n", 7, 0, {}},
      {"far apart, later wins.txt", "0 0 1\n4 0 2\n1 0 3\n3 0 4\n", 0, 4, {3, 4}},
      {"bad first line.txt", "x y z\n0 0 1\n2 0 2\n", 7, 0, {}},
      {"known.g10dgm", "20 0 1\n0 0 2\n", 0, 10, {2, -9999, 1}},
      {"octal.g07dgm", "0 0 1\n7 0 2\n", 0, 7, {1, 2}},
      {"falls back.gxxdgm", "0 0 1\n3 0 2\n", 0, 3, {1, 2}},
      {"zero.g00dgm", "0 0 1\n3 0 2\n", 7, 0, {}},
      {"no samples.g10dgm", "", 7, 0, {}},
  };
  const TempFolder folder;
  const ConsoleCapture console;
  for (const auto& spaced : cases) {
    SCOPED_TRACE(spaced.file);
    Reading reading;
    const std::string path = folder.write(spaced.file, spaced.text);
    ASSERT_EQ(reading.text(path).status, spaced.status);
    if (spaced.status != 0) {
      EXPECT_EQ(reading.cellSize.x(), 7.0) << "nothing is written";
      EXPECT_TRUE(reading.gridName.empty());
      continue;
    }
    EXPECT_EQ(reading.cellSize.x(), spaced.spacing);
    EXPECT_EQ(reading.heights(std::filesystem::path(path).stem().string()), spaced.heights);
  }
}

TEST(TerrainText, LinesThatAreNotThreeNumbersEndTheReading) {
  const TempFolder folder;
  const std::string good = "0 0 1\n1 0 2\n";
  const struct {
    std::string line;
    std::string failure;
  } bad[] = {{"\n", ": 0 numbers instead of 3"},
             {"1 2\n", ": 2 numbers instead of 3"},
             {"1 2 3 4\n", ": 4 numbers instead of 3"},
             {"1 2 x\n", ", column 3: \"x\" is no number"},
             {"1\t2 3\n", ": 2 numbers instead of 3"}};
  for (const auto& [line, failure] : bad) {
    const std::string path = folder.write("t.txt", good + line);
    EXPECT_EQ(Reading().text(path).status, 19) << line;
    EXPECT_EQ(Recast::lastRunReport().failure, path + ", line 3" + failure);
  }
  for (const std::string& fine :
       {std::string("1 1 3x\r\n"), std::string("  1   1 3"), std::string("1 1 3\0 4\n", 9)})
    EXPECT_EQ(Reading().text(folder.write("t.txt", good + fine)).status, 0) << fine;
  try {
    Reading().text(folder.write("t.txt", good + "1 1 1e39\n"));
    ADD_FAILURE();
  } catch (const std::out_of_range& error) {
    EXPECT_EQ(error.what(),
              folder / "t.txt, line 3, column 3: \"1e39\" is beyond the range of a float");
    EXPECT_EQ(Recast::lastRunReport().failure, error.what());
  }
}

TEST(TerrainText, SamplesWithoutAPlaceInARasterEndInAStatus) {
  const TempFolder folder;
  const struct {
    const char* text;
    int status;
  } cases[] = {
      // The extent is 2.6 cells, so there are 3 columns, and the last sample rounds to the fourth.
      {"0 0 1\n1 0 2\n2.6 0 3\n", 20},
      {"0 0 1\n1 0 2\nnan 0 3\n", 20},
      {"0 0 1\ninf 0 2\n", 20},
      {"0 0 1\n1 0 2\n5e9 0 3\n", 9},  // more columns than 32 bits count
      {"0 0 1\n1e-30 0 2\n1e30 1e30 3\n", 9},
  };
  for (const auto& [text, status] : cases) {
    EXPECT_EQ(Reading().text(folder.write("t.txt", text)).status, status) << text;
    EXPECT_EQ(Recast::lastRunReport().failure.find(folder / "t.txt: "), 0u);
  }
  const ConsoleCapture console;  // of the frame, which this one leaves
  EXPECT_EQ(Reading().text(folder.write("t.txt", "-1e30 0 1\n1e30 0 2\n0 1e30 1\n")).status, 20);
}

TEST(TerrainText, PointCloudsOfBundlesServeAsSamples) {
  const TempFolder folder;
  const ConsoleCapture console;
  const std::string file = folder / "cloud.q8";
  const auto cloud = [&](const std::vector<std::vector<PhysicalSpace::point>>& fragments,
                         const std::string& grids = "g") {
    const Quilt::BundlePtr bundle(new Quilt::Bundle);
    for (const char grid : grids) {
      const auto representation =
          (*(*bundle)[0.0])[std::string(1, grid)]->makeCartesianRepresentation(3, "", 0);
      const auto field = (*representation)["Positions"].field();
      for (std::size_t i = 0; i < fragments.size(); ++i)
        field->createCreator(
            Quilt::makeMemArray1D(
                Larder::makeStrong<Larder::Chunk<PhysicalSpace::point>>(fragments[i]), nullptr),
            "f" + std::to_string(i), Quilt::OnExistingData::Refuse, Larder::Cache::MemCache());
    }
    bundle.save(file, nullptr, nullptr);
    return Reading().text(file);
  };
  const Reading good = cloud({{{4, 6, 1}, {6, 6, 2}}, {{4, 8, 3}, {4, 10, 4}}});
  ASSERT_EQ(good.status, 0);
  EXPECT_EQ(good.heights("cloud"), (std::vector<float>{1, 2, 3, -9999, 4, -9999}));
  EXPECT_EQ(cloud({{}, {{4, 6, 1}, {6, 6, 2}}}).heights("cloud"), (std::vector<float>{1, 2}))
      << "a fragment without points has no say";
  // Places that 32 bits don't count: their differences do.
  const Reading far = cloud({{{9e8, 8, 1}, {9e8 + 0.125, 8, 2}, {9e8, 8.125, 3}}});
  EXPECT_EQ(far.heights("cloud"), (std::vector<float>{1, 2, 3, -9999}));
  EXPECT_EQ(cloud({{{4, 6, 1}, {4, 6, 2}}}).status, 7);
  EXPECT_EQ(cloud({{{4, 6, 1}}}).status, 7);
  EXPECT_EQ(cloud({}).status, 16);
  EXPECT_EQ(cloud({{{4, 6, 1}, {6, 6, 2}}}, "gh").status, 8);
  EXPECT_EQ(Reading().text(folder / "missing.q8").status, 8);
  EXPECT_EQ(Reading().text(folder.write("no.q8", "0 0 1\n1 0 2\n")).status, 8);
}

TEST(TerrainRaster, FillsItsResultsAndKeepsWhatItWroteBeforeAFailure) {
  const TempFolder folder;
  const std::string place = "ncols 2\nnrows 1\nxllcorner 3000000\nyllcorner 5000000\n";
  Reading reading;
  EXPECT_EQ(reading.raster(folder.write("a.asc", place + "1 2\n")).status, 7);
  EXPECT_EQ(reading.origin, PhysicalSpace::point(3000000, 5000000, 0));
  EXPECT_EQ(reading.cellSize.x(), 7.0);
  EXPECT_EQ(reading.raster(folder.write("b.asc", place + "cellsize 4\n1 x\n")).status, 11);
  EXPECT_EQ(reading.origin.x(), 3000002.0);
  EXPECT_EQ(reading.gridName, "DGM_CellSize_4");
  EXPECT_TRUE(reading.bundle->getGridIdentifiers().empty()) << "the bundle is as it was";
  EXPECT_EQ(reading.raster(folder.write("c.txt", "1 2 3\n")).status, 5);
  EXPECT_EQ(reading.raster(folder / "missing").status, 1);
  const std::string whole = "\n\r\n" + place + "\ncellsize 10\nnodata_value 5\n1 2\n";
  EXPECT_EQ(reading.raster(folder.write("a.b.asc", whole)).status, 0);
  EXPECT_EQ(reading.heights("a.b"), (std::vector<float>{1, 2})) << "named after the file";
  EXPECT_EQ(reading.origin, PhysicalSpace::point(3000005, 5000005, 0));
  EXPECT_EQ(reading.cellSize, PhysicalSpace::vector(10, 10, 10));
  EXPECT_EQ(reading.noData, 5.0);
}

}  // namespace
