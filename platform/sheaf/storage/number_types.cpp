#include "recast/sheaf/storage/number_types.h"

#include "recast/sheaf/storage/hdf5_calls.h"

namespace Quilt::Storage {

hid_t fileType(hid_t memoryType, bool single) {
  if (single) return H5T_IEEE_F32LE;
  const struct {
    hid_t memory;
    hid_t file;
  } types[] = {{H5T_NATIVE_FLOAT, H5T_IEEE_F32LE}, {H5T_NATIVE_DOUBLE, H5T_IEEE_F64LE},
               {H5T_NATIVE_UCHAR, H5T_STD_U8LE},   {H5T_NATIVE_USHORT, H5T_STD_U16LE},
               {H5T_NATIVE_INT, H5T_STD_I32LE},    {H5T_NATIVE_UINT, H5T_STD_U32LE},
               {H5T_NATIVE_ULLONG, H5T_STD_U64LE}};
  for (const auto& type : types)
    if (type.memory == memoryType) return type.file;
  return memoryType;
}

bool isStandardNumber(hid_t type) {
  const hid_t standard[] = {H5T_IEEE_F64LE,    H5T_IEEE_F32LE, H5T_STD_U32LE,  H5T_STD_I32LE,
                            H5T_STD_U64LE,     H5T_STD_I64LE,  H5T_STD_U8LE,   H5T_STD_I8LE,
                            H5T_STD_U16LE,     H5T_STD_I16LE,  H5T_IEEE_F64BE, H5T_IEEE_F32BE,
                            H5T_STD_U32BE,     H5T_STD_I32BE,  H5T_STD_U64BE,  H5T_STD_I64BE,
                            H5T_STD_U8BE,      H5T_STD_I8BE,   H5T_STD_U16BE,  H5T_STD_I16BE,
                            H5T_NATIVE_LDOUBLE};
  for (const hid_t known : standard)
    if (isTrue(H5Tequal(type, known), "compare types")) return true;
  return false;
}

}  // namespace Quilt::Storage
