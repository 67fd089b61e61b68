#pragma once

#include <memory>
#include <mutex>
#include <vector>

namespace Recast {

/// Working memory that threads borrow, so that there is one of it for each thread and not for each
/// task. Safe in several threads at once.
template <class T>
class Spares {
 public:
  /// Gives one that nobody uses; it comes back when the pointer goes, which it must before this.
  /// \param arguments make one if there is none.
  template <class... Arguments>
  auto borrow(const Arguments&... arguments) {
    return std::unique_ptr<T, ComeBack>(take(arguments...).release(), ComeBack{this});
  }

 private:
  struct ComeBack {
    Spares* home;
    void operator()(T* borrowed) const {
      std::unique_ptr<T> spare(borrowed);
      const std::lock_guard lock(home->mutex_);
      home->spares_.push_back(std::move(spare));
    }
  };

  template <class... Arguments>
  std::unique_ptr<T> take(const Arguments&... arguments) {
    {
      const std::lock_guard lock(mutex_);
      if (!spares_.empty()) {
        auto taken = std::move(spares_.back());
        spares_.pop_back();
        return taken;
      }
    }
    return std::make_unique<T>(arguments...);
  }

  std::mutex mutex_;
  std::vector<std::unique_ptr<T>> spares_;
};

}  // namespace Recast
