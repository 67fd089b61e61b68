#pragma once

#include <string>

#include "recast/raster/esri_body.h"
#include "recast/sheaf/slice.h"

namespace Recast {

/// Whether the machine has memory for the heights of a raster of that shape.
bool fitsMemory(std::uint32_t columns, std::uint32_t rows);

/// A raster of that shape with all cells 0.0; null if the machine has not that much memory.
HeightHandle makeHeights(std::uint32_t columns, std::uint32_t rows);

/// A uniform grid over the world frame with its field "Elevation", each tile being one fragment.
struct ElevationGrid {
  Larder::StrongPtr<Quilt::Grid> grid;
  Larder::StrongPtr<Quilt::Field> elevation;

  /// The grid of that name in the slice, made if missing.
  static ElevationGrid in(Quilt::Slice& slice, const std::string& name);

  /// Makes the fragment of that name, if missing, and notes where it lies.
  /// \param offset cells from the frame's lower corner.
  void place(const std::string& fragmentName, const Quilt::MultiIndex<3>& offset) const;
  /// Hands the tile over as the data of its fragment; in place of former data, of which the console
  /// tells. \throw Quilt::StorageError
  void store(const std::string& fragmentName, const HeightHandle& heights) const;
};

}  // namespace Recast
