// SPDX-License-Identifier: MIT
#include "Platform/foundation/Wipe.h"

#include <cstddef>

namespace qm::foundation {

void wipe(std::string& text) {
  text.resize(text.capacity());  // in place: nothing is moved
  // A write through such a pointer is not optimised away, even if nobody reads the memory.
  volatile char* bytes = text.data();
  for (std::size_t i = 0; i < text.size(); ++i) bytes[i] = '\0';
  text.clear();
}

}  // namespace qm::foundation
