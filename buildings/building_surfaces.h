#pragma once

#include <string>
#include <vector>

#include "recast/larder/progress.h"
#include "recast/larder/string_list.h"
#include "recast/perch/fixed_array.h"
#include "recast/trellis/grid.h"

/// Building models into one triangulated surface: a grid of skeletons (2, 0) and (2, 1).
///
/// Lengths are in the unit of the input. Both conversions report on the console what they pass
/// over: fragments that lack data, lists that refer to nonexistent elements. Of a polygon that
/// can't be cut to its end the triangles up to there are kept. Data that is not divided into
/// fragments counts as one fragment.
///
/// Nothing is written unless all of the input could be read: data that its file has but that can't
/// be read, because it is damaged or there is not enough memory, ends a conversion with status 2.
/// `lastRunReport` has the reason of a status other than 0. A result with more than 2^32 - 1
/// vertices throws std::length_error. An output that can't be written throws Quilt::StorageError,
/// which names the file and the reason. In all these cases an existing file of the output's name is
/// unchanged.
namespace Recast {

using BuildingProgress = Larder::StrongPtr<Larder::LoaderProgress, Larder::InterfaceBase>;

/// Extrudes building footprints: every ring gets a band of walls from the ground to the roof, and a
/// flat roof that runs the other way than the ring. There is no floor; a ring inside another is a
/// building of its own.
///
/// Every grid of every slice of the files has the vertices' positions in skeleton (3, 0), rings as
/// lists of vertex numbers in (1, 2), and shapes as lists of ring numbers in (1, 3) with the fields
/// "HOEHEGRUND" (z of the ground) and "HOEHEGEB" (height of the roof above it), one double per
/// shape. \param files must be valid. \param progress may be null; false leaves the rest of a
/// shape's rings out. \return 0; 2 if a file can't be loaded or its data can't be read; 3 if a grid
/// lacks a part. Nothing is written unless it is 0.
/// \throw Quilt::StorageError if `outFile` can't be written; an existing file is unchanged then.
RECAST_API int convertLOD1toTIN(const Larder::StrongPtr<Larder::StringList>& files,
                                const std::string& outFile, const BuildingProgress& progress,
                                const std::string& gridName);

/// Cuts the faces of building shells into triangles over the faces' own vertices. Triangles of
/// faces that count as horizontal (see `checkIfHorizontal`) run the other way than their ring,
/// those of walls the same way.
///
/// The grids are as `getFields` reads them. If any has building identifiers, the surface gets the
/// field "TriangleID" with one number per triangle, 0 for triangles of grids without them.
/// Arguments, result and errors as for `convertLOD1toTIN`; progress false leaves the rest of a
/// fragment's faces out.
RECAST_API int convertLOD2toTIN(const Larder::StrongPtr<Larder::StringList>& files,
                                const std::string& outFile, const BuildingProgress& progress,
                                const std::string& gridName);

/// The same from one grid into another, without identifiers. \return 0; 2 if data of `source` can't
/// be read; 3 if `source` lacks a part. `target` is untouched unless it is 0.
/// \throw Quilt::StorageError if `target` is bound to a file that can't be written.
RECAST_API int convertLOD2toTIN(const Quilt::Grid& source, Quilt::Grid& target,
                                const BuildingProgress& progress);

/// Finds the fields of building shells: the positions of the vertices in skeleton (3, 0) or else
/// (1, 0), the faces as closed rings of vertex numbers in (1, 2), and the optional field "GEBIDBY"
/// (ints) of skeleton (1, 3) relative to the faces; null if there is none. \return false, with a
/// message on the console, if one of the first two is missing.
RECAST_API bool getFields(const Quilt::Grid& grid, Larder::StrongPtr<Quilt::Field>& vertices,
                          Larder::StrongPtr<Quilt::Field>& lines,
                          Larder::StrongPtr<Quilt::Field>& identifiers);

/// Whether the normal of a face, from its first, middle and last point, is less than about 75.5
/// degrees off the z axis: true for floors, roofs and slopes, false for walls and for points on a
/// line.
RECAST_API bool checkIfHorizontal(std::vector<Heron::PhysicalSpace::point>& points);

}  // namespace Recast
