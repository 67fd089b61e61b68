#include "recast/sheaf/bundle.h"

#include <algorithm>

namespace Quilt {

Larder::StrongPtr<Slice> Bundle::operator[](double time) {
  auto& slice = slices_[time];
  if (!slice) slice = Larder::makeStrong<Slice>(anchor_, time);
  return slice;
}

Larder::StrongPtr<Slice> Bundle::operator()(const double& time) const {
  const auto found = slices_.find(time);
  return found == slices_.end() ? nullptr : found->second;
}

Larder::StrongPtr<Grid> Bundle::operator()(double time, const Larder::StrongPtr<GridID>& id) const {
  const auto slice = (*this)(time);
  return slice ? (*slice)(id) : nullptr;
}

std::vector<Larder::StrongPtr<GridID>> Bundle::getGridIdentifiers() const {
  std::vector<Larder::StrongPtr<GridID>> ids;
  for (const auto& [time, slice] : slices_)
    for (const auto& [id, grid] : *slice) {
      const bool known =
          std::any_of(ids.begin(), ids.end(),
                      [&name = id->name()](const auto& other) { return other->equal(name); });
      if (!known) ids.push_back(id);
    }
  return ids;
}

Larder::StrongPtr<GridList> Bundle::getGridList() const {
  return Larder::makeStrong<GridList>(getGridIdentifiers());
}

}  // namespace Quilt
