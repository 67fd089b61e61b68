#include "recast/columns/line_plan.h"

#include <algorithm>

namespace Recast {

LinePlan::LinePlan(ColumnAsciiToPointCloudQ8& converter) : delimiter_(converter.Delimiter) {
  forEachColumn(converter, [this](auto& column) {
    if (!column.Constant) add(column);
  });
  std::stable_sort(steps_.begin(), steps_.end(),
                   [](const Step& a, const Step& b) { return a.position < b.position; });
  std::uint64_t next = 0;  // position that the walk is at
  for (std::size_t i = 0; i < steps_.size(); ++i) {
    Step& step = steps_[i];
    step.passedOver = step.position - next;
    step.tokenIsReadAgain = i + 1 < steps_.size() && steps_[i + 1].position == step.position;
    next = step.position + (step.tokenIsReadAgain ? 0 : 1);
  }
  const std::uint64_t wanted = converter.MaxColumn + std::uint64_t{1};
  behindLast_ = wanted > next ? wanted - next : 0;
}

template <class T>
void LinePlan::add(myColumn<T>& column) {
  using C = Component<T>;
  readable_ &= takesPositions<T>(column.Columns.size());
  if (!readable_) return;
  auto* const first = reinterpret_cast<char*>(column.Data->data());
  for (std::size_t i = 0; i < positionsRead(column); ++i)
    steps_.push_back({column.Columns[i], 0, first + i * sizeof(C), sizeof(T), kindOf<C>(), false});
}

template <class C>
constexpr LinePlan::Target LinePlan::kindOf() {
  if constexpr (std::is_same_v<C, double>) return Target::kDouble;
  if constexpr (std::is_same_v<C, float>) return Target::kFloat;
  if constexpr (std::is_same_v<C, int>) return Target::kInt;
  if constexpr (std::is_same_v<C, unsigned int>) return Target::kUInt;
  if constexpr (std::is_same_v<C, unsigned short>) return Target::kUShort;
  if constexpr (std::is_same_v<C, unsigned char>) return Target::kUChar;
}

}  // namespace Recast
