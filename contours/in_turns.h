#pragma once

#include <cstddef>
#include <functional>

namespace Recast::Contours {

class TurnTaking;

/// The place of one task among those that have to end in their order.
class Turn {
 public:
  Turn(TurnTaking& all, std::size_t number) : all_(all), number_(number) {}
  /// Waits until all tasks before this one have ended. \return false if one of them failed
  bool await();

 private:
  TurnTaking& all_;
  std::size_t number_;
};

/// Calls `task(thread, number, turn)` for each number below `tasks`, in up to `threads` threads, of
/// which the calling one is number 0. What a task does behind `turn.await()` happens in the order
/// of the numbers, one at a time; each task must call that. Ends when all tasks have ended. \throw
/// what the first task that failed threw; tasks behind it may not have run
void inTurns(std::size_t threads, std::size_t tasks,
             const std::function<void(std::size_t, std::size_t, Turn&)>& task);

}  // namespace Recast::Contours
