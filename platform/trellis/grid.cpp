#include "recast/trellis/grid.h"

namespace Quilt {

Larder::StrongPtr<Skeleton> SkeletonMap::makeVertices(int n) {
  return (*this)[SkeletonID(n, 0)];
}

Larder::StrongPtr<Skeleton> SkeletonMap::findVertices(int n) const {
  if (n >= 0) return getSkeleton(SkeletonID(n, 0));
  for (auto entry = skeletons_.rbegin(); entry != skeletons_.rend(); ++entry)
    if (entry->first.Depth == 0) return entry->second;
  return nullptr;
}

Larder::StrongPtr<Skeleton> SkeletonMap::getSkeleton(const SkeletonID& id) const {
  const auto found = skeletons_.find(id);
  return found == skeletons_.end() ? nullptr : found->second;
}

Larder::StrongPtr<Skeleton> SkeletonMap::operator[](const SkeletonID& id) {
  auto& skeleton = skeletons_[id];
  if (!skeleton) skeleton = Larder::makeStrong<Skeleton>(id, place_);
  return skeleton;
}

Grid::Grid(const Larder::StrongPtr<Placement>& place) : SkeletonMap(place) {}

const std::string& Grid::name() const {
  return place().GridName;
}

Larder::StrongPtr<Representation> Grid::makeCartesianRepresentation(int dimensions,
                                                                    const std::string& chartName,
                                                                    unsigned short) {
  return (*makeVertices(dimensions))[*makeCartesianChart(chartName)];
}

Larder::StrongPtr<Representation> Grid::getCartesianRepresentation(
    const std::string& chartName) const {
  return getCartesianRepresentation(findVertices(-1), chartName);
}

Larder::StrongPtr<Representation> Grid::getCartesianRepresentation(
    const Larder::StrongPtr<Skeleton>& skeleton, const std::string& chartName) const {
  const auto chart = findCartesianChart(chartName);
  return skeleton && chart ? (*skeleton)(*chart) : nullptr;
}

Larder::StrongPtr<Field> Grid::CartesianPositions() const {
  const auto representation = getCartesianRepresentation("");
  return representation ? representation->Positions() : Field::NullPtrField();
}

Larder::StrongPtr<Chart> Grid::findCartesianChart(const std::string& chartName) const {
  const auto found = charts_.find(chartName);
  return found == charts_.end() ? nullptr : found->second;
}

Larder::StrongPtr<Chart> Grid::makeCartesianChart(const std::string& chartName) {
  auto& chart = charts_[chartName];
  if (!chart) chart = Larder::makeStrong<Chart>(chartName);
  return chart;
}

Larder::StrongPtr<Field> Grid::operator()(const std::string& fieldName,
                                          const std::string& chartName) const {
  const auto representation = getCartesianRepresentation(chartName);
  return representation ? representation->findField(fieldName) : Field::NullPtrField();
}

}  // namespace Quilt
