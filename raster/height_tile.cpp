#include "recast/raster/height_tile.h"

#include "recast/raster/world_frame.h"
#include "recast/trelliskinds/grid_kinds.h"

namespace Recast {

ElevationGrid ElevationGrid::in(Quilt::Slice& slice, const std::string& name) {
  ElevationGrid result;
  result.grid = slice(name);
  if (!result.grid) {
    result.grid = slice[name];
    Quilt::UniformGrid3D::create(result.grid, WorldFrame::lowerCorner(), WorldFrame::vertices(),
                                 WorldFrame::upperCorner());
  }
  const auto representation = result.grid->makeCartesianRepresentation(3, "", 0);
  result.elevation = (*representation)["Elevation"];
  return result;
}

bool ElevationGrid::store(const std::string& name, const Quilt::MultiIndex<3>& offset,
                          const HeightHandle& heights) const {
  const auto fragment = elevation->makeFragmentID(name);
  Quilt::FragmentLocation<3, Quilt::PlaceInGrid>::make(*fragment) = offset;
  const bool replaces = elevation->hasData(fragment);
  elevation->setPersistentData(heights, fragment, Larder::Cache::MemCache(), "");
  return replaces;
}

}  // namespace Recast
