#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// Eight floats at a time, as two vectors of four.
namespace Recast::Triangulation {

constexpr std::uint32_t kLanes = 8;
using Lanes = std::array<float, kLanes>;

using Float4 [[gnu::vector_size(16)]] = float;
using Mask4 [[gnu::vector_size(16)]] = std::int32_t;

inline Float4 all(float v) {
  return Float4{v, v, v, v};
}

/// Lanes `first` to `first` + 3.
inline Float4 fourOf(const Lanes& lanes, std::uint32_t first) {
  Float4 v;
  std::memcpy(&v, &lanes[first], sizeof v);
  return v;
}

/// One bit for each lane that is set.
inline std::uint32_t bitsOf(Mask4 mask) {
#if defined(__SSE2__)
  return static_cast<std::uint32_t>(_mm_movemask_ps(reinterpret_cast<__m128>(mask)));
#else
  std::uint32_t bits = 0;
  for (std::uint32_t i = 0; i < 4; ++i) bits |= (mask[i] != 0 ? 1U : 0U) << i;
  return bits;
#endif
}

}  // namespace Recast::Triangulation
