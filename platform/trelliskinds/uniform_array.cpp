#include "recast/trelliskinds/uniform_array.h"

#include <stdexcept>

namespace Quilt {
namespace {

const QuiltTypeIndex& pointType() {
  static const auto type = QuiltTypeBase::find(typeid(Heron::PhysicalSpace::point));
  if (!type) throw std::logic_error("the element types are not registered");
  return *type;
}

}  // namespace

UniformCartesianArray::UniformCartesianArray(const MultiIndex<3>& size,
                                             const Heron::PhysicalSpace::point& origin,
                                             const Heron::PhysicalSpace::vector& spacing)
    : MemBase(pointType(), nullptr), size_(size), origin_(origin), spacing_(spacing) {}

Larder::StrongPtr<UniformCartesianArray, Larder::Cacheable> UniformCartesianArray::overBox(
    const Heron::PhysicalSpace::point& lower, const MultiIndex<3>& size,
    const Heron::PhysicalSpace::point& upper) {
  Heron::PhysicalSpace::vector spacing;
  for (std::size_t i = 0; i < 3; ++i)
    spacing[i] = size[i] > 1 ? (upper[i] - lower[i]) / static_cast<double>(size[i] - 1) : 0.0;
  return Larder::makeStrong<UniformCartesianArray>(size, lower, spacing);
}

Heron::PhysicalSpace::point UniformCartesianArray::operator[](const MultiIndex<3>& position) const {
  return {axis(0)[position[0]], axis(1)[position[1]], axis(2)[position[2]]};
}

MemBaseHandle UniformCartesianArray::makeMemArray(const WeakCreator& creator) {
  MemBaseHandle array = MemBase::newArray(typeIndex().TypeName, DynamicSize(size_));
  array->setCreator(creator);
  if (array->nElements() == 0) return array;
  auto* element = static_cast<Heron::PhysicalSpace::point*>(array->getChunk()->data_ptr());
  MultiIndex<3> position;
  do {
    *element++ = (*this)[position];
  } while (position.inc(size_));
  return array;
}

}  // namespace Quilt
