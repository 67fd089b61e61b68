#include "building_grids.h"
#include <gtest/gtest.h>

namespace {

using TestSupport::BuildingGrid;
using TestSupport::ConsoleCapture;
using TestSupport::IndexList;
using TestSupport::Point;
using TestSupport::put;
using TestSupport::stringList;
using TestSupport::Surface;
using TestSupport::TempFolder;

const std::vector<Point> kSquare = {{0, 0, 9}, {4, 0, 9}, {4, 4, 9}, {0, 4, 9}, {0, 0, 9}};

/// A file of one grid with one shape of the given rings, ground 10 and height 5.
void writeFootprints(const std::string& file, std::vector<Point> vertices,
                     std::vector<IndexList> rings, bool withHeights = true) {
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const BuildingGrid grid((*(*bundle)[0.0])["houses"]);
  IndexList all;
  for (unsigned int i = 0; i < rings.size(); ++i) all.push_back(i);
  put(grid.vertices, "Positions", std::move(vertices));
  put(grid.lines, "Positions", std::move(rings));
  put(grid.shapes, "Positions", std::vector<IndexList>{all});
  put(grid.shapes, "HOEHEGRUND", std::vector<double>{10});
  if (withHeights) put(grid.shapes, "HOEHEGEB", std::vector<double>{5});
  bundle.save(file, nullptr, nullptr);
}

struct Extruded {
  TempFolder folder;
  ConsoleCapture console;
  int status;

  Extruded(std::vector<Point> vertices, std::vector<IndexList> rings,
           const Recast::BuildingProgress& progress = nullptr) {
    writeFootprints(folder / "in.q8", std::move(vertices), std::move(rings));
    status = Recast::convertLOD1toTIN(stringList({folder / "in.q8"}), folder / "out.q8", progress,
                                      "surface");
  }
  Surface surface() const { return Surface(folder / "out.q8"); }
};

TEST(LOD1, AClosedSquareGetsWallsAndAReversedRoof) {
  const Extruded result(kSquare, {{0, 1, 2, 3, 4}});
  ASSERT_EQ(result.status, 0);
  const Surface surface = result.surface();
  ASSERT_EQ(surface.vertices.size(), 10u);
  EXPECT_EQ(surface.vertices[2], Point(4, 0, 10));
  EXPECT_EQ(surface.vertices[3], Point(4, 0, 15));
  ASSERT_EQ(surface.triangles.size(), 10u);
  EXPECT_EQ(surface.triangles[0], Quilt::Triangle(0, 1, 2));
  EXPECT_EQ(surface.triangles[1], Quilt::Triangle(1, 3, 2));
  EXPECT_EQ(surface.triangles[7], Quilt::Triangle(7, 9, 8)) << "the wall closes";
  // The ring's triangles (3, 0, 1), (3, 1, 2) reversed, on the roof's vertices.
  EXPECT_EQ(surface.triangles[8], Quilt::Triangle(7, 3, 1));
  EXPECT_EQ(surface.triangles[9], Quilt::Triangle(7, 5, 3));
}

struct Ring {
  const char* name;
  std::vector<Point> vertices;
  std::size_t corners;  // of the footprint
  std::size_t roofTriangles;
};

TEST(LOD1, NearVerticesAndOpenRingsCountAsTold) {
  const Ring rings[] = {
      {"0.05 apart, the later one counts",
       {{0, 0, 0}, {4, 0, 0}, {4.05, 0, 0}, {4, 4, 0}, {0, 0, 0}},
       3,
       1},
      {"near in x and y but not in z",
       {{0, 0, 0}, {4, 0, 0}, {4, 0, 3}, {4, 4, 0}, {0, 0, 0}},
       4,
       0},
      {"open", {{0, 0, 0}, {4, 0, 0}, {4, 4, 0}, {0, 4, 0}}, 3, 1},
      {"one vertex", {{1, 1, 1}}, 0, 0},
      {"two vertices", {{1, 1, 1}, {3, 1, 1}}, 1, 0},
  };
  for (const Ring& ring : rings) {
    SCOPED_TRACE(ring.name);
    IndexList numbers;
    for (unsigned int i = 0; i < ring.vertices.size(); ++i) numbers.push_back(i);
    const Extruded result(ring.vertices, {numbers});
    ASSERT_EQ(result.status, 0);
    const Surface surface = result.surface();
    EXPECT_EQ(surface.vertices.size(), 2 * ring.corners + 2);
    if (ring.corners == 4) continue;  // an odd footprint: what the roof gets is ear clipping's
    EXPECT_EQ(surface.triangles.size(), 2 * ring.corners + ring.roofTriangles);
  }
}

TEST(LOD1, APolygonThatCannotBeCutKeepsItsWalls) {
  const Extruded result({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {0, 0, 0}}, {{0, 1, 2, 3, 4}});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.surface().triangles.size(), 8u);
  EXPECT_EQ(result.console.messages(), std::vector<std::string>{"-------> We have:  Error"});
}

TEST(LOD1, ListsThatReferToNothingArePassedOver) {
  const Extruded result(kSquare, {{0, 1, 99}, {0, 1, 2, 3, 4}, {}});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.surface().triangles.size(), 10u);
  EXPECT_TRUE(result.console.contains("has a line that refers to what isn't there"));
}

TEST(LOD1, EveryFaultEndsWithItsStatusAndNothingWritten) {
  const TempFolder folder;
  const ConsoleCapture console;
  writeFootprints(folder / "good.q8", kSquare, {{0, 1, 2, 3, 4}});
  writeFootprints(folder / "no height.q8", kSquare, {{0, 1, 2, 3, 4}}, false);
  const auto convert = [&](std::vector<std::string> files) {
    return Recast::convertLOD1toTIN(stringList(std::move(files)), folder / "out.q8", nullptr, "s");
  };
  EXPECT_EQ(convert({folder / "good.q8", folder / "no height.q8"}), 3);
  EXPECT_TRUE(console.contains("Have no HeightRoofF"));
  EXPECT_EQ(console.count("LOD1 Error: "), 1u);
  EXPECT_EQ(convert({folder / "good.q8", folder / "missing.q8"}), 2);
  EXPECT_FALSE(std::filesystem::exists(folder / "out.q8"));
  EXPECT_EQ(convert({}), 0);
  EXPECT_TRUE(Surface(folder / "out.q8", "s").triangles.empty());
}

TEST(LOD1, DataThatIsMissingFromAFragmentPassesItOver) {
  const TempFolder folder;
  const ConsoleCapture console;
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const BuildingGrid grid((*(*bundle)[0.0])["houses"]);
  put(grid.vertices, "Positions", kSquare);
  put(grid.lines, "Positions", std::vector<IndexList>{{0, 1, 2, 3, 4}});
  put(grid.shapes, "Positions", std::vector<IndexList>{{0}});
  put(grid.shapes, "HOEHEGRUND", std::vector<int>{10});
  put(grid.shapes, "HOEHEGEB", std::vector<double>{5});
  bundle.save(folder / "in.q8", nullptr, nullptr);
  EXPECT_EQ(
      Recast::convertLOD1toTIN(stringList({folder / "in.q8"}), folder / "out.q8", nullptr, "s"), 0);
  EXPECT_EQ(console.messages(), (std::vector<std::string>{"No Mem", "No HeightGroundC"}));
}

TEST(LOD1, AStoppedProgressLeavesTheRestOfTheShapeOut) {
  struct Stop : Larder::LoaderProgress {
    bool reportProgress(const std::string& text, int current, int total) override {
      seen.push_back(text + std::to_string(current) + "/" + std::to_string(total));
      return false;
    }
    void reportMessage(const std::string&) override {}
    std::vector<std::string> seen;
  };
  const auto stop = Larder::makeStrong<Stop>();
  const Extruded result(kSquare, std::vector<IndexList>(20, {0, 1, 2, 3, 4}), stop);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.surface().triangles.size(), 15u * 10u);
  EXPECT_EQ(stop->seen, std::vector<std::string>{"Read line nr.:15/20"});
}

}  // namespace
