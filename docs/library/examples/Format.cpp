// SPDX-License-Identifier: MIT
#include "Platform/foundation/Format.h"

#include <iostream>

int main() {
  using qm::foundation::formatted;
  const std::string path = "/tmp/a";
  const std::optional<std::string> none;

  std::cout << formatted("%@ has %i bytes, %0.2f KB", path, 1536, 1.5) << '\n'
            << formatted("|%6i|%-6@|%06d|", 42, "left", 42) << '\n'
            << formatted("%@ is what null prints", none) << '\n'
            << formatted("no argument: %@") << '\n'
            << formatted("another kind: %@ %i %s", 7, "text", 2.5) << '\n'
            << formatted("100%% and 100% as well") << '\n';
  return 0;
}
