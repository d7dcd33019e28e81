// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/Console.h"

namespace qm::macos {

/// Standard error and the system's log, in one call of the system's.
class MacConsole final : public platform::Console {
 public:
  void print(std::string_view text) override;
};

/// One line in the system's log. It is UTF-8.
void logLine(const std::string& line);

}  // namespace qm::macos
