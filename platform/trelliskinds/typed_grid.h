#pragma once

#include "recast/trellis/grid.h"

namespace Quilt {

/// The base of the views that see a grid as one of a certain kind. A view holds its grid by one
/// handle and owns nothing else; test it before use.
class RECAST_API TypedGrid : public Larder::ReferenceBase<TypedGrid> {
 public:
  TypedGrid() = default;
  explicit TypedGrid(const Larder::StrongPtr<Grid>& grid) : grid_(grid) {}

  const Larder::StrongPtr<Grid>& grid() const { return grid_; }
  explicit operator bool() const { return static_cast<bool>(grid_); }

 protected:
  void setGrid(const Larder::StrongPtr<Grid>& grid) { grid_ = grid; }

 private:
  Larder::StrongPtr<Grid> grid_;
};

}  // namespace Quilt
