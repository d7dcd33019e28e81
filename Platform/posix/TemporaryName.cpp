// SPDX-License-Identifier: MIT
#include "Platform/posix/TemporaryName.h"

#include <sys/random.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>

namespace qm::posix {

std::string temporaryName() {
  static std::atomic<std::uint64_t> made{0};
  std::uint64_t number = 0;
  // Without random bytes the name is still unique among the calls of this process.
  if (::getentropy(&number, sizeof number) != 0) number = (static_cast<std::uint64_t>(::getpid()) << 32) + ++made;
  std::array<char, 32> text{};
  static_cast<void>(
      std::snprintf(text.data(), text.size(), ".incomplete-%016llx", static_cast<unsigned long long>(number)));
  return text.data();
}

}  // namespace qm::posix
