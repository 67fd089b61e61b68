#include "recast/sheaf/storage/filters.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include <libdeflate.h>

namespace Quilt::Storage {
namespace {

// With the size known to the compiler the loops over an element's bytes unroll, and the loop over
// the elements vectorises.
template <std::size_t Size>
void shuffleFixed(const std::byte* source, std::size_t count, std::byte* target) {
  for (std::size_t i = 0; i < count; ++i)
    for (std::size_t b = 0; b < Size; ++b) target[b * count + i] = source[i * Size + b];
}

template <std::size_t Size>
void unshuffleFixed(const std::byte* source, std::size_t count, std::byte* target) {
  for (std::size_t i = 0; i < count; ++i)
    for (std::size_t b = 0; b < Size; ++b) target[i * Size + b] = source[b * count + i];
}

/// libdeflate's working memory, kept for the next use. Never destroyed, and not per thread: bundles
/// of static lifetime filter after the main thread's own objects have been destroyed.
template <class Worker, void (*Release)(Worker*)>
class WorkerPool {
 public:
  struct Deleter {
    void operator()(Worker* worker) const { Release(worker); }
  };
  using Handle = std::unique_ptr<Worker, Deleter>;

  /// \param make gives a new worker, or null without memory. \throw std::bad_alloc
  template <class Make>
  Handle take(Make make) {
    {
      const std::lock_guard lock(mutex_);
      if (!free_.empty()) {
        Handle worker = std::move(free_.back());
        free_.pop_back();
        return worker;
      }
    }
    Handle worker(make());
    if (!worker) throw std::bad_alloc();
    return worker;
  }
  void giveBack(Handle worker) {
    const std::lock_guard lock(mutex_);
    free_.push_back(std::move(worker));
  }

 private:
  std::mutex mutex_;
  std::vector<Handle> free_;
};

constexpr int kMaxLevel = 12;

using CompressorPool = WorkerPool<libdeflate_compressor, libdeflate_free_compressor>;
using DecompressorPool = WorkerPool<libdeflate_decompressor, libdeflate_free_decompressor>;

}  // namespace

void shuffle(std::span<const std::byte> source, std::size_t elementSize, std::byte* target) {
  const std::size_t count = source.size() / elementSize;
  if (count == 0) return;
  switch (elementSize) {
    case 1: std::memcpy(target, source.data(), source.size()); return;
    case 2: shuffleFixed<2>(source.data(), count, target); return;
    case 4: shuffleFixed<4>(source.data(), count, target); return;
    case 8: shuffleFixed<8>(source.data(), count, target); return;
    default:
      for (std::size_t i = 0; i < count; ++i)
        for (std::size_t b = 0; b < elementSize; ++b)
          target[b * count + i] = source[i * elementSize + b];
  }
}

void unshuffle(std::span<const std::byte> source, std::size_t elementSize, std::byte* target) {
  const std::size_t count = source.size() / elementSize;
  if (count == 0) return;
  switch (elementSize) {
    case 1: std::memcpy(target, source.data(), source.size()); return;
    case 2: unshuffleFixed<2>(source.data(), count, target); return;
    case 4: unshuffleFixed<4>(source.data(), count, target); return;
    case 8: unshuffleFixed<8>(source.data(), count, target); return;
    default:
      for (std::size_t i = 0; i < count; ++i)
        for (std::size_t b = 0; b < elementSize; ++b)
          target[i * elementSize + b] = source[b * count + i];
  }
}

std::vector<std::byte> deflated(std::span<const std::byte> source, int level) {
  static auto* pools = new std::array<CompressorPool, kMaxLevel + 1>;
  CompressorPool& pool = (*pools)[static_cast<std::size_t>(std::clamp(level, 1, kMaxLevel))];
  auto compressor = pool.take([level] { return libdeflate_alloc_compressor(level); });
  std::vector<std::byte> stream(source.size());
  const std::size_t size = libdeflate_zlib_compress(compressor.get(), source.data(), source.size(),
                                                    stream.data(), stream.size());
  pool.giveBack(std::move(compressor));
  stream.resize(size);
  stream.shrink_to_fit();
  return stream;
}

bool inflate(std::span<const std::byte> source, std::span<std::byte> target) {
  static auto* pool = new DecompressorPool;
  auto decompressor = pool->take(libdeflate_alloc_decompressor);
  const bool inflated =
      libdeflate_zlib_decompress(decompressor.get(), source.data(), source.size(), target.data(),
                                 target.size(), nullptr) == LIBDEFLATE_SUCCESS;
  pool->giveBack(std::move(decompressor));
  return inflated;
}

}  // namespace Quilt::Storage
