// SPDX-License-Identifier: MIT
#include "Platform/posix/process/MainLoop.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>
#include <vector>

#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/PosixTasks.h"

namespace qm::testing {
namespace {

using namespace std::chrono_literals;

class MainLoop : public ::testing::Test {
 protected:
  void write() const { EXPECT_EQ(::write(pipe_.writing.get(), "x", 1), 1); }
  int readingEnd() const { return pipe_.reading.get(); }

  posix::MainLoop loop;

 private:
  posix::Pipe pipe_ = posix::makePipe();
};

TEST_F(MainLoop, KnowsItsThread) {
  EXPECT_TRUE(loop.isMainThread());
  bool elsewhere = true;
  std::thread([&] { elsewhere = loop.isMainThread(); }).join();
  EXPECT_FALSE(elsewhere);
}

TEST_F(MainLoop, RunsItsOwnWorkAtOnce) {
  bool done = false;
  loop.performAndWait([&] { done = true; });
  EXPECT_TRUE(done);
}

TEST_F(MainLoop, RunsQueuedWorkInOrder) {
  std::vector<int> order;
  loop.perform([&] { order.push_back(1); });
  std::thread([&] { loop.perform([&] { order.push_back(2); }); }).join();
  EXPECT_TRUE(order.empty());
  while (loop.handleOneEvent(0s)) {
  }
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST_F(MainLoop, RunsTheWorkOfAThreadThatWaitsForIt) {
  bool onMain = false;
  std::atomic<bool> done = false;
  bool doneBeforeReturn = false;
  std::thread worker([&] {
    loop.performAndWait([&] {
      onMain = loop.isMainThread();
      done = true;
    });
    doneBeforeReturn = done;
  });
  EXPECT_TRUE(loop.handleOneEvent(60s));
  worker.join();
  EXPECT_TRUE(onMain);
  EXPECT_TRUE(doneBeforeReturn);
}

TEST_F(MainLoop, TakesOneEventAtATimeAndSaysWhetherThereWasOne) {
  int done = 0;
  loop.perform([&] { ++done; });
  loop.perform([&] { ++done; });
  EXPECT_TRUE(loop.handleOneEvent(10s));
  EXPECT_EQ(done, 1);
  EXPECT_TRUE(loop.handleOneEvent(0s));
  EXPECT_EQ(done, 2);
  EXPECT_FALSE(loop.handleOneEvent(0s));
}

TEST_F(MainLoop, WaitsForAnEventNoLongerThanTheLimit) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(loop.handleOneEvent(20ms));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 19ms);
  EXPECT_FALSE(loop.handleOneEvent(-5ms));
}

TEST_F(MainLoop, IsWokenByWorkOfAnotherThread) {
  std::atomic<bool> done = false;
  std::thread worker([&] { loop.perform([&] { done = true; }); });
  while (!done) EXPECT_TRUE(loop.handleOneEvent(60s));
  worker.join();
}

TEST_F(MainLoop, DoesNotWaitForADescriptorThatCanBeRead) {
  bool served = false;
  loop.perform([&] { served = true; });
  write();
  loop.waitUntilReadable(readingEnd());
  EXPECT_FALSE(served);
}

TEST_F(MainLoop, RunsWorkWhileItWaitsForADescriptor) {
  int served = 0;
  loop.perform([&] { ++served; });
  std::thread worker([&] {
    loop.performAndWait([&] { ++served; });
    write();
  });
  loop.waitUntilReadable(readingEnd());
  worker.join();
  EXPECT_EQ(served, 2);
}

TEST_F(MainLoop, WaitsInsideWorkThatItRunsWhileItWaits) {
  bool inner = false;
  loop.perform([&] {
    loop.perform([&] {
      inner = true;
      write();
    });
    loop.waitUntilReadable(readingEnd());
  });
  loop.waitUntilReadable(readingEnd());
  EXPECT_TRUE(inner);
}

TEST_F(MainLoop, RunsWorkWhileATaskIsWaitedFor) {
  posix::PosixTasks tasks(loop, loop);
  const auto task = tasks.makeTask();
  task->setLaunchPath("/bin/sleep");
  task->setArguments({"1000"});
  task->setStandardInput(platform::TaskStream::NullDevice);
  ASSERT_TRUE(task->launch().ok());
  std::thread worker([&] { loop.performAndWait([&] { task->terminate(); }); });
  task->waitUntilExit();
  worker.join();
  EXPECT_EQ(task->terminationStatus(), SIGTERM);
}

}  // namespace
}  // namespace qm::testing
