#pragma once

#include <mutex>

#include "recast/larder/cache.h"

namespace Larder {

/// Gives data of type `Object` on request and makes it anew when it is not in memory.
///
/// Data that can be made again is held by the cache and may vanish from memory between two
/// requests; data that can't is pinned by the creator. Safe in several threads at once.
template <class Object>
class RECAST_API CreatorBase : public Creature {
 public:
  using Handle = StrongPtr<Object, Cacheable>;

  CreatorBase() = default;
  /// Nobody can ask for the data any more: the cache lets it go.
  ~CreatorBase() override {
    if (const Handle data = present_.lock()) cache_->drop(*data);
  }

  /// The data: the one in memory, or else what `produce` makes now. Null if there is none.
  /// \param onlyIfPresent don't make anything: null if the data is not in memory.
  Handle create(bool onlyIfPresent) {
    const std::lock_guard lock(mutex_);
    if (Handle data = presentLocked()) {
      cache_->markAsUsed(*data);
      return data;
    }
    if (onlyIfPresent) return nullptr;
    Handle data = produce();
    if (!data) return nullptr;
    data->setCreator(WeakPtrImpl<Creature>(this));
    present_ = data;
    if (caching_) cache_->hold(data);
    return data;
  }
  Handle get() { return create(false); }
  /// The data if it is in memory, else null.
  Handle present() const {
    const std::lock_guard lock(mutex_);
    return presentLocked();
  }
  /// The creator's own creation operation: new data, or null. Has no effect on what is held.
  virtual Handle produce() = 0;

  /// Lets memory go of the data as soon as nobody uses it, if it can be made again. For data that
  /// is not expected to be asked for again.
  void letGo() {
    enableCaching(false);
    dropFromCache();
  }
  /// The same for the data that is in memory now: data made later is cached as before.
  void dropFromCache() {
    Handle data;  // released after the lock
    const std::lock_guard lock(mutex_);
    data = presentLocked();
    if (data) cache_->drop(*data);
  }
  /// Without caching, data made from now on lives only as long as its user holds it.
  void enableCaching(bool on) {
    const std::lock_guard lock(mutex_);
    caching_ = on;
  }

 protected:
  /// Makes `data` the creator's data and keeps it in memory until `unpin`.
  void pin(const Handle& data) {
    data->setCreator(WeakPtrImpl<Creature>(this));
    const std::lock_guard lock(mutex_);
    pinned_ = data;
    present_ = data;
  }
  /// From now on the data can be made again: it goes to `cache`, which may drop it and must outlive
  /// the creator.
  void unpin(Cache& cache) {
    Handle data;  // released after the lock
    const std::lock_guard lock(mutex_);
    cache_ = &cache;
    std::swap(data, pinned_);
    if (data && caching_) cache.hold(data);
  }

 private:
  Handle presentLocked() const { return pinned_ ? pinned_ : present_.lock(); }

  mutable std::mutex mutex_;
  Handle pinned_;
  WeakPtrImpl<Object, Cacheable> present_;
  Cache* cache_ = &Cache::MemCache();
  bool caching_ = true;
};

}  // namespace Larder
