#pragma once

#include <atomic>
#include <cstdint>

#include "recast/larder/export.h"

namespace Larder {

/// An object that knows when it was last changed, on a clock that ticks with every change.
class RECAST_API Ageable {
 public:
  static std::atomic<std::uint64_t> GlobalTime;

  /// Takes the next tick of `GlobalTime` as the object's age.
  void renewAge() { age_.store(GlobalTime.fetch_add(1) + 1); }
  /// 0 for an object that was never changed.
  std::uint64_t age() const { return age_.load(); }

 protected:
  Ageable() = default;
  ~Ageable() = default;

 private:
  std::atomic<std::uint64_t> age_{0};
};

}  // namespace Larder
