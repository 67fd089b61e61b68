#include "recast/larder/attributes.h"

namespace Larder {

void Attributes::setAttribute(const std::string& name, const StrongPtr<ChunkBase>& value) {
  if (value)
    attributes_[name] = value;
  else
    attributes_.erase(name);
}

StrongPtr<ChunkBase> Attributes::getAttribute(const std::string& name) const {
  const auto found = attributes_.find(name);
  return found == attributes_.end() ? nullptr : found->second;
}

}  // namespace Larder
