#include "recast/sheaf/storage/prepared_array.h"

#include "recast/sheaf/storage/element_layout.h"

namespace Quilt::Storage {

std::unique_ptr<BlockPlan> planFor(const ArrayImage& image, const StoreRules& rules) {
  const unsigned components = image.array->typeIndex().Components;
  return std::make_unique<BlockPlan>(datasetAxes(image.shape, components), image.numberSize,
                                     rules.chunkBytes, components > 1);
}

PreparedArray prepare(const MemBaseHandle& array, const StoreRules& rules, bool packed,
                      WorkPool* pool) {
  PreparedArray prepared;
  const bool extentNow = packed || pool == nullptr;
  const auto image = std::make_shared<const ArrayImage>(makeImage(array, rules, extentNow));
  prepared.image = image;
  if (packed || (pool == nullptr && rules.filter.level == 0))
    prepared.checksumNow = checksumOf(image->bytes);
  else if (rules.filter.level == 0)
    prepared.laterChecksum = pool->run([image] { return checksumOf(image->bytes); });
  if (packed) return prepared;
  if (!image->extent && rules.computeExtent && !extentNow)
    prepared.laterExtent = pool->run([image] {
      return image->single ? extentOf(*image->array) : extentOf(*image->array, image->bytes);
    });
  prepared.plan = planFor(*image, rules);
  if (rules.filter.level == 0) return prepared;
  const std::size_t fullBytes = prepared.plan->fullNumbers() * image->numberSize;
  for (std::size_t i = 0; i < prepared.plan->blocks(); ++i) {
    const BlockPlan::Block block = prepared.plan->block(i);
    const auto bytes = image->bytes.subspan(block.firstNumber * image->numberSize,
                                            block.numbers * image->numberSize);
    auto task = [image, bytes, fullBytes, filter = rules.filter] {
      FilteredBlock filtered = filterBlock(bytes, image->numberSize, fullBytes, filter);
      filtered.checksum = checksumOf(bytes);
      return filtered;
    };
    prepared.blocks.push_back(pool != nullptr ? pool->run(std::move(task))
                                              : std::async(std::launch::deferred, std::move(task)));
  }
  return prepared;
}

}  // namespace Quilt::Storage
