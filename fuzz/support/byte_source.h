#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace FuzzSupport {

/// Takes values from the front of an input. Behind its end all bytes are 0, so that every input
/// means something. Values of few choices come from one byte each, by its remainder, so that an
/// input can be written as text.
class ByteSource {
 public:
  ByteSource(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

  bool empty() const { return rest_.empty(); }
  std::size_t size() const { return rest_.size(); }

  std::uint8_t byte() {
    if (rest_.empty()) return 0;
    const std::uint8_t first = rest_.front();
    rest_ = rest_.subspan(1);
    return first;
  }
  /// A number from 0 to below `choices`, which are at most 256.
  unsigned below(unsigned choices) { return byte() % choices; }
  bool flag() { return below(2) == 1; }
  /// The bits of the next bytes.
  double bits() {
    std::uint8_t bytes[sizeof(double)];
    for (std::uint8_t& each : bytes) each = byte();
    double value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
  }
  std::span<const std::uint8_t> rest() const { return rest_; }

 private:
  std::span<const std::uint8_t> rest_;
};

}  // namespace FuzzSupport
