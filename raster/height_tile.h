#pragma once

#include <string>

#include "recast/raster/height_array.h"
#include "recast/sheaf/slice.h"

namespace Recast {

/// A uniform grid over the world frame with its field "Elevation", each tile being one fragment.
struct ElevationGrid {
  Larder::StrongPtr<Quilt::Grid> grid;
  Larder::StrongPtr<Quilt::Field> elevation;

  /// The grid of that name in the slice, made if missing.
  static ElevationGrid in(Quilt::Slice& slice, const std::string& name);

  /// Hands a tile over as the data of the fragment of that name, in place of former data.
  /// \param name any, even an empty one. \param offset where it lies: cells from the frame's lower
  /// corner. \return whether there was former data. \throw Quilt::StorageError
  bool store(const std::string& name, const Quilt::MultiIndex<3>& offset,
             const HeightHandle& heights) const;
};

}  // namespace Recast
