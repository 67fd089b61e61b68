#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace Quilt::Storage {

/// The two standard filters, byte shuffle and deflate, on one chunk of a dataset. What `deflated`
/// makes is what HDF5's own pipeline reads, and the other way round.

/// Byte b of element i goes to place b * n + i. \pre source.size() is a multiple of `elementSize`.
void shuffle(std::span<const std::byte> source, std::size_t elementSize, std::byte* target);
void unshuffle(std::span<const std::byte> source, std::size_t elementSize, std::byte* target);

/// `source` as a zlib stream; empty if that would not be smaller.
/// \param level 1 to 12, the levels of libdeflate.
std::vector<std::byte> deflated(std::span<const std::byte> source, int level);

/// Restores exactly `target.size()` bytes. \return false if `source` isn't a stream of that many.
bool inflate(std::span<const std::byte> source, std::span<std::byte> target);

}  // namespace Quilt::Storage
