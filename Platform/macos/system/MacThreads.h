// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Threads.h"

namespace qm::macos {

/// The language's threads, each with a pool for what the frameworks leave behind. The frameworks' own do not tell
/// whether the system had one to give.
class MacThreads final : public platform::Threads {
 public:
  bool detachNewThread(std::function<void()> body) override;

 private:
  platform::StandardThreads threads_;
};

}  // namespace qm::macos
