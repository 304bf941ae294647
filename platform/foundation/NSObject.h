// The root of the platform objects, and the pointer that owns one.
//
// Objects count their owners. Factories return RetainPtr<T>, owners keep a RetainPtr<T>, and functions take T*, where
// null means nil and gives the nil answer. The count is atomic, so objects may move between threads, but each object is
// used by one thread at a time.
#pragma once

#include <atomic>
#include <cassert>
#include <utility>

#include "host/Export.h"

namespace quill::foundation {

/// What is counted.
class QUILL_EXPORT NSObject {
 public:
  NSObject(const NSObject&) = delete;
  NSObject& operator=(const NSObject&) = delete;

 protected:
  /// A new object has one owner; see Adopt.
  NSObject() noexcept = default;
  virtual ~NSObject() = default;

 private:
  template <typename T>
  friend class RetainPtr;

  void retain() const noexcept {
    assert(owners_.load(std::memory_order_relaxed) > 0 && "retained after its last owner let go");
    owners_.fetch_add(1, std::memory_order_relaxed);
  }
  void release() const noexcept {
    assert(owners_.load(std::memory_order_relaxed) > 0 && "released more often than retained");
    if (owners_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

  mutable std::atomic<int> owners_{1};
};

/// One owner of an object, or of none.
template <typename T>
class RetainPtr {
 public:
  RetainPtr() noexcept = default;
  /// Nil.
  RetainPtr(std::nullptr_t) noexcept {}
  /// Becomes one more owner of \p shared.
  explicit RetainPtr(T* shared) noexcept : object_(shared) {
    if (object_) object_->retain();
  }
  /// Becomes one more owner.
  RetainPtr(const RetainPtr& other) noexcept : RetainPtr(other.object_) {}
  /// Takes the ownership over.
  RetainPtr(RetainPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  /// The same, of a derived object.
  template <typename U>
  RetainPtr(RetainPtr<U> other) noexcept : object_(other.Leak()) {}
  ~RetainPtr() {
    if (object_) object_->release();
  }

  /// Gives up what it owned.
  RetainPtr& operator=(RetainPtr other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  /// Takes over the count of one with which \p born was created.
  static RetainPtr Adopt(T* born) noexcept {
    RetainPtr result;
    result.object_ = born;
    return result;
  }

  /// Gives up ownership without releasing.
  T* Leak() noexcept { return std::exchange(object_, nullptr); }

  /// Null for nil. Not to be released.
  T* get() const noexcept { return object_; }
  /// Of what is not nil.
  T* operator->() const noexcept {
    assert(object_ && "nil has no members");
    return object_;
  }
  /// Of what is not nil.
  T& operator*() const noexcept {
    assert(object_ && "nil has no members");
    return *object_;
  }
  /// False for nil.
  explicit operator bool() const noexcept { return object_ != nullptr; }

 private:
  T* object_ = nullptr;
};

}  // namespace quill::foundation
