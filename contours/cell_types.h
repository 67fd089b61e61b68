#pragma once

namespace Recast::Contours {

/// The class of a vertex falls into one of two sets: no line passes an edge that ends in a blocked
/// vertex, and border lines run between blocked and open ones.
constexpr bool isBlockedCellType(unsigned char type) {
  return type >= 1 && type <= 3;
}

}  // namespace Recast::Contours
