#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "recast/sheaf/storage/q8_file.h"

/// Groups and the links between objects. In all functions the caller holds the lock.
///
/// Nothing here follows an external link: HDF5 would search other folders than the main file's, and
/// ask the environment. `LinkedFiles` opens the files behind such links.
///
/// A link or object that isn't there is a result; a look-up that fails throws.
namespace Quilt::Storage {

/// The links from the root group to an object, each as it stands in the file.
using LinkPath = std::vector<std::string>;

/// "/a/b" for the links "a" and "b".
std::string joined(const LinkPath& path);
/// The links of "/a/b"; empty pieces are left out.
LinkPath splitPath(const std::string& text);
/// `path` with one more link.
LinkPath below(LinkPath path, const std::string& link);

/// HDF5's properties for links whose names are UTF-8.
hid_t linkProperties();

/// \throw StorageError if the group can't be read
bool hasLink(hid_t parent, const std::string& link);
/// Whether all links of a path are there and lead to an object. \throw StorageError
bool leadsSomewhere(hid_t parent, const LinkPath& path);
/// File and path behind an external link, as they stand in it; none for any other link.
/// \pre the link is there. \throw StorageError
std::optional<std::pair<std::string, std::string>> externalTarget(hid_t parent,
                                                                  const std::string& link);
void removeLink(hid_t parent, const std::string& link);

/// Open what a path below `parent` leads to. \throw StorageError
Id openGroup(hid_t parent, const std::string& path);
Id openDataset(hid_t parent, const std::string& path);
Id openObject(hid_t parent, const std::string& path);
/// The group that a path leads to; not valid if the object there is of another kind.
/// \throw StorageError also if there is no object
Id openIfGroup(hid_t parent, const std::string& path);

/// The group at `path`, made with all above it where missing. \throw StorageError
Id makeGroup(Q8File& file, const LinkPath& path);
/// A new group `name` below `parent`. \throw StorageError
Id createGroup(hid_t parent, const std::string& name);
/// The group at `path`, not valid if there is none. \throw StorageError
Id findGroup(Q8File& file, const LinkPath& path);
/// The links of a group, in the order of their names. \throw StorageError
std::vector<std::string> allLinks(hid_t group);
/// Those that are not our own.
std::vector<std::string> childLinks(hid_t group);

/// What distinguishes two groups: the open file's number in HDF5, and the address in the file.
using ObjectPlace = std::pair<unsigned long, haddr_t>;
ObjectPlace placeOf(hid_t object);

}  // namespace Quilt::Storage
