#pragma once

#include <string>

#include "recast/larder/progress.h"
#include "recast/larder/string_list.h"
#include "recast/raster/height_array.h"
#include "recast/sheaf/bundle.h"

/// Terrain files into tiles of a uniform grid and point clouds, all in one bundle.
///
/// Results are the values of RasterStatus; `lastRunReport` has the reason of one that isn't 0, and
/// notices of what was left out or replaced. A tile is named after its file, without folders and
/// extension, which may leave an empty name; lengths and heights are in the unit of the files. A
/// height or coordinate beyond the range of a float throws std::out_of_range, a failing output
/// Quilt::StorageError, and a lack of memory for a point cloud std::bad_alloc, through all of
/// these. Nothing is printed.
namespace Recast {

using TerrainProgress = Larder::StrongPtr<Larder::LoaderProgress, Larder::InterfaceBase>;

/// Loads terrain files, front to back, into one bundle, and derives a point cloud with normals from
/// each. Every file is offered to `readDGMAsGrd` and, if that refuses it, to `readDGMAsTxt`, and is
/// opened once for both: a pipe will do unless both readers need more than its first 256 KiB.
///
/// \param files must be valid. \param progress not used.
/// \param uniformGridName, pointGridName empty for default names by the cell size of each file:
/// "DGM_CellSize_" and "Pkt_CellSize_" with the cell size truncated to an int. Not written to.
/// \param bindExisting adds to the file `outputPath`, which must be there; else a new file takes
/// its place. \return 0 once the output is complete, or the status of the first file that fails,
/// which ends the call; tiles before it are in the output, which stays as it was if there are none
/// or if it is one of the files. 1 means that a file can't be read to its end; 7, 8, 9, 16, 17, 19
/// and 20 come from the text reader, 12 to 16 and 18 from `uniformToPointCloud`; 8 also if the
/// output can't be bound.
RECAST_API int readDGM(const Larder::StrongPtr<Larder::StringList, Larder::StringList>& files,
                       const std::string& outputPath, const TerrainProgress& progress,
                       std::string& uniformGridName, std::string& pointGridName, bool bindExisting);

/// What became of one terrain file.
struct RECAST_API TerrainTileCount {
  std::uint64_t cells = 0;   ///< of the tile
  std::uint64_t points = 0;  ///< of the point cloud
};

/// The work of `readDGM` on one file, for hosts that tell of each: \p bundle is valid and, to keep
/// the result, bound; the caller completes it. Memory lets go of the tile once it is written.
/// \return as `readDGM`; a file that fails in its readers leaves the bundle as it was.
RECAST_API int importTerrainTile(Quilt::BundlePtr& bundle, const std::string& path,
                                 const TerrainProgress& progress,
                                 const std::string& uniformGridName,
                                 const std::string& pointGridName, TerrainTileCount& count);

/// Adds an Esri ASCII raster as a tile to the uniform grid of a bundle.
///
/// The format is that of `converterEsriRasterToQ8`; empty lines count for the header, also before
/// it. \param noData replaced by the header's "nodata_value", if there is one. \param cellSize,
/// origin receive the steps along the axes and the centre of the lower-left cell. \param gridName
/// the default name is filled in if it is empty. \return 0, 1, 3 to 7 or 9 to 11. What was written
/// before a failure stays written; the bundle is as it was. 1 also if reading fails half-way.
RECAST_API int readDGMAsGrd(Quilt::BundlePtr& bundle, const std::string& path,
                            const TerrainProgress& progress, double& noData,
                            Heron::PhysicalSpace::vector& cellSize,
                            Heron::PhysicalSpace::point& origin, std::string& gridName);

/// Adds scattered samples of a raster, in any order, as a tile to the uniform grid of a bundle.
///
/// The samples are the lines x, y, z of a text file or, for the extension "q8", the points of a
/// bundle of one grid. Their spacing is told by the extension g10dgm (here 10), or else by the
/// first two samples: their distance along x, or along y if they agree in x. A sample goes to the
/// nearest node, a later one in the place of an earlier one; nodes without a sample hold -9999.
/// \param noData not used. \param cellSize, origin receive the spacing and the smallest x and y.
/// \param gridName the default name is filled in if it is empty.
/// \return 0, 1 if reading fails half-way, 7 to 9, 16, 17, 19 or 20. A failure before the tile's
/// extent is known writes nothing.
RECAST_API int readDGMAsTxt(Quilt::BundlePtr& bundle, const std::string& path,
                            const TerrainProgress& progress, double& noData,
                            Heron::PhysicalSpace::vector& cellSize,
                            Heron::PhysicalSpace::point& origin, std::string& gridName);

/// Adds a tile to the uniform grid of that name in the slice at time 0, which is made if missing: a
/// fragment of the field "Elevation". Tiles are neither resampled nor reconciled; one of an
/// existing name takes the former one's place, of which the report has a notice. \param
/// bundle valid. \param gridName not empty. \param offset the tile's place in cells of its own from
/// the world frame's lower corner. \param data (columns, rows, 1); the field owns it from now on.
RECAST_API void addToUniformGrid(Quilt::BundlePtr& bundle, std::string& gridName,
                                 Quilt::MultiIndex<3>& offset, std::string& fragmentName,
                                 HeightHandle& data);

/// Derives a point cloud with normals from one tile of a uniform grid, as a fragment of the same
/// name in the grid `pointGridName` of the same slice. A tile without any value makes no fragment,
/// and leaves one of its name that is there without points. \param pointGridName the default name
/// is filled in if it is empty. \param noData cells within 0.001 of it make no point. \param
/// cellSize the steps along the axes. \param origin the place of cell (0, 0, 0). \return 0, or 12
/// to 16 or 18.
RECAST_API int uniformToPointCloud(Quilt::BundlePtr& bundle, const std::string& uniformGridName,
                                   std::string& pointGridName, const std::string& fragmentName,
                                   const double& noData,
                                   const Heron::PhysicalSpace::vector& cellSize,
                                   const Heron::PhysicalSpace::point& origin,
                                   const TerrainProgress& progress);

}  // namespace Recast
