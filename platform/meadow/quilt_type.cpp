#include "recast/meadow/quilt_type.h"

#include <map>
#include <mutex>
#include <shared_mutex>

#include "recast/larder/type_name.h"

namespace Quilt {
namespace {

struct KnownTypes {
  std::shared_mutex mutex;
  std::map<std::string, Larder::WeakPtrImpl<QuiltTypeBase>> byName;
};

KnownTypes& knownTypes() {
  // Never destroyed: types may be looked up until the last static has gone, in vain once their
  // descriptors have.
  static auto* types = new KnownTypes;
  return *types;
}

}  // namespace

void QuiltTypeBase::remember() {
  const std::unique_lock lock(knownTypes().mutex);
  knownTypes().byName[TypeName] = Larder::WeakPtrImpl<QuiltTypeBase>(this);
}

Larder::StrongPtr<QuiltTypeBase> QuiltTypeBase::find(const std::string& typeName) {
  const std::shared_lock lock(knownTypes().mutex);
  const auto found = knownTypes().byName.find(typeName);
  return found == knownTypes().byName.end() ? nullptr : found->second.lock();
}

Larder::StrongPtr<QuiltTypeBase> QuiltTypeBase::find(const std::type_info& type) {
  return find(Larder::Typename(type));
}

}  // namespace Quilt
