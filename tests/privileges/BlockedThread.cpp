// SPDX-License-Identifier: MIT
#include "tests/privileges/BlockedThread.h"

#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "tests/contract/system/WaitUntil.h"

namespace qm::testing {
namespace {

std::atomic<int> interruptions{0};

/// The id of another thread that is blocked in that call; 0 if there is none.
pid_t threadIn(long number) {
  std::error_code error;
  for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task", error)) {
    const auto id = static_cast<pid_t>(std::stol(thread.path().filename()));
    std::string call;  // "running" outside of calls
    std::ifstream(thread.path() / "syscall") >> call;
    if (id != ::gettid() && call == std::to_string(number)) return id;
  }
  return 0;
}

pid_t waitForThread(long number) {
  pid_t found = 0;
  waitUntil([&] { return (found = threadIn(number)) != 0; });
  return found;
}

}  // namespace

bool waitForThreadIn(long number) { return waitForThread(number) != 0; }

bool interruptThreadIn(long number) {
  struct sigaction counting {};
  counting.sa_handler = [](int) { ++interruptions; };  // without SA_RESTART: the call fails
  ::sigaction(SIGUSR1, &counting, nullptr);
  const int before = interruptions;
  const pid_t thread = waitForThread(number);
  return thread != 0 && ::syscall(SYS_tgkill, ::getpid(), thread, SIGUSR1) == 0 &&
         waitUntil([&] { return interruptions > before; }) && waitForThreadIn(number);
}

}  // namespace qm::testing
