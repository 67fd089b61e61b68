#include "recast/larder/chunk.h"

namespace Larder {

#define RECAST_INSTANCE(T) template class Chunk<T>;
RECAST_NUMBER_ELEMENTS(RECAST_INSTANCE)
RECAST_INSTANCE(std::vector<unsigned int>)
RECAST_INSTANCE(std::string)
#undef RECAST_INSTANCE
template class ResizableChunk<std::string>;

}  // namespace Larder
