// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/Console.h"

namespace qm::macos {

/// Writes to standard error and to the system's log with one call (NSLog).
class MacConsole final : public platform::Console {
 public:
  void print(std::string_view text) override;
};

/// Writes one entry to standard error and to the system's log. `line` is UTF-8.
void logLine(const std::string& line);

}  // namespace qm::macos
