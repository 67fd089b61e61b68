#pragma once

#include "recast/typed_arrays/mem_array.h"

namespace Recast {

/// A raster of heights: (columns, rows, 1), columns west to east, rows south to north.
using HeightArray = Quilt::MemArray<3, float>;
using HeightHandle = Larder::StrongPtr<HeightArray, Larder::Cacheable>;

}  // namespace Recast
