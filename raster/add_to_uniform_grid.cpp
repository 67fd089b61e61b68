#include "recast/raster/height_tile.h"
#include "recast/raster/terrain_import.h"

namespace Recast {

void addToUniformGrid(Quilt::BundlePtr& bundle, std::string& gridName, Quilt::MultiIndex<3>& offset,
                      std::string& fragmentName, HeightHandle& data) {
  const ElevationGrid tiles = ElevationGrid::in(*(*bundle)[0.0], gridName);
  tiles.place(fragmentName, offset);
  tiles.store(fragmentName, data);
}

}  // namespace Recast
