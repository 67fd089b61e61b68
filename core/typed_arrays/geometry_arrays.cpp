#include "recast/typed_arrays/mem_array_impl.h"

RECAST_GEOMETRY_ELEMENTS(RECAST_INSTANCE)
template Larder::StrongPtr<Quilt::TypedArray<Heron::PhysicalSpace::point>, Larder::Cacheable>
Quilt::makeMemArray1D(
    const Larder::StrongPtr<Larder::Chunk<Heron::PhysicalSpace::point>, Larder::ChunkBase>&,
    const Quilt::WeakCreator&);
