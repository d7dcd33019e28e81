// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "Platform/posix/process/ProcessHandle.h"
#include "tests/contract/system/RealTasks.h"
#include "tests/contract/system/plain/PlainProcessCalls.h"

namespace qm::testing {
namespace {

using platform::TaskStream;
using ::testing::ElementsAre;

TEST(TasksByPlainCalls, NameTheStreamsThatTheToolInherits) {
  RealTasks real;
  const auto task = real.tasks.makeTask();
  const std::size_t before = plain::keptStreams().size();
  task->setLaunchPath("/bin/true");
  task->setStandardInput(TaskStream::NullDevice);
  task->setStandardOutput(TaskStream::Pipe);
  ASSERT_TRUE(task->launch().ok());
  task->waitUntilExit();
  const std::vector<int> kept = plain::keptStreams();
  EXPECT_THAT(std::vector<int>(kept.begin() + static_cast<std::ptrdiff_t>(before), kept.end()),
              ElementsAre(STDERR_FILENO));
}

/// A handle that could not be made, because the process may open nothing more.
posix::ProcessHandle handleWithoutDescriptor(pid_t process) {
  rlimit own{};
  EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &own), 0);
  const rlimit none{.rlim_cur = 0, .rlim_max = own.rlim_max};
  EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  auto handle = posix::ProcessHandle::open(process);
  EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &own), 0);
  return handle;
}

TEST(HandleByPlainCalls, SignalsNothingWhereItHoldsNoProcess) {
  const pid_t child = ::fork();
  while (child == 0) ::pause();
  const auto handle = handleWithoutDescriptor(child);
  EXPECT_FALSE(handle);
  handle.signal(SIGTERM);
  // Of two signals that wait, the system delivers the one with the lower number first.
  ::kill(child, SIGPROF);
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(WTERMSIG(status), SIGPROF);
}

}  // namespace
}  // namespace qm::testing
