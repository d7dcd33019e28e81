// SPDX-License-Identifier: MIT
#include <sys/eventfd.h>

#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/Wakeup.h"

namespace qm::posix {

Wakeup::Wakeup() : descriptor_(aboveStandardStreams(UniqueFd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)))) {}

void Wakeup::raise() const { ::eventfd_write(descriptor(), 1); }

void Wakeup::lower() const {
  eventfd_t count = 0;
  ::eventfd_read(descriptor(), &count);
}

}  // namespace qm::posix
