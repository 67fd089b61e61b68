#pragma once

namespace Recast {

/// What `ColumnAsciiToPointCloudQ8::convertASCIIToQ8` returns, as an int.
enum ColumnStatus {
  kColumnsDone = 0,
  kColumnFileNotOpened = 1,  ///< an input file can't be opened, or not be read to its end
  kFullBlockNotSaved = 3,
  kValueNotConverted = 4,
  kNotBoundOrSaved = 5,  ///< the output can't be bound, or a file's last block can't be saved
  kTooFewTokens = 6,     ///< a line lacks the last of the columns
  kColumnsStopped = 7,   ///< `reportProgress` returned false
};

}  // namespace Recast
