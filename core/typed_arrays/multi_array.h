#pragma once

#include <stdexcept>

#include "recast/larder/type_name.h"
#include "recast/meadow/mem_base.h"

namespace Quilt {

template <class T>
class DataCreator;

/// How one element after the other lies in memory.
template <class T>
struct RECAST_API ElementIterator : HyperslabParameters {};

template <class T>
struct RECAST_API IteratorBase : ElementIterator<T> {};

/// A strided look at memory, null `data` if there is no contiguous memory.
template <class T>
struct RECAST_API Iterator : IteratorBase<T> {
  T* data = nullptr;

  /// Strided places of the memory, whichever member holds them.
  std::uint64_t places() const {
    return this->stride == 1 ? this->length : this->count / this->stride;
  }
};

/// An iterator that can also compute its elements.
template <class T>
struct RECAST_API CreativeIterator : Iterator<T> {
  DataCreator<T>* creator = nullptr;  ///< gives the elements where `data` is null
};

/// Computes elements on request, for arrays without memory.
template <class T>
class RECAST_API DataCreator {
 public:
  virtual ~DataCreator() = default;
  /// The elements at `index` along `axis`; without `data` if they lie in no memory either.
  virtual Iterator<T> iterator(int axis, std::uint64_t index) = 0;
  /// The address of one element of the first axis.
  virtual T* element(std::uint64_t index) = 0;
};

/// Element access by position. The first index runs fastest: element (i, j, k) of rank 3 is at
/// `data` + ((dims[1] * k + j) * dims[0] + i + first) * stride.
template <int N, class T>
class RECAST_API MultiArrayBase : public CreativeIterator<T> {
 public:
  MultiIndex<N> dims;  ///< the shape

  MultiArrayBase() = default;
  /// Looks through `iterator` at an array of shape `shape`; places beyond it count as tail.
  MultiArrayBase(const Iterator<T>& iterator, const MultiIndex<N>& shape, DataCreator<T>* source)
      : dims(shape) {
    static_cast<Iterator<T>&>(*this) = iterator;
    this->creator = source;
    const std::uint64_t wanted = shape.product();
    const std::uint64_t available = this->places() - this->first;
    if (available - this->tail > wanted) this->tail = available < wanted ? 0 : available - wanted;
  }

  /// One element; the position is not tested against the shape.
  /// \throw std::logic_error for an array with neither memory nor a creator of its data
  T& operator[](const MultiIndex<N>& position) { return *address(position); }
  const T& operator[](const MultiIndex<N>& position) const { return *address(position); }

 private:
  T* address(const MultiIndex<N>& position) const {
    if (this->data == nullptr) return computedAddress(position);
    return this->data + (offset<N>(position) + this->first) * this->stride;
  }

  /// The place of a position in the axes below `Axes`.
  template <int Axes>
  std::uint64_t offset(const MultiIndex<N>& position) const {
    std::uint64_t place = position[Axes - 1];
    for (int axis = Axes - 2; axis >= 0; --axis)
      place =
          place * dims[static_cast<std::size_t>(axis)] + position[static_cast<std::size_t>(axis)];
    return place;
  }

  T* computedAddress(const MultiIndex<N>& position) const {
    Larder::breakpoint();
    if (this->creator == nullptr) throw std::logic_error("an element of an array without memory");
    return fromAxis<N - 1>(position);
  }

  template <int Axis>
  T* fromAxis(const MultiIndex<N>& position) const {
    if constexpr (Axis == 0) {
      return this->creator->element(position[0]);
    } else {
      const Iterator<T> plane = this->creator->iterator(Axis, position[Axis]);
      if (plane.data != nullptr)
        return plane.data + (offset<Axis>(position) + plane.first) * plane.stride;
      return fromAxis<Axis - 1>(position);
    }
  }
};

template <int N, class T>
class RECAST_API MultiArray : public MultiArrayBase<N, T> {
 public:
  using MultiArrayBase<N, T>::MultiArrayBase;
};

}  // namespace Quilt
