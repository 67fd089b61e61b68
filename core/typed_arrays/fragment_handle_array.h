#pragma once

#include "recast/meadow/fragment_id.h"
#include "recast/typed_arrays/mem_array.h"

namespace Quilt {

using FragmentHandle = FragmentIDCollection::Handle;
/// The fragments of a lattice by their places, x fastest. Handles mean nothing outside the process:
/// the type is none of those that files know, and such an array stays in memory.
using FragmentHandleArray = MemArray<3, FragmentHandle>;

template <>
RECAST_API Larder::StrongPtr<QuiltTypeBase> QuiltType<FragmentHandle>::getQuiltType();
template <>
RECAST_API bool FragmentHandleArray::TypeIsRegistered;

extern template class ReferencingMemArray<3, FragmentHandle>;
extern template class MemArray<3, FragmentHandle>;

}  // namespace Quilt
