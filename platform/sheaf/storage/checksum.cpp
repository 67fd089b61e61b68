#include "recast/sheaf/storage/checksum.h"

#include <algorithm>
#include <cstddef>

#include <libdeflate.h>

namespace Quilt::Storage {
namespace {

// A checksum is a polynomial over the field of two elements, modulo the CRC's own one. The highest
// bit is the coefficient of x^0.
constexpr std::uint32_t kOne = 0x80000000;
constexpr std::uint32_t kOneByte = 0x00800000;  // x^8
constexpr std::uint32_t kModulus = 0xedb88320;

std::uint32_t product(std::uint32_t a, std::uint32_t b) {
  std::uint32_t result = 0;
  for (std::uint32_t bit = kOne; bit != 0; bit >>= 1) {
    if ((a & bit) != 0) result ^= b;
    b = (b & 1) != 0 ? (b >> 1) ^ kModulus : b >> 1;
  }
  return result;
}

/// What so many bytes behind others do to the checksum of these.
std::uint32_t factorFor(std::uint64_t bytes) {
  std::uint32_t result = kOne;
  for (std::uint32_t power = kOneByte; bytes != 0; bytes >>= 1) {
    if ((bytes & 1) != 0) result = product(result, power);
    power = product(power, power);
  }
  return result;
}

}  // namespace

std::uint32_t checksumOf(std::span<const std::byte> bytes, std::uint32_t before) {
  // The library takes a null pointer for the beginning of a checksum.
  return bytes.empty() ? before : libdeflate_crc32(before, bytes.data(), bytes.size());
}

std::uint32_t joinedChecksum(std::uint32_t first, std::uint32_t second, std::uint64_t secondBytes) {
  return product(factorFor(secondBytes), first) ^ second;
}

std::uint32_t PieceChecksums::total() const {
  std::uint32_t total = 0;
  for (const Piece& piece : pieces_) total = joinedChecksum(total, piece.checksum, piece.bytes);
  return total;
}

std::uint32_t fletcher32(std::span<const std::byte> bytes) {
  constexpr std::size_t kWordsAtOnce = 360;  // as many as the sums have room for
  const auto fold = [](std::uint32_t sum) { return (sum & 0xffff) + (sum >> 16); };
  std::uint32_t sum = 0;
  std::uint32_t sumOfSums = 0;
  for (std::size_t i = 0; i < bytes.size();) {
    const std::size_t end = std::min(bytes.size(), i + 2 * kWordsAtOnce);
    for (; i < end; i += 2) {
      const std::uint32_t low =
          i + 1 < bytes.size() ? std::to_integer<std::uint32_t>(bytes[i + 1]) : 0;
      sum += std::to_integer<std::uint32_t>(bytes[i]) << 8 | low;
      sumOfSums += sum;
    }
    sum = fold(sum);
    sumOfSums = fold(sumOfSums);
  }
  return fold(sumOfSums) << 16 | fold(sum);
}

}  // namespace Quilt::Storage
