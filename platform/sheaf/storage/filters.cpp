#include "recast/sheaf/storage/filters.h"

#include <cstring>
#include <map>
#include <memory>
#include <new>

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

struct Compressors {
  struct Release {
    void operator()(libdeflate_compressor* c) const { libdeflate_free_compressor(c); }
  };
  std::map<int, std::unique_ptr<libdeflate_compressor, Release>> byLevel;

  libdeflate_compressor* get(int level) {
    auto& compressor = byLevel[level];
    if (!compressor) compressor.reset(libdeflate_alloc_compressor(level));
    if (!compressor) throw std::bad_alloc();
    return compressor.get();
  }
};

}  // namespace

void shuffle(std::span<const std::byte> source, std::size_t elementSize, std::byte* target) {
  const std::size_t count = source.size() / elementSize;
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
  thread_local Compressors compressors;
  std::vector<std::byte> stream(source.size());
  const std::size_t size = libdeflate_zlib_compress(compressors.get(level), source.data(),
                                                    source.size(), stream.data(), stream.size());
  stream.resize(size);
  stream.shrink_to_fit();
  return stream;
}

bool inflate(std::span<const std::byte> source, std::span<std::byte> target) {
  struct Release {
    void operator()(libdeflate_decompressor* d) const { libdeflate_free_decompressor(d); }
  };
  thread_local std::unique_ptr<libdeflate_decompressor, Release> decompressor(
      libdeflate_alloc_decompressor());
  if (!decompressor) throw std::bad_alloc();
  return libdeflate_zlib_decompress(decompressor.get(), source.data(), source.size(), target.data(),
                                    target.size(), nullptr) == LIBDEFLATE_SUCCESS;
}

}  // namespace Quilt::Storage
