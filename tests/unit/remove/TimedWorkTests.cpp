// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/TimedWork.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <thread>

#include "Platform/posix/process/MainLoop.h"

namespace qm::removal {
namespace {

using std::chrono::steady_clock;

/// A system that refuses threads.
class NoThreads final : public platform::Threads {
 public:
  bool detachNewThread(std::function<void()> /*body*/) override { return false; }
};

struct Wait {
  posix::MainLoop loop;
  platform::StandardThreads threads;
};

TEST(TimedWork, RunsOnAThreadThatTheMainOneServes) {
  Wait wait;
  std::thread::id worker;
  std::thread::id served;
  const bool done = runUntil(steady_clock::now() + std::chrono::minutes(1), wait.loop, wait.threads, [&] {
    worker = std::this_thread::get_id();
    wait.loop.performAndWait([&] { served = std::this_thread::get_id(); });
  });
  EXPECT_TRUE(done);
  EXPECT_NE(worker, std::this_thread::get_id());
  EXPECT_EQ(served, std::this_thread::get_id());
}

TEST(TimedWork, IsGivenUpWhenItTakesTooLong) {
  // The abandoned worker goes on until the end of the test.
  static auto* const wait = new Wait;
  const auto mayEnd = std::make_shared<std::promise<void>>();
  const auto ended = std::make_shared<std::promise<void>>();
  EXPECT_FALSE(runUntil(steady_clock::now() + std::chrono::milliseconds(20), wait->loop, wait->threads, [=] {
    mayEnd->get_future().wait();
    ended->set_value();
  }));
  mayEnd->set_value();
  ended->get_future().wait();
}

TEST(TimedWork, IsDoneByTheMainThreadWhereThereIsNoOther) {
  posix::MainLoop loop;
  NoThreads threads;
  std::thread::id worker;
  EXPECT_TRUE(runUntil(steady_clock::now(), loop, threads, [&] { worker = std::this_thread::get_id(); }));
  EXPECT_EQ(worker, std::this_thread::get_id());
}

}  // namespace
}  // namespace qm::removal
