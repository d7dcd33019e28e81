// SPDX-License-Identifier: MIT
#include "Platform/macos/Framework.h"
#include "Platform/macos/system/MacConsole.h"

void qm::macos::logLine(const std::string& line) {
  const Pool pool;
  NSLog(@"%@", stringOf(line));
}
