// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>

namespace qm::posix {

/// The sum, or the largest number on overflow. A file with holes can have any size, so an overflow is possible.
inline std::uint64_t saturatingSum(std::uint64_t one, std::uint64_t other) {
  const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  return one > most - other ? most : one + other;
}

/// Counts an item and everything below it. One thread counts. Others may read the current numbers, check whether they
/// are final, and stop the counting.
class TreeCounter {
 public:
  /// Takes as long as reading all folders; what cannot be read is left out. Called once. `isUnwanted` is called after
  /// each item; true stops the counting, like `stop`.
  void count(
      const std::string& path, const std::function<bool()>& isUnwanted = [] { return false; });

  /// Makes `count` return soon.
  void stop() { stopped_ = true; }
  bool isFinished() const { return finished_; }
  void waitUntilFinished() const { finished_.wait(false); }

  std::uint64_t objects() const { return objects_; }
  /// Of the contents of regular files, holes included.
  std::uint64_t bytes() const { return bytes_; }

 private:
  class Visitor;

  std::atomic<bool> stopped_{false};
  std::atomic<bool> finished_{false};
  std::atomic<std::uint64_t> objects_{0};
  std::atomic<std::uint64_t> bytes_{0};
};

}  // namespace qm::posix
