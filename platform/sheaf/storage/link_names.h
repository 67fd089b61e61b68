#pragma once

#include <string>

namespace Quilt::Storage {

/// A user's name as the name of an HDF5 link. "%" becomes "%25", "/" "%2F", a NUL "%00", a leading
/// "@" "%40", the name "." "%2E" and the empty name "%"; everything else stays. Names of our own
/// begin with "@" and are never escaped.
std::string escapedName(const std::string& name);

/// The name that `escapedName` made `link` from.
std::string unescapedName(const std::string& link);

/// The name of a slice's group: the time as by "%f".
std::string timeName(double time);

}  // namespace Quilt::Storage
