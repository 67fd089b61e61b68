#include "recast/grid_lookups/string_util.h"
#include "recast/larder/console.h"
#include "recast/raster/esri_header.h"
#include "recast/raster/raster_status.h"
#include "recast/raster/terrain_import.h"
#include "recast/trelliskinds/grid_kinds.h"

namespace Recast {
namespace {

constexpr const char* kElevation = "Elevation";

/// What is known of one file on its way; the readers fill it.
struct TerrainTile {
  double noData = EsriHeader::kDefaultNoData;
  Heron::PhysicalSpace::vector cellSize{1.0, 1.0, 1.0};
  Heron::PhysicalSpace::point origin{0.0, 0.0, 0.0};
  std::string uniformGridName;
  std::string pointGridName;
};

Quilt::CreatorHandle findData(const Quilt::Grid& grid, const std::string& field,
                              const std::string& tileName) {
  const auto found = grid(field, "");
  return found ? found->getCreatorByName(tileName) : nullptr;
}

void tellOfNamesakes(const Quilt::Slice& slice, const std::string& path,
                     const std::string& tileName) {
  for (const auto& [id, grid] : slice)
    if (findData(*grid, kElevation, tileName))
      Larder::Console() << path << ": the grid " << id->name() << " holds a tile named \""
                        << tileName << "\"; in that grid this one takes its place.";
}

/// Counts an array, and lets memory go of it once it is in the file, so that the number of tiles
/// does not matter.
std::uint64_t countAndLetGo(const Quilt::Slice& slice, const std::string& gridName,
                            const std::string& field, const std::string& tileName) {
  const auto grid = slice(gridName);
  const auto creator = grid ? findData(*grid, field, tileName) : nullptr;
  if (!creator) return 0;
  std::uint64_t elements = 0;
  creator->size().product(1, elements);
  creator->letGo();
  return elements;
}

}  // namespace

int importTerrainTile(Quilt::BundlePtr& bundle, const std::string& path,
                      const TerrainProgress& progress, const std::string& uniformGridName,
                      const std::string& pointGridName, TerrainTileCount& count) {
  const std::string tileName = Larder::StringUtil::basename(path);
  const auto slice = (*bundle)[0.0];
  tellOfNamesakes(*slice, path, tileName);
  TerrainTile tile;
  tile.uniformGridName = uniformGridName;
  tile.pointGridName = pointGridName;
  int status = readDGMAsGrd(bundle, path, progress, tile.noData, tile.cellSize, tile.origin,
                            tile.uniformGridName);
  if (status != kRasterDone)
    status = readDGMAsTxt(bundle, path, progress, tile.noData, tile.cellSize, tile.origin,
                          tile.uniformGridName);
  if (status != kRasterDone) return status;
  status = uniformToPointCloud(bundle, tile.uniformGridName, tile.pointGridName, tileName,
                               tile.noData, tile.cellSize, tile.origin, progress);
  count.cells = countAndLetGo(*slice, tile.uniformGridName, kElevation, tileName);
  count.points =
      countAndLetGo(*slice, tile.pointGridName, Quilt::Representation::kPositions, tileName);
  countAndLetGo(*slice, tile.pointGridName, Quilt::TriangularSurface::NormalVectorFieldName,
                tileName);
  return status;
}

int readDGM(const Larder::StrongPtr<Larder::StringList, Larder::StringList>& files,
            const std::string& outputPath, const TerrainProgress& progress,
            std::string& uniformGridName, std::string& pointGridName, bool bindExisting) {
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  if (bindExisting)
    bundle->bindTo(outputPath, nullptr, nullptr);
  else
    bundle->bindToNew(outputPath);
  if (!bundle) return kCannotBindOutput;
  TerrainTileCount ignored;
  for (const std::string& path : *files) {
    const int status =
        importTerrainTile(bundle, path, progress, uniformGridName, pointGridName, ignored);
    if (status != kRasterDone) return status;
  }
  return kRasterDone;
}

}  // namespace Recast
