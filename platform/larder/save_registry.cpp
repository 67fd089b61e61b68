#include "recast/larder/save_registry.h"

#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <typeindex>

namespace Larder {
namespace {

using Creators = std::vector<StrongPtr<SaveInterfaceCreatorBase>>;

struct Registry {
  std::shared_mutex mutex;
  // Lists are replaced, never changed, so that they can be walked without the lock.
  std::map<std::type_index, std::shared_ptr<const Creators>> creators;
};

Registry& registry() {
  static Registry instance;
  return instance;
}

std::shared_ptr<const Creators> creatorsOf(const std::type_info& type) {
  const std::shared_lock lock(registry().mutex);
  const auto found = registry().creators.find(std::type_index(type));
  return found == registry().creators.end() ? nullptr : found->second;
}

}  // namespace

void SaveRegistryBase::registerCreator(const std::type_info& type,
                                       const StrongPtr<SaveInterfaceCreatorBase>& creator) {
  const std::unique_lock lock(registry().mutex);
  auto& present = registry().creators[std::type_index(type)];
  auto longer = present ? std::make_shared<Creators>(*present) : std::make_shared<Creators>();
  longer->push_back(creator);
  present = std::move(longer);
}

void SaveRegistryBase::traverseCreators(const std::type_info& type) {
  // A creator may make arrays of its own and so come here again: no lock is held meanwhile.
  if (const auto creators = creatorsOf(type))
    for (const auto& creator : *creators) applyCreator(type, creator);
}

}  // namespace Larder
