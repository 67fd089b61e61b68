#include "recast/grid_lookups/checks.h"

#include "recast/larder/console.h"

namespace Recast {

template <class Handle>
bool check(const Handle& handle, std::string what) {
  if (handle) return true;
  Larder::Console() << "Have no " << what;
  return false;
}

template <class T>
Larder::StrongPtr<Larder::Chunk<T>, Larder::ChunkBase> getCABs(
    const Larder::StrongPtr<Quilt::Field>& field,
    const Larder::StrongPtr<Quilt::FragmentID>& fragment) {
  const Quilt::CreatorHandle creator = field->getCompatibleCreator(fragment);
  if (!creator) {
    Larder::Console() << "No CAB";
    return nullptr;
  }
  const auto array = creator->create(false).castTo<Quilt::MemArray<1, T>>();
  if (!array) {
    Larder::Console() << "No Mem";
    return nullptr;
  }
  return array->getChunk().template castTo<Larder::Chunk<T>>();
}

template bool check(const Larder::StrongPtr<Quilt::Representation>&, std::string);
template bool check(const Larder::StrongPtr<Quilt::Field>&, std::string);
template bool check(const Larder::StrongPtr<Quilt::Skeleton>&, std::string);

#define RECAST_INSTANCE(T)                                                    \
  template Larder::StrongPtr<Larder::Chunk<T>, Larder::ChunkBase> getCABs<T>( \
      const Larder::StrongPtr<Quilt::Field>&, const Larder::StrongPtr<Quilt::FragmentID>&);
RECAST_INSTANCE(Heron::PhysicalSpace::point)
RECAST_INSTANCE(std::vector<unsigned int>)
RECAST_INSTANCE(int)
RECAST_INSTANCE(double)
#undef RECAST_INSTANCE

}  // namespace Recast
