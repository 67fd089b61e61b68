#pragma once

#include <map>
#include <string>
#include <vector>

#include "recast/trellis/skeleton.h"

namespace Quilt {

/// Names a grid in a slice.
class RECAST_API GridID : public Larder::ReferenceBase<GridID> {
 public:
  explicit GridID(std::string name) : name_(std::move(name)) {}
  const std::string& name() const { return name_; }
  bool equal(const std::string& name) const { return name_ == name; }

 private:
  std::string name_;
};

/// The names of the grids of a bundle, each once, in the order in which slices first hold them.
class RECAST_API GridList : public Larder::ReferenceBase<GridList> {
 public:
  explicit GridList(std::vector<Larder::StrongPtr<GridID>> ids) : ids_(std::move(ids)) {}
  std::size_t getNumberOfGrids() const { return ids_.size(); }
  const std::vector<Larder::StrongPtr<GridID>>& ids() const { return ids_; }

 private:
  std::vector<Larder::StrongPtr<GridID>> ids_;
};

/// The skeletons of a grid.
class RECAST_API SkeletonMap {
 public:
  /// The vertices of an n-dimensional grid, made if missing.
  Larder::StrongPtr<Skeleton> makeVertices(int n);
  /// The vertices of an n-dimensional grid, of any dimension for -1 (the highest first); or null.
  Larder::StrongPtr<Skeleton> findVertices(int n) const;
  Larder::StrongPtr<Skeleton> getSkeleton(const SkeletonID& id) const;
  /// The skeleton of that identifier, made if missing.
  Larder::StrongPtr<Skeleton> operator[](const SkeletonID& id);
  const std::map<SkeletonID, Larder::StrongPtr<Skeleton>>& skeletons() const { return skeletons_; }

 protected:
  explicit SkeletonMap(const Larder::StrongPtr<Placement>& place) : place_(place) {}
  ~SkeletonMap() = default;

  const Placement& place() const { return *place_; }

 private:
  Larder::StrongPtr<Placement> place_;
  std::map<SkeletonID, Larder::StrongPtr<Skeleton>> skeletons_;
};

/// A geometric object: skeletons of elements, with representations that hold their fields. Not
/// synchronised.
class RECAST_API Grid : public Larder::ReferenceBase<Grid>,
                        public SkeletonMap,
                        public Larder::Attributes,
                        public Larder::Ageable,
                        public Larder::Intercube {
 public:
  /// \param place where the grid hangs; its name is read.
  explicit Grid(const Larder::StrongPtr<Placement>& place);

  const std::string& name() const;

  /// The representation of the vertices of a grid of `dimensions` in the chart of that name; chart,
  /// vertices and representation are made if missing.
  /// \param flags 0; no other value has a meaning yet.
  Larder::StrongPtr<Representation> makeCartesianRepresentation(int dimensions,
                                                                const std::string& chartName,
                                                                unsigned short flags);
  /// The vertices' representation in the chart of that name, or null.
  Larder::StrongPtr<Representation> getCartesianRepresentation(const std::string& chartName) const;
  Larder::StrongPtr<Representation> getCartesianRepresentation(
      const Larder::StrongPtr<Skeleton>& skeleton, const std::string& chartName) const;
  /// The positions of the vertices in the chart without a name, or null.
  Larder::StrongPtr<Field> CartesianPositions() const;
  Larder::StrongPtr<Chart> findCartesianChart(const std::string& chartName) const;
  Larder::StrongPtr<Chart> makeCartesianChart(const std::string& chartName);
  /// The field of the vertices in the chart of that name, or null.
  Larder::StrongPtr<Field> operator()(const std::string& fieldName,
                                      const std::string& chartName) const;

  /// The grid's structure as XML text: skeletons, representations, fields with element type and
  /// number of fragments.
  std::string xml() const;

 private:
  std::map<std::string, Larder::StrongPtr<Chart>> charts_;
};

}  // namespace Quilt
