#include <map>

#include "recast/grid_lookups/string_util.h"
#include "recast/larder/console.h"
#include "recast/raster/esri_header.h"
#include "recast/raster/raster_status.h"
#include "recast/raster/terrain_import.h"
#include "recast/trelliskinds/grid_kinds.h"

namespace Recast {
namespace {

/// What is known of one file on its way; the readers fill it.
struct TerrainTile {
  double noData = EsriHeader::kDefaultNoData;
  Heron::PhysicalSpace::vector cellSize{1.0, 1.0, 1.0};
  Heron::PhysicalSpace::point origin{0.0, 0.0, 0.0};
  std::string uniformGridName;
  std::string pointGridName;
};

/// Lets memory go of the tile's arrays once they are in the file, so that the number of tiles does
/// not matter.
void letGo(const Quilt::Slice& slice, const TerrainTile& tile, const std::string& name) {
  const std::pair<const std::string&, const std::string> fields[] = {
      {tile.uniformGridName, "Elevation"},
      {tile.pointGridName, Quilt::Representation::kPositions},
      {tile.pointGridName, Quilt::TriangularSurface::NormalVectorFieldName}};
  for (const auto& [gridName, fieldName] : fields) {
    const auto grid = slice(gridName);
    const auto field = grid ? (*grid)(fieldName, "") : nullptr;
    const auto creator = field ? field->getCreatorByName(name) : nullptr;
    if (creator) creator->letGo();
  }
}

int readTile(Quilt::BundlePtr& bundle, const std::string& path, const std::string& name,
             const TerrainProgress& progress, TerrainTile& tile) {
  int status = readDGMAsGrd(bundle, path, progress, tile.noData, tile.cellSize, tile.origin,
                            tile.uniformGridName);
  if (status != kRasterDone)
    status = readDGMAsTxt(bundle, path, progress, tile.noData, tile.cellSize, tile.origin,
                          tile.uniformGridName);
  if (status != kRasterDone) return status;
  status = uniformToPointCloud(bundle, tile.uniformGridName, tile.pointGridName, name, tile.noData,
                               tile.cellSize, tile.origin, progress);
  letGo(*(*bundle)[0.0], tile, name);
  return status;
}

}  // namespace

int readDGM(const Larder::StrongPtr<Larder::StringList, Larder::StringList>& files,
            const std::string& outputPath, const TerrainProgress& progress,
            std::string& uniformGridName, std::string& pointGridName, bool bindExisting) {
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  if (bindExisting)
    bundle->bindTo(outputPath, nullptr, nullptr);
  else
    bundle->bindToNew(outputPath);
  if (!bundle) return kCannotBindOutput;
  std::map<std::string, std::string> fileOf;  // by tile name
  for (const std::string& path : *files) {
    const std::string name = Larder::StringUtil::basename(path);
    if (const auto [former, isNew] = fileOf.try_emplace(name, path); !isNew)
      Larder::Console() << path << ": has the tile name \"" << name << "\" as " << former->second
                        << " has; in one grid it takes the place of that.";
    TerrainTile tile;
    tile.uniformGridName = uniformGridName;
    tile.pointGridName = pointGridName;
    const int status = readTile(bundle, path, name, progress, tile);
    if (status != kRasterDone) return status;
  }
  return kRasterDone;
}

}  // namespace Recast
