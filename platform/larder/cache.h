#pragma once

#include <cstddef>
#include <list>
#include <mutex>
#include <unordered_map>

#include "recast/larder/handles.h"

namespace Larder {

class Cache;

/// The base of creators: what can make a `Cacheable` again.
class RECAST_API Creature : public ReferenceBase<Creature> {};

/// Data that can be dropped from memory and made again by its creator.
class RECAST_API Cacheable : public ReferenceBase<Cacheable> {
 public:
  /// Bytes of memory held.
  virtual std::size_t memsize() const = 0;
  /// Runs once, after the first strong handle was taken.
  virtual void DeferredConstructor() {}

  void setCreator(const WeakPtrImpl<Creature>& creator) { creator_ = creator; }
  WeakPtrImpl<Creature> dataCreator() const { return creator_; }
  /// Makes this the most recently used of the memory cache, if that holds it.
  void markAsUsed();

 protected:
  Cacheable()
      : ReferenceBase(
            [](Countable& object) { static_cast<Cacheable&>(object).DeferredConstructor(); }) {}

 private:
  WeakPtrImpl<Creature> creator_;
};

/// Keeps data alive that nobody else holds, up to a budget of bytes; the least recently used goes
/// first. Dropping an entry only lets go of the cache's own handle. Safe in several threads at
/// once.
class RECAST_API Cache {
 public:
  /// The process-wide cache of array data. Its budget starts at a quarter of the machine's memory.
  static Cache& MemCache();

  explicit Cache(std::size_t budget) : budget_(budget) {}
  Cache(const Cache&) = delete;
  Cache& operator=(const Cache&) = delete;

  /// Holds `data` as its most recently used entry, and drops others until the budget is kept. Data
  /// larger than the budget is not held at all.
  void hold(const StrongPtr<Cacheable>& data);
  void markAsUsed(const Cacheable& data);
  void drop(const Cacheable& data);

  /// \param bytes the most that the cache may hold from now on.
  void setBudget(std::size_t bytes);
  std::size_t budget() const;
  std::size_t bytesHeld() const;

 private:
  struct Entry {
    StrongPtr<Cacheable> data;
    std::size_t bytes;
  };
  using Entries = std::list<Entry>;  // most recently used first

  Entries takeSurplus();

  mutable std::mutex mutex_;
  std::size_t budget_;
  std::size_t held_ = 0;
  Entries entries_;
  std::unordered_map<const Cacheable*, Entries::iterator> index_;
};

}  // namespace Larder
