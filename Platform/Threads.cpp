// SPDX-License-Identifier: MIT
#include "Platform/Threads.h"

#include <system_error>
#include <thread>
#include <utility>

namespace qm::platform {

bool StandardThreads::detachNewThread(std::function<void()> body) {
  try {
    std::thread(std::move(body)).detach();
    return true;
  } catch (const std::system_error&) {  // out of threads
    return false;
  }
}

}  // namespace qm::platform
