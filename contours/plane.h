#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "recast/typed_arrays/mem_array.h"

namespace Recast::Contours {

/// Index of a vertex or a cell along one axis; steps to the left and down are negative.
using Index = std::int64_t;

/// The first layer of an array, read by row `j` and column `i`. Keeps the array alive.
template <class T>
class Plane {
 public:
  using Array = Quilt::MemArray<3, T>;

  /// Nothing if the array is null or its memory does not hold the layer. An array without any
  /// layer has no rows and columns.
  static std::optional<Plane> ofFirstLayer(const Larder::StrongPtr<Array>& array) {
    if (!array || !holdsFirstLayer(*array)) return std::nullopt;
    return Plane(array);
  }

  const T* row(Index j) const { return data_ + j * columns_; }
  T at(Index i, Index j) const { return row(j)[i]; }
  Index columns() const { return columns_; }
  Index rows() const { return rows_; }

 private:
  static bool holdsFirstLayer(const Array& array) {
    std::uint64_t all = 0;
    if (!Quilt::DynamicSize(array.dims).product(1, all)) return false;
    if (all == 0) return true;
    const Quilt::HyperslabParameters& layout = array;
    if (array.data == nullptr || layout.stride == 0 || array.places() < layout.first) return false;
    return array.places() - layout.first >= array.dims[0] * array.dims[1];
  }

  explicit Plane(const Larder::StrongPtr<Array>& array) : array_(array) {
    if (array->nElements() == 0) return;
    columns_ = static_cast<Index>(array->dims[0]);
    rows_ = static_cast<Index>(array->dims[1]);
    const Quilt::HyperslabParameters& layout = *array;
    const T* first = array->data + layout.first * layout.stride;
    data_ = layout.stride == 1 ? first : gathered(first, layout.stride);
  }

  // Side by side, for an array that looks at every n-th element of its memory.
  const T* gathered(const T* first, std::uint64_t stride) {
    copy_ = std::make_shared<std::vector<T>>(static_cast<std::size_t>(columns_ * rows_));
    for (std::size_t place = 0; place < copy_->size(); ++place)
      (*copy_)[place] = first[place * stride];
    return copy_->data();
  }

  Larder::StrongPtr<Array> array_;
  std::shared_ptr<std::vector<T>> copy_;
  const T* data_ = nullptr;
  Index columns_ = 0;
  Index rows_ = 0;
};

}  // namespace Recast::Contours
