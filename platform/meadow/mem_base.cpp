#include "recast/meadow/mem_base.h"

#include <map>
#include <mutex>
#include <shared_mutex>

#include "recast/larder/save_registry.h"
#include "recast/meadow/creative_array.h"

namespace Quilt {
namespace {

struct Allocators {
  std::shared_mutex mutex;
  std::map<std::string, Larder::StrongPtr<MemBase::Allocator, Larder::InterfaceBase>> byType;
};

Allocators& allocators() {
  static Allocators instance;
  return instance;
}

}  // namespace

std::atomic<std::uint32_t> MemBase::RegisteredTypes{0};

MemBase::MemBase(const QuiltTypeIndex& typeIndex, const WeakCreator& creator)
    : typeIndex_(&typeIndex) {
  setCreator(creator);
}

bool MemBase::registerCreator(const Larder::StrongPtr<Allocator, Larder::InterfaceBase>& allocator,
                              const Larder::StrongPtr<QuiltTypeBase>& type) {
  if (!allocator || !type) return false;
  const std::unique_lock lock(allocators().mutex);
  return allocators().byType.try_emplace(type->TypeName, allocator).second;
}

MemBaseHandle MemBase::newArray(const std::string& typeName, const DynamicSize& size) {
  Larder::StrongPtr<Allocator, Larder::InterfaceBase> allocator;
  {
    const std::shared_lock lock(allocators().mutex);
    const auto found = allocators().byType.find(typeName);
    if (found == allocators().byType.end()) return nullptr;
    allocator = found->second;
  }
  return allocator->create(size);
}

void MemBase::DeferredConstructor() {
  Larder::SaveRegistry<MemBase>::addInterfaces(*this);
}

const std::type_info& MemBase::DomainType() const {
  return typeid(Larder::Cacheable);
}
const std::type_info& MemBase::CreatorType() const {
  return typeid(CreativeArrayBase);
}
const double* MemBase::OriginPtr() const {
  return nullptr;
}
const double* MemBase::DeltaPtr() const {
  return nullptr;
}

MemBaseHandle MemBase::makeMemArray(const WeakCreator&) {
  return MemBaseHandle(this);
}
MemBaseHandle MemBase::getComponentArray(int, const WeakCreator&) {
  return nullptr;
}
MemBaseHandle MemBase::createSubArray(const DynamicSize&, const DynamicSize&, const WeakCreator&) {
  return nullptr;
}
MemBaseHandle MemBase::createEquallySizedMemArray(const Larder::StrongPtr<Larder::ChunkBase>&,
                                                  const WeakCreator&) {
  return nullptr;
}
bool MemBase::copyFrom(const Larder::StrongPtr<Larder::ChunkBase>&) {
  return false;
}
MemBaseHandle MemBase::copy(const WeakCreator&) {
  return nullptr;
}

}  // namespace Quilt
