#include <algorithm>

#include "recast/grid_lookups/string_util.h"
#include "recast/raster/esri_header.h"
#include "recast/raster/height_tile.h"
#include "recast/raster/raster_status.h"
#include "recast/raster/terrain_import.h"
#include "recast/raster/terrain_samples.h"
#include "recast/raster/world_frame.h"
#include "recast/text_input/numbers.h"

namespace Recast {
namespace {

/// The spacing that an extension like g10dgm tells; a leading 0 makes the number octal.
std::optional<double> spacingFromExtension(const std::string& extension) {
  if (extension.size() != 6 || extension[0] != 'g' || extension.substr(3) != "dgm")
    return std::nullopt;
  const auto number = Larder::Text::toNumberOfAnyBase(extension.substr(1, 2));
  if (!number.converted()) return std::nullopt;
  return static_cast<double>(number.value);
}

int readSamples(const std::string& path, TerrainSamples& samples) {
  const std::string extension = Larder::StringUtil::extname(path);
  if (extension == "q8") return readSamplesFromBundle(path, samples);
  return readSamplesFromText(path, spacingFromExtension(extension), samples);
}

}  // namespace

int readDGMAsTxt(Quilt::BundlePtr& bundle, const std::string& path, const TerrainProgress&, double&,
                 Heron::PhysicalSpace::vector& cellSize, Heron::PhysicalSpace::point& origin,
                 std::string& gridName) {
  TerrainSamples samples;
  if (const int status = readSamples(path, samples); status != kRasterDone) return status;
  cellSize = {samples.spacing(), samples.spacing(), 0.0};
  origin = samples.origin();
  const auto [columns, rows] = samples.dimensions();
  HeightHandle heights = makeHeights(columns, rows);
  if (!heights) return kNoArray;
  std::fill_n(heights->data, heights->nElements(), static_cast<float>(EsriHeader::kDefaultNoData));
  if (!samples.placeInto(heights->data)) return kSampleOutside;
  gridName = WorldFrame::gridName(gridName, WorldFrame::kUniformPrefix, cellSize.x());
  auto offset = WorldFrame::offsetOf(origin, cellSize.x(), cellSize.y(), path);
  std::string tileName = Larder::StringUtil::basename(path);
  addToUniformGrid(bundle, gridName, offset, tileName, heights);
  return kRasterDone;
}

}  // namespace Recast
