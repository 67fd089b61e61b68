#include "recast/raster/height_tile.h"

#include <new>
#include <stdexcept>

#include <unistd.h>

#include "recast/raster/world_frame.h"
#include "recast/trelliskinds/grid_kinds.h"

namespace Recast {

/// Allocating more than there is can succeed, and then ends the process when it is used.
bool fitsMemory(std::uint32_t columns, std::uint32_t rows) {
  const std::uint64_t cells = std::uint64_t{columns} * rows;
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long pageSize = sysconf(_SC_PAGESIZE);
  if (pages <= 0 || pageSize <= 0) return true;
  return cells / static_cast<std::uint64_t>(pageSize) <=
         static_cast<std::uint64_t>(pages) / sizeof(float);
}

HeightHandle makeHeights(std::uint32_t columns, std::uint32_t rows) {
  const Quilt::MultiIndex<3> shape(columns, rows, 1);
  if (!fitsMemory(columns, rows)) return nullptr;
  try {
    return HeightHandle(new HeightArray(shape, nullptr));
  } catch (const std::bad_alloc&) {
  } catch (const std::length_error&) {
  }
  return nullptr;
}

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

void ElevationGrid::place(const std::string& fragmentName,
                          const Quilt::MultiIndex<3>& offset) const {
  const auto fragment = elevation->makeFragmentID(fragmentName);
  Quilt::FragmentLocation<3, Quilt::PlaceInGrid>::make(*fragment) = offset;
}

void ElevationGrid::store(const std::string& fragmentName, const HeightHandle& heights) const {
  elevation->createCreator(heights, fragmentName, Quilt::OnExistingData::Replace,
                           Larder::Cache::MemCache());
}

}  // namespace Recast
