#include "recast/trellis/skeleton.h"

namespace Quilt {

Larder::StrongPtr<Representation> RepresentationMap::findRepresentation(
    const std::string& name) const {
  for (const auto& representation : representations_)
    if (representation->name() == name) return representation;
  return nullptr;
}

Larder::StrongPtr<Representation> RepresentationMap::operator()(const Chart& chart) const {
  return findRepresentation(Skeleton::representationName(chart));
}

Larder::StrongPtr<Representation> RepresentationMap::operator()(const Skeleton& base) const {
  return findRepresentation(Skeleton::representationName(base));
}

Skeleton::Skeleton(const SkeletonID& id, const Larder::StrongPtr<Placement>& place)
    : id_(id), place_(Larder::makeStrong<Placement>(*place)) {
  place_->Skeleton = id;
}

Larder::StrongPtr<Representation> Skeleton::operator[](const Chart& chart) {
  return makeRepresentation(representationName(chart));
}

Larder::StrongPtr<Representation> Skeleton::operator[](const Skeleton& base) {
  return makeRepresentation(representationName(base));
}

Larder::StrongPtr<Representation> Skeleton::makeRepresentation(const std::string& name) {
  if (auto present = findRepresentation(name)) return present;
  auto place = Larder::makeStrong<Placement>(*place_);
  place->RepresentationName = name;
  representations_.push_back(Larder::makeStrong<Representation>(place, name));
  return representations_.back();
}

std::string Skeleton::representationName(const Chart& chart) {
  return chart.name().empty() ? "Cartesian" : "Cartesian:" + chart.name();
}

std::string Skeleton::representationName(const Skeleton& base) {
  return base.id().name();
}

}  // namespace Quilt
