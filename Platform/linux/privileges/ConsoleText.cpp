// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/ConsoleText.h"

#include <algorithm>

#include "Platform/foundation/ControlCharacters.h"

namespace qm::linux_ {

std::string inOneLine(const std::string& message) { return foundation::replacingControlCharacters(message, ' '); }

std::string leftAsItWas(const std::vector<std::string>& arguments) {
  const auto item = std::ranges::find_if(arguments, [](const std::string& text) { return text.starts_with('/'); });
  return item == arguments.end() ? std::string() : "; left as it was: " + *item;
}

}  // namespace qm::linux_
