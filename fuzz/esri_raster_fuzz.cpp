// The input is an Esri ASCII raster.

#include <cmath>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "support/require.h"
#include "support/scratch_folder.h"
#include "support/tile_heights.h"

#include "recast/grid_lookups/string_util.h"
#include "recast/raster/esri_header.h"
#include "recast/raster/height_memory.h"
#include "recast/raster/raster_status.h"
#include "recast/raster/terrain_import.h"

namespace {

using FuzzSupport::require;
using Quilt::MultiIndex;

/// Rasters of more cells are left out, unless they are to be refused: they take too long.
constexpr std::uint64_t kMostCells = 1 << 16;

/// The text's lines one after the other, without line end, cut at a NUL.
class Lines {
 public:
  explicit Lines(std::string_view text) : text_(text) {}
  bool next(std::string& line) {
    if (text_.empty()) return false;
    const std::size_t end = std::min(text_.find('\n'), text_.size());
    std::string_view found = text_.substr(0, end);
    text_.remove_prefix(std::min(end + 1, text_.size()));
    if (!found.empty() && found.back() == '\r') found.remove_suffix(1);
    line = found.substr(0, found.find('\0'));
    return true;
  }

 private:
  std::string_view text_;
};

/// Every cell is what the C library makes of its token.
void requireCells(std::string_view text, std::uint64_t headerLines,
                  const Quilt::MemArray<3, float>& heights) {
  if (heights.nElements() == 0) return;  // of however many rows without columns
  Lines lines(text);
  std::string line;
  while (headerLines-- > 0) lines.next(line);
  for (std::uint64_t row = heights.dims[1]; row-- > 0;) {
    std::size_t at = 0;
    const bool present = lines.next(line);
    for (std::uint64_t column = 0; column < heights.dims[0]; ++column) {
      float expected = 0.0F;
      if (present) {
        at = line.find_first_not_of(' ', at);
        require(at != std::string::npos, "a row that is accepted has a number per column");
        const std::size_t end = std::min(line.find(' ', at), line.size());
        expected = std::strtof(line.substr(at, end - at).c_str(), nullptr);
        at = end;
      }
      const float cell = heights[MultiIndex<3>(column, row, 0)];
      require(cell == expected || (std::isnan(cell) && std::isnan(expected)),
              "a cell holds the number of its token");
    }
  }
}

void requireCloud(Quilt::BundlePtr& bundle, const std::string& tile, const std::string& grid,
                  const Quilt::MemArray<3, float>& heights, double noData,
                  const Heron::PhysicalSpace::vector& cellSize,
                  const Heron::PhysicalSpace::point& origin) {
  std::string pointGrid = "points";
  require(Recast::uniformToPointCloud(bundle, grid, pointGrid, tile, noData, cellSize, origin,
                                      nullptr) == Recast::kRasterDone,
          "a raster becomes a point cloud");
  std::uint64_t values = 0;
  for (std::uint64_t i = 0; i < heights.nElements(); ++i)
    values += std::fabs(static_cast<double>(heights.data[i]) - noData) > 0.001 ? 1 : 0;
  const auto slice = (*bundle)[0.0];
  for (const char* field : {"Positions", "Normals"}) {
    const auto creator = (*(*slice)(pointGrid))(field, "")->getCreatorByName(tile);
    require(creator ? creator->get()->nElements() == values : values == 0,
            "there is a point and a normal per value");
  }
}

void check(const std::string& path, std::string_view text, const Recast::EsriHeader& header) {
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  double noData = Recast::EsriHeader::kDefaultNoData;
  Heron::PhysicalSpace::vector cellSize{1.0, 1.0, 1.0};
  Heron::PhysicalSpace::point origin{0.0, 0.0, 0.0};
  std::string grid = "heights";
  const int status = Recast::readDGMAsGrd(bundle, path, nullptr, noData, cellSize, origin, grid);
  const auto slice = (*bundle)[0.0];
  if (status != Recast::kRasterDone) {
    require(slice->begin() == slice->end(), "a raster that is refused leaves nothing");
    return;
  }
  const std::string tile = Larder::StringUtil::basename(path);
  const auto heights = FuzzSupport::tileHeights(*bundle, grid, path);
  require(heights && heights->dims == MultiIndex<3>(*header.columns, *header.rows, 1),
          "a raster has the size that its header tells");
  requireCells(text, header.lines, *heights);
  requireCloud(bundle, tile, grid, *heights, noData, cellSize, origin);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool once = (FuzzSupport::silence(), true);
  static const FuzzSupport::ScratchFolder folder;
  static_cast<void>(once);
  const std::string path = folder.write("raster.asc", data, size);
  Recast::EsriHeader header;
  Larder::Text::LineReader input(path);
  if (Recast::readEsriHeader(input, {.skipEmptyLines = true}, header).isDone() && header.columns &&
      header.rows) {
    const std::uint64_t cells = std::uint64_t{*header.columns} * *header.rows;
    if (cells > kMostCells && Recast::fitsMemory(cells, sizeof(float))) return 0;
  }
  try {
    check(path, {reinterpret_cast<const char*>(data), size}, header);
  } catch (const std::out_of_range&) {  // a number beyond the range of a float
  }
  return 0;
}
