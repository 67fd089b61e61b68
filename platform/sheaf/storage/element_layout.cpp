#include "recast/sheaf/storage/element_layout.h"

#include <algorithm>
#include <vector>

#include "recast/larder/type_name.h"

namespace Quilt::Storage {

ElementLayout layoutOf(const QuiltTypeIndex& type) {
  struct Number {
    const char* name;
    hid_t type;
  };
  const Number numbers[] = {
      {"float", H5T_NATIVE_FLOAT},           {"double", H5T_NATIVE_DOUBLE},
      {"long double", H5T_NATIVE_LDOUBLE},   {"unsigned char", H5T_NATIVE_UCHAR},
      {"unsigned short", H5T_NATIVE_USHORT}, {"int", H5T_NATIVE_INT},
      {"unsigned int", H5T_NATIVE_UINT},     {"unsigned long long", H5T_NATIVE_ULLONG}};
  ElementLayout layout;
  layout.components = type.Components;
  layout.componentSize = type.ComponentSize;
  layout.isList = type.TypeName == Larder::Typename(typeid(std::vector<unsigned int>));
  for (const Number& number : numbers)
    if (type.ComponentTypeName == number.name) layout.memoryType = number.type;
  return layout;
}

std::vector<hsize_t> datasetAxes(const DynamicSize& shape, unsigned components) {
  std::vector<hsize_t> axes(shape.extents().rbegin(), shape.extents().rend());
  if (components > 1) axes.push_back(components);
  return axes;
}

}  // namespace Quilt::Storage
