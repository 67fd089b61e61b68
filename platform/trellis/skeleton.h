#pragma once

#include <string>
#include <vector>

#include "recast/trellis/representation.h"

namespace Quilt {

/// A coordinate system in which the elements of a grid have positions.
class RECAST_API Chart : public Larder::ReferenceBase<Chart> {
 public:
  explicit Chart(std::string name) : name_(std::move(name)) {}
  const std::string& name() const { return name_; }

 private:
  std::string name_;
};

class Skeleton;

/// The representations of a skeleton, found by what they are relative to.
class RECAST_API RepresentationMap {
 public:
  /// The representation in that chart, or null.
  Larder::StrongPtr<Representation> operator()(const Chart& chart) const;
  /// The representation relative to that skeleton, or null.
  Larder::StrongPtr<Representation> operator()(const Skeleton& base) const;
  /// All of them, in the order in which they were made.
  const std::vector<Larder::StrongPtr<Representation>>& representations() const {
    return representations_;
  }
  Larder::StrongPtr<Representation> findRepresentation(const std::string& name) const;

 protected:
  RepresentationMap() = default;
  ~RepresentationMap() = default;

  std::vector<Larder::StrongPtr<Representation>> representations_;
};

/// The elements of one kind of a grid, such as its vertices, its triangles or its fragments.
class RECAST_API Skeleton : public Larder::ReferenceBase<Skeleton>,
                            public RepresentationMap,
                            public Larder::Attributes {
 public:
  /// \param place where the skeleton hangs; grid and time are read.
  Skeleton(const SkeletonID& id, const Larder::StrongPtr<Placement>& place);

  const SkeletonID& id() const { return id_; }
  /// The representation in that chart, made if missing.
  Larder::StrongPtr<Representation> operator[](const Chart& chart);
  /// The representation relative to that skeleton, made if missing.
  Larder::StrongPtr<Representation> operator[](const Skeleton& base);
  /// The representation of that name, made if missing.
  Larder::StrongPtr<Representation> makeRepresentation(const std::string& name);

  /// The names that representations have in a skeleton: "Cartesian", or "Cartesian:" and the
  /// chart's name if that isn't empty; the name of the skeleton's identifier.
  static std::string representationName(const Chart& chart);
  static std::string representationName(const Skeleton& base);

 private:
  SkeletonID id_;
  Larder::StrongPtr<Placement> place_;
};

}  // namespace Quilt
