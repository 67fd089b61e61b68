#pragma once

#include <string>
#include <vector>

#include "recast/larder/progress.h"
#include "recast/larder/string_list.h"
#include "recast/perch/bounding_box.h"

namespace Recast {

/// Writes a point cloud anew, laid out as a regular lattice of equal cuboid fragments. Each
/// fragment holds the points of its cell and, with an overlap, those near it; a cell without points
/// has no data. All fields of the points follow them, in the same order. A fragment has the name
/// "RegularFragment[xxyxz]" of its place.
///
/// The input is read fragment by fragment and never held as a whole; what is held at one time are
/// the target fragments of one pass, of one field.
///
/// The output is in place when the run ends with success. An input that can't be used leaves the
/// output file as it was, and so does each failure before the first fragment is stored. A run that
/// fails later completes the file with what was stored, unless the output file, or one of the
/// external ones, is an input: then all files stay as they were.
///
/// A field may have more values than there are points, of which the surplus is left out; fewer end
/// the run only if a point inside the lattice has none. More is said in docs/hosting.md.
///
/// To see the plan before anything is written, see `planRefragmentation`.
///
/// \param files the input, loaded into one bundle; a grid of several files is one grid.
/// \param fieldNames the fields to carry over beside the positions; empty for all.
/// \param gridName may be empty if the input has exactly one grid.
/// \param time of the slice to read, and of the one that is written.
/// \param threads workers; negative for as many as the machine has, 0 for the OpenMP runtime's
/// choice.
/// \param lowerMargin taken off the lower corner of the box that is computed from the data: that
/// box, widened to whole numbers and one unit more on all sides. In the unit of the data.
/// \param bbox, useBBoxMin, useBBoxMax a box that replaces the computed one at its lower and at its
/// upper corner. Points outside are left out.
/// \param outFile replaced in one step when the run has come to its end.
/// \param fragLength edge lengths of the fragments in the unit of the data; 0 for one fragment
/// along that axis. \param overlap a fraction of a fragment's length: by so much a fragment reaches
/// beyond each of its faces, but never beyond the adjacent cells. \param compression 0 weak, 1
/// strong, everything else none. \param extLink a folder, made if missing, in which every field
/// beside the positions gets a file of its own; a relative one counts from the folder of `outFile`.
/// Empty for none. \param loopsOverFrags passes over the data: with n passes about an n-th of the
/// memory is needed, and the positions are read n times more. With 0 nothing is carried over.
/// \param fragLow fragments of so many points or fewer are not written.
/// \param progress may be null. It is called by one thread at a time, not always by the caller's;
/// it can't stop the run.
/// \return empty on success, else the one message that ended the run.
/// \throw std::bad_alloc
RECAST_API std::string spatialRefragmentation(
    const Larder::StrongPtr<Larder::StringList>& files, const std::vector<std::string>& fieldNames,
    const std::string& gridName, const double& time, int threads,
    const Heron::PhysicalSpace::vector& lowerMargin,
    const Larder::StrongPtr<Heron::BoundingBox>& bbox, bool useBBoxMin, bool useBBoxMax,
    const std::string& outFile, Heron::PhysicalSpace::vector fragLength, const double& overlap,
    const int& compression, const std::string& extLink, const unsigned int& loopsOverFrags,
    const unsigned int& fragLow, const Larder::StrongPtr<Larder::LoaderProgress>& progress);

}  // namespace Recast
