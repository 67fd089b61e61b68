#include "recast/sheaf/storage/groups.h"

#include <algorithm>

namespace Quilt::Storage {
namespace {

/// HDF5 asks before it follows an external link: no.
herr_t stayInFile(const char*, const char*, const char*, const char*, unsigned*, hid_t, void*) {
  return -1;
}

/// Properties that are made once and never released.
hid_t accessWithinFile(hid_t propertyClass) {
  Id properties = own(H5Pcreate(propertyClass), "prepare to open");
  checked(H5Pset_elink_cb(properties, stayInFile, nullptr), "prepare to open");
  return properties.release();
}

hid_t groupAccess() {
  static const hid_t properties = accessWithinFile(H5P_GROUP_ACCESS);
  return properties;
}

hid_t datasetAccess() {
  static const hid_t properties = accessWithinFile(H5P_DATASET_ACCESS);
  return properties;
}

hid_t linkAccess() {
  static const hid_t properties = accessWithinFile(H5P_LINK_ACCESS);
  return properties;
}

}  // namespace

hid_t linkProperties() {
  static const hid_t properties = [] {
    Id made = own(H5Pcreate(H5P_LINK_CREATE), "prepare to create");
    checked(H5Pset_char_encoding(made, H5T_CSET_UTF8), "prepare to create");
    return made.release();
  }();
  return properties;
}

std::string joined(const LinkPath& path) {
  std::string text;
  for (const std::string& link : path) text += "/" + link;
  return text;
}

LinkPath splitPath(const std::string& text) {
  LinkPath links;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('/', start), text.size());
    if (end > start) links.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return links;
}

LinkPath below(LinkPath path, const std::string& link) {
  path.push_back(link);
  return path;
}

bool hasLink(hid_t parent, const std::string& link) {
  return isTrue(H5Lexists(parent, link.c_str(), linkAccess()), "look up", link);
}

bool leadsSomewhere(hid_t parent, const LinkPath& path) {
  std::string reached = ".";
  for (const std::string& link : path) {
    // HDF5 takes a missing link in the middle of a path for an error.
    reached += "/" + link;
    if (!hasLink(parent, reached) ||
        !isTrue(H5Oexists_by_name(parent, reached.c_str(), linkAccess()), "look up", link))
      return false;
  }
  return true;
}

std::optional<std::pair<std::string, std::string>> externalTarget(hid_t parent,
                                                                  const std::string& link) {
  H5L_info_t info;
  checked(H5Lget_info(parent, link.c_str(), &info, linkAccess()), "look up", link);
  if (info.type != H5L_TYPE_EXTERNAL) return std::nullopt;
  std::vector<char> value(info.u.val_size);
  const char* file = nullptr;
  const char* object = nullptr;
  checked(H5Lget_val(parent, link.c_str(), value.data(), value.size(), linkAccess()), "read link",
          link);
  checked(H5Lunpack_elink_val(value.data(), value.size(), nullptr, &file, &object), "read link",
          link);
  return std::pair(std::string(file), std::string(object));
}

void removeLink(hid_t parent, const std::string& link) {
  checked(H5Ldelete(parent, link.c_str(), H5P_DEFAULT), "replace", link);
}

Id openGroup(hid_t parent, const std::string& path) {
  return own(H5Gopen2(parent, path.c_str(), groupAccess()), "open group", path);
}

Id openDataset(hid_t parent, const std::string& path) {
  return own(H5Dopen2(parent, path.c_str(), datasetAccess()), "open dataset", path);
}

Id openObject(hid_t parent, const std::string& path) {
  return own(H5Oopen(parent, path.c_str(), linkAccess()), "open", path);
}

Id openIfGroup(hid_t parent, const std::string& path) {
  Id object = openObject(parent, path);
  return checked(H5Iget_type(object), "open", path) == H5I_GROUP ? std::move(object) : Id();
}

Id createGroup(hid_t parent, const std::string& name) {
  const Id properties = own(H5Pcreate(H5P_GROUP_CREATE), "create group", name);
  checked(H5Pset_obj_track_times(properties, false), "create group", name);
  return own(H5Gcreate2(parent, name.c_str(), linkProperties(), properties, H5P_DEFAULT),
             "create group", name);
}

Id makeGroup(Q8File& file, const LinkPath& path) {
  Id group = openGroup(file.id(), "/");
  for (const std::string& link : path)
    group = hasLink(group, link) ? openGroup(group, link) : createGroup(group, link);
  return group;
}

Id findGroup(Q8File& file, const LinkPath& path) {
  Id group = openGroup(file.id(), "/");
  for (const std::string& link : path) {
    if (!hasLink(group, link)) return {};
    group = openGroup(group, link);
  }
  return group;
}

std::vector<std::string> allLinks(hid_t group) {
  std::vector<std::string> links;
  hsize_t position = 0;
  const auto visit = [](hid_t, const char* name, const H5L_info_t*, void* list) -> herr_t {
    static_cast<std::vector<std::string>*>(list)->emplace_back(name);
    return 0;
  };
  checked(H5Literate(group, H5_INDEX_NAME, H5_ITER_INC, &position, visit, &links), "list group");
  return links;
}

std::vector<std::string> childLinks(hid_t group) {
  std::vector<std::string> links = allLinks(group);
  std::erase_if(links, [](const std::string& link) { return link[0] == '@'; });
  return links;
}

ObjectPlace placeOf(hid_t object) {
  H5O_info_t info;
  checked(H5Oget_info2(object, &info, H5O_INFO_BASIC), "examine an object");
  return {info.fileno, info.addr};
}

}  // namespace Quilt::Storage
