#include <algorithm>

#include "recast/grid_lookups/string_util.h"
#include "recast/raster/esri_header.h"
#include "recast/raster/height_memory.h"
#include "recast/raster/raster_status.h"
#include "recast/raster/terrain_import.h"
#include "recast/raster/terrain_readers.h"
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

RunOutcome readSamples(Larder::Text::LineReader& input, TerrainSamples& samples) {
  const std::string extension = Larder::StringUtil::extname(input.path());
  if (extension == "q8") return readSamplesFromBundle(input.path(), samples);
  return readSamplesFromText(input, spacingFromExtension(extension), samples);
}

RunOutcome makeRaster(const TerrainSamples& samples, const std::string& path,
                      HeightHandle& heights) {
  const auto dimensions = samples.dimensions();
  if (dimensions) heights = makeHeights((*dimensions)[0], (*dimensions)[1], HeightUse::kAll);
  if (!heights)
    return {kNoArray, path + ": there is no memory for a raster of the spacing " +
                          std::to_string(samples.spacing()) + " over all samples"};
  std::fill_n(heights->data, heights->nElements(), static_cast<float>(EsriHeader::kDefaultNoData));
  const auto outside = samples.placeInto(heights->data);
  if (!outside) return {};
  return {kSampleOutside, path + ": sample " + std::to_string(*outside + 1) +
                              " falls outside the raster of the spacing " +
                              std::to_string(samples.spacing())};
}

}  // namespace

RunOutcome readSampleTile(Quilt::Bundle& bundle, Larder::Text::LineReader& input,
                          const TileResults& results) {
  TerrainSamples samples;
  RunOutcome outcome = readSamples(input, samples);
  if (!outcome.isDone()) return outcome;
  results.cellSize = {samples.spacing(), samples.spacing(), 0.0};
  results.origin = samples.origin();
  HeightHandle heights;
  outcome = makeRaster(samples, input.path(), heights);
  if (!outcome.isDone()) return outcome;
  results.gridName =
      WorldFrame::gridName(results.gridName, WorldFrame::kUniformPrefix, results.cellSize.x());
  storeTile(bundle, input.path(), results, heights);
  return {};
}

int readDGMAsTxt(Quilt::BundlePtr& bundle, const std::string& path, const TerrainProgress&,
                 double& noData, Heron::PhysicalSpace::vector& cellSize,
                 Heron::PhysicalSpace::point& origin, std::string& gridName) {
  return reportedRun(path, [&] {
    Larder::Text::LineReader input(path);
    return readSampleTile(*bundle, input, {noData, cellSize, origin, gridName});
  });
}

}  // namespace Recast
