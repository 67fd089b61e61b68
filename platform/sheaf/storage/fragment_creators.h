#pragma once

#include <string>

#include "recast/sheaf/storage/stored_array.h"

namespace Quilt::Storage {

/// The creator of a fragment that lies in a file, with all that its row and its object tell. If its
/// attributes can't be read, its array can't either, which is reported.
/// \param link the fragment's name below the field's group.
CreatorHandle creatorOf(const Larder::StrongPtr<FieldPlace>& place, const std::string& link,
                        const FragmentRow& row);

/// Attributes of a fragment for which its row has no room.
struct OtherAttributes : Larder::Attributes {};

/// Puts what a creator knows of its data into the fragment's row: the extent, and those attributes
/// that the row has room for, in place of what it told of attributes before.
/// \return the other attributes, which have no mark in the row yet.
OtherAttributes noteKnown(const CreativeArrayBase& creator, FragmentRow& row);

}  // namespace Quilt::Storage
