// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Threads.h"

namespace qm::macos {

/// Threads of the C++ library, each with an autorelease pool for calls into the frameworks. The frameworks' own threads
/// are not used, because their call does not report that the system could not create a thread.
class MacThreads final : public platform::Threads {
 public:
  bool detachNewThread(std::function<void()> body) override;

 private:
  platform::StandardThreads threads_;
};

}  // namespace qm::macos
