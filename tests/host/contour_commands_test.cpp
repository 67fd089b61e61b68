#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include "support/bundles.h"
#include "support/program_run.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recast/trelliskinds/grid_kinds.h"

namespace {

using Heron::PhysicalSpace;
using ::testing::HasSubstr;
using TestSupport::ProgramRun;
using TestSupport::TempFolder;
using TestSupport::textOf;

ProgramRun runProgram(const TempFolder& folder, std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), RECAST_PROGRAM);
  return ProgramRun(folder, arguments);
}

constexpr int kNoData = -9999;

/// Heights whose differences are powers of two, so that crossings come out exactly alike wherever a
/// fragment begins.
struct Terrain {
  int columns;
  int rows;
  std::vector<int> heights;  // from the south

  Terrain(int width, int height, unsigned int seed) : columns(width), rows(height) {
    std::mt19937 random(seed);
    for (int n = 0; n < width * height; ++n) {
      const auto draw = random() % 20;
      heights.push_back(draw == 0 ? kNoData : static_cast<int>(draw % 3) * 4);
    }
  }
  /// A part of it as an Esri ASCII raster.
  std::string raster(int x0, int y0, int x1, int y1) const {
    std::string text = "ncols " + std::to_string(x1 - x0) + "\nnrows " + std::to_string(y1 - y0) +
                       "\nxllcorner " + std::to_string(1000 + 2 * x0) + "\nyllcorner " +
                       std::to_string(2000 + 2 * y0) + "\ncellsize 2\nNODATA_value -9999\n";
    for (int y = y1 - 1; y >= y0; --y) {
      for (int x = x0; x < x1; ++x)
        text += std::to_string(heights[static_cast<std::size_t>(y * columns + x)]) + " ";
      text += "\n";
    }
    return text;
  }
  /// The terrain cut into `nx` x `ny` tiles that have `overlap` vertices in common.
  std::vector<std::string> tiles(const TempFolder& folder, int nx, int ny, int overlap) const {
    std::vector<std::string> files;
    for (int y = 0; y < ny; ++y)
      for (int x = 0; x < nx; ++x)
        files.push_back(folder.write("tile" + std::to_string(x) + "_" + std::to_string(y) + ".asc",
                                     raster(columns * x / nx, rows * y / ny,
                                            std::min(columns, columns * (x + 1) / nx + overlap),
                                            std::min(rows, rows * (y + 1) / ny + overlap))));
    return files;
  }
};

using Segment = std::array<double, 6>;

/// The pieces of all lines, without direction, sorted.
std::vector<Segment> segmentsOf(const std::string& file) {
  std::vector<Segment> segments;
  const auto bundle = TestSupport::loadBundle(file);
  if (!bundle) return segments;
  const auto grid = (*(*bundle)(0.0))("ZRK_ContourLines");
  const auto points = grid->CartesianPositions()
                          ->getData(nullptr)
                          .castTo<Quilt::MemArray<1, PhysicalSpace::point>>();
  const auto lines = (*grid->getSkeleton({1, 2}))(*grid->findVertices(1))
                         ->Positions()
                         ->getData(nullptr)
                         .castTo<Quilt::MemArray<1, std::vector<unsigned int>>>();
  for (std::uint64_t n = 0; n < lines->nElements(); ++n) {
    const auto& line = lines->data[n];
    for (std::size_t k = 1; k < line.size(); ++k) {
      const auto& a = points->data[line[k - 1]];
      const auto& b = points->data[line[k]];
      const Segment forth = {a.x(), a.y(), a.z(), b.x(), b.y(), b.z()};
      const Segment back = {b.x(), b.y(), b.z(), a.x(), a.y(), a.z()};
      segments.push_back(std::min(forth, back));
    }
  }
  std::sort(segments.begin(), segments.end());
  return segments;
}

/// The contour pieces of rasters, by way of the two commands.
std::vector<Segment> contoursOf(const TempFolder& folder, const std::vector<std::string>& rasters) {
  std::vector<std::string> grid = {"grid", "-o", folder / "grid.q8"};
  grid.insert(grid.end(), rasters.begin(), rasters.end());
  auto made = runProgram(folder, grid);
  EXPECT_EQ(made.exitCode(), 0) << made.errors();
  EXPECT_EQ(made.errors(), "");
  auto lines = runProgram(
      folder, {"contours", "--step", "1", "-o", folder / "lines.q8", folder / "grid.q8"});
  EXPECT_EQ(lines.exitCode(), 0) << lines.errors();
  return segmentsOf(folder / "lines.q8");
}

TEST(ContourCommands, TilesGiveThePiecesOfTheWholeRaster) {
  const unsigned int seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  const Terrain terrain(36, 27, seed);
  const TempFolder folder;
  const auto whole = contoursOf(folder, terrain.tiles(folder, 1, 1, 0));
  ASSERT_GT(whole.size(), 1000u);
  for (const int overlap : {0, 1, 2, 3, 4, 5}) {
    EXPECT_EQ(contoursOf(folder, terrain.tiles(folder, 2, 2, overlap)), whole) << overlap;
    EXPECT_EQ(contoursOf(folder, terrain.tiles(folder, 3, 1, overlap)), whole) << overlap;
  }
}

TEST(ContourCommands, LevelsSpanTheValuesAlone) {
  const TempFolder folder;
  const std::string raster = folder.write("r.asc",
                                          "ncols 4\nnrows 3\nxllcorner 0\nyllcorner 0\ncellsize 1\n"
                                          "0 1 2 3\n0 1 2 3\n0 1 2 -9999\n");
  for (const Segment& piece : contoursOf(folder, {raster})) EXPECT_GE(piece[2], 0.0);
  runProgram(folder, {"contours", "--step", "1", "--range", "0.5:1", "-o", folder / "lines.q8",
                      folder / "grid.q8"});
  const auto pieces = segmentsOf(folder / "lines.q8");
  ASSERT_EQ(pieces.size(), 2u);
  EXPECT_EQ(pieces[0], (Segment{1, 0.5, 0.5, 1, 1.5, 0.5}));
}

TEST(ContourCommands, SayWhatFailed) {
  const TempFolder folder;
  const Terrain terrain(12, 12, 2);
  const std::string a = folder.write("a.asc", terrain.raster(0, 0, 12, 12));
  const std::string inside = folder.write("inside.asc", terrain.raster(3, 3, 7, 7));
  const std::string namesake = folder.write("other/a.asc", terrain.raster(0, 0, 4, 4));
  ASSERT_EQ(runProgram(folder, {"grid", "-o", folder / "g.q8", a}).exitCode(), 0);
  runProgram(folder, {"grid", "--no-cell-type-field", "-o", folder / "bare.q8", a});
  const struct {
    std::vector<std::string> arguments;
    int code;
    const char* text;
  } cases[] = {
      {{"grid", "-o", folder / "o.q8", a, inside}, 0, "are doubled"},
      {{"grid", "-o", folder / "o.q8", a, namesake}, 65, "another raster is called \"a\""},
      {{"contours", "--step", "0", "-o", folder / "l.q8", folder / "g.q8"}, 1, "steps are zero"},
      {{"contours", "--step", "1", "-o", folder / "l.q8", folder / "bare.q8"},
       1,
       "No celltye field"},
      {{"contours", "--step", "1", "--range", "5", "-o", folder / "l.q8", folder / "g.q8"},
       64,
       "MIN:MAX"},
      {{"export-geojson", folder / "g.q8", folder / "l.json"}, 65, "ZRK_ContourLines"},
  };
  for (const auto& [arguments, code, text] : cases) {
    auto run = runProgram(folder, arguments);
    EXPECT_EQ(run.exitCode(), code) << arguments[0] << ": " << run.errors();
    EXPECT_THAT(run.errors(), HasSubstr(text)) << arguments[0];
  }
  EXPECT_FALSE(std::filesystem::exists(folder / "l.q8"));
}

/// A file with the set of lines as a contour run writes it.
std::string lineFile(const TempFolder& folder, const std::vector<PhysicalSpace::point>& points,
                     const std::vector<std::vector<unsigned int>>& lines) {
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto grid = (*(*bundle)[0.0])["ZRK_ContourLines"];
  const auto arrayOf = [](auto values) {
    using T = typename decltype(values)::value_type;
    const Quilt::MultiIndex<1> size(values.size());
    const Larder::StrongPtr<Larder::ChunkBase> chunk(new Larder::Chunk<T>(std::move(values)));
    return Quilt::MemBaseHandle(new Quilt::MemArray<1, T>(chunk, size, nullptr));
  };
  const Quilt::LineSet lineSet(grid, arrayOf(points), arrayOf(lines), nullptr);
  bundle.save(folder / "set.q8", nullptr, nullptr);
  return folder / "set.q8";
}

TEST(ExportGeojson, WritesEachLineWithItsLevel) {
  const TempFolder folder;
  const std::string file = lineFile(
      folder, {{32512345.678, 5712345.25, 7.5}, {1, 2, 7.5}, {3, 4, 7.5}}, {{0, 1}, {1, 2, 1}});
  ASSERT_EQ(runProgram(folder, {"export-geojson", file, folder / "l.json"}).exitCode(), 0);
  const char* start =
      "{\"type\":\"Feature\",\"properties\":{\"level\":7.5},\"geometry\":"
      "{\"type\":\"LineString\",\"coordinates\":";
  EXPECT_EQ(textOf(folder / "l.json"),
            std::string("{\"type\":\"FeatureCollection\",\"features\":[\n") + start +
                "[[32512345.678,5712345.25,7.5],[1,2,7.5]]}},\n" + start +
                "[[1,2,7.5],[3,4,7.5],[1,2,7.5]]}}\n]}\n");
}

TEST(ExportGeojson, LeavesOutLinesThatAreNone) {
  const TempFolder folder;
  const std::string file = lineFile(folder, {{0, 0, 1}, {1, 0, 1}, {0, std::nan(""), 1}},
                                    {{0, 4000000000U}, {0}, {}, {0, 2}, {1, 0}});
  auto run = runProgram(folder, {"export-geojson", file, folder / "l.json"});
  EXPECT_EQ(run.exitCode(), 65);
  EXPECT_THAT(run.errors(), HasSubstr("4 lines are left out"));
  EXPECT_THAT(textOf(folder / "l.json"), HasSubstr("[\n{\"type\":\"Feature\",\"properties\":"
                                                   "{\"level\":1},\"geometry\":{\"type\":"
                                                   "\"LineString\",\"coordinates\":[[1,0,1],"
                                                   "[0,0,1]]}}\n]}"));
}

}  // namespace
