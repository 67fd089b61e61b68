#pragma once

#include <string>

#include "raster_tile.h"

namespace RecastHost {

/// What a fragment's "Elevation" carries where not all of its heights are values: the attribute of
/// this name holds the smallest and the greatest value, as two floats.
inline constexpr const char* kValueRange = "ValueRange";

/// Writes rasters as fragments of a uniform grid, in the slice at time 0: "Positions" (computed),
/// "Elevation" and, if wanted, "CellType" (0 for a value, 1 for none).
class TileWriter {
 public:
  TileWriter(Quilt::Bundle& bundle, const std::string& gridName, bool withCellTypes);

  /// Writes tile `number` of a lattice. \throw Quilt::StorageError
  void write(const RasterLattice& lattice, const TilePlan& plan, std::size_t number) const;

 private:
  Larder::StrongPtr<Quilt::Field> positions_;
  Larder::StrongPtr<Quilt::Field> elevation_;
  Larder::StrongPtr<Quilt::Field> cellTypes_;  // null if not wanted
};

}  // namespace RecastHost
