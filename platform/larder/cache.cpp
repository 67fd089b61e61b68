#include "recast/larder/cache.h"

#include <unistd.h>

namespace Larder {
namespace {

std::size_t quarterOfMemory() {
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long pageSize = sysconf(_SC_PAGESIZE);
  if (pages <= 0 || pageSize <= 0) return std::size_t{1} << 30;
  return static_cast<std::size_t>(pages) / 4 * static_cast<std::size_t>(pageSize);
}

}  // namespace

void Cacheable::markAsUsed() {
  Cache::MemCache().markAsUsed(*this);
}

Cache& Cache::MemCache() {
  // Never destroyed: arrays held at exit would otherwise outlive the type registries they use.
  static auto* cache = new Cache(quarterOfMemory());
  return *cache;
}

void Cache::hold(const StrongPtr<Cacheable>& data) {
  if (!data) return;
  const std::size_t bytes = data->memsize();
  Entries dropped;  // destroyed after the lock is gone
  const std::lock_guard lock(mutex_);
  if (const auto found = index_.find(data.rawptr()); found != index_.end()) {
    entries_.splice(entries_.begin(), entries_, found->second);
    return;
  }
  if (bytes > budget_) return;
  entries_.push_front({data, bytes});
  index_[data.rawptr()] = entries_.begin();
  held_ += bytes;
  dropped = takeSurplus();
}

void Cache::markAsUsed(const Cacheable& data) {
  const std::lock_guard lock(mutex_);
  if (const auto found = index_.find(&data); found != index_.end())
    entries_.splice(entries_.begin(), entries_, found->second);
}

void Cache::drop(const Cacheable& data) {
  Entries dropped;
  const std::lock_guard lock(mutex_);
  const auto found = index_.find(&data);
  if (found == index_.end()) return;
  held_ -= found->second->bytes;
  dropped.splice(dropped.begin(), entries_, found->second);
  index_.erase(found);
}

void Cache::setBudget(std::size_t bytes) {
  Entries dropped;
  const std::lock_guard lock(mutex_);
  budget_ = bytes;
  dropped = takeSurplus();
}

std::size_t Cache::budget() const {
  const std::lock_guard lock(mutex_);
  return budget_;
}

std::size_t Cache::bytesHeld() const {
  const std::lock_guard lock(mutex_);
  return held_;
}

Cache::Entries Cache::takeSurplus() {
  Entries surplus;
  while (held_ > budget_) {
    const auto last = std::prev(entries_.end());
    held_ -= last->bytes;
    index_.erase(last->data.rawptr());
    surplus.splice(surplus.begin(), entries_, last);
  }
  return surplus;
}

}  // namespace Larder
