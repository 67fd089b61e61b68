#pragma once

#include <string>

#include <hdf5.h>

#include "recast/larder/attributes.h"

namespace Quilt::Storage {

/// Writes all attributes of an object to an HDF5 object, in place of all former ones that aren't
/// our own and that `readAttributes` gives. Numbers become one-dimensional attributes of their
/// type, compound elements two-dimensional ones, texts fixed-length strings. A compound element
/// type that h5py could not tell from plain numbers is named in a companion attribute "@type:" +
/// name. The caller holds the lock. \throw StorageError
void writeAttributes(hid_t object, const Larder::Attributes& attributes);

/// Removes the attribute of that name, if there is one. The caller holds the lock. \throw
/// StorageError
void removeAttribute(hid_t object, const std::string& name);

/// Reads the attributes of an HDF5 object that are not our own. Integers of any size become the
/// element type that holds them. What is neither number nor text is left out, and so are texts of
/// variable length, which the console reports. The caller holds the lock. \throw StorageError for
/// one that can't be read
void readAttributes(hid_t object, Larder::Attributes& attributes);

/// Our own attributes, whose names begin with "@". The readers give the default if there is none of
/// that name and kind. The caller holds the lock. \throw StorageError for one that can't be read
void writeText(hid_t object, const char* name, const std::string& text);
std::string readText(hid_t object, const char* name, const std::string& otherwise = {});
void writeNumbers(hid_t object, const char* name, const double* numbers, hsize_t count);
void writeNumbers(hid_t object, const char* name, const unsigned long long* numbers, hsize_t count);
/// \return false if the attribute isn't there or does not hold exactly `count` numbers.
bool readNumbers(hid_t object, const char* name, double* numbers, hsize_t count);
bool readNumbers(hid_t object, const char* name, unsigned long long* numbers, hsize_t count);

}  // namespace Quilt::Storage
