#pragma once

#include "recast/buildings/building_surfaces.h"
#include "recast/buildings/surface_lists.h"

namespace Recast {

/// The surface of building shells while it grows.
struct ShellSurface {
  SurfaceLists lists;
  /// One building identifier per triangle, 0 for none; stays empty until there is one.
  Larder::StrongPtr<Larder::Chunk<unsigned int>, Larder::ChunkBase> identifiers =
      Larder::makeStrong<Larder::Chunk<unsigned int>>(std::size_t{100000}, true);

  /// Gives the triangles that have no identifier the identifier 0, if others have one.
  void alignIdentifiers() {
    if (!identifiers->empty()) identifiers->resize(lists.triangles());
  }
};

/// Adds the triangles of all faces of a grid. \return false if `getFields` does.
/// \throw UnreadableFragment
bool triangulateLOD2Grid(const Quilt::Grid& grid, const BuildingProgress& progress,
                         ShellSurface& surface);

}  // namespace Recast
