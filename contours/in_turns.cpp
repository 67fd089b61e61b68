#include "recast/contours/in_turns.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace Recast::Contours {

class TurnTaking {
 public:
  explicit TurnTaking(std::size_t tasks) : tasks_(tasks) {}

  /// Gives a thread its next task. \return false if there is none
  bool take(std::size_t& number) {
    const std::lock_guard lock(mutex_);
    if (error_ || taken_ == tasks_) return false;
    number = taken_++;
    return true;
  }
  bool await(std::size_t number) {
    std::unique_lock lock(mutex_);
    ended_.wait(lock, [&] { return done_ == number; });
    return error_ == nullptr;
  }
  /// Ends a task whose turn it is, or will be.
  void end(std::size_t number, std::exception_ptr error) {
    std::unique_lock lock(mutex_);
    ended_.wait(lock, [&] { return done_ == number; });
    if (!error_) error_ = error;
    ++done_;
    ended_.notify_all();
  }
  void rethrow() const {
    if (error_) std::rethrow_exception(error_);
  }

 private:
  const std::size_t tasks_;
  std::mutex mutex_;  // guards the members below
  std::condition_variable ended_;
  std::size_t taken_ = 0;
  std::size_t done_ = 0;
  std::exception_ptr error_;
};

bool Turn::await() {
  return all_.await(number_);
}

void inTurns(std::size_t threads, std::size_t tasks,
             const std::function<void(std::size_t, std::size_t, Turn&)>& task) {
  TurnTaking turns(tasks);
  const auto work = [&](std::size_t thread) {
    for (std::size_t number = 0; turns.take(number);) {
      std::exception_ptr error;
      try {
        Turn turn(turns, number);
        task(thread, number, turn);
      } catch (...) {
        error = std::current_exception();
      }
      turns.end(number, error);
    }
  };
  {
    std::vector<std::jthread> others;
    try {
      for (std::size_t thread = 1; thread < threads; ++thread) others.emplace_back(work, thread);
    } catch (const std::exception&) {
      // There are no more threads: those that there are do it all.
    }
    work(0);
  }
  turns.rethrow();
}

}  // namespace Recast::Contours
