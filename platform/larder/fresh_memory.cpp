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
/// The size of large pages on most machines.
constexpr std::uintptr_t kLargePage = std::uintptr_t{2} << 20;
/// Less memory has room for one large page at most, and each stretch of them counts against the
/// system's limit of mappings.
constexpr std::uintptr_t kWorthLargePages = 2 * kLargePage;

std::uintptr_t roundedUp(std::uintptr_t address, std::uintptr_t unit) {
  return (address + unit - 1) / unit * unit;
}

// Either call may fail; then the pages arrive at their first touch.
void bring(std::uintptr_t start, std::uintptr_t end) {
  [[maybe_unused]] auto* const first = reinterpret_cast<void*>(start);
#ifdef MADV_HUGEPAGE
  // Large pages arrive, and go again, in a tenth of the time that their size in small ones takes.
  if (end - start >= kWorthLargePages) madvise(first, end - start, MADV_HUGEPAGE);
#endif
#ifdef MADV_POPULATE_WRITE
  madvise(first, end - start, MADV_POPULATE_WRITE);
#endif
}

}  // namespace

void bringMemory(void* start, std::size_t bytes) {
  if (bytes < kWorthwhile) return;
  static const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  // From the start of the first page, which often is that of a large one.
  const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(start) / page * page;
  const std::uintptr_t end = roundedUp(reinterpret_cast<std::uintptr_t>(start) + bytes, page);
  const std::size_t threads = std::clamp<std::size_t>(
      bytes / kPerThread, 1,
      std::min<std::size_t>(kMostThreads, std::max(1U, std::thread::hardware_concurrency())));
  const auto border = [&](std::size_t thread) {
    return thread == threads ? end : roundedUp(first + bytes / threads * thread, kLargePage);
  };
  std::vector<std::jthread> others;
  try {
    for (std::size_t i = 1; i < threads; ++i) others.emplace_back(bring, border(i), border(i + 1));
  } catch (const std::system_error&) {
    // No more threads: what is left arrives at its first touch.
  }
  bring(first, threads == 1 ? end : border(1));
}

}  // namespace Larder
