// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/posix/process/DescriptorWait.h"

namespace qm::qt {

/// Waits in an event loop of its own, inside the one that runs.
class QtDescriptorWait final : public posix::DescriptorWait {
 public:
  void waitUntilReadable(int descriptor) override;
};

}  // namespace qm::qt
