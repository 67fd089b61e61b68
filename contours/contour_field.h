#pragma once

#include "recast/contours/create_contour_lines.h"

namespace Recast {

/// The grid that the lines go to.
inline constexpr const char* kContourGrid = "ZRK_ContourLines";

/// The work on one field that is offered: contours it, if it is selected, through all fragments and
/// levels, and saves the lines. Problems go to the converter's `Errors`; a fragment that lacks
/// data, or has it of another type, is passed over. \param representation of the grid, which holds
/// the other fields. \param time of the grid's slice. \return true if the field is not wanted, so
/// that the next one is offered.
bool contourField(CreateContourLinesFromUniform& converter,
                  const Quilt::Representation& representation, double time,
                  const Quilt::FieldID& fieldID, const Quilt::Field& field);

}  // namespace Recast
