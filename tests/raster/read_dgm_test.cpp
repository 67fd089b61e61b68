#include <algorithm>

#include "support/bundles.h"
#include "support/console_capture.h"
#include "support/program_run.h"
#include "support/temp_folder.h"
#include <gtest/gtest.h>

#include "recast/raster/terrain_import.h"
#include "recast/recastbase/run_report.h"

namespace {

using Heron::PhysicalSpace;
using TestSupport::ConsoleCapture;
using TestSupport::findField;
using TestSupport::fragmentArray;
using TestSupport::fragmentValues;
using TestSupport::loadBundle;
using TestSupport::stringList;
using TestSupport::TempFolder;

int import(std::vector<std::string> files, const std::string& output, bool existing = false,
           std::string uniform = "", std::string points = "") {
  return Recast::readDGM(stringList(std::move(files)), output, nullptr, uniform, points, existing);
}

std::string raster(int x, int cellSize, const std::string& cells) {
  return "ncols 2\nnrows 1\nxllcorner " + std::to_string(3000000 + x) +
         "\nyllcorner 5000000\ncellsize " + std::to_string(cellSize) + "\n" + cells + "\n";
}

std::size_t fragments(const Quilt::Bundle& bundle, const std::string& grid,
                      const std::string& field) {
  const auto found = findField(bundle, grid, field);
  std::size_t withData = 0;
  if (found)
    for (const auto& id : found->getFragmentIDs()) withData += found->getCreator(id) ? 1 : 0;
  return withData;
}

TEST(ReadDGM, TilesOfOneCellSizeShareTheirGrids) {
  const TempFolder folder;
  const ConsoleCapture console;
  ASSERT_EQ(import({folder.write("a/c.x.asc", raster(0, 2, "1 2")),
                    folder.write("b/d.txt", "3000005 5000001 7\n3000007 5000001 8\n"),
                    folder.write("e.asc", raster(0, 5, "3 4"))},
                   folder / "out.q8"),
            0);
  const auto bundle = loadBundle(folder / "out.q8");
  ASSERT_TRUE(bundle);
  EXPECT_EQ(fragments(*bundle, "DGM_CellSize_2", "Elevation"), 2u);
  EXPECT_EQ(fragments(*bundle, "Pkt_CellSize_2", "Positions"), 2u);
  EXPECT_EQ(fragments(*bundle, "Pkt_CellSize_2", "Normals"), 2u);
  EXPECT_EQ(fragments(*bundle, "DGM_CellSize_5", "Elevation"), 1u);
  const auto points = fragmentValues<PhysicalSpace::point>(
      findField(*bundle, "Pkt_CellSize_2", "Positions"), "c.x");
  EXPECT_EQ(points,
            (std::vector<PhysicalSpace::point>{{3000001, 5000001, 1}, {3000003, 5000001, 2}}));
  const auto creator = findField(*bundle, "Pkt_CellSize_2", "Positions")->getCreatorByName("d");
  EXPECT_TRUE(creator->getAttribute("CellSize"));
  EXPECT_EQ(creator->extent().kind, Quilt::DataExtent::Kind::Box);
}

TEST(ReadDGM, TheFirstFailureEndsTheCallAndKeepsTheTilesBefore) {
  const TempFolder folder;
  const ConsoleCapture console;
  const auto output = folder / "out.q8";
  const auto good = folder.write("good.asc", raster(0, 1, "1 2"));
  const auto bad = folder.write("bad.asc", raster(0, 1, "1 x"));
  const auto huge = folder.write("huge.asc", raster(0, 1, "1 1e39"));
  const auto tiles = [&output] {
    return fragments(*loadBundle(output), "DGM_CellSize_1", "Elevation");
  };
  EXPECT_EQ(import({good, bad, folder / "never.asc"}, output), 7);
  EXPECT_EQ(Recast::lastRunReport().failure,
            "as a raster: " + bad + ", line 6, column 2: \"x\" is no number; as samples: " + bad +
                ", line 1: 2 numbers instead of 3");
  EXPECT_EQ(tiles(), 1u);
  EXPECT_EQ(import({folder / "missing.g10dgm"}, output), 7);
  EXPECT_EQ(Recast::lastRunReport().failure,
            folder / "missing.g10dgm: can't be opened: No such file or directory");
  EXPECT_EQ(import({folder.write("header.g10dgm", "nodata_value 5\n")}, output), 19)
      << "the text reader's status";
  EXPECT_EQ(import({bad, good}, output, true), 7);
  EXPECT_EQ(tiles(), 1u) << "nothing was stored, so the former file stays";
  EXPECT_EQ(import({good}, folder / "no/folder.q8"), 8);
  EXPECT_EQ(import({good}, folder / "absent.q8", true), 8);
  EXPECT_NE(Recast::lastRunReport().failure.find("absent.q8"), std::string::npos);
  std::filesystem::remove(output);
  EXPECT_THROW(import({good, huge}, output), std::out_of_range);
  EXPECT_EQ(tiles(), 1u);
  EXPECT_EQ(import({}, output), 0);
  EXPECT_TRUE(loadBundle(output)->getGridIdentifiers().empty());
  EXPECT_TRUE(Recast::lastRunReport().failure.empty());
  EXPECT_TRUE(console.messages().empty());
}

TEST(ReadDGM, AFailingRunThatReadsItsOutputLeavesIt) {
  const TempFolder folder;
  const ConsoleCapture console;
  const auto output = folder / "out.q8";
  ASSERT_EQ(import({folder.write("cloud.asc", raster(0, 1, "1 2"))}, output), 0);
  const std::string former = TestSupport::textOf(output);
  std::filesystem::create_symlink(output, folder / "link.q8");
  EXPECT_EQ(import({folder.write("good.asc", raster(0, 1, "1 2")), folder / "missing",
                    folder / "link.q8"},
                   output),
            7);
  EXPECT_TRUE(TestSupport::textOf(output) == former);
}

TEST(ReadDGM, AppendingLeavesWhatWasThereToTheBit) {
  const TempFolder folder;
  const ConsoleCapture console;
  const auto first = folder.write("first.asc", raster(0, 1, "1.25 2.5"));
  const auto second = folder.write("second.asc", raster(2, 1, "3 4"));
  ASSERT_EQ(import({first}, folder / "out.q8"), 0);
  ASSERT_EQ(import({second}, folder / "out.q8", true), 0);
  ASSERT_EQ(import({first, second}, folder / "at once.q8"), 0);
  const auto grown = loadBundle(folder / "out.q8");
  const auto atOnce = loadBundle(folder / "at once.q8");
  for (const char* tile : {"first", "second"}) {
    const auto points = [&](const Quilt::BundlePtr& bundle) {
      return fragmentValues<PhysicalSpace::point>(findField(*bundle, "Pkt_CellSize_1", "Positions"),
                                                  tile);
    };
    const auto normals = [&](const Quilt::BundlePtr& bundle) {
      return fragmentValues<PhysicalSpace::bivector>(
          findField(*bundle, "Pkt_CellSize_1", "Normals"), tile);
    };
    EXPECT_EQ(points(grown), points(atOnce));
    EXPECT_EQ(normals(grown), normals(atOnce));
    EXPECT_EQ(normals(grown).size(), 2u);
  }
}

TEST(ReadDGM, ATileTakesThePlaceOfItsNamesakeInItsGridAlone) {
  const TempFolder folder;
  const ConsoleCapture console;
  const auto output = folder / "out.q8";
  const auto a = folder.write("a/tile.asc", raster(0, 1, "1 2"));
  const auto b = folder.write("b/tile.asc", raster(0, 1, "3 4"));
  const auto other = folder.write("c/tile.asc", raster(0, 5, "5 6"));
  const auto bad = folder.write("d/tile.asc", raster(0, 1, "x y"));
  ASSERT_EQ(import({a, b, other}, output), 0);
  const std::string taken =
      ": the grid \"DGM_CellSize_1\" held a tile \"tile\" already, whose "
      "place this one took";
  EXPECT_EQ(Recast::lastRunReport().notices, std::vector<std::string>{b + taken});
  const auto elevation = findField(*loadBundle(output), "DGM_CellSize_1", "Elevation");
  EXPECT_EQ((fragmentArray<3, float>(elevation, "tile")->first()), 3.0F);
  EXPECT_EQ(import({bad}, output, true), 7);
  EXPECT_TRUE(Recast::lastRunReport().notices.empty());

  // One without values leaves no points of the former one.
  const auto empty = folder.write("e/tile.asc", raster(0, 1, "-9999 -9999"));
  ASSERT_EQ(import({empty}, output, true), 0);
  EXPECT_EQ(Recast::lastRunReport().notices, std::vector<std::string>{empty + taken});
  const auto points = [&](const std::string& grid) {
    return fragmentValues<PhysicalSpace::point>(findField(*loadBundle(output), grid, "Positions"),
                                                "tile")
        .size();
  };
  EXPECT_EQ(points("Pkt_CellSize_1"), 0u);
  EXPECT_EQ(points("Pkt_CellSize_5"), 2u);
  EXPECT_TRUE(console.messages().empty());
}

TEST(ReadDGM, AFileThatIsOnlyAnExtensionIsATileWithAnEmptyName) {
  const TempFolder folder;
  const ConsoleCapture console;
  ASSERT_EQ(import({folder.write(".asc", raster(0, 1, "1 2"))}, folder / "out.q8"), 0);
  const auto bundle = loadBundle(folder / "out.q8");
  const auto elevation = findField(*bundle, "DGM_CellSize_1", "Elevation");
  ASSERT_EQ(elevation->getFragmentIDs().size(), 1u);
  EXPECT_EQ(elevation->getFragmentIDs()[0]->name(), "");
  EXPECT_FALSE(elevation->getData(nullptr)) << "it is not the undivided data";
  EXPECT_EQ((fragmentArray<3, float>(elevation, "")->last()), 2.0F);
  EXPECT_EQ(
      fragmentValues<PhysicalSpace::point>(findField(*bundle, "Pkt_CellSize_1", "Positions"), "")
          .size(),
      2u);
}

TEST(ImportTerrainTile, CountsWhatItLeavesAndTouchesNothingIfItFails) {
  const TempFolder folder;
  const ConsoleCapture console;
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  Recast::TerrainTileCount count;
  const auto importOne = [&](const std::string& path) {
    return Recast::importTerrainTile(bundle, path, nullptr, "heights", "points", count);
  };
  EXPECT_EQ(importOne(folder.write("bad.txt", "1 2 3\n1 2\n")), 7);
  EXPECT_TRUE(bundle->begin() == bundle->end()) << "not even a slice";
  EXPECT_EQ(importOne(folder.write("t.asc", raster(-10, 1, "1 -9999"))), 0);
  EXPECT_EQ(count.cells, 2u);
  EXPECT_EQ(count.points, 1u);
  EXPECT_EQ(Recast::lastRunReport().notices.size(), 1u) << "it lies outside the world frame";
  EXPECT_EQ(importOne(folder.write("t.asc", raster(0, 1, "-9999 -9999"))), 0);
  EXPECT_EQ(count.cells, 2u);
  EXPECT_EQ(count.points, 0u);
}

TEST(UniformToPointCloud, TellsWhatIsMissing) {
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  std::string points;
  const auto convert = [&](const char* grid, const char* tile) {
    return Recast::uniformToPointCloud(bundle, grid, points, tile, -9999.0, {1, 1, 1}, {0, 0, 0},
                                       nullptr);
  };
  EXPECT_EQ(convert("none", "t"), 14);
  EXPECT_EQ(Recast::lastRunReport().failure, "there is no grid \"none\" at time 0");
  (*(*bundle)[0.0])["bare"]->makeCartesianRepresentation(3, "", 0);
  EXPECT_EQ(convert("bare", "t"), 15);
  std::string grid = "g";
  std::string name = "flat";
  Quilt::MultiIndex<3> offset;
  auto flat = Larder::makeStrong<Recast::HeightArray>(Quilt::MultiIndex<3>(3, 2, 1), nullptr);
  Recast::HeightHandle data = flat;
  Recast::addToUniformGrid(bundle, grid, offset, name, data);
  EXPECT_EQ(convert("g", "unknown"), 16);
  EXPECT_EQ(Recast::lastRunReport().failure, "the grid \"g\" doesn't know the tile \"unknown\"");
  const auto elevation = findField(*bundle, "g", "Elevation");
  elevation->makeFragmentID("no data");
  EXPECT_EQ(convert("g", "no data"), 18);
  elevation->createCreator(
      Larder::makeStrong<Quilt::MemArray<1, float>>(Quilt::MultiIndex<1>(4), nullptr), "rank 1",
      Quilt::OnExistingData::Refuse, Larder::Cache::MemCache());
  EXPECT_EQ(convert("g", "rank 1"), 15);
  EXPECT_TRUE(points.empty());
  EXPECT_EQ(convert("g", "flat"), 0);
  EXPECT_EQ(points, "Pkt_CellSize_1");
  for (const auto& normal :
       fragmentValues<PhysicalSpace::bivector>(findField(*bundle, points, "Normals"), "flat"))
    EXPECT_EQ(normal, PhysicalSpace::bivector(0, 0, 1));
  std::fill_n(flat->data, 6, -9999.0F);
  name = "void";
  Recast::addToUniformGrid(bundle, grid, offset, name, data);
  EXPECT_EQ(convert("g", "void"), 0);
  EXPECT_FALSE(findField(*bundle, points, "Positions")
                   ->getFragmentIDCollection()
                   ->findFragmentIDByName("void"));
}

}  // namespace
