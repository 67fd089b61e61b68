#pragma once

#include <utility>

#include "recast/larder/handles.h"

namespace Larder {

/// An object of class T that does not live on the heap: it owns one strong count of its own, so
/// that handles to it come and go without destroying it.
template <class T>
class RECAST_API Auto : public T {
 public:
  template <class... Args>
  explicit Auto(Args&&... args) : T(std::forward<Args>(args)...) {
    this->handleBlock().addStrong();
  }
  ~Auto() override { this->handleBlock().releaseWeak(); }
};

}  // namespace Larder
