#pragma once

#include <hdf5.h>

namespace Quilt::Storage {

/// The file's number type for numbers of memory type `memoryType`, floats if `single`. The caller
/// holds the lock, as for all here.
hid_t fileType(hid_t memoryType, bool single);

/// Whether a type of a file is one of HDF5's own number types. Only these are converted: a file can
/// also describe numbers of its own making, which is a way to lead the conversion astray.
bool isStandardNumber(hid_t type);

}  // namespace Quilt::Storage
