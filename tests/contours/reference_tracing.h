#pragma once

#include <string>
#include <vector>

#include "contours/line_sets.h"

namespace contour_tests {

/// The tracing of one level as it is defined, step by step, without regard to speed: every cell is
/// visited and pieces find each other by edge numbers in hash maps.
struct ReferenceTrace {
  bool stitched;
  Lines lines;
  std::vector<std::string> messages;
};
ReferenceTrace traceByDefinition(const Recast::ContourFragment& fragment, float level);

}  // namespace contour_tests
