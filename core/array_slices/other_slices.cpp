#include "recast/array_slices/array_slices_impl.h"

RECAST_OTHER_ELEMENTS(RECAST_ARRAY_SLICES)
RECAST_ARRAY_SLICES_OF_RANK(3, Quilt::FragmentHandle)
