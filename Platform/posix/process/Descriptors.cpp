// SPDX-License-Identifier: MIT
#include "Platform/posix/process/Descriptors.h"

#include <fcntl.h>
#include <unistd.h>

namespace qm::posix {

UniqueFd aboveStandardStreams(UniqueFd descriptor) {
  if (!descriptor || descriptor.get() > STDERR_FILENO) return descriptor;
  return UniqueFd(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

}  // namespace qm::posix
