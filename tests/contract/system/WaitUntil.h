// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <thread>

namespace qm::testing {

/// Polls until `condition` holds; false if it still does not after half a minute.
template <class Condition>
bool waitUntil(Condition condition) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::yield();
  }
  return true;
}

}  // namespace qm::testing
