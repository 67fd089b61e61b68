#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace Quilt::Storage {

/// The CRC-32 of zlib and PNG of some bytes. \param before that of the bytes in front of them.
std::uint32_t checksumOf(std::span<const std::byte> bytes, std::uint32_t before = 0);

/// The checksum of two pieces of bytes, one behind the other, from those of the pieces.
std::uint32_t joinedChecksum(std::uint32_t first, std::uint32_t second, std::uint64_t secondBytes);

/// The checksum of bytes that are at hand in pieces: in any order, and in several threads.
class PieceChecksums {
 public:
  explicit PieceChecksums(std::size_t pieces) : pieces_(pieces) {}

  /// Notes the bytes of piece `i`. \pre no other thread notes that piece.
  void note(std::size_t i, std::span<const std::byte> bytes) {
    pieces_[i].checksum = checksumOf(bytes, pieces_[i].checksum);
    pieces_[i].bytes += bytes.size();
  }
  /// That of all pieces, in their order.
  std::uint32_t total() const;

 private:
  struct Piece {
    std::uint64_t bytes = 0;
    std::uint32_t checksum = 0;
  };
  std::vector<Piece> pieces_;
};

/// Fletcher's checksum as HDF5's filter of that name puts it behind a chunk.
std::uint32_t fletcher32(std::span<const std::byte> bytes);

}  // namespace Quilt::Storage
