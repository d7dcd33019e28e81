// SPDX-License-Identifier: MIT

// Only Linux counts threads as processes, so only there can a test take them away.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <vector>

#include "Platform/OperationQueue.h"

namespace {

using qm::platform::OperationQueue;

/// In a process of its own, because it removes that process's right to threads.
int runWithoutThreads() {
  if (::geteuid() == 0 && ::setresuid(65534, 65534, 65534) != 0) return 1;  // no limit applies to root
  rlimit limit{};
  if (::getrlimit(RLIMIT_NPROC, &limit) != 0) return 2;
  const rlimit none{0, limit.rlim_max};
  if (::setrlimit(RLIMIT_NPROC, &none) != 0) return 3;
  std::vector<int> order;
  OperationQueue queue;
  queue.addOperation([&order] { order.push_back(1); });
  queue.waitUntilAllOperationsAreFinished();
  if (!order.empty()) return 4;  // there was a thread after all
  if (::setrlimit(RLIMIT_NPROC, &limit) != 0) return 5;
  queue.addOperation([&order] { order.push_back(2); });
  queue.waitUntilAllOperationsAreFinished();
  return order == std::vector<int>{1, 2} ? 0 : 6;
}

TEST(OperationQueueDeathTest, KeepsItsOperationsUntilTheSystemGivesAThread) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(::_exit(runWithoutThreads()), ::testing::ExitedWithCode(0), "");
}

}  // namespace
