#pragma once

#include "recast/columns/column_ascii_to_point_cloud_q8.h"
#include "recast/trellis/representation.h"

namespace Recast {

/// Makes a filled chunk a fragment of a field, without copying it. Fragments of points get the cell
/// size -1 and their box.
/// \param chunk of its final size. \param name of the field, which is made if missing.
/// \param fragmentNumber, fileName make up the fragment's name. \param manipulate may be empty; the
/// array that it gives is stored. \return false if the field isn't usable or the chunk is empty.
/// \throw Quilt::StorageError; what `manipulate` throws.
template <class T>
bool saveColumnFragment(Larder::StrongPtr<Larder::Chunk<T>, Larder::ChunkBase>& chunk,
                        std::string& name, Quilt::Representation& representation,
                        unsigned int fragmentNumber, std::string& fileName,
                        const ManipulateArray& manipulate);

}  // namespace Recast
