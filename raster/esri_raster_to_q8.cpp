#include "recast/raster/esri_raster_to_q8.h"

#include <chrono>
#include <iostream>

#include "recast/larder/console.h"
#include "recast/raster/esri_header.h"
#include "recast/raster/height_tile.h"
#include "recast/raster/raster_point_cloud.h"
#include "recast/raster/raster_status.h"
#include "recast/raster/world_frame.h"
#include "recast/sheaf/bundle.h"

namespace Recast {
namespace {

int convertRaster(const std::string& path, const std::string& outputPath,
                  const std::string& uniformGridName, const std::string& pointGridName) {
  EsriHeader header;
  if (const int status = readEsriHeader(path, {}, header); status != kRasterDone) return status;
  if (const int status = header.firstMissing(); status != kRasterDone) return status;
  const double cellSize = *header.cellSize;

  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  bundle->bindToNew(outputPath);
  if (!bundle) return kCannotBindOutput;
  std::cout << "###################################" << std::endl;
  const auto slice = (*bundle)[0.0];
  const ElevationGrid tiles = ElevationGrid::in(
      *slice, WorldFrame::gridName(uniformGridName, WorldFrame::kUniformPrefix, cellSize));
  const auto origin = header.origin();
  const auto offset = WorldFrame::offsetOf(origin, cellSize, cellSize, path);
  const std::string fragmentName = "Offset" + to_string(offset);
  tiles.place(fragmentName, offset);
  {
    HeightHandle heights;
    int status = makeEsriHeights(path, *header.columns, *header.rows, heights);
    if (status == kRasterDone) status = readEsriBody(path, header.lines, *heights);
    if (status != kRasterDone) return status;
    tiles.store(fragmentName, heights);
  }
  Larder::Console() << " -----> myUniGrid: " << tiles.grid->xml();
  return deriveRasterPointCloud(*slice, *tiles.elevation, origin, {cellSize, cellSize, cellSize},
                                header.noData.value_or(EsriHeader::kDefaultNoData), pointGridName);
}

}  // namespace

int converterEsriRasterToQ8(const Larder::StrongPtr<Larder::StringList, Larder::StringList>& files,
                            const std::string& outputPath,
                            const Larder::StrongPtr<Larder::LoaderProgress, Larder::InterfaceBase>&,
                            const std::string& uniformGridName, const std::string& pointGridName) {
  const auto start = std::chrono::system_clock::now();
  const std::string* former = nullptr;
  for (const std::string& path : *files) {
    if (former != nullptr)
      Larder::Console() << outputPath << ": holds " << *former << " and is about to be replaced by "
                        << path << "; the terrain import merges rasters.";
    const int status = convertRaster(path, outputPath, uniformGridName, pointGridName);
    if (status != kRasterDone) return status;
    former = &path;
  }
  const auto elapsed =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now() - start);
  Larder::Console() << "Done GrdToQ8: Elapsed time: " << static_cast<int>(elapsed.count()) << "s\n";
  return kRasterDone;
}

}  // namespace Recast
