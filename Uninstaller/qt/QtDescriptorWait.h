// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/posix/process/DescriptorWait.h"

namespace qm::qt {

/// Waits in a nested event loop, so that the main thread still handles events.
class QtDescriptorWait final : public posix::DescriptorWait {
 public:
  void waitUntilReadable(int descriptor) override;
};

}  // namespace qm::qt
