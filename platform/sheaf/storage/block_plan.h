#pragma once

#include <cstddef>
#include <vector>

#include <hdf5.h>

namespace Quilt::Storage {

/// Cuts a dataset into blocks of at most about `blockBytes`, each of which is one contiguous piece
/// of the array's memory: (1, ..., 1, rows, all, ..., all) along the axes, slowest first.
class BlockPlan {
 public:
  /// \param keepLastAxis never cuts the last axis, the components of a compound element.
  BlockPlan(std::vector<hsize_t> axes, std::size_t numberSize, std::size_t blockBytes,
            bool keepLastAxis);

  struct Block {
    std::vector<hsize_t> start;  ///< along the axes
    std::vector<hsize_t> size;
    std::size_t firstNumber;  ///< its place in memory, in numbers
    std::size_t numbers;
  };

  std::size_t blocks() const { return blocks_; }
  /// Bytes of a number.
  std::size_t numberSize() const { return numberSize_; }
  Block block(std::size_t i) const;
  /// The extents of a full block: the chunk shape of a filtered dataset.
  const std::vector<hsize_t>& fullSize() const { return full_; }
  /// Numbers of a full block; one at an edge holds fewer.
  std::size_t fullNumbers() const { return fullNumbers_; }

 private:
  std::vector<hsize_t> axes_;
  std::size_t numberSize_;
  std::vector<hsize_t> full_;
  std::size_t cutAxis_ = 0;
  std::size_t inner_ = 1;     // numbers of one step along the cut axis
  std::size_t perOuter_ = 0;  // blocks of one step along the axes before it
  std::size_t blocks_ = 0;
  std::size_t fullNumbers_ = 0;
};

}  // namespace Quilt::Storage
