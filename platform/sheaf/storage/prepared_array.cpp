#include "recast/sheaf/storage/prepared_array.h"

#include "recast/sheaf/storage/element_layout.h"

namespace Quilt::Storage {

std::unique_ptr<BlockPlan> planFor(const ArrayImage& image, const StoreRules& rules) {
  const unsigned components = image.array->typeIndex().Components;
  return std::make_unique<BlockPlan>(datasetAxes(image.shape, components), image.numberSize,
                                     rules.chunkBytes, components > 1);
}

PreparedArray prepare(const MemBaseHandle& array, const StoreRules& rules, bool packed,
                      WorkPool& pool) {
  PreparedArray prepared;
  const auto image = std::make_shared<const ArrayImage>(makeImage(array, rules));
  prepared.image = image;
  if (packed) return prepared;
  prepared.plan = planFor(*image, rules);
  if (rules.filter.level == 0) return prepared;
  const std::size_t fullBytes = prepared.plan->fullNumbers() * image->numberSize;
  for (std::size_t i = 0; i < prepared.plan->blocks(); ++i) {
    const BlockPlan::Block block = prepared.plan->block(i);
    const auto bytes = image->bytes.subspan(block.firstNumber * image->numberSize,
                                            block.numbers * image->numberSize);
    prepared.blocks.push_back(pool.run([image, bytes, fullBytes, filter = rules.filter] {
      return filterBlock(bytes, image->numberSize, fullBytes, filter);
    }));
  }
  return prepared;
}

}  // namespace Quilt::Storage
