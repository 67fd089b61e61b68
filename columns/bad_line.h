#pragma once

#include <string>
#include <string_view>

#include "recast/columns/column_ascii_to_point_cloud_q8.h"

namespace Recast {

/// What is wrong with a line that couldn't be read.
struct BadLine {
  int status = 0;      ///< kTooFewTokens or kValueNotConverted
  std::string reason;  ///< for people; the end of a sentence
};

/// Finds the fault of a line: that there are too few tokens comes before a value that doesn't
/// convert. \param text the line up to its first NUL byte.
BadLine explainBadLine(const ColumnAsciiToPointCloudQ8& converter, std::string_view text);

/// The parts of `showBadLine`: the announcement, and what follows it for every token.
void announceBadLine();
void showToken(std::string_view token);

}  // namespace Recast
