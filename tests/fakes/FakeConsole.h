// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Console.h"
#include "tests/fakes/Calls.h"

namespace qm::testing {

/// A console that records what is printed.
class FakeConsole : public platform::Console {
 public:
  explicit FakeConsole(Calls& calls) : calls_(calls) {}

  /// Every message, in order.
  std::vector<std::string> lines() const {
    const std::scoped_lock lock(mutex_);
    return lines_;
  }

  void print(std::string_view text) override {
    if (calls_.command("console.print", text)) return;
    const std::scoped_lock lock(mutex_);
    lines_.emplace_back(text);
  }

 private:
  Calls& calls_;
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

}  // namespace qm::testing
