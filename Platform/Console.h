// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

#include "Platform/Platform.h"
#include "Platform/foundation/Format.h"

namespace qm::platform {

/// The system console: where an administrator looks for messages.
class Console {
 public:
  virtual ~Console() = default;

  /// Writes one message, without characters that would control a terminal. Any thread. A failure is not reported to the
  /// caller.
  virtual void print(std::string_view text) = 0;
};

/// Formats a message and writes it to the installed console.
template <class... Arguments>
void printToConsole(std::string_view format, const Arguments&... arguments) {
  platform().console->print(foundation::formatted(format, arguments...));
}

}  // namespace qm::platform
