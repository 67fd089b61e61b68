#include "recast/raster/esri_raster_to_q8.h"

#include <chrono>
#include <iostream>

#include "recast/larder/console.h"
#include "recast/raster/esri_body.h"
#include "recast/raster/height_tile.h"
#include "recast/raster/raster_point_cloud.h"
#include "recast/raster/raster_status.h"
#include "recast/raster/world_frame.h"
#include "recast/recastbase/run_output.h"
#include "recast/recastbase/run_report.h"
#include "recast/sheaf/bundle.h"

namespace Recast {
namespace {

struct RasterOutput {
  const std::string& path;
  const std::string& uniformGridName;
  const std::string& pointGridName;
};

/// Reads the heights behind a header and stores them, with their point cloud, in a bundle.
RunOutcome storeRaster(Larder::Text::LineReader& input, const EsriHeader& header,
                       Quilt::Bundle& bundle, const RasterOutput& output) {
  const double cellSize = *header.cellSize;
  const auto slice = bundle[0.0];
  const ElevationGrid tiles = ElevationGrid::in(
      *slice, WorldFrame::gridName(output.uniformGridName, WorldFrame::kUniformPrefix, cellSize));
  const auto origin = header.origin();
  const auto offset = WorldFrame::offsetOf(origin, cellSize, cellSize);
  {
    HeightHandle heights;
    RunOutcome outcome = makeEsriHeights(input, header, heights);
    if (outcome.isDone()) outcome = readEsriBody(input, header, *heights);
    if (!outcome.isDone()) return outcome;
    tiles.store("Offset" + to_string(offset), offset, heights);
  }
  WorldFrame::reportIfOutside(origin, cellSize, cellSize, input.path());
  Larder::Console() << " -----> myUniGrid: " << tiles.grid->xml();
  return deriveRasterPointCloud(*slice, *tiles.elevation, origin, {cellSize, cellSize, cellSize},
                                header.noData.value_or(EsriHeader::kDefaultNoData),
                                output.pointGridName);
}

RunOutcome convertRaster(const std::string& path, const RasterOutput& output) {
  Larder::Text::LineReader input(path);
  EsriHeader header;
  RunOutcome outcome = readEsriHeader(input, {}, header);
  if (outcome.isDone()) outcome = header.checkComplete();
  if (!outcome.isDone()) return outcome;

  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto bound = bundle->bindToNew(output.path);
  if (!bundle) return {kCannotBindOutput, bound.text};
  std::cout << "###################################" << std::endl;
  RunOutput whole(bundle, output.path, {path});
  try {
    outcome = storeRaster(input, header, *bundle, output);
  } catch (...) {
    whole.abandon();
    throw;
  }
  if (outcome.isDone())
    whole.complete();
  else
    whole.abandon();
  return outcome;
}

RunOutcome convertRasters(const Larder::StringList& files, const RasterOutput& output) {
  const std::string* former = nullptr;
  for (const std::string& path : files) {
    RunOutcome outcome = convertRaster(path, output);
    if (!outcome.isDone()) return outcome;
    if (former != nullptr)
      reportNotice(output.path + ": what " + *former + " gave was replaced by what " + path +
                   " gave; the terrain import merges rasters");
    former = &path;
  }
  return {};
}

}  // namespace

int converterEsriRasterToQ8(const Larder::StrongPtr<Larder::StringList, Larder::StringList>& files,
                            const std::string& outputPath,
                            const Larder::StrongPtr<Larder::LoaderProgress, Larder::InterfaceBase>&,
                            const std::string& uniformGridName, const std::string& pointGridName) {
  const auto start = std::chrono::system_clock::now();
  const int status = reportedRun(outputPath, [&] {
    return convertRasters(*files, {outputPath, uniformGridName, pointGridName});
  });
  if (status != kRasterDone) return status;
  const auto elapsed =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now() - start);
  Larder::Console() << "Done GrdToQ8: Elapsed time: " << static_cast<int>(elapsed.count()) << "s\n";
  return kRasterDone;
}

}  // namespace Recast
