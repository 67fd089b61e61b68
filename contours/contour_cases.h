#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Recast::Contours {

/// A cell's case: the sum of the weights of those of its corners whose value is greater than the
/// level. With x to the right and y up, the corners' weights and the numbers of the edges are
///
///     2 --2-- 8
///     |       |
///     1       3
///     |       |
///     1 --0-- 4
using Case = std::uint8_t;
using Edge = std::uint8_t;

inline constexpr Edge kNoEdge = 4;

/// One line piece through a cell; the values above the level are on its right.
struct Piece {
  Edge entry = kNoEdge;
  Edge exit = kNoEdge;

  constexpr bool present() const { return entry != kNoEdge; }
};

/// The pieces of each case. The saddles, 6 and 9, cut off each of the two corners above the level
/// by a piece of its own, whatever the value at the cell's centre.
inline constexpr std::array<std::array<Piece, 2>, 16> contourCases = {{
    {},
    {{{1, 0}}},
    {{{2, 1}}},
    {{{2, 0}}},
    {{{0, 3}}},
    {{{1, 3}}},
    {{{2, 1}, {0, 3}}},
    {{{2, 3}}},
    {{{3, 2}}},
    {{{1, 0}, {3, 2}}},
    {{{3, 1}}},
    {{{3, 0}}},
    {{{0, 2}}},
    {{{1, 2}}},
    {{{0, 1}}},
    {},
}};

/// True if the level crosses the edge: one of its two corners is above, the other isn't.
constexpr bool crossesEdge(Case c, Edge edge) {
  constexpr std::array<unsigned int, 4> kFirstCorner = {0, 0, 1, 2};
  constexpr std::array<unsigned int, 4> kSecondCorner = {2, 1, 3, 3};
  return ((c >> kFirstCorner[edge] ^ c >> kSecondCorner[edge]) & 1) != 0;
}

}  // namespace Recast::Contours
