#include "recast/larder/ageable.h"

namespace Larder {

std::atomic<std::uint64_t> Ageable::GlobalTime{0};

}  // namespace Larder
