#include "recast/array_slices/array_slices_impl.h"

RECAST_GEOMETRY_ELEMENTS(RECAST_ARRAY_SLICES)
