#pragma once

#include <string>

#include "recast/trellis/grid.h"
#include "recast/typed_arrays/mem_array.h"

/// Look-ups that report on the console what is missing, for converters that walk a grid.
/// They throw nothing; what to do about it is the caller's.
namespace Recast {

/// Whether `handle`, to a representation, field or skeleton, is usable. If not, the console says
/// "Have no " and `what`.
template <class Handle>
RECAST_API bool check(const Handle& handle, std::string what);

/// The elements of one fragment of a field, read from the file if need be. The fragment's data must
/// be a `MemArray<1, T>`: the console says "No CAB" if there is no data and "No Mem" if it is
/// another kind of array, and the handle is null then. Exists for points, lists of unsigned
/// numbers, ints and doubles.
template <class T>
RECAST_API Larder::StrongPtr<Larder::Chunk<T>, Larder::ChunkBase> getCABs(
    const Larder::StrongPtr<Quilt::Field>& field,
    const Larder::StrongPtr<Quilt::FragmentID>& fragment);

extern template bool check(const Larder::StrongPtr<Quilt::Representation>&, std::string);
extern template bool check(const Larder::StrongPtr<Quilt::Field>&, std::string);
extern template bool check(const Larder::StrongPtr<Quilt::Skeleton>&, std::string);

#define RECAST_EXTERN(T)                                                             \
  extern template Larder::StrongPtr<Larder::Chunk<T>, Larder::ChunkBase> getCABs<T>( \
      const Larder::StrongPtr<Quilt::Field>&, const Larder::StrongPtr<Quilt::FragmentID>&);
RECAST_EXTERN(Heron::PhysicalSpace::point)
RECAST_EXTERN(std::vector<unsigned int>)
RECAST_EXTERN(int)
RECAST_EXTERN(double)
#undef RECAST_EXTERN

}  // namespace Recast
