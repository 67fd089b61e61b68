#pragma once

#include <string>

#include "recast/raster/height_array.h"
#include "recast/recastbase/run_report.h"
#include "recast/sheaf/bundle.h"
#include "recast/text_input/line_reader.h"

/// The steps of the terrain import, on one opened file that the readers share.
namespace Recast {

/// Where a reader leaves what it finds out about a tile; see `readDGMAsGrd` and `readDGMAsTxt`.
struct TileResults {
  double& noData;
  Heron::PhysicalSpace::vector& cellSize;
  Heron::PhysicalSpace::point& origin;
  std::string& gridName;
};

/// `readDGMAsGrd`, on an opened file that is read from its start.
RunOutcome readRasterTile(Quilt::Bundle& bundle, Larder::Text::LineReader& input,
                          const TileResults& results);
/// `readDGMAsTxt`, on an opened file that is read from its start. Bundles are opened by their path.
RunOutcome readSampleTile(Quilt::Bundle& bundle, Larder::Text::LineReader& input,
                          const TileResults& results);

/// Stores the heights of a file as the tile of its name, `addToUniformGrid`, with notices if the
/// tile took another one's place or lies outside the world frame.
void storeTile(Quilt::Bundle& bundle, const std::string& path, const TileResults& results,
               const HeightHandle& heights);

struct TileCloudNames {
  const std::string& uniformGrid;
  std::string& pointGrid;  ///< the default name is filled in if it is empty
  const std::string& fragment;
};

/// `uniformToPointCloud`.
RunOutcome makeTileCloud(Quilt::Bundle& bundle, const TileCloudNames& names, double noData,
                         const Heron::PhysicalSpace::vector& cellSize,
                         const Heron::PhysicalSpace::point& origin);

}  // namespace Recast
