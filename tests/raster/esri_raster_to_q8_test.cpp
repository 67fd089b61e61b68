#include "recast/raster/esri_raster_to_q8.h"

#include "raster_files.h"
#include "support/in_threads.h"
#include "support/program_run.h"
#include <gtest/gtest.h>

namespace {

using TestSupport::ConsoleCapture;
using TestSupport::findField;
using TestSupport::loadBundle;
using TestSupport::stringList;
using TestSupport::TempFolder;
using TestSupport::textOf;

std::string raster(double cellSize, int firstHeight) {
  return "ncols 2\nnrows 2\nxllcorner 3000000\nyllcorner 5000000\ncellsize " +
         std::to_string(cellSize) + "\n" + std::to_string(firstHeight) + " 2\n3 4\n";
}

int convert(std::vector<std::string> inputs, const std::string& output) {
  return Recast::converterEsriRasterToQ8(stringList(std::move(inputs)), output, nullptr, "", "");
}

TEST(EsriRasterToQ8, DefaultGridsSpanTheWorldFrameAndCarryTheTruncatedCellSize) {
  for (const auto& [cellSize, number] :
       {std::pair<double, std::string>{25.0, "25"}, {0.5, "0"}, {1.99, "1"}}) {
    const TempFolder folder;
    const ConsoleCapture console;
    ASSERT_EQ(convert({folder.write("a.asc", raster(cellSize, 1))}, folder / "a.q8"), 0);
    const auto bundle = loadBundle(folder / "a.q8");
    ASSERT_TRUE(bundle);
    EXPECT_TRUE(findField(*bundle, "Pkt_CellSize_" + number, "Positions"));
    EXPECT_TRUE(console.contains("DGM_CellSize_" + number));
    EXPECT_EQ(console.messages().back().rfind("Done GrdToQ8: Elapsed time: ", 0), 0u);
    const auto elevation = findField(*bundle, "DGM_CellSize_" + number, "Elevation");
    ASSERT_TRUE(elevation);
    EXPECT_EQ((Quilt::FragmentLocation<3, 1>::make(*elevation->getFragmentIDs()[0])),
              Quilt::MultiIndex<3>(0, 0, 0));
    const auto frame = findField(*bundle, "DGM_CellSize_" + number, "Positions")->getData(nullptr);
    EXPECT_EQ(frame->getSize(), Quilt::DynamicSize(Quilt::MultiIndex<3>(31000001, 29000001, 1)));
    EXPECT_EQ(frame->OriginPtr()[0], 3000000.0);
    EXPECT_EQ(frame->DeltaPtr()[1], 1.0);
  }
}

TEST(EsriRasterToQ8, OfAListTheLastFileStaysAndAFailureEndsIt) {
  const TempFolder folder;
  const ConsoleCapture console;
  const auto first = folder.write("first.asc", raster(1, 11));
  const auto second = folder.write("second.asc", raster(2, 22));
  EXPECT_EQ(convert({}, folder / "out.q8"), 0);
  EXPECT_EQ(console.messages(), std::vector<std::string>{"Done GrdToQ8: Elapsed time: 0s\n"});
  EXPECT_FALSE(std::filesystem::exists(folder / "out.q8"));
  ASSERT_EQ(convert({first, second}, folder / "out.q8"), 0);
  const auto bundle = loadBundle(folder / "out.q8");
  EXPECT_FALSE(findField(*bundle, "DGM_CellSize_1", "Elevation"));
  EXPECT_TRUE(findField(*bundle, "DGM_CellSize_2", "Elevation"));
  EXPECT_EQ(console.count("about to be replaced by " + second), 1u);
  EXPECT_EQ(convert({first, folder / "missing.asc", second}, folder / "out.q8"), 1);
  EXPECT_TRUE(findField(*loadBundle(folder / "out.q8"), "DGM_CellSize_1", "Elevation"));
}

TEST(EsriRasterToQ8, AnOutputThatCannotBeWrittenLeavesNothingBehind) {
  const TempFolder folder;
  const ConsoleCapture console;
  const auto input = folder.write("a.asc", raster(1, 1));
  for (const std::string& output :
       {folder / "no/such/folder.q8", std::string(), folder.path().string()})
    EXPECT_EQ(convert({input}, output), 8) << output;
  EXPECT_EQ(folder.files(), std::vector<std::string>{"a.asc"});
}

TEST(EsriRasterToQ8, TwoAtOnceGiveTheFilesOfOneAfterTheOther) {
  const TempFolder folder;
  const ConsoleCapture console;
  std::string text = "ncols 60\nnrows 50\nxllcorner 3000000\nyllcorner 5000000\ncellsize 1\n";
  for (int i = 0; i < 3000; ++i) text += std::to_string(i % 97) + (i % 60 == 59 ? "\n" : " ");
  const auto input = folder.write("a.asc", text);
  ASSERT_EQ(convert({input}, folder / "alone.q8"), 0);
  TestSupport::inThreads(
      2, [&](int i) { EXPECT_EQ(convert({input}, folder / std::to_string(i)), 0); });
  for (const char* name : {"0", "1"})
    EXPECT_TRUE(textOf(folder / name) == textOf(folder / "alone.q8"));
}

}  // namespace
