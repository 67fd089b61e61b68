#pragma once

#include <string>

#include "recast/sheaf/bundle.h"

namespace Recast {

/// What converters have in common.
class RECAST_API BasicConverterDefs {
 public:
  /// Keeps on `grid` how it was made: `text` as the attribute `key`, one string.
  /// \param source a grid whose attributes are carried over first, where `carryOver` is not 0; may
  /// be null. \param replace 0 appends to a text that the grid has under `key`, else that is
  /// replaced.
  static void addInfoToGrid(const std::string& text, Quilt::Grid& grid, const std::string& key,
                            const Larder::StrongPtr<Quilt::Grid>& source, int carryOver,
                            int replace);
};

}  // namespace Recast
