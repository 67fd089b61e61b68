#include "recast/typed_arrays/mem_array_impl.h"

RECAST_NUMBER_ELEMENTS(RECAST_INSTANCE)
