#pragma once

#include "recast/meadow/field.h"
#include "recast/perch/bounding_box.h"

/// The boxes of fragments and fields of points, in the unit of the data. A box that is known, from
/// the file or from an earlier call, costs no reading of data.
namespace Quilt {

using BoxHandle = Larder::StrongPtr<Heron::BoundingBox, Larder::InterfaceBase>;

/// How `ExpandBBox` may come by a box.
enum DataCreationMode {
  CreateIfMissing = 0,  ///< looks at the points, reading them if need be
  OnlyIfKnown = 1,      ///< takes what is known or what lies in memory
};

/// Widens `box` by the box of the creator's points, which is attached to the creator.
/// \param box null for a new one.
/// \return the widened box; `box` itself, unchanged, if the creator has no points.
RECAST_API BoxHandle ExpandBBox(const BoxHandle& box, const CreatorHandle& creator, int mode);

/// The box of a fragment's vertices, or null if the positions have no points there.
/// \param creator of the fragment's data in some other field; a box attached to it comes first.
RECAST_API BoxHandle getFragmentBBox(const Larder::StrongPtr<FragmentID>& fragment,
                                     const CreatorHandle& creator, const Field& positions);

/// Makes or widens `box` over all data of a field of points.
/// \return false if some data of the field has no box; `box` then holds that of the data before it.
RECAST_API bool expandBoundingBox(const Field& field, BoxHandle& box);

}  // namespace Quilt
