#pragma once

#include <future>
#include <memory>
#include <vector>

#include "recast/sheaf/storage/array_image.h"
#include "recast/sheaf/storage/block_plan.h"
#include "recast/sheaf/storage/dataset_io.h"
#include "recast/sheaf/storage/work_pool.h"

namespace Quilt::Storage {

/// An array on its way to the file: its image, and its filtered blocks and its extent as the pool
/// makes them.
struct PreparedArray {
  std::shared_ptr<const ArrayImage> image;         ///< shared with the tasks that filter it
  std::unique_ptr<BlockPlan> plan;                 ///< null for an array that goes packed
  std::vector<std::future<FilteredBlock>> blocks;  ///< empty for a plain dataset
  std::future<DataExtent> laterExtent;             ///< valid if the image has none yet
  std::uint32_t checksumNow = 0;                   ///< of the image, or
  std::future<std::uint32_t> laterChecksum;        ///< the same, if valid; neither with blocks

  /// Waits for the extent. To be asked for once; without meaning if the rules want none.
  DataExtent extent() {
    return laterExtent.valid() ? laterExtent.get() : image->extent.value_or(DataExtent());
  }
  /// Waits for the checksum of the image. To be asked for once; without meaning if there are
  /// blocks, which have their own.
  std::uint32_t checksum() { return laterChecksum.valid() ? laterChecksum.get() : checksumNow; }
};

/// Makes the image of an array, and lets `pool` filter it and find its extent; without one, whoever
/// waits for the blocks filters them. Not for lists and computed arrays.
PreparedArray prepare(const MemBaseHandle& array, const StoreRules& rules, bool packed,
                      WorkPool* pool);

/// How an array with that image is cut into the blocks of its dataset.
std::unique_ptr<BlockPlan> planFor(const ArrayImage& image, const StoreRules& rules);

}  // namespace Quilt::Storage
