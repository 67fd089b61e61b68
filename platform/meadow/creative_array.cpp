#include "recast/meadow/creative_array.h"

#include <set>

namespace Quilt {
namespace {

/// The one copy of a type's name. There are few names and may be millions of creators.
const std::string* sharedName(const std::string& name) {
  static std::mutex mutex;
  static auto* names = new std::set<std::string>;  // never destroyed, as creators may be later
  const std::lock_guard lock(mutex);
  return &*names->insert(name).first;
}

}  // namespace

CreativeArrayBase::CreativeArrayBase(const MemBaseHandle& array)
    : typeName_(sharedName(array->typeIndex().TypeName)) {
  pin(array);
}

CreativeArrayBase::CreativeArrayBase(const Larder::StrongPtr<StoredFragment>& stored,
                                     const std::string& typeName)
    : typeName_(sharedName(typeName)), stored_(stored) {}

MemBaseHandle CreativeArrayBase::produce() {
  const auto source = stored();
  return source ? source->read() : nullptr;
}

void CreativeArrayBase::setStored(const Larder::StrongPtr<StoredFragment>& stored,
                                  Larder::Cache& cache) {
  {
    const std::lock_guard lock(mutex_);
    stored_ = stored;
  }
  unpin(cache);
}

Larder::StrongPtr<StoredFragment> CreativeArrayBase::stored() const {
  const std::lock_guard lock(mutex_);
  return stored_;
}

DynamicSize CreativeArrayBase::size() const {
  if (const auto source = stored()) return source->size();
  const MemBaseHandle array = present();
  return array ? array->getSize() : DynamicSize();
}

DataExtent CreativeArrayBase::extent() const {
  const std::lock_guard lock(mutex_);
  return extent_;
}

void CreativeArrayBase::setExtent(const DataExtent& extent) {
  const std::lock_guard lock(mutex_);
  extent_ = extent;
}

}  // namespace Quilt
