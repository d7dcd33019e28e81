// SPDX-License-Identifier: MIT
#include "Platform/macos/system/MacConsole.h"

#include "Platform/foundation/ControlCharacters.h"
#include "Platform/foundation/Utf8.h"

namespace qm::macos {

void MacConsole::print(std::string_view text) {
  logLine(foundation::replacingInvalidBytes(foundation::replacingControlCharacters(text, ' ', "\n")));
}

}  // namespace qm::macos
