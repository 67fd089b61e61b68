#pragma once

#include "recast/element_types/auto_object.h"
#include "recast/element_types/element_traits.h"
#include "recast/larder/chunk.h"
#include "recast/larder/type_name.h"
#include "recast/meadow/quilt_type.h"

namespace Quilt {

/// The descriptor of element type T.
template <class T>
class RECAST_API QuiltType : public QuiltTypeBase {
 public:
  /// The one descriptor of T; made, and entered into the list of known types, at the first call.
  static Larder::StrongPtr<QuiltTypeBase> getQuiltType();

  const std::type_info& getType() const override { return typeid(T); }
  bool isType(const std::type_info& type) const override { return type == typeid(T); }
  Larder::StrongPtr<Larder::ChunkBase> newChunk(std::size_t n) const override {
    return Larder::StrongPtr<Larder::ChunkBase>(new Larder::Chunk<T>(n, false));
  }
  int element_index(const int* index) const override { return *index; }
  Larder::StrongPtr<QuiltTypeBase> element_type() const override {
    return QuiltType<typename ElementTraits<T>::Component>::getQuiltType();
  }
  std::string coordinate_component_name(int i) const override {
    return ElementTraits<T>::componentName(i);
  }
  const std::type_info& chart_type() const override {
    return typeid(typename ElementTraits<T>::Chart);
  }
  int indexing_scheme(int) const override { return ElementTraits<T>::kIndexingScheme; }
  bool nontensor() const override { return false; }

 protected:
  explicit QuiltType(QuiltTypeIndex index) : QuiltTypeBase(std::move(index)) {}
};

template <class T>
Larder::StrongPtr<QuiltTypeBase> QuiltType<T>::getQuiltType() {
  using Traits = ElementTraits<T>;
  using Component = typename Traits::Component;
  static Larder::Auto<QuiltType> descriptor(QuiltTypeIndex{
      Traits::kComponents, sizeof(T), Traits::kTensorRank, Traits::kGrade, sizeof(Component),
      Larder::Typename(typeid(T)), Larder::Typename(typeid(Component)),
      Larder::Typename(typeid(typename Traits::Chart)), Traits::kChartDimensions});
  [[maybe_unused]] static const bool remembered = (descriptor.remember(), true);
  return Larder::StrongPtr<QuiltTypeBase>(&descriptor);
}

#define RECAST_EXTERN(T) extern template class QuiltType<T>;
RECAST_ALL_ELEMENTS(RECAST_EXTERN)
#undef RECAST_EXTERN

}  // namespace Quilt
