// The input is a terrain text, lines of x y z.

#include <array>
#include <cmath>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/require.h"
#include "support/scratch_folder.h"
#include "support/tile_heights.h"

#include "recast/grid_lookups/string_util.h"
#include "recast/raster/raster_status.h"
#include "recast/raster/terrain_import.h"
#include "recast/raster/terrain_samples.h"

namespace {

using FuzzSupport::require;
using Heron::PhysicalSpace;

/// Rasters of more cells are left out: they take too long.
constexpr double kMostCells = 1 << 16;
constexpr float kNoData = -9999.0F;

/// The extent of the samples, by the reader of single samples alone. A text that this can't read is
/// offered all the same: the reader refuses it before it knows an extent.
double cellsOf(const std::string& path, std::optional<double> spacing) {
  Recast::TerrainSamples samples;
  try {
    Larder::Text::LineReader input(path);
    if (!Recast::readSamplesFromText(input, spacing, samples).isDone()) return 0.0;
  } catch (const std::out_of_range&) {
    return 0.0;
  }
  const auto dimensions = samples.dimensions();
  if (!dimensions) return 0.0;
  return static_cast<double>((*dimensions)[0]) * static_cast<double>((*dimensions)[1]);
}

/// All cells hold a height of the text or the value for none, and the last sample has its cell.
void requireSamples(const std::string& text, const Quilt::MemArray<3, float>& heights) {
  std::vector<float> present;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    line = line.substr(0, line.find('\0'));
    const std::size_t last = line.find_last_not_of(" \r");
    const std::size_t before = line.find_last_of(' ', last);
    require(last != std::string::npos && before != std::string::npos,
            "a line that is accepted holds several numbers");
    present.push_back(std::strtof(line.c_str() + before + 1, nullptr));
  }
  std::uint64_t filled = 0;
  bool hasLast = false;
  for (std::uint64_t i = 0; i < heights.nElements(); ++i) {
    const float cell = heights.data[i];
    filled += cell != kNoData ? 1 : 0;
    hasLast = hasLast || cell == present.back() || std::isnan(present.back());
  }
  require(filled <= present.size(), "there are no more heights than samples");
  require(hasLast, "the last sample has its cell");
}

void check(const std::string& path, const std::string& text) {
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  double noData = 0.0;
  PhysicalSpace::vector cellSize{1.0, 1.0, 1.0};
  PhysicalSpace::point origin{0.0, 0.0, 0.0};
  std::string grid = "heights";
  const int status = Recast::readDGMAsTxt(bundle, path, nullptr, noData, cellSize, origin, grid);
  const auto slice = (*bundle)[0.0];
  if (status != Recast::kRasterDone) {
    require(slice->begin() == slice->end(), "a text that is refused leaves nothing");
    return;
  }
  const std::string tile = Larder::StringUtil::basename(path);
  const auto heights = FuzzSupport::tileHeights(*bundle, grid, path);
  require(static_cast<bool>(heights), "a terrain has heights");
  require(cellSize.x() != 0.0 && cellSize.x() == cellSize.y(), "the spacing is known");
  requireSamples(text, *heights);
  std::string points = "points";
  require(Recast::uniformToPointCloud(bundle, grid, points, tile, noData, cellSize, origin,
                                      nullptr) == Recast::kRasterDone,
          "a terrain becomes a point cloud");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool once = (FuzzSupport::silence(), true);
  static const FuzzSupport::ScratchFolder folder;
  static_cast<void>(once);
  const std::string text(reinterpret_cast<const char*>(data), size);
  // The spacing comes from the samples, or from the name.
  struct Name {
    const char* name;
    std::optional<double> spacing;
  };
  for (const auto& [name, spacing] : {Name{"terrain.txt", {}}, Name{"terrain.g05dgm", 5.0}}) {
    const std::string path = folder.write(name, data, size);
    if (cellsOf(path, spacing) > kMostCells) continue;
    try {
      check(path, text);
    } catch (const std::out_of_range&) {  // a number beyond the range of a float
    }
  }
  return 0;
}
