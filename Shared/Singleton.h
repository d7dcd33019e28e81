// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

namespace qm {

template <class Class>
struct SingletonReset;  // lets tests start from a fresh object

/// A process-wide object: created by the first allocation under the class's lock, never destroyed. Its reference count
/// is a fiction, so callers may release the shared object freely.
///
/// The class declares this template a friend and has a default constructor. If a release has to do something, the class
/// defines a `release` of its own.
template <class Class>
class Singleton {
 public:
  Singleton(const Singleton&) = delete;
  Singleton& operator=(const Singleton&) = delete;

  /// `allocWithZone:`. The one object, not yet initialised; null when it has been allocated before.
  static Class* allocWithZone() {
    const std::scoped_lock lock(classLock());
    if (shared().load() != nullptr) return nullptr;
    shared().store(new Class);
    return shared().load();
  }

  /// `retain`
  Class* retain() { return self(); }
  /// `autorelease`
  Class* autorelease() { return self(); }
  /// `copyWithZone:`
  Class* copyWithZone() { return self(); }
  /// `release`. Frees nothing.
  void release() {}
  /// `retainCount`
  std::uint32_t retainCount() const { return UINT32_MAX; }

 protected:
  Singleton() = default;
  ~Singleton() = default;
  /// Recursive, since creating the shared object allocates it under the same lock.
  static std::recursive_mutex& classLock() {
    static auto* lock = new std::recursive_mutex;  // outlives every thread
    return *lock;
  }

  /// The object; null before the first allocation.
  static std::atomic<Class*>& shared() {
    static std::atomic<Class*> object{nullptr};
    return object;
  }

 private:
  template <class Any>
  friend struct SingletonReset;

  Class* self() { return static_cast<Class*>(this); }
};

}  // namespace qm
