// SPDX-License-Identifier: MIT
#include "Shared/Singleton.h"

#include <iostream>

/// One counter of the process.
class Counter : public qm::Singleton<Counter> {
 public:
  static Counter* sharedController() {
    const std::scoped_lock lock(classLock());
    if (shared().load() == nullptr) allocWithZone();
    return shared().load();
  }

  int next() { return ++count_; }

 private:
  friend class qm::Singleton<Counter>;  // which alone makes the object
  Counter() = default;
  ~Counter() = default;

  std::atomic<int> count_{0};
};

int main() {
  Counter* counter = Counter::sharedController();
  counter->next();
  counter->release();  // frees nothing
  std::cout << std::boolalpha << "count: " << Counter::sharedController()->next() << '\n'
            << "the same object: " << (counter->retain() == Counter::sharedController()) << '\n'
            << "a second allocation: " << (Counter::allocWithZone() == nullptr ? "null" : "an object") << '\n'
            << "reference count: " << counter->retainCount() << '\n';
  return 0;
}
