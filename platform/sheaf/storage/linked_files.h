#pragma once

#include <map>
#include <string>

#include "recast/sheaf/storage/q8_file.h"

namespace Quilt::Storage {

/// The path of the file that an external link names. A relative one counts from the folder of the
/// file that holds the link, behind symbolic links; no other folder is searched, and the
/// environment has no say.
std::string linkedPath(const std::string& holder, const std::string& reference);

/// Opens the files behind external links, each once. They stay open as long as something holds
/// them: they can still be read after others have taken their places.
class LinkedFiles {
 public:
  /// The file that a link of `holder` names, open for reading; null if there is none of that name.
  /// \throw StorageError if there is one that can't be read.
  FileHandle open(const Q8File& holder, const std::string& reference);

 private:
  std::map<std::string, FileHandle> files_;  // by path
};

}  // namespace Quilt::Storage
