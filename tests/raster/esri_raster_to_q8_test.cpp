#include "recast/raster/esri_raster_to_q8.h"

#include <iterator>
#include <thread>

#include "raster_files.h"
#include <gtest/gtest.h>

namespace {

using TestSupport::ConsoleCapture;
using TestSupport::findField;
using TestSupport::loadBundle;
using TestSupport::stringList;
using TestSupport::TempFolder;

std::string raster(double cellSize, int firstHeight) {
  return "ncols 2\nnrows 2\nxllcorner 3000000\nyllcorner 5000000\ncellsize " +
         std::to_string(cellSize) + "\n" + std::to_string(firstHeight) + " 2\n3 4\n";
}

int convert(std::vector<std::string> inputs, const std::string& output) {
  return Recast::converterEsriRasterToQ8(stringList(std::move(inputs)), output, nullptr, "", "");
}

std::string content(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(EsriRasterToQ8, DefaultGridNamesCarryTheTruncatedCellSize) {
  const struct {
    double cellSize;
    const char* number;
  } cases[] = {{25.0, "25"}, {0.5, "0"}, {1.99, "1"}};
  for (const auto& [cellSize, number] : cases) {
    const TempFolder folder;
    const ConsoleCapture console;
    ASSERT_EQ(convert({folder.write("a.asc", raster(cellSize, 1))}, folder / "a.q8"), 0);
    const auto bundle = loadBundle(folder / "a.q8");
    ASSERT_TRUE(bundle);
    EXPECT_TRUE(findField(*bundle, std::string("DGM_CellSize_") + number, "Elevation"));
    EXPECT_TRUE(findField(*bundle, std::string("Pkt_CellSize_") + number, "Positions"));
    EXPECT_TRUE(console.contains("DGM_CellSize_" + std::string(number)));
    EXPECT_EQ(console.messages().back().rfind("Done GrdToQ8: Elapsed time: ", 0), 0u);
  }
}

TEST(EsriRasterToQ8, UniformGridSpansTheWorldFrame) {
  const TempFolder folder;
  const ConsoleCapture console;
  ASSERT_EQ(convert({folder.write("a.asc", raster(1, 1))}, folder / "a.q8"), 0);
  const auto bundle = loadBundle(folder / "a.q8");
  const auto positions = findField(*bundle, "DGM_CellSize_1", "Positions");
  const auto array = positions->getData(nullptr);
  ASSERT_TRUE(array);
  EXPECT_EQ(array->getSize(), Quilt::DynamicSize(Quilt::MultiIndex<3>(31000001, 29000001, 1)));
  EXPECT_EQ(array->OriginPtr()[0], 3000000.0);
  EXPECT_EQ(array->DeltaPtr()[1], 1.0);
  const auto fragment = findField(*bundle, "DGM_CellSize_1", "Elevation")->getFragmentIDs()[0];
  EXPECT_EQ((Quilt::FragmentLocation<3, 1>::make(*fragment)), Quilt::MultiIndex<3>(0, 0, 0));
}

TEST(EsriRasterToQ8, OfAListTheLastFileStaysAndTheConsoleWarns) {
  const TempFolder folder;
  const ConsoleCapture console;
  const auto first = folder.write("first.asc", raster(1, 11));
  const auto second = folder.write("second.asc", raster(2, 22));
  ASSERT_EQ(convert({first, second}, folder / "out.q8"), 0);
  const auto bundle = loadBundle(folder / "out.q8");
  EXPECT_FALSE(findField(*bundle, "DGM_CellSize_1", "Elevation"));
  EXPECT_TRUE(findField(*bundle, "DGM_CellSize_2", "Elevation"));
  EXPECT_EQ(console.count("about to be replaced by " + second), 1u);
}

TEST(EsriRasterToQ8, AFailureEndsTheListAndKeepsWhatWasDone) {
  const TempFolder folder;
  const ConsoleCapture console;
  EXPECT_EQ(convert({folder.write("a.asc", raster(1, 1)), folder / "missing.asc",
                     folder.write("c.asc", raster(3, 3))},
                    folder / "out.q8"),
            1);
  EXPECT_TRUE(findField(*loadBundle(folder / "out.q8"), "DGM_CellSize_1", "Elevation"));
}

TEST(EsriRasterToQ8, AnEmptyListPrintsTheTimeAndSucceeds) {
  const TempFolder folder;
  const ConsoleCapture console;
  EXPECT_EQ(convert({}, folder / "out.q8"), 0);
  EXPECT_EQ(console.messages(), std::vector<std::string>{"Done GrdToQ8: Elapsed time: 0s\n"});
  EXPECT_TRUE(folder.files().empty());
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
  std::vector<std::thread> threads;
  for (const char* name : {"left.q8", "right.q8"})
    threads.emplace_back([&, name] { EXPECT_EQ(convert({input}, folder / name), 0); });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(content(folder / "left.q8"), content(folder / "alone.q8"));
  EXPECT_EQ(content(folder / "right.q8"), content(folder / "alone.q8"));
}

}  // namespace
