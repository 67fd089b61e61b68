#pragma once

#include <string>
#include <utility>
#include <vector>

#include "recast/trellis/grid.h"

namespace Quilt {

/// The grids of a bundle at one time, in the order in which they were made.
///
///     for (const auto& [id, grid] : slice) ...
class RECAST_API Slice : public Larder::ReferenceBase<Slice>, public Larder::Attributes {
 public:
  using Entry = std::pair<Larder::StrongPtr<GridID>, Larder::StrongPtr<Grid>>;

  Slice(const Larder::StrongPtr<BundleAnchor>& anchor, double time);
  Slice(const Slice&) = delete;
  Slice& operator=(const Slice&) = delete;

  double time() const { return time_; }
  /// The grid of that name, made if missing.
  Larder::StrongPtr<Grid> operator[](const std::string& name);
  /// The same: a grid that is there already is given, not made twice.
  Larder::StrongPtr<Grid> newGrid(const std::string& name) { return (*this)[name]; }
  /// The grid of that name, or null.
  Larder::StrongPtr<Grid> operator()(const std::string& name) const;
  Larder::StrongPtr<Grid> operator()(const Larder::StrongPtr<GridID>& id) const;
  /// Makes the grids available; those of a loaded bundle are. \return true.
  bool accessSlice() const { return true; }

  auto begin() const { return grids_.begin(); }
  auto end() const { return grids_.end(); }

 private:
  Larder::StrongPtr<BundleAnchor> anchor_;
  double time_;
  std::vector<Entry> grids_;
};

}  // namespace Quilt
