#pragma once

#include <string_view>

namespace qm::platform {

/// The system console: where an administrator looks.
class Console {
 public:
  virtual ~Console() = default;

  /// Writes one message as it stands. Any thread; never fails towards the caller.
  virtual void print(std::string_view text) = 0;
};

}  // namespace qm::platform
