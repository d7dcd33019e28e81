#pragma once

#include <mutex>
#include <utility>

namespace qm::platform {

/// A value that any thread may read and replace as a whole. Reading gives a copy, so an object held
/// by a shared pointer stays alive while the reader uses it, whatever is stored meanwhile.
template <class Value>
class AtomicProperty {
 public:
  Value get() const {
    const std::scoped_lock lock(mutex_);
    return value_;
  }

  void set(Value value) {
    const std::scoped_lock lock(mutex_);
    std::swap(value_, value);
    // The old value is let go of by the caller's argument, after the lock.
  }

 private:
  mutable std::mutex mutex_;
  Value value_{};
};

}  // namespace qm::platform
