#pragma once

#include <cstdint>
#include <string>

#include "recast/element_types/element_list.h"

namespace Quilt {

/// What sets the element types apart; a plain number has one component, itself.
template <class T>
struct ElementTraits {
  using Component = T;
  using Chart = void;
  static constexpr std::uint32_t kComponents = 1;
  static constexpr std::uint32_t kTensorRank = 0;
  static constexpr std::uint32_t kGrade = 0;
  static constexpr int kChartDimensions = 0;
  static constexpr int kIndexingScheme = 0;
  static std::string componentName(int) { return {}; }
};

template <class C, class ChartType, std::uint32_t Components, std::uint32_t TensorRank,
          std::uint32_t Grade, int ChartDimensions>
struct CompoundTraits {
  using Component = C;
  using Chart = ChartType;
  static constexpr std::uint32_t kComponents = Components;
  static constexpr std::uint32_t kTensorRank = TensorRank;
  static constexpr std::uint32_t kGrade = Grade;
  static constexpr int kChartDimensions = ChartDimensions;
  static constexpr int kIndexingScheme = Grade > 0 ? 1 : 0;
};

/// The i-th letter of `letters`, empty beyond its ends.
inline std::string letterOf(const char (&letters)[4], int i) {
  return i >= 0 && i < 3 ? std::string(1, letters[i]) : std::string();
}

template <>
struct ElementTraits<TripleOfDoubles> : CompoundTraits<double, void, 3, 0, 0, 0> {
  static std::string componentName(int) { return {}; }
};
template <>
struct ElementTraits<Heron::PhysicalSpace::point>
    : CompoundTraits<double, Heron::Cartesian3D, 3, 0, 0, 3> {
  static std::string componentName(int i) { return letterOf("xyz", i); }
};
template <>
struct ElementTraits<Heron::PhysicalSpace::vector>
    : CompoundTraits<double, Heron::Cartesian3D, 3, 1, 1, 3> {
  static std::string componentName(int i) { return letterOf("xyz", i); }
};
template <>
struct ElementTraits<Heron::PhysicalSpace::bivector>
    : CompoundTraits<double, Heron::Cartesian3D, 3, 1, 2, 3> {
  static std::string componentName(int i) { return letterOf("xyz", i); }
};
template <>
struct ElementTraits<Heron::Colour> : CompoundTraits<unsigned char, Heron::RGB, 3, 1, 0, 3> {
  static std::string componentName(int i) { return letterOf("rgb", i); }
};
template <>
struct ElementTraits<Edge> : CompoundTraits<unsigned int, Edge, 2, 0, 0, 1> {
  static std::string componentName(int i) { return i < 1 ? "i" : "j"; }
};
template <>
struct ElementTraits<Triangle> : CompoundTraits<unsigned int, Triangle, 3, 0, 0, 2> {
  static std::string componentName(int i) {
    return (i < 2 ? "i" : "j") + ElementTraits<Edge>::componentName(i);
  }
};

}  // namespace Quilt
