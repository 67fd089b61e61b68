// Inputs that are no plain files or can't be read to their end, and outputs that can't be written.

#include <algorithm>
#include <string>

#include "support/bundles.h"
#include "support/console_capture.h"
#include "support/file_size_limit.h"
#include "support/input_pipe.h"
#include "support/program_run.h"
#include "support/temp_folder.h"
#include <gtest/gtest.h>

#include "recast/raster/esri_raster_to_q8.h"
#include "recast/raster/terrain_import.h"
#include "recast/recastbase/run_report.h"

namespace {

using TestSupport::InputPipe;
using TestSupport::textOf;

std::string rasterText(int rows) {
  std::string text = "ncols 4\nnrows " + std::to_string(rows) +
                     "\nxllcorner 3000000\nyllcorner 5000000\ncellsize 1\n";
  for (int row = 0; row < rows; ++row) text += std::to_string(row) + " 1.5 -9999 7\n";
  return text;
}

std::string sampleText(int rows) {
  std::string text;
  for (int row = 0; row < rows; ++row)
    text += "3000000 " + std::to_string(5000000 + row) + " " + std::to_string(row % 7) + "\n";
  return text;
}

int convertRaster(const std::string& input, const std::string& output) {
  return Recast::converterEsriRasterToQ8(TestSupport::stringList({input}), output, nullptr, "", "");
}
int importTerrain(const std::string& input, const std::string& output) {
  std::string uniform, points;
  return Recast::readDGM(TestSupport::stringList({input}), output, nullptr, uniform, points, false);
}

const struct {
  const char* name;
  int (*convert)(const std::string& input, const std::string& output);
  std::string (*text)(int rows);
} kImports[] = {{"a.asc", convertRaster, rasterText},
                {"b.asc", importTerrain, rasterText},
                {"c.xyz", importTerrain, sampleText},
                {"d.g01dgm", importTerrain, sampleText}};

TEST(RasterInputs, APipeGivesWhatAFileGives) {
  for (const auto& import : kImports) {
    for (const int rows : {1, 2, 40'000}) {
      SCOPED_TRACE(import.name + (" of " + std::to_string(rows)));
      const TestSupport::TempFolder folder;
      const TestSupport::ConsoleCapture console;
      const std::string text = import.text(rows);
      const int status =
          import.convert(folder.write(std::string("file/") + import.name, text), folder / "1.q8");
      EXPECT_EQ(status == 0, rows > 1 || import.text == rasterText || import.name[0] == 'd');
      std::filesystem::create_directory(folder / "pipe");
      const InputPipe pipe(folder / "pipe/" + import.name, text);
      ASSERT_EQ(import.convert(pipe, folder / "2.q8"), status);
      ASSERT_EQ(std::filesystem::exists(folder / "2.q8"), status == 0);
      EXPECT_TRUE(status != 0 || textOf(folder / "1.q8") == textOf(folder / "2.q8"));
    }
  }
}

TEST(RasterInputs, APipeThatIsNeededTwiceAndTooLongIsRefused) {
  const TestSupport::TempFolder folder;
  const TestSupport::ConsoleCapture console;
  const InputPipe pipe(folder / "late.asc", rasterText(40'000) + "1 2 4\n");
  EXPECT_EQ(importTerrain(pipe, folder / "out.q8"), 1);
  const std::string& failure = Recast::lastRunReport().failure;
  EXPECT_NE(failure.find("late.asc, line 40006: 3 of 4 numbers"), std::string::npos) << failure;
  EXPECT_NE(failure.find("late.asc: can't be read a second time"), std::string::npos) << failure;
}

TEST(RasterInputs, AReadErrorHalfWayIsAFailureAndLeavesTheFormerOutput) {
  for (const auto& import : kImports) {
    for (const int rows : {2, 40'000}) {
      SCOPED_TRACE(import.name + (" of " + std::to_string(rows)));
      const TestSupport::TempFolder folder;
      const TestSupport::ConsoleCapture console;
      const std::string output = folder.write("out.q8", "former");
      const InputPipe pipe(folder / import.name, import.text(rows) + "1 2",
                           InputPipe::End::kReadError);
      EXPECT_EQ(import.convert(pipe, output), 1);
      const auto lines = std::to_string(rows + (import.text == rasterText ? 5 : 0));
      const std::string& failure = Recast::lastRunReport().failure;
      EXPECT_TRUE(failure.ends_with(folder / import.name + ": can't be read behind line " + lines +
                                    ": Is a directory"))
          << failure;
      EXPECT_EQ(textOf(output), "former");
      EXPECT_TRUE(console.messages().empty());
    }
  }
}

TEST(RasterOutputs, AFullDiskIsThrownAndLeavesTheFormerOutput) {
  for (const auto& import : kImports) {
    SCOPED_TRACE(import.name);
    const TestSupport::TempFolder folder;
    const TestSupport::ConsoleCapture console;
    const std::string input = folder.write(import.name, import.text(40'000));
    const std::string output = folder.write("out.q8", "former");
    try {
      const TestSupport::FileSizeLimit full(rlim_t{1} << 20);
      import.convert(input, output);
      ADD_FAILURE() << "the output has more bytes";
    } catch (const Quilt::StorageError& error) {
      EXPECT_EQ(Recast::lastRunReport().failure, error.what());
    }
    EXPECT_EQ(textOf(output), "former");
    EXPECT_EQ(folder.files().size(), 2u);
  }
}

}  // namespace
