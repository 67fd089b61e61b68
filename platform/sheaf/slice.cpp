#include "recast/sheaf/slice.h"

namespace Quilt {

Slice::Slice(const Larder::StrongPtr<BundleAnchor>& anchor, double time)
    : anchor_(anchor), time_(time) {}

Larder::StrongPtr<Grid> Slice::operator[](const std::string& name) {
  if (auto present = (*this)(name)) return present;
  auto place = Larder::makeStrong<Placement>();
  place->Anchor = anchor_;
  place->Time = time_;
  place->GridName = name;
  const auto grid = Larder::makeStrong<Grid>(place);
  place->GridHandle = grid;
  grids_.emplace_back(Larder::makeStrong<GridID>(name), grid);
  return grid;
}

Larder::StrongPtr<Grid> Slice::operator()(const std::string& name) const {
  for (const auto& [id, grid] : grids_)
    if (id->equal(name)) return grid;
  return nullptr;
}

Larder::StrongPtr<Grid> Slice::operator()(const Larder::StrongPtr<GridID>& id) const {
  return id ? (*this)(id->name()) : nullptr;
}

}  // namespace Quilt
