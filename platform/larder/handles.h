#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "recast/larder/export.h"

/// Object core: counted handles.
///
/// A countable object knows its control block, so a handle can be made from a raw pointer any
/// number of times and always finds the same counts. All counting is atomic: handles of one object
/// may be copied and released in several threads at once; one handle object must not be shared
/// without a lock, as with `std::shared_ptr`.
namespace Larder {

class Countable;

/// The counts of one object. Lives as long as the object or any handle to it.
///
/// The strong count is 0 until the first strong handle, positive while such handles exist, at or
/// above `kDying` while `extremeUnction` runs, and -1 once the object is gone. The weak count holds
/// one for every handle, strong or weak, and one for the living object itself.
class RECAST_API HandleBlock {
 public:
  static constexpr std::int32_t kDying = 0x35000000;
  static constexpr std::int32_t kDead = -1;

  /// What runs once, when the first strong handle to an object is taken.
  using FirstHandle = void (*)(Countable& object);

  /// \param onFirstHandle null for nothing.
  explicit HandleBlock(Countable* object, FirstHandle onFirstHandle = nullptr)
      : object_(object), onFirstHandle_(onFirstHandle) {}
  HandleBlock(const HandleBlock&) = delete;
  HandleBlock& operator=(const HandleBlock&) = delete;

  /// True while the object is there and its strong count is not negative.
  bool usable() const {
    return strong_.load(std::memory_order_acquire) >= 0 &&
           object_.load(std::memory_order_acquire) != nullptr;
  }
  std::int32_t strongCount() const { return strong_.load(std::memory_order_acquire); }
  /// Handles of both kinds; the object's own share is left out.
  std::int32_t weakCount() const;

  /// Counts a strong handle made from a raw pointer or from another strong handle. What the object
  /// throws at its first handle passes through, with nothing counted and the object destroyed.
  void addStrong();
  /// Counts a strong handle made from a weak one; may throw as `addStrong`. \return false, and
  /// nothing counted, if the object is dying or gone.
  bool promote();
  void releaseStrong();
  void addWeak() { weak_.fetch_add(1, std::memory_order_relaxed); }
  void releaseWeak();

 private:
  friend class Countable;
  ~HandleBlock() = default;
  void objectGone();
  void firstHandle();

  std::atomic<std::int32_t> strong_{0};
  std::atomic<std::int32_t> weak_{1};
  std::atomic<Countable*> object_;
  const FirstHandle onFirstHandle_;
};

/// Base of everything that handles can hold; derive from `ReferenceBase` instead.
class RECAST_API Countable {
 public:
  /// Runs once, when the last strong handle goes, before the destructor; the object is whole, and
  /// handles to it may be made and dropped. Must not throw.
  virtual void extremeUnction() {}
  virtual ~Countable();

  HandleBlock& handleBlock() const;

 protected:
  Countable() = default;
  /// For classes with work to do at an object's first handle. No virtual operation, so that the
  /// classes below have none in their tables but their own.
  explicit Countable(HandleBlock::FirstHandle onFirstHandle)
      : block_(new HandleBlock(this, onFirstHandle)) {}
  /// A copied object is a new one: it has no handles yet.
  Countable(const Countable& other);
  Countable& operator=(const Countable&) { return *this; }

 private:
  mutable std::atomic<HandleBlock*> block_{nullptr};
};

/// Makes a class countable in the handle domain `D`, the class by which its handles are counted.
template <class D>
class RECAST_API ReferenceBase : public Countable {
 public:
  using HandleDomain = D;

 protected:
  ReferenceBase() = default;
  explicit ReferenceBase(HandleBlock::FirstHandle onFirstHandle) : Countable(onFirstHandle) {}
};

/// The domain of a class's handles; T must be complete.
template <class T>
struct RECAST_API DomainOf {
  using type = typename T::HandleDomain;
};

template <class T, class D>
class WeakPtrImpl;

/// A shared owner of an object: two words, a control block and a typed pointer. Null until
/// assigned.
///
/// The object is destroyed when the last strong handle goes. Tests true only while the object is
/// usable. Converts implicitly where the pointers do; `castTo` asks the object for another type.
template <class T, class D = typename DomainOf<T>::type>
class RECAST_API StrongPtr {
 public:
  using element_type = T;

  StrongPtr() = default;
  StrongPtr(std::nullptr_t) {}
  /// Shares the ownership of `object`, whoever else holds it; a null pointer gives a null handle.
  explicit StrongPtr(T* object) {
    if (object == nullptr) return;
    block_ = &object->handleBlock();
    typed_ = object;
    block_->addStrong();
  }
  StrongPtr(const StrongPtr& other) : block_(other.block_), typed_(other.typed_) {
    if (block_ != nullptr) block_->addStrong();
  }
  StrongPtr(StrongPtr&& other) noexcept
      : block_(std::exchange(other.block_, nullptr)),
        typed_(std::exchange(other.typed_, nullptr)) {}
  template <class U, class E, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  StrongPtr(const StrongPtr<U, E>& other) : block_(other.block_), typed_(other.typed_) {
    if (block_ != nullptr) block_->addStrong();
  }
  template <class U, class E, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  StrongPtr(StrongPtr<U, E>&& other) noexcept
      : block_(std::exchange(other.block_, nullptr)),
        typed_(std::exchange(other.typed_, nullptr)) {}
  /// Null if the object of `weak` is gone.
  explicit StrongPtr(const WeakPtrImpl<T, D>& weak);
  ~StrongPtr() { reset(); }

  StrongPtr& operator=(StrongPtr other) noexcept {
    swap(other);
    return *this;
  }
  void swap(StrongPtr& other) noexcept {
    std::swap(block_, other.block_);
    std::swap(typed_, other.typed_);
  }
  void reset() {
    HandleBlock* block = std::exchange(block_, nullptr);
    typed_ = nullptr;
    if (block != nullptr) block->releaseStrong();
  }

  /// The object, or null if the handle is not usable.
  T* rawptr() const { return block_ != nullptr && block_->usable() ? typed_ : nullptr; }
  T* operator->() const { return rawptr(); }
  T& operator*() const { return *rawptr(); }
  explicit operator bool() const { return rawptr() != nullptr; }

  /// The object as a `U`, by its run-time type; null if it is none.
  template <class U>
  StrongPtr<U> castTo() const {
    return StrongPtr<U>(dynamic_cast<U*>(rawptr()));
  }

  /// Handles are equal if they hold the same object.
  friend bool operator==(const StrongPtr& a, const StrongPtr& b) { return a.block_ == b.block_; }
  friend bool operator==(const StrongPtr& a, std::nullptr_t) { return a.rawptr() == nullptr; }

  /// The control block, null for a null handle: the handle's identity, and its counts.
  const HandleBlock* block() const { return block_; }

 private:
  template <class U, class E>
  friend class StrongPtr;
  template <class U, class E>
  friend class WeakPtrImpl;

  HandleBlock* block_ = nullptr;
  T* typed_ = nullptr;
};

/// A handle that does not keep its object alive. Tests true while the object is usable; make a
/// `StrongPtr` of it to work with the object.
template <class T, class D = typename DomainOf<T>::type>
class RECAST_API WeakPtrImpl {
 public:
  WeakPtrImpl() = default;
  WeakPtrImpl(std::nullptr_t) {}
  explicit WeakPtrImpl(T* object) {
    if (object == nullptr) return;
    block_ = &object->handleBlock();
    typed_ = object;
    block_->addWeak();
  }
  template <class U, class E, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  WeakPtrImpl(const StrongPtr<U, E>& other) : block_(other.block_), typed_(other.typed_) {
    if (block_ != nullptr) block_->addWeak();
  }
  WeakPtrImpl(const WeakPtrImpl& other) : block_(other.block_), typed_(other.typed_) {
    if (block_ != nullptr) block_->addWeak();
  }
  template <class U, class E, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  WeakPtrImpl(const WeakPtrImpl<U, E>& other) : block_(other.block_), typed_(other.typed_) {
    if (block_ != nullptr) block_->addWeak();
  }
  WeakPtrImpl(WeakPtrImpl&& other) noexcept
      : block_(std::exchange(other.block_, nullptr)),
        typed_(std::exchange(other.typed_, nullptr)) {}
  ~WeakPtrImpl() {
    if (block_ != nullptr) block_->releaseWeak();
  }
  WeakPtrImpl& operator=(WeakPtrImpl other) noexcept {
    std::swap(block_, other.block_);
    std::swap(typed_, other.typed_);
    return *this;
  }

  explicit operator bool() const { return block_ != nullptr && block_->usable(); }
  /// A strong handle, null if the object is dying or gone. Safe against the last strong handle
  /// going in another thread.
  StrongPtr<T, D> lock() const { return StrongPtr<T, D>(*this); }

 private:
  template <class U, class E>
  friend class StrongPtr;
  template <class U, class E>
  friend class WeakPtrImpl;

  HandleBlock* block_ = nullptr;
  T* typed_ = nullptr;
};

template <class T, class D>
StrongPtr<T, D>::StrongPtr(const WeakPtrImpl<T, D>& weak) {
  if (weak.block_ == nullptr || !weak.block_->promote()) return;
  block_ = weak.block_;
  typed_ = weak.typed_;
}

/// Where a handle reports a typed pointer that is not its object's; the caller goes on.
class RECAST_API SpeakPtr {
 public:
  static void InconsistentDynPtr(const char* wantedType, const void* typed, const void* object);
};

/// A strong handle that finds its type at run time: made from a handle of any type, it is null if
/// the object is not a `T`.
template <class T, class D = typename DomainOf<T>::type>
class RECAST_API DynPtr : public StrongPtr<T, D> {
 public:
  DynPtr() = default;
  template <class U, class E>
  DynPtr(const StrongPtr<U, E>& other) : StrongPtr<T, D>(dynamic_cast<T*>(other.rawptr())) {
    if (this->block() != nullptr && this->block() != other.block())
      SpeakPtr::InconsistentDynPtr(typeid(T).name(), this->rawptr(), other.rawptr());
  }
};

/// A new object under its first handle.
template <class T, class... Args>
StrongPtr<T> makeStrong(Args&&... args) {
  return StrongPtr<T>(new T(std::forward<Args>(args)...));
}

}  // namespace Larder

/// Hashes the identity of the object.
template <class T, class D>
struct std::hash<Larder::StrongPtr<T, D>> {
  std::size_t operator()(const Larder::StrongPtr<T, D>& handle) const noexcept {
    return std::hash<const void*>()(handle.block());
  }
};
