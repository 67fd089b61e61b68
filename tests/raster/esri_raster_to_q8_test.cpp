#include "recast/raster/esri_raster_to_q8.h"

#include <stdexcept>

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
  const auto output = folder / "out.q8";
  const auto first = folder.write("first.asc", raster(1, 11));
  const auto second = folder.write("second.asc", raster(2, 22));
  EXPECT_EQ(convert({}, output), 0);
  EXPECT_EQ(console.messages(), std::vector<std::string>{"Done GrdToQ8: Elapsed time: 0s\n"});
  EXPECT_FALSE(std::filesystem::exists(output));
  ASSERT_EQ(convert({first, second}, output), 0);
  EXPECT_FALSE(findField(*loadBundle(output), "DGM_CellSize_1", "Elevation"));
  EXPECT_TRUE(findField(*loadBundle(output), "DGM_CellSize_2", "Elevation"));
  EXPECT_EQ(Recast::lastRunReport().notices,
            std::vector<std::string>{output + ": what " + first + " gave was replaced by what " +
                                     second + " gave; the terrain import merges rasters"});
  EXPECT_EQ(console.messages().size(), 4u) << "two grids, two times";
  EXPECT_EQ(convert({first, folder / "missing.asc", second}, output), 1);
  EXPECT_EQ(Recast::lastRunReport().failure,
            folder / "missing.asc: can't be opened: No such file or directory");
  EXPECT_TRUE(findField(*loadBundle(output), "DGM_CellSize_1", "Elevation"));
}

TEST(EsriRasterToQ8, ARasterThatFailsLeavesTheFormerFile) {
  const TempFolder folder;
  const ConsoleCapture console;
  const auto output = folder / "out.q8";
  ASSERT_EQ(convert({folder.write("good.asc", raster(1, 1))}, output), 0);
  const std::string former = textOf(output);
  const auto bad = folder.write("bad.asc", raster(2, 2) + "1 x\n1\n");
  EXPECT_EQ(convert({bad}, output), 10);
  std::string text = raster(2, 2);
  text.replace(text.find("\n2 2\n") + 1, 1, "1e39");
  try {
    convert({folder.write("far.asc", text)}, output);
    ADD_FAILURE() << "a height beyond the range of a float is thrown";
  } catch (const std::out_of_range& error) {
    EXPECT_EQ(error.what(), folder /
                                "far.asc, line 6, column 1: \"1e39\" is beyond the range of a "
                                "float");
    EXPECT_EQ(Recast::lastRunReport().failure, error.what());
  }
  EXPECT_TRUE(textOf(output) == former);
  EXPECT_EQ(folder.files(), (std::vector<std::string>{"bad.asc", "far.asc", "good.asc", "out.q8"}));
}

TEST(EsriRasterToQ8, GridsOfOneNameHoldHeightsAndPoints) {
  const TempFolder folder;
  const ConsoleCapture console;
  const auto list = stringList({folder.write("a.asc", raster(1, 1))});
  ASSERT_EQ(Recast::converterEsriRasterToQ8(list, folder / "out.q8", nullptr, "one", "one"), 0);
  const auto bundle = loadBundle(folder / "out.q8");
  EXPECT_TRUE((TestSupport::fragmentArray<3, float>(findField(*bundle, "one", "Elevation"),
                                                    "Offset[0x0x0]")));
  EXPECT_EQ(TestSupport::fragmentValues<Heron::PhysicalSpace::point>(
                findField(*bundle, "one", "Positions"), "Offset[0x0x0]")
                .size(),
            4u);
}

TEST(EsriRasterToQ8, AnOutputThatCannotBeBoundGivesItsStatusAndReason) {
  const TempFolder folder;
  EXPECT_EQ(convert({folder.write("a.asc", raster(1, 1))}, folder / "no/such.q8"), 8);
  EXPECT_NE(Recast::lastRunReport().failure.find("No such file"), std::string::npos);
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
