#pragma once

#include "recast/columns/column_ascii_to_point_cloud_q8.h"
#include "recast/text_input/numbers.h"

/// The nine types of columns, their order and what their tokens are read as.
namespace Recast {

/// Calls `visit` for every column in the order in which the columns of a line are converted and
/// saved, until it gives false. \return false if it did.
template <class Converter, class Visit>
bool allColumns(Converter& converter, Visit visit) {
  const auto all = [&visit](auto& columns) {
    for (auto& column : columns)
      if (!visit(column)) return false;
    return true;
  };
  return all(converter.PointColumns) && all(converter.VectorColumns) &&
         all(converter.DoubleColumns) && all(converter.FloatColumns) && all(converter.IntColumns) &&
         all(converter.UCharColumns) && all(converter.UShortColumns) &&
         all(converter.UIntColumns) && all(converter.RGBColumns);
}

template <class Converter, class Visit>
void forEachColumn(Converter& converter, Visit visit) {
  allColumns(converter, [&visit](auto& column) {
    visit(column);
    return true;
  });
}

template <class T>
Heron::FixedArray<T, 3> componentsOf(const Heron::FixedArray<T, 3>&);
template <class T>
concept ThreeComponents = requires(const T& value) {
  componentsOf(value);
};

template <class T>
struct ComponentOf {
  using type = T;
};
template <ThreeComponents T>
struct ComponentOf<T> {
  using type = typename T::value_type;
};

/// What a column of type T reads from one token.
template <class T>
using Component = typename ComponentOf<T>::type;

/// Whether a column of type T can be read from that many positions.
template <class T>
constexpr bool takesPositions(std::size_t count) {
  return ThreeComponents<T> ? count <= 3 : count >= 1;
}

/// How many of a column's positions are read.
template <class T>
std::size_t positionsRead(const myColumn<T>& column) {
  return ThreeComponents<T> ? column.Columns.size() : 1;
}

/// The number that a token is read as before it becomes a component of type C: the small integers
/// take the low bits of an int.
template <class C>
using NumberFor = std::conditional_t<(sizeof(C) < sizeof(std::int32_t)), std::int32_t, C>;

/// Reads `token` into `component`, which stays as it was if that fails.
template <class C>
bool tokenToComponent(std::string_view token, C& component) {
  const auto number = Larder::Text::toNumber<NumberFor<C>>(token);
  if (number.converted()) component = static_cast<C>(number.value);
  return number.converted();
}

}  // namespace Recast
