#include <cmath>

#include "building_grids.h"
#include <gtest/gtest.h>

#include "recast/trelliskinds/grid_kinds.h"
#include "recast/typed_arrays/mem_array_allocator.h"

namespace {

using TestSupport::BuildingGrid;
using TestSupport::ConsoleCapture;
using TestSupport::IndexList;
using TestSupport::Point;
using TestSupport::put;
using TestSupport::stringList;
using TestSupport::Surface;
using TestSupport::TempFolder;

/// Faces as rings of points of their own, closed by repeating the first one.
struct Shell {
  Quilt::BundlePtr bundle{new Quilt::Bundle};
  BuildingGrid grid{(*(*bundle)[0.0])["shells"]};
  std::vector<Point> vertices;
  std::vector<IndexList> lines;

  void addFace(std::vector<Point> ring) {
    ring.push_back(ring.front());
    IndexList line;
    for (const Point& point : ring) {
      line.push_back(static_cast<unsigned int>(vertices.size()));
      vertices.push_back(point);
    }
    lines.push_back(line);
  }
  /// Stores what was added, with an identifier per face if there are any.
  void store(std::vector<int> identifiers = {}) {
    put(grid.vertices, "Positions", vertices);
    put(grid.lines, "Positions", lines);
    if (!identifiers.empty()) put(grid.shapes, "GEBIDBY", std::move(identifiers));
  }
  /// Converts from grid into grid.
  Surface surface() {
    store();
    const Quilt::BundlePtr output(new Quilt::Bundle);
    const auto target = (*(*output)[0.0])["surface"];
    EXPECT_EQ(Recast::convertLOD2toTIN(*grid.grid, *target, nullptr), 0);
    return Surface(*target);
  }
};

Surface surfaceOf(std::vector<Point> ring) {
  Shell shell;
  shell.addFace(std::move(ring));
  return shell.surface();
}

TEST(LOD2, FacesThatCountAsHorizontalAreReversed) {
  const Surface roof = surfaceOf({{0, 0, 3}, {4, 0, 3}, {4, 4, 3}, {0, 4, 3}});
  EXPECT_EQ(roof.vertices.size(), 4u);
  EXPECT_EQ(roof.triangles, (std::vector<Quilt::Triangle>{{3u, 1u, 0u}, {3u, 2u, 1u}}));
  const Surface wall = surfaceOf({{0, 0, 0}, {4, 0, 0}, {4, 0, 3}, {0, 0, 3}});
  EXPECT_EQ(wall.triangles, (std::vector<Quilt::Triangle>{{3u, 0u, 1u}, {3u, 1u, 2u}}));
  const Surface floor = surfaceOf({{0, 4, 0}, {4, 4, 0}, {4, 0, 0}, {0, 0, 0}});
  EXPECT_EQ(floor.triangles.size(), 2u) << "a normal straight down keeps the face as it is";
  EXPECT_EQ(surfaceOf({{0, 0, 0}, {4, 0, 0}, {0, 4, 1}}).triangles.size(), 1u);
  EXPECT_TRUE(surfaceOf({{0, 0, 0}, {4, 0, 0}}).triangles.empty());
}

TEST(LOD2, SlopesUpTo75DegreesCountAsHorizontal) {
  for (const double degrees : {0.0, 60.0, 75.0, 76.0, 90.0}) {
    const double tilt = degrees * M_PI / 180;
    const double y = std::cos(tilt);
    const double z = std::sin(tilt);
    std::vector<Point> face = {{0, 0, 0}, {1, 0, 0}, {1, y, z}, {0, y, z}};
    EXPECT_EQ(Recast::checkIfHorizontal(face), degrees <= 75) << degrees;
  }
  std::vector<Point> straight = {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}};
  EXPECT_FALSE(Recast::checkIfHorizontal(straight));
}

/// An outline in the plane, turned and moved in space.
std::vector<Point> turned(const std::vector<Point>& outline, double heading, double tilt) {
  std::vector<Point> ring;
  for (const Point& p : outline) {
    const double y = p.y() * std::cos(tilt);
    const double z = p.y() * std::sin(tilt);
    ring.emplace_back(3.5e5 + p.x() * std::cos(heading) - y * std::sin(heading),
                      5.4e5 + p.x() * std::sin(heading) + y * std::cos(heading), 300 + z);
  }
  return ring;
}

double areaOf(const Surface& surface) {
  double area = 0;
  for (const auto& t : surface.triangles) {
    const auto& a = surface.vertices[t[0]];
    const auto& b = surface.vertices[t[1]];
    const auto& c = surface.vertices[t[2]];
    const double ux = b.x() - a.x(), uy = b.y() - a.y(), uz = b.z() - a.z();
    const double vx = c.x() - a.x(), vy = c.y() - a.y(), vz = c.z() - a.z();
    area += std::hypot(uy * vz - uz * vy, uz * vx - ux * vz, ux * vy - uy * vx) / 2;
  }
  return area;
}

TEST(LOD2, ConcaveWallsAndRoofsAreCutWhole) {
  // The second and third corner of some stand on a line with the corners' mean, or see it from the
  // other side: a reference point there gives no normal, or the opposite one.
  const struct {
    std::vector<Point> outline;
    double area;
  } cases[] = {
      {{{0, 0, 0}, {6, 0, 0}, {6, 1, 0}, {1, 1, 0}, {1, 6, 0}, {0, 6, 0}}, 11},
      {{{0, 6, 0}, {0, 0, 0}, {6, 0, 0}, {6, 1, 0}, {1, 1, 0}, {1, 6, 0}}, 11},
      {{{8, 1, 0}, {1, 1, 0}, {1, 9, 0}, {0, 9, 0}, {0, 0, 0}, {9, 0, 0}, {9, 9, 0}, {8, 9, 0}},
       25},
      {{{0, 2, 0}, {3, 1, 0}, {6, 2, 0}, {6, 0, 0}, {0, 0, 0}}, 9},
  };
  for (const auto& [outline, area] : cases)
    for (const double tilt : {0.0, 0.7, 1.4, M_PI / 2, 2.5})
      for (const double heading : {0.0, 0.3, 2.0, 4.5}) {
        SCOPED_TRACE(std::to_string(outline.size()) + " corners, tilt " + std::to_string(tilt));
        const ConsoleCapture console;
        const Surface surface = surfaceOf(turned(outline, heading, tilt));
        EXPECT_EQ(surface.triangles.size(), outline.size() - 2);
        EXPECT_NEAR(areaOf(surface), area, 1e-6);
        EXPECT_TRUE(console.messages().empty());
      }
}

TEST(LOD2, CrossingFacesWhoseAreasCancelAreCutAsInThePlane) {
  const std::vector<Point> outline = {{0, 0, 0}, {4, 3, 0}, {4, 0, 0}, {0, 3, 0}};
  const auto flat = surfaceOf(outline).triangles.size();
  EXPECT_GT(flat, 0u);
  for (const double tilt : {0.7, M_PI / 2, 2.5})
    for (const double heading : {0.0, 0.3, 2.0})
      EXPECT_EQ(surfaceOf(turned(outline, heading, tilt)).triangles.size(), flat);
}

TEST(LOD2, ASetOfLinesIsAShell) {
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto source = (*(*bundle)[0.0])["lines"];
  const auto target = (*(*bundle)[0.0])["surface"];
  const auto points = Larder::makeStrong<Larder::Chunk<Point>>(
      std::vector<Point>{{0, 0, 3}, {4, 0, 3}, {4, 4, 3}, {0, 4, 3}});
  const auto lists = Larder::makeStrong<Larder::Chunk<IndexList>>(
      std::vector<IndexList>{{0, 1, 2, 3, 0}, {0, 1, 2, 0}});
  const Quilt::LineSet lines(source, Quilt::makeMemArray1D(points, nullptr),
                             Quilt::MemBaseHandle(new Quilt::MemArray<1, IndexList>(
                                 lists, Quilt::MultiIndex<1>(2), nullptr)),
                             nullptr);
  EXPECT_EQ(Recast::convertLOD2toTIN(*source, *target, nullptr), 0);
  EXPECT_EQ(Surface(*target).triangles.size(), 3u);
}

TEST(LOD2, BuildingIdentifiersFollowTheirTriangles) {
  const TempFolder folder;
  const ConsoleCapture console;
  const std::vector<Point> square = {{0, 0, 3}, {4, 0, 3}, {4, 4, 3}, {0, 4, 3}};
  const std::vector<Point> triangle = {{0, 0, 3}, {4, 0, 3}, {4, 4, 3}};
  Shell with;
  with.addFace(triangle);
  with.addFace(square);
  with.store({7, 9});
  with.bundle.save(folder / "with.q8", nullptr, nullptr);
  Shell without;
  without.addFace(square);
  without.store();
  without.bundle.save(folder / "without.q8", nullptr, nullptr);
  const auto identifiers = [&](std::vector<std::string> files) {
    EXPECT_EQ(Recast::convertLOD2toTIN(stringList(std::move(files)), folder / "out.q8", nullptr,
                                       "surface"),
              0);
    return Surface(folder / "out.q8").identifiers;
  };
  using Numbers = std::vector<unsigned int>;
  EXPECT_EQ(identifiers({folder / "with.q8"}), (Numbers{7, 9, 9}));
  EXPECT_EQ(identifiers({folder / "without.q8"}), Numbers());
  EXPECT_EQ(identifiers({folder / "without.q8", folder / "with.q8", folder / "without.q8"}),
            (Numbers{0, 0, 7, 9, 9, 0, 0}));
  EXPECT_TRUE(console.contains("This is file: " + folder / "with.q8"));
  with.store({7});
  with.bundle.save(folder / "too few.q8", nullptr, nullptr);
  EXPECT_EQ(identifiers({folder / "too few.q8"}), (Numbers{7, 0, 0}));
  EXPECT_EQ(console.count("The fragment \"f\" has fewer building identifiers than lines; the other "
                          "lines get none."),
            1u);
  EXPECT_TRUE(console.contains("LOD2-> File: " + folder / "with.q8" + " processed with tris: 3"));
}

TEST(LOD2, AGridWithoutFacesIsRefused) {
  const TempFolder folder;
  const ConsoleCapture console;
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto bare = (*(*bundle)[0.0])["bare"];
  put(bare->makeCartesianRepresentation(1, "", 0), "Positions", std::vector<Point>{{0, 0, 0}});
  const auto target = (*(*bundle)[1.0])["target"];
  EXPECT_EQ(Recast::convertLOD2toTIN(*bare, *target, nullptr), 3);
  EXPECT_EQ(console.messages(), (std::vector<std::string>{"Have no LinesetSk", "LOD2 Error: "}));
  EXPECT_TRUE(target->skeletons().empty());
  bundle.save(folder / "in.q8", nullptr, nullptr);
  EXPECT_EQ(
      Recast::convertLOD2toTIN(stringList({folder / "in.q8"}), folder / "out.q8", nullptr, "s"), 3);
  EXPECT_FALSE(std::filesystem::exists(folder / "out.q8"));
}

TEST(LOD2, FacesThatCannotBeCutOrReferToNothingAreReported) {
  const ConsoleCapture console;
  Shell shell;
  shell.addFace({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
  shell.addFace({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}});
  shell.lines.push_back({0, 1, 99, 0});
  EXPECT_EQ(shell.surface().triangles.size(), 1u);
  ASSERT_EQ(console.messages().size(), 2u);
  EXPECT_EQ(console.messages()[0], "-------> We have:  Error at line 1");
  EXPECT_TRUE(console.contains("has a line that refers to what isn't there"));
}

}  // namespace
