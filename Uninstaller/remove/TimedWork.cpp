// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/TimedWork.h"

#include <atomic>
#include <memory>

namespace qm::removal {

bool runUntil(std::chrono::steady_clock::time_point last, platform::MainThread& mainThread, platform::Threads& threads,
              const std::function<void()>& work) {
  const auto finished = std::make_shared<std::atomic<bool>>(false);
  const auto body = [work, finished, &mainThread] {
    work();
    mainThread.perform([finished] { *finished = true; });
  };
  // If the system refuses a thread, the main thread does the work, and the time limit is not enforced.
  if (!threads.detachNewThread(body)) {
    work();
    return true;
  }
  using std::chrono::steady_clock;
  while (!*finished && steady_clock::now() < last) {
    mainThread.handleOneEvent(std::chrono::ceil<std::chrono::milliseconds>(last - steady_clock::now()));
  }
  return *finished;
}

}  // namespace qm::removal
