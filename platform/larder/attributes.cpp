#include "recast/larder/attributes.h"

#include <algorithm>

namespace Larder {
namespace {

template <class Map>
auto placeOf(Map& attributes, const std::string& name) {
  return std::lower_bound(
      attributes.begin(), attributes.end(), name,
      [](const auto& entry, const std::string& key) { return entry.first < key; });
}

}  // namespace

void Attributes::setAttribute(const std::string& name, const StrongPtr<ChunkBase>& value) {
  const auto place = placeOf(attributes_, name);
  const bool present = place != attributes_.end() && place->first == name;
  if (present && value)
    place->second = value;
  else if (present)
    attributes_.erase(place);
  else if (value)
    attributes_.emplace(place, name, value);
}

StrongPtr<ChunkBase> Attributes::getAttribute(const std::string& name) const {
  const auto place = placeOf(attributes_, name);
  return place != attributes_.end() && place->first == name ? place->second : nullptr;
}

}  // namespace Larder
