#include "recast/element_types/quilt_type_of.h"

namespace Quilt {

#define RECAST_INSTANCE(T) template class QuiltType<T>;
RECAST_ALL_ELEMENTS(RECAST_INSTANCE)
#undef RECAST_INSTANCE

}  // namespace Quilt
