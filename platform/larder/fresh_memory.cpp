#include "recast/larder/fresh_memory.h"

#include <algorithm>
#include <cstdint>
#include <system_error>
#include <thread>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace Larder {
namespace {

/// Below this memory comes from the heap's free store, which mostly has its pages.
constexpr std::size_t kWorthwhile = std::size_t{1} << 20;
/// A thread is worth its start for so much.
constexpr std::size_t kPerThread = std::size_t{16} << 20;
constexpr std::size_t kMostThreads = 4;

void bring(std::uintptr_t start, std::size_t bytes) {
#ifdef MADV_POPULATE_WRITE
  madvise(reinterpret_cast<void*>(start), bytes, MADV_POPULATE_WRITE);  // may fail
#endif
}

}  // namespace

void bringMemory(void* start, std::size_t bytes) {
  if (bytes < kWorthwhile) return;
  static const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto first = (reinterpret_cast<std::uintptr_t>(start) + page - 1) / page * page;
  const auto end = (reinterpret_cast<std::uintptr_t>(start) + bytes) / page * page;
  const std::size_t threads = std::clamp<std::size_t>(
      bytes / kPerThread, 1,
      std::min<std::size_t>(kMostThreads, std::max(1U, std::thread::hardware_concurrency())));
  const std::size_t share = ((end - first) / threads + page - 1) / page * page;
  std::vector<std::jthread> others;
  try {
    for (std::uintptr_t from = first + share; from < end; from += share)
      others.emplace_back(bring, from, std::min(share, end - from));
  } catch (const std::system_error&) {
    // No more threads: what is left arrives at its first touch.
  }
  bring(first, std::min(share, end - first));
}

}  // namespace Larder
