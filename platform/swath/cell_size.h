#pragma once

#include "recast/meadow/creative_array.h"

/// Point clouds.
namespace Swath {

/// Notes the mean distance of a fragment's points, in the unit of the data, as the attribute
/// "CellSize": one double. A negative size says that it is not known. Renews the creator's age.
RECAST_API void setCellSizeAttribute(const Quilt::CreatorHandle& creator, double size);

}  // namespace Swath
