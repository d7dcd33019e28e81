#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>

namespace qm::posix {

/// The sum, or the largest number where that is too small: holes make files of any size.
inline std::uint64_t sumOrMost(std::uint64_t one, std::uint64_t other) {
  const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  return one > most - other ? most : one + other;
}

/// Counts an item and all that is below it. One thread counts; others may read the numbers so far, ask
/// whether they are final, and end the counting.
class TreeCounter {
 public:
  /// Takes as long as reading all folders does; what cannot be read is left out. Called once. `isUnwanted` is
  /// asked after each item and ends the counting, as `stop` does.
  void count(
      const std::string& path, const std::function<bool()>& isUnwanted = [] { return false; });

  /// Has `count` return soon.
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
