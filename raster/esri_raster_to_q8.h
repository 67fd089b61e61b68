#pragma once

#include <string>

#include "recast/larder/progress.h"
#include "recast/larder/string_list.h"

namespace Recast {

/// Turns Esri ASCII rasters into bundles: per raster a tile of a uniform grid of heights, and a
/// point cloud with surface normals, in the slice at time 0.
///
/// Every raster gets a bundle of its own, and all are bound to `outputPath` one after the other, so
/// that of a list the last one's file stays. To merge rasters use `readDGM`.
///
/// \param files the rasters; must be valid.
/// \param progress not used.
/// \param uniformGridName, pointGridName empty for "DGM_CellSize_" and "Pkt_CellSize_" followed by
/// the cell size truncated to an int; they may be equal. \return a RasterStatus; the first one that
/// isn't 0 ends the call. The output of each raster is in place before the next one is read; one
/// that fails, by status or exception, leaves the file of the one before it, or that was there.
/// `lastRunReport` has the reason of a failure. \throw std::out_of_range for a height beyond the
/// range of a float; Quilt::StorageError if writing fails; std::bad_alloc.
RECAST_API int converterEsriRasterToQ8(
    const Larder::StrongPtr<Larder::StringList, Larder::StringList>& files,
    const std::string& outputPath,
    const Larder::StrongPtr<Larder::LoaderProgress, Larder::InterfaceBase>& progress,
    const std::string& uniformGridName, const std::string& pointGridName);

}  // namespace Recast
