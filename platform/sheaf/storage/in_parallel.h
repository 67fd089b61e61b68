#pragma once

#include <atomic>
#include <functional>

namespace Quilt::Storage {

/// Hands out the numbers below a limit, each to one caller.
class Counter {
 public:
  explicit Counter(std::size_t limit) : limit_(limit) {}
  /// \return false when all are given out.
  bool operator()(std::size_t& number) {
    number = next_.fetch_add(1, std::memory_order_relaxed);
    return number < limit_;
  }

 private:
  std::atomic<std::size_t> next_{0};
  std::size_t limit_;
};

/// Calls `work` in as many threads as the machine has cores and `tasks` numbers occupy, this one
/// among them; each takes numbers from the counter until there are none. Rethrows the first
/// exception, after all have come to their end.
void inParallel(std::size_t tasks, const std::function<void(Counter&)>& work);

}  // namespace Quilt::Storage
