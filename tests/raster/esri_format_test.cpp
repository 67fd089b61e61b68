#include "raster_files.h"
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "recast/raster/terrain_import.h"

namespace {

using TestSupport::ConvertedRaster;

std::string header(const std::string& more = "") {
  return "ncols 3\nnrows 2\nxllcorner 3000100\nyllcorner 5000200\ncellsize 10\n" + more;
}

const std::string kBody = "1 2 3\n4 5 6\n";

struct Spelling {
  const char* name;
  std::string text;
};

// What several producers write; all of it is the same raster.
const Spelling kSpellings[] = {
    {"plain", header() + kBody},
    {"upper case and tabs",
     "NCOLS\t3\nNROWS\t2\nXLLCORNER\t3000100\nYLLCORNER\t5000200\n"
     "CELLSIZE\t10\n" +
         kBody},
    {"other order, padded",
     "cellsize      10.0\nyllcorner     5000200.000000\n"
     "xllcorner     3000100.000000000000\nnrows  2\nncols   3\n" +
         kBody},
    {"centre form",
     "ncols 3\nnrows 2\nxllcenter 3000105\nyllcenter 5000205\ncellsize 10\n" + kBody},
    {"corner form by x alone",
     "ncols 3\nnrows 2\nxllcorner 3000100\nyllcenter 5000200\n"
     "cellsize 10\n" +
         kBody},
    {"carriage returns",
     "ncols 3\r\nnrows 2\r\nxllcorner 3000100\r\nyllcorner 5000200\r\n"
     "cellsize 10\r\n1 2 3\r\n4 5 6\r\n"},
    {"no last line end", header() + "1 2 3\n4 5 6"},
    {"leading and trailing blanks", header() + " 1  2   3 \n   4 5 6  \n"},
    {"numbers with a tail", header() + "1x 2,5 3\n4m 5 6\n"},
    {"more numbers than columns", header() + "1 2 3 99 x\n4 5 6 98\n"},
    {"cut at a NUL", header() + "1 2 3\n4 5 6" + std::string("\0 junk\n", 7)},
    {"later value wins", "cellsize 99\nncols 7\n" + header() + kBody},
    {"value with a tail",
     "ncols 3abc\nnrows 2.9\nxllcorner 3000100m\nyllcorner 5000200\n"
     "cellsize 10 metres\n" +
         kBody},
    {"no-data value in the header", header("NODATA_value -32768\n") + kBody},
};

TEST(EsriFormat, EverySpellingGivesTheSameRaster) {
  for (const Spelling& spelling : kSpellings) {
    SCOPED_TRACE(spelling.name);
    const ConvertedRaster result(spelling.text);
    ASSERT_EQ(result.status, 0);
    EXPECT_EQ(result.fragmentName(), "Offset[10x20x0]");
    const auto heights = result.heights();
    ASSERT_TRUE(heights);
    ASSERT_EQ(heights->Size(), Quilt::MultiIndex<3>(3, 2, 1));
    // The first line is the northernmost row, the last of the array.
    const std::vector<float> expected = {4, 5, 6, 1, 2, 3};
    EXPECT_EQ(std::vector<float>(heights->data, heights->data + 6), expected);
    ASSERT_EQ(result.points().size(), 6u);
    EXPECT_EQ(result.points()[0], Heron::PhysicalSpace::point(3000105.0, 5000205.0, 4.0));
  }
}

TEST(EsriFormat, FaultsGiveTheirStatusAndTheirPlace) {
  const std::string place = "xllcorner 3000100\nyllcorner 5000200\n";
  const std::string nowhere = "xllcorner 0\nyllcorner 0\ncellsize 10\n1\n";
  const std::string ends = ": the header ends before this line and lacks ";
  const struct {
    int status;
    std::string text;
    std::string failure;  // behind the path
  } cases[] = {
      {3, "ncols abc\n", ", line 1: \"abc\" is no value for \"ncols\""},
      {3, header("CellSize 1e999\n") + kBody, ", line 6: \"1e999\" is no value for \"CellSize\""},
      {3, "ncols\nnrows 2\n", ", line 1: \"\" is no value for \"ncols\""},
      {4, "", ": the file ends inside its header, after 0 lines"},
      {4, header(), ": the file ends inside its header, after 5 lines"},
      {5, "1 2 3\n", ", line 1" + ends + "\"ncols\""},
      {5, "\nncols 3\n", ", line 1" + ends + "\"ncols\""},
      {5, "ncols 3\n" + place + "cellsize 10\n" + kBody, ", line 5" + ends + "\"nrows\""},
      {6, "ncols 3\nnrows 2\nxllcorner 3000100\ncellsize 10\n" + kBody,
       ", line 5" + ends + "\"yllcorner\" or \"yllcenter\""},
      {7, "ncols 3\nnrows 2\n" + place + kBody, ", line 5" + ends + "\"cellsize\""},
      {10, header() + "1 2\n4 5 6\n", ", line 6: 2 of 3 numbers"},
      {10, header() + "1\t2\t3\n4 5 6\n", ", line 6: 1 of 3 numbers"},
      {10, header() + kBody + "\n", ", line 8: 0 of 3 numbers"},
      {10, header() + "x 1e39\n" + kBody, ", line 6: 2 of 3 numbers"},
      {11, header() + "1 2 3\n4 x 1e39\n", ", line 7, column 2: \"x\" is no number"},
      {9, "ncols 4294967295\nnrows 4294967295\n" + nowhere,
       ": there is no memory for 4294967295 x 4294967295 cells"},
      {10, "ncols 100000000\nnrows 1\n" + nowhere, ", line 6: 1 of 100000000 numbers"},
  };
  for (const auto& [status, text, failure] : cases) {
    SCOPED_TRACE(text);
    const ConvertedRaster result(text);
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.report.failure, result.folder / "in.asc" + failure);
    EXPECT_FALSE(result.bundle) << "there is no output";
    EXPECT_TRUE(result.console.messages().empty());
  }
}

TEST(EsriFormat, LongHeaderLinesAreReadInPieces) {
  // A first data line longer than a header line may be ends the header and is whole all the same.
  std::string row = "1";
  for (int i = 2; i <= 600; ++i) row += " " + std::to_string(i);
  const ConvertedRaster result(
      "ncols 600\nnrows 1\nxllcorner 3000000\nyllcorner 5000000\ncellsize 1\n" + row + "\n");
  ASSERT_EQ(result.status, 0);
  EXPECT_EQ(result.fragmentName(), "Offset[0x0x0]");
  EXPECT_EQ(result.heights()->last(), 600.0F);
}

TEST(EsriFormat, RowsWithoutALineHoldZeroAndSurplusLinesAreLeftOut) {
  const ConvertedRaster shorter("ncols 2\nnrows 3\nxllcorner 0\nyllcorner 0\ncellsize 1\n1 2\n");
  ASSERT_EQ(shorter.status, 0);
  const auto heights = shorter.heights();
  EXPECT_EQ(std::vector<float>(heights->data, heights->data + 6),
            (std::vector<float>{0, 0, 0, 0, 1, 2}));
  EXPECT_EQ(shorter.report.notices[0],
            shorter.folder / "in.asc: has 1 data lines for 3 rows; the other rows hold 0");
  EXPECT_EQ(shorter.report.notices.size(), 2u) << "it lies outside the world frame";

  const ConvertedRaster longer(header() + kBody + "7 8 9\n");
  ASSERT_EQ(longer.status, 0);
  EXPECT_EQ(longer.heights()->last(), 3.0F);
  EXPECT_EQ(longer.report.notices,
            std::vector<std::string>{
                longer.folder /
                "in.asc: has 3 data lines for 2 rows; those behind the last row are left out"});
  EXPECT_EQ(longer.console.count("data lines"), 0u);
}

/// How many of the pages between two addresses are in memory.
std::size_t residentPages(float* begin, float* end) {
  const auto size = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto first = (reinterpret_cast<std::uintptr_t>(begin) + size - 1) / size * size;
  std::vector<unsigned char> pages((reinterpret_cast<std::uintptr_t>(end) - first) / size);
  EXPECT_EQ(mincore(reinterpret_cast<void*>(first), pages.size() * size, pages.data()), 0);
  return static_cast<std::size_t>(
      std::count_if(pages.begin(), pages.end(), [](unsigned char page) { return page % 2 == 1; }));
}

TEST(EsriFormat, RowsWithoutALineUseNoMemory) {
  constexpr std::uint64_t kRows = 40'000'000;
  const TestSupport::TempFolder folder;
  const std::string path = folder.write(
      "in.asc", "ncols 2\nnrows 40000000\nxllcorner 0\nyllcorner 0\ncellsize 1\n1 2\n3 4\n");
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  double noData = 0.0;
  Heron::PhysicalSpace::vector cellSize;
  Heron::PhysicalSpace::point origin;
  std::string grid = "heights";
  ASSERT_EQ(Recast::readDGMAsGrd(bundle, path, nullptr, noData, cellSize, origin, grid), 0);
  const auto heights = TestSupport::fragmentArray<3, float>(
      TestSupport::findField(*bundle, grid, "Elevation"), "in");
  ASSERT_EQ(heights->nElements(), 2 * kRows);
  float* const end = heights->data + heights->nElements();
  EXPECT_LT(residentPages(heights->data, end), 10u);
  EXPECT_EQ(std::vector<float>(end - 6, end), (std::vector<float>{0, 0, 3, 4, 1, 2}));
  EXPECT_TRUE(std::all_of(heights->data, end - 4, [](float height) { return height == 0.0F; }));
}

}  // namespace
