#pragma once

#include <string>

#include "recast/larder/export.h"

/// What file names say. Slashes separate folders, and where nothing else is said backslashes do
/// too.
namespace Larder::StringUtil {

/// The file's name without its folders and without its last extension: "run.1" of "a/run.1.txt". A
/// backslash separates too, unless it is the first character.
template <class Char>
RECAST_API std::basic_string<Char> basename(const std::basic_string<Char>& path);

/// What stands behind the last dot: "gz" of "a.tar.gz". Empty without a dot, and if a slash (a
/// backslash does not count) stands behind it.
template <class Char>
RECAST_API std::basic_string<Char> extname(const std::basic_string<Char>& path);

extern template std::string basename<char>(const std::string&);
extern template std::string extname<char>(const std::string&);

}  // namespace Larder::StringUtil
