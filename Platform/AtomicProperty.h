// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <utility>

namespace qm::platform {

/// A value that any thread may read and replace as a whole. Reading gives a copy, so an object held
/// by a shared pointer stays alive while the reader uses it, whatever is stored meanwhile.
template <class Value>
class AtomicProperty {
 public:
  /// A copy of the value.
  Value get() const {
    const std::scoped_lock lock(mutex_);
    return value_;
  }

  /// Replaces the value. The old one is released by the caller's thread, after the lock.
  void set(Value value) {
    const std::scoped_lock lock(mutex_);
    std::swap(value_, value);
  }

 private:
  mutable std::mutex mutex_;
  Value value_{};
};

}  // namespace qm::platform
