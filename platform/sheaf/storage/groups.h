#pragma once

#include <string>
#include <vector>

#include "recast/sheaf/storage/q8_file.h"

namespace Quilt::Storage {

/// The links from the root group to an object, each as it stands in the file.
using LinkPath = std::vector<std::string>;

/// "/a/b" for the links "a" and "b".
std::string joined(const LinkPath& path);
/// The links of "/a/b"; empty pieces are left out.
LinkPath splitPath(const std::string& text);

/// The group at `path`, made with all above it where missing. The caller holds the lock.
/// \throw StorageError
Id makeGroup(Q8File& file, const LinkPath& path);
/// A new group `name` below `parent`. The caller holds the lock. \throw StorageError
Id createGroup(hid_t parent, const std::string& name);
/// The group at `path`, not valid if there is none. The caller holds the lock. \throw StorageError
Id findGroup(Q8File& file, const LinkPath& path);
/// The links of a group that are not our own, in the order of their names. The caller holds the lock.
/// \throw StorageError
std::vector<std::string> childLinks(hid_t group);

}  // namespace Quilt::Storage
