#include "recast/raster/height_memory.h"

#include <algorithm>
#include <new>
#include <stdexcept>

#include <sys/mman.h>
#include <unistd.h>

namespace Recast {
namespace {

using HeightChunk = Larder::StrongPtr<Larder::Chunk<float>, Larder::ChunkBase>;

/// Returns the pages of freshly zeroed memory to the system, which gives pages of zeros again when
/// they are read or written.
void returnPages(float* start, float* end) {
  const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto first = (reinterpret_cast<std::uintptr_t>(start) + pageSize - 1) / pageSize * pageSize;
  const auto last = reinterpret_cast<std::uintptr_t>(end) / pageSize * pageSize;
  if (first < last) madvise(reinterpret_cast<void*>(first), last - first, MADV_DONTNEED);
}

/// A vector writes the zeros of its elements, so it is made to grow a part at a time.
HeightChunk unusedZeros(std::uint64_t cells) {
  constexpr std::uint64_t kPart = std::uint64_t{1} << 23;
  const auto chunk = Larder::makeStrong<Larder::Chunk<float>>(cells, true);
  while (chunk->size() < cells) {
    const std::uint64_t former = chunk->size();
    chunk->resize(std::min(former + kPart, cells));
    returnPages(chunk->data() + former, chunk->data() + chunk->size());
  }
  return chunk;
}

}  // namespace

bool fitsMemory(std::uint64_t elements, std::size_t elementSize) {
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long pageSize = sysconf(_SC_PAGESIZE);
  if (pages <= 0 || pageSize <= 0) return true;
  return elements / static_cast<std::uint64_t>(pageSize) <=
         static_cast<std::uint64_t>(pages) / elementSize;
}

HeightHandle makeHeights(std::uint32_t columns, std::uint32_t rows, HeightUse use) {
  const std::uint64_t cells = std::uint64_t{columns} * rows;
  const Quilt::MultiIndex<3> shape(columns, rows, 1);
  if (!fitsMemory(cells, sizeof(float))) return nullptr;
  try {
    if (use == HeightUse::kAll) return HeightHandle(new HeightArray(shape, nullptr));
    return HeightHandle(new HeightArray(unusedZeros(cells), shape, nullptr));
  } catch (const std::bad_alloc&) {
  } catch (const std::length_error&) {
  }
  return nullptr;
}

}  // namespace Recast
