#include "recast/sheaf/storage/groups.h"

#include <algorithm>

namespace Quilt::Storage {
namespace {

bool hasLink(hid_t parent, const std::string& link) {
  return H5Lexists(parent, link.c_str(), H5P_DEFAULT) > 0;
}

}  // namespace

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

Id createGroup(hid_t parent, const std::string& name) {
  const Id properties = own(H5Pcreate(H5P_GROUP_CREATE), "create group", name);
  checked(H5Pset_obj_track_times(properties, false), "create group", name);
  return own(H5Gcreate2(parent, name.c_str(), H5P_DEFAULT, properties, H5P_DEFAULT),
             "create group", name);
}

Id makeGroup(Q8File& file, const LinkPath& path) {
  Id group = own(H5Gopen2(file.id(), "/", H5P_DEFAULT), "open group", "/");
  for (const std::string& link : path)
    group = hasLink(group, link)
                ? own(H5Gopen2(group, link.c_str(), H5P_DEFAULT), "open group", joined(path))
                : createGroup(group, link);
  return group;
}

Id findGroup(Q8File& file, const LinkPath& path) {
  Id group = own(H5Gopen2(file.id(), "/", H5P_DEFAULT), "open group", "/");
  for (const std::string& link : path) {
    if (!hasLink(group, link)) return {};
    group = own(H5Gopen2(group, link.c_str(), H5P_DEFAULT), "open group", joined(path));
  }
  return group;
}

std::vector<std::string> childLinks(hid_t group) {
  std::vector<std::string> links;
  hsize_t position = 0;
  const auto visit = [](hid_t, const char* name, const H5L_info_t*, void* list) -> herr_t {
    if (name[0] != '@') static_cast<std::vector<std::string>*>(list)->emplace_back(name);
    return 0;
  };
  checked(H5Literate(group, H5_INDEX_NAME, H5_ITER_INC, &position, visit, &links), "list group");
  return links;
}

}  // namespace Quilt::Storage
