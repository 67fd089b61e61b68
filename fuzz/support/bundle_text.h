#pragma once

#include <string>

#include "recast/sheaf/bundle.h"

namespace FuzzSupport {

/// What a bundle holds, as lines of text.
struct BundleText {
  std::string structure;  ///< slices, grids, fields, fragments with their shapes, attributes' names
  std::string data;       ///< a digest of each array and each attribute's value
  bool complete = true;   ///< all arrays could be read
};

/// Reads all that a bundle holds: attributes, boxes, ranges and every array.
BundleText describe(const Quilt::Bundle& bundle);

}  // namespace FuzzSupport
