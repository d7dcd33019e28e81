// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>

#include "Shared/QMLog.h"
#include "Shared/Singleton.h"

namespace qm {

/// Gives a test a process without the shared object of a class, and removes the one that the test leaves behind. No
/// other thread may use the class meanwhile.
template <class Class>
struct SingletonReset {
  SingletonReset() { reset(); }
  SingletonReset(const SingletonReset&) = delete;
  SingletonReset& operator=(const SingletonReset&) = delete;
  ~SingletonReset() { reset(); }

  static void reset() {
    if (Class* object = Class::shared().load(); object != nullptr) finish(*object);
    const std::scoped_lock lock(Class::classLock());
    delete Class::shared().exchange(nullptr);
  }

 private:
  template <class Other>
  static void finish(Other& /*object*/) {}

  static void finish(QMLog& log) {
    if (const auto queue = log.writeQueue()) queue->waitUntilAllOperationsAreFinished();
  }
};

}  // namespace qm
