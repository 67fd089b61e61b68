#pragma once

#include "recast/columns/line_plan.h"

namespace Recast {

/// The lines of the running block, on their way into the chunks of a converter's columns.
///
/// The chunks have the size of a full block when they are made by `initColumns`; here they grow
/// with the lines, since zeroing ten million elements takes longer than reading a small file.
class ColumnBlock {
 public:
  explicit ColumnBlock(ColumnAsciiToPointCloudQ8& converter) : converter_(converter) {}

  /// Gives every column a new chunk, without lines. \param expectedLines what to have room for.
  void start(std::uint64_t expectedLines);
  /// Reads a line into all chunks. \pre lines() < kColumnBlockLines
  /// \return false if it can't be read; the block is as before then.
  bool append(std::string_view text) {
    if (lines_ == room_) grow();
    if (!plan_.read(text, lines_)) return false;
    ++lines_;
    return true;
  }
  /// Brings every chunk to the size lines().
  void finish();

  std::size_t lines() const { return lines_; }

 private:
  void grow();
  /// Has the system bring the memory of the next lines, as far as there is room.
  void bringMemory();
  void resizeChunks(std::size_t size);

  ColumnAsciiToPointCloudQ8& converter_;
  LinePlan plan_;
  std::size_t lines_ = 0;
  std::size_t room_ = 0;     // elements that the chunks have
  std::size_t brought_ = 0;  // elements whose memory was brought, if there was room for them
};

}  // namespace Recast
