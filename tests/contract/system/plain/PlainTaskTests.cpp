// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

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

}  // namespace
}  // namespace qm::testing
