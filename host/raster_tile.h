#pragma once

#include <string>
#include <vector>

#include "tile_lattice.h"

#include "recast/raster/terrain_import.h"

namespace RecastHost {

/// One Esri ASCII raster in memory.
struct RasterTile {
  std::string file;
  std::string name;  ///< of the file, without folder and extension
  Recast::HeightHandle heights;
  double noData = -9999.0;                 ///< what cells without a value hold
  Heron::PhysicalSpace::point origin{};    ///< the centre of the lower-left cell
  Heron::PhysicalSpace::vector spacing{};  ///< of the cells' centres

  /// Reads a file. \throw Failure if it is no raster with cells
  explicit RasterTile(const std::string& path);

  float height(std::uint64_t column, std::uint64_t row) const {
    return heights->data[row * heights->dims[0] + column];
  }
  /// Whether a height is one: a number, and not the one that stands for none.
  bool isValue(float height) const;
};

/// Rasters of one cell size, whole cells apart.
struct RasterLattice {
  std::vector<RasterTile> tiles;
  std::vector<Rectangle> places;  ///< of the tiles, in cells from the first one's lower-left

  /// Adds the tile if it lies on the lattice. \return whether it does
  bool add(const RasterTile& tile);
};

}  // namespace RecastHost
