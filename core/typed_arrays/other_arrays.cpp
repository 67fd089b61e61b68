#include "recast/typed_arrays/mem_array_impl.h"

RECAST_OTHER_ELEMENTS(RECAST_INSTANCE)
template Larder::StrongPtr<Quilt::TypedArray<Quilt::Triangle>, Larder::Cacheable>
Quilt::makeMemArray1D(const Larder::StrongPtr<Larder::Chunk<Quilt::Triangle>, Larder::ChunkBase>&,
                      const Quilt::WeakCreator&);
