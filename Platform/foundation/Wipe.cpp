#include "Platform/foundation/Wipe.h"

#include <cstddef>

namespace qm::foundation {

void wipe(std::string& text) {
  text.resize(text.capacity());  // in place: nothing is moved
  // What is written through such a pointer is written, whoever reads it.
  volatile char* bytes = text.data();
  for (std::size_t i = 0; i < text.size(); ++i) bytes[i] = '\0';
  text.clear();
}

}  // namespace qm::foundation
