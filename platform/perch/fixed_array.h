#pragma once

#include <cstddef>
#include <type_traits>

#include "recast/larder/chunk.h"

/// Geometry: the compound element types and boxes. Element types are exported, or else the compiler
/// would hide every array of them from the library's users.
namespace Heron {

/// N values of T, side by side in memory. Value-initialised elements are zero.
template <class T, int N>
struct RECAST_API FixedArray {
  static constexpr int kSize = N;
  using value_type = T;

  T values[N];

  FixedArray() = default;
  template <class... Values>
  requires(sizeof...(Values) == N && N > 1 && (std::is_convertible_v<Values, T> && ...))
      FixedArray(Values... v)
      : values{static_cast<T>(v)...} {}

  T& operator[](std::size_t i) { return values[i]; }
  const T& operator[](std::size_t i) const { return values[i]; }
  T& x() { return values[0]; }
  T& y() { return values[1]; }
  T& z() { return values[2]; }
  const T& x() const { return values[0]; }
  const T& y() const { return values[1]; }
  const T& z() const { return values[2]; }

  bool operator==(const FixedArray&) const = default;
};

/// A fixed array with the operations of a vector space.
template <class T, int N>
struct RECAST_API Vector : FixedArray<T, N> {
  using FixedArray<T, N>::FixedArray;
};

template <int Rows, int Columns, class T>
struct RECAST_API Matrix : Vector<T, Rows * Columns> {
  using Vector<T, Rows * Columns>::Vector;
};

template <int Rows, class T>
struct RECAST_API Column : Matrix<Rows, 1, T> {
  using Matrix<Rows, 1, T>::Matrix;
};

/// Values `V` that live on a chart, such as a coordinate system or a colour space.
template <class V, class Chart, class T>
struct RECAST_API DomainVector : V {
  using V::V;
};

/// The chart of x, y, z in three orthogonal directions of one unit.
struct RECAST_API Cartesian3D {};
/// The chart of red, green and blue, each 0 to 255.
struct RECAST_API RGB {};

/// A colour: red, green, blue.
using Colour = DomainVector<Vector<unsigned char, 3>, RGB, unsigned char>;

/// The geometric types on a chart with coordinates of type T.
template <class Chart, class T>
struct RECAST_API Coordinates {
  struct point : FixedArray<T, 3> {
    using FixedArray<T, 3>::FixedArray;
  };
  struct vector : DomainVector<Column<3, T>, Chart, T> {
    using DomainVector<Column<3, T>, Chart, T>::DomainVector;
  };
  struct bivector : Vector<T, 3> {
    using Vector<T, 3>::Vector;
  };
};

/// Three-dimensional space in double precision; lengths are in the unit of the data.
struct RECAST_API PhysicalSpace {
  /// A place: x, y, z.
  struct point : FixedArray<double, 3> {
    using FixedArray<double, 3>::FixedArray;
  };
  /// A direction with a length.
  struct vector : DomainVector<Column<3, double>, Cartesian3D, double> {
    using DomainVector<Column<3, double>, Cartesian3D, double>::DomainVector;
  };
  /// An oriented piece of area, such as a surface normal: the components of u x v.
  struct bivector : Vector<double, 3> {
    using Vector<double, 3>::Vector;
  };
  /// A box along the axes.
  struct AABB {
    point minimum;
    point maximum;
  };
};

}  // namespace Heron

/// How chunks of compound types can be taken as chunks of their storage types.
namespace Larder {

template <class T, int N>
struct StorageTypeOf<Heron::Vector<T, N>> {
  using type = Heron::FixedArray<T, N>;
};
template <int Rows, int Columns, class T>
struct StorageTypeOf<Heron::Matrix<Rows, Columns, T>> {
  using type = Heron::Vector<T, Rows * Columns>;
};
template <int Rows, class T>
struct StorageTypeOf<Heron::Column<Rows, T>> {
  using type = Heron::Matrix<Rows, 1, T>;
};
template <class V, class Chart, class T>
struct StorageTypeOf<Heron::DomainVector<V, Chart, T>> {
  using type = V;
};
template <>
struct StorageTypeOf<Heron::PhysicalSpace::point> {
  using type = Heron::FixedArray<double, 3>;
};
template <>
struct StorageTypeOf<Heron::PhysicalSpace::vector> {
  using type = Heron::DomainVector<Heron::Column<3, double>, Heron::Cartesian3D, double>;
};
template <>
struct StorageTypeOf<Heron::PhysicalSpace::bivector> {
  using type = Heron::Vector<double, 3>;
};

extern template class Chunk<Heron::FixedArray<double, 3>>;
extern template class Chunk<Heron::PhysicalSpace::point>;
extern template class Chunk<Heron::PhysicalSpace::vector>;
extern template class Chunk<Heron::PhysicalSpace::bivector>;
extern template class Chunk<Heron::Colour>;

}  // namespace Larder
