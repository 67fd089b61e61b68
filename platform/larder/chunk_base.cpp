#include "recast/larder/chunk_base.h"

namespace Larder {

std::atomic<std::int64_t> ChunkBase::TotalMemsize{0};

}  // namespace Larder
