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
const std::vector<double> kHeight = {5};

/// A file of one grid with one shape of the given rings and the ground 10.
template <class Heights>
void writeFootprints(const std::string& file, std::vector<Point> vertices,
                     std::vector<IndexList> rings, const Heights& heights) {
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const BuildingGrid grid((*(*bundle)[0.0])["houses"]);
  IndexList all;
  for (unsigned int i = 0; i < rings.size(); ++i) all.push_back(i);
  put(grid.vertices, "Positions", std::move(vertices));
  put(grid.lines, "Positions", std::move(rings));
  put(grid.shapes, "Positions", std::vector<IndexList>{all});
  put(grid.shapes, "HOEHEGRUND", std::vector<double>{10});
  if (!heights.empty()) put(grid.shapes, "HOEHEGEB", heights);
  bundle.save(file, nullptr, nullptr);
}

struct Extruded {
  TempFolder folder;
  ConsoleCapture console;
  int status;
  Surface surface;

  Extruded(std::vector<Point> vertices, std::vector<IndexList> rings)
      : status(convert(std::move(vertices), std::move(rings))), surface(folder / "out.q8") {}

 private:
  int convert(std::vector<Point> vertices, std::vector<IndexList> rings) const {
    writeFootprints(folder / "in.q8", std::move(vertices), std::move(rings), kHeight);
    return Recast::convertLOD1toTIN(stringList({folder / "in.q8"}), folder / "out.q8", nullptr,
                                    "surface");
  }
};

TEST(LOD1, AClosedSquareGetsWallsAndAReversedRoof) {
  const Extruded result(kSquare, {{0, 1, 2, 3, 4}});
  ASSERT_EQ(result.status, 0);
  const auto& [vertices, triangles, identifiers] = result.surface;
  ASSERT_EQ(vertices.size(), 10u);
  EXPECT_EQ(vertices[2], Point(4, 0, 10));
  EXPECT_EQ(vertices[3], Point(4, 0, 15));
  ASSERT_EQ(triangles.size(), 10u);
  EXPECT_EQ(triangles[0], Quilt::Triangle(0, 1, 2));
  EXPECT_EQ(triangles[1], Quilt::Triangle(1, 3, 2));
  EXPECT_EQ(triangles[7], Quilt::Triangle(7, 9, 8)) << "the wall closes";
  // The ring's triangles (3, 0, 1), (3, 1, 2) reversed, on the roof's vertices.
  EXPECT_EQ(triangles[8], Quilt::Triangle(7, 3, 1));
  EXPECT_EQ(triangles[9], Quilt::Triangle(7, 5, 3));
}

TEST(LOD1, OddRings) {
  const struct {
    const char* name;
    std::vector<Point> vertices;
    std::size_t corners;  // of the footprint
    std::size_t roofTriangles;
  } rings[] = {
      {"0.05 apart, the later one counts",
       {{0, 0, 0}, {4, 0, 0}, {4.05, 0, 0}, {4, 4, 0}, {0, 0, 0}},
       3,
       1},
      {"near in x and y but not in z, so that the roof can't be cut",
       {{0, 0, 0}, {4, 0, 0}, {4, 0, 3}, {4, 0, 0}, {0, 0, 0}},
       4,
       0},
      {"open", {{0, 0, 0}, {4, 0, 0}, {4, 4, 0}, {0, 4, 0}}, 3, 1},
      {"one vertex", {{1, 1, 1}}, 0, 0},
      {"two vertices", {{1, 1, 1}, {3, 1, 1}}, 1, 0},
  };
  for (const auto& [name, vertices, corners, roofTriangles] : rings) {
    SCOPED_TRACE(name);
    IndexList numbers;
    for (unsigned int i = 0; i < vertices.size(); ++i) numbers.push_back(i);
    const Extruded result(vertices, {numbers});
    ASSERT_EQ(result.status, 0);
    EXPECT_EQ(result.surface.vertices.size(), 2 * corners + 2);
    EXPECT_EQ(result.surface.triangles.size(), 2 * corners + roofTriangles);
    EXPECT_EQ(result.console.count("-------> We have:  Error"),
              corners == 4 && roofTriangles == 0 ? 1u : 0u);
  }
}

TEST(LOD1, ListsThatReferToNothingArePassedOver) {
  const Extruded result(kSquare, {{0, 1, 99}, {0, 1, 2, 3, 4}, {}});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.surface.triangles.size(), 10u);
  EXPECT_TRUE(result.console.contains("has a line that refers to what isn't there"));
}

TEST(LOD1, EveryFaultEndsWithItsStatusAndNothingWritten) {
  const TempFolder folder;
  const ConsoleCapture console;
  const std::vector<IndexList> ring = {{0, 1, 2, 3, 4}};
  writeFootprints(folder / "good.q8", kSquare, ring, kHeight);
  writeFootprints(folder / "no height.q8", kSquare, ring, std::vector<double>());
  writeFootprints(folder / "whole heights.q8", kSquare, ring, std::vector<int>{5});
  const auto convert = [&](std::vector<std::string> names) {
    for (std::string& name : names) name = folder / name;
    return Recast::convertLOD1toTIN(stringList(std::move(names)), folder / "out.q8", nullptr, "s");
  };
  EXPECT_EQ(convert({"good.q8", "no height.q8"}), 3);
  EXPECT_TRUE(console.contains("Have no HeightRoofF"));
  EXPECT_EQ(console.count("LOD1 Error: "), 1u);
  EXPECT_EQ(convert({"good.q8", "missing.q8"}), 2);
  EXPECT_FALSE(std::filesystem::exists(folder / "out.q8"));
  EXPECT_EQ(convert({}), 0);
  EXPECT_TRUE(Surface(folder / "out.q8", "s").triangles.empty());
  EXPECT_EQ(convert({"whole heights.q8", "good.q8"}), 0) << "no fault: data is passed over";
  EXPECT_EQ(console.messages().back(), "No HeightRoofC");
  EXPECT_EQ(Surface(folder / "out.q8", "s").triangles.size(), 10u);
}

}  // namespace
