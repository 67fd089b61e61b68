#include <algorithm>

#include "support/bundles.h"
#include "support/console_capture.h"
#include "support/temp_folder.h"
#include <gtest/gtest.h>

#include "recast/raster/terrain_import.h"

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
  const auto good = folder.write("good.asc", raster(0, 1, "1 2"));
  const auto bad = folder.write("bad.asc", raster(0, 1, "1 x"));
  EXPECT_EQ(import({good, bad, folder / "never.asc"}, folder / "out.q8"), 7);
  EXPECT_EQ(fragments(*loadBundle(folder / "out.q8"), "DGM_CellSize_1", "Elevation"), 1u);
  EXPECT_EQ(import({folder / "missing.g10dgm"}, folder / "out.q8"), 7);
  EXPECT_EQ(import({folder.write("header.g10dgm", "nodata_value 5\n")}, folder / "out.q8"), 19)
      << "the text reader's status";
  EXPECT_EQ(import({good}, folder / "no/folder.q8"), 8);
  EXPECT_EQ(import({good}, folder / "absent.q8", true), 8);
  const auto huge = folder.write("huge.asc", raster(0, 1, "1 1e39"));
  EXPECT_THROW(import({good, huge}, folder / "thrown.q8"), std::out_of_range);
  EXPECT_EQ(fragments(*loadBundle(folder / "thrown.q8"), "DGM_CellSize_1", "Elevation"), 1u);
  EXPECT_EQ(import({}, folder / "empty.q8"), 0);
  EXPECT_TRUE(loadBundle(folder / "empty.q8"));
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

TEST(ReadDGM, TilesOfOneNameAreToldOf) {
  const TempFolder folder;
  const ConsoleCapture console;
  const auto a = folder.write("a/tile.asc", raster(0, 1, "1 2"));
  const auto b = folder.write("b/tile.asc", raster(0, 1, "3 4"));
  ASSERT_EQ(import({a, b}, folder / "out.q8"), 0);
  EXPECT_EQ(console.count(b + ": the grid DGM_CellSize_1 holds a tile named \"tile\""), 1u);
  const auto elevation = findField(*loadBundle(folder / "out.q8"), "DGM_CellSize_1", "Elevation");
  EXPECT_EQ((fragmentArray<3, float>(elevation, "tile")->first()), 3.0F);
}

TEST(UniformToPointCloud, TellsWhatIsMissing) {
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  std::string points;
  const auto convert = [&](const char* grid, const char* tile) {
    return Recast::uniformToPointCloud(bundle, grid, points, tile, -9999.0, {1, 1, 1}, {0, 0, 0},
                                       nullptr);
  };
  EXPECT_EQ(convert("none", "t"), 14);
  (*(*bundle)[0.0])["bare"]->makeCartesianRepresentation(3, "", 0);
  EXPECT_EQ(convert("bare", "t"), 15);
  std::string grid = "g";
  std::string name = "flat";
  Quilt::MultiIndex<3> offset;
  auto flat = Larder::makeStrong<Recast::HeightArray>(Quilt::MultiIndex<3>(3, 2, 1), nullptr);
  Recast::HeightHandle data = flat;
  Recast::addToUniformGrid(bundle, grid, offset, name, data);
  EXPECT_EQ(convert("g", "unknown"), 16);
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
