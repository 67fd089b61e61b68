#pragma once

#include <cstdint>
#include <functional>

namespace Recast {

/// Calls `body` for 0 to `count` - 1, in that order of starting, on several threads; an idle thread
/// takes the next number. The caller's thread is one of them.
/// \param threads how many at most; 0 leaves it to the OpenMP runtime.
/// \throw what `body` threw first, once all threads have come to their end; after an exception no
/// further number is begun.
void forEachInParallel(int threads, std::uint64_t count,
                       const std::function<void(std::uint64_t)>& body);

}  // namespace Recast
