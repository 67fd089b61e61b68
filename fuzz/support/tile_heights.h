#pragma once

#include <string>

#include "recast/grid_lookups/string_util.h"
#include "recast/sheaf/bundle.h"
#include "recast/typed_arrays/mem_array.h"

namespace FuzzSupport {

/// The heights that an import of the file at `path` has put into the slice at time 0; null if there
/// are none.
inline Larder::StrongPtr<Quilt::MemArray<3, float>, Larder::Cacheable> tileHeights(
    Quilt::Bundle& bundle, const std::string& grid, const std::string& path) {
  const auto creator = (*(*bundle[0.0])(grid))("Elevation", "")
                           ->getCreatorByName(Larder::StringUtil::basename(path));
  return creator ? creator->get().castTo<Quilt::MemArray<3, float>>() : nullptr;
}

}  // namespace FuzzSupport
