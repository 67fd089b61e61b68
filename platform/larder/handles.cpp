#include "recast/larder/handles.h"

#include "recast/larder/console.h"
#include "recast/larder/type_name.h"

namespace Larder {

std::int32_t HandleBlock::weakCount() const {
  const std::int32_t own = object_.load(std::memory_order_acquire) != nullptr ? 1 : 0;
  return weak_.load(std::memory_order_acquire) - own;
}

void HandleBlock::addStrong() {
  weak_.fetch_add(1, std::memory_order_relaxed);
  std::int32_t count = strong_.load(std::memory_order_relaxed);
  // A dead object stays dead: a handle that outlived it counts only as a weak one.
  while (count >= 0 &&
         !strong_.compare_exchange_weak(count, count + 1, std::memory_order_acq_rel)) {
  }
  if (count == 0) firstHandle();
}

bool HandleBlock::promote() {
  // One loop on the count alone: a test and a later addition could revive a dying object.
  std::int32_t count = strong_.load(std::memory_order_acquire);
  do {
    if (count < 0 || count >= kDying) return false;
  } while (!strong_.compare_exchange_weak(count, count + 1, std::memory_order_acq_rel));
  weak_.fetch_add(1, std::memory_order_relaxed);
  if (count == 0) firstHandle();
  return true;
}

void HandleBlock::firstHandle() {
  try {
    if (onFirstHandle_ != nullptr) onFirstHandle_(*object_.load(std::memory_order_acquire));
  } catch (...) {
    releaseStrong();  // the handle under construction will not do it
    throw;
  }
}

void HandleBlock::releaseStrong() {
  std::int32_t count = strong_.load(std::memory_order_acquire);
  while (count > 0) {
    const std::int32_t next = count == 1 ? kDying : count - 1;
    if (!strong_.compare_exchange_weak(count, next, std::memory_order_acq_rel)) continue;
    if (count == 1) {
      Countable* object = object_.load(std::memory_order_acquire);
      object->extremeUnction();
      strong_.store(kDead, std::memory_order_release);
      delete object;
    }
    break;
  }
  releaseWeak();
}

void HandleBlock::releaseWeak() {
  if (weak_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

void HandleBlock::objectGone() {
  strong_.store(kDead, std::memory_order_release);
  object_.store(nullptr, std::memory_order_release);
  releaseWeak();
}

Countable::Countable(const Countable& other) {
  const HandleBlock* block = other.block_.load(std::memory_order_acquire);
  if (block != nullptr && block->onFirstHandle_ != nullptr)
    block_.store(new HandleBlock(this, block->onFirstHandle_), std::memory_order_release);
}

Countable::~Countable() {
  if (HandleBlock* block = block_.load(std::memory_order_acquire)) block->objectGone();
}

HandleBlock& Countable::handleBlock() const {
  HandleBlock* block = block_.load(std::memory_order_acquire);
  if (block != nullptr) return *block;
  auto* fresh = new HandleBlock(const_cast<Countable*>(this));
  if (block_.compare_exchange_strong(block, fresh, std::memory_order_acq_rel)) return *fresh;
  delete fresh;
  return *block;
}

void SpeakPtr::InconsistentDynPtr(const char* wantedType, const void* typed, const void* object) {
  Console() << "A handle's typed pointer is not its object's: wanted " << demangled(wantedType)
            << (typed == object ? " (same address)" : " (another address)");
}

}  // namespace Larder
