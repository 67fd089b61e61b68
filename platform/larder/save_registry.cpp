#include "recast/larder/save_registry.h"

#include <map>
#include <mutex>
#include <shared_mutex>
#include <typeindex>

namespace Larder {
namespace {

struct Registry {
  std::shared_mutex mutex;
  std::map<std::type_index, std::vector<StrongPtr<SaveInterfaceCreatorBase>>> creators;
};

Registry& registry() {
  static Registry instance;
  return instance;
}

}  // namespace

void SaveRegistryBase::registerCreator(const std::type_info& type,
                                       const StrongPtr<SaveInterfaceCreatorBase>& creator) {
  const std::unique_lock lock(registry().mutex);
  registry().creators[std::type_index(type)].push_back(creator);
}

void SaveRegistryBase::traverseCreators(const std::type_info& type) {
  const std::shared_lock lock(registry().mutex);
  const auto found = registry().creators.find(std::type_index(type));
  if (found == registry().creators.end()) return;
  for (const auto& creator : found->second) applyCreator(type, creator);
}

}  // namespace Larder
