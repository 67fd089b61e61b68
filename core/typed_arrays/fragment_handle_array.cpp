#include "recast/typed_arrays/fragment_handle_array.h"

#include "recast/typed_arrays/mem_array_impl.h"

namespace Quilt {

template <>
Larder::StrongPtr<QuiltTypeBase> QuiltType<FragmentHandle>::getQuiltType() {
  // Unlike those of the element types of files, this descriptor is not remembered.
  struct Descriptor : QuiltType {
    explicit Descriptor(QuiltTypeIndex index) : QuiltType(std::move(index)) {}
  };
  const std::string name = Larder::Typename(typeid(FragmentHandle));
  static Larder::Auto<Descriptor> descriptor(QuiltTypeIndex{1, sizeof(FragmentHandle), 0, 0,
                                                            sizeof(FragmentHandle), name, name,
                                                            Larder::Typename(typeid(void)), 0});
  return Larder::StrongPtr<QuiltTypeBase>(&descriptor);
}

template <>
bool FragmentHandleArray::TypeIsRegistered = false;

template class ReferencingMemArray<3, FragmentHandle>;
template class MemArray<3, FragmentHandle>;

}  // namespace Quilt
