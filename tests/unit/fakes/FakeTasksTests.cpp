// SPDX-License-Identifier: MIT
#include "tests/fakes/FakeTasks.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "tests/fakes/FakePlatform.h"

namespace {

using namespace qm::testing;
using namespace std::chrono_literals;
using qm::platform::TaskStream;
using Strings = std::vector<std::string>;

class Tasks : public ::testing::Test {
 protected:
  std::shared_ptr<qm::platform::Task> prepared(const std::string& path, const Strings& arguments = {}) {
    auto task = fakes.tasks.makeTask();
    task->setLaunchPath(path);
    task->setArguments(arguments);
    return task;
  }

  FakePlatform fakes;
};

TEST_F(Tasks, ExitAtOnceWithoutAScript) {
  const auto task = prepared("/usr/bin/killall", {"Tessaly"});
  EXPECT_TRUE(task->launch().ok());
  task->waitUntilExit();
  EXPECT_FALSE(task->isRunning());
  EXPECT_EQ(task->terminationStatus(), 0);
  EXPECT_EQ(fakes.calls.log(), Strings{"tasks.launch(/usr/bin/killall, Tessaly)"});
  EXPECT_EQ(fakes.tasks.launches(), (std::vector<Strings>{{"/usr/bin/killall", "Tessaly"}}));
}

TEST_F(Tasks, AreLaunchedOnce) {
  const auto task = prepared("/usr/bin/killall");
  EXPECT_TRUE(task->launch().ok());
  EXPECT_FALSE(task->launch().ok());
  EXPECT_EQ(fakes.tasks.launches().size(), 1U);
  EXPECT_EQ(fakes.calls.count("tasks.launch"), 1U);
}

TEST_F(Tasks, GiveTheirScriptedOutputPieceByPiece) {
  fakes.tasks.script("/tool", {.exitStatus = 3, .standardOutput = {"one", "two"}, .standardError = {"bad"}});
  const auto task = prepared("/tool");
  task->setStandardOutput(TaskStream::Pipe);
  task->setStandardError(TaskStream::Pipe);
  const auto output = task->standardOutputReader();
  const auto error = task->standardErrorReader();
  ASSERT_TRUE(task->launch().ok());
  EXPECT_EQ(output->availableData(), "one");
  EXPECT_EQ(output->availableData(), "two");
  EXPECT_EQ(output->availableData(), "");
  EXPECT_EQ(error->availableData(), "bad");
  EXPECT_EQ(error->availableData(), "");
  EXPECT_EQ(task->terminationStatus(), 3);
}

TEST_F(Tasks, HaveReadersForPipesOnly) {
  const auto task = prepared("/tool");
  EXPECT_EQ(task->standardOutputReader(), nullptr);
  task->setStandardError(TaskStream::NullDevice);
  EXPECT_EQ(task->standardErrorReader(), nullptr);
  EXPECT_EQ(fakes.tasks.last()->standardError(), TaskStream::NullDevice);
}

TEST_F(Tasks, RunUntilTheyAreTerminated) {
  fakes.tasks.script("/tool", {.runsUntilEnded = true});
  const auto task = prepared("/tool");
  ASSERT_TRUE(task->launch().ok());
  EXPECT_TRUE(task->isRunning());
  EXPECT_EQ(task->terminationStatus(), 0);
  std::thread waiter([&] { task->waitUntilExit(); });
  task->terminate();
  waiter.join();
  EXPECT_FALSE(task->isRunning());
  EXPECT_EQ(task->terminationStatus(), 15);
  EXPECT_TRUE(fakes.tasks.last()->wasTerminated());
}

TEST_F(Tasks, MayIgnoreTermination) {
  fakes.tasks.script("/tool", {.runsUntilEnded = true, .ignoresTermination = true});
  const auto task = prepared("/tool");
  ASSERT_TRUE(task->launch().ok());
  task->terminate();
  EXPECT_TRUE(task->isRunning());
  fakes.tasks.last()->exit(2);
  EXPECT_EQ(task->terminationStatus(), 2);
}

TEST_F(Tasks, EndWhenTheFakeClockSaysSo) {
  fakes.tasks.script("/tool", {.exitStatus = 1, .runsFor = 5s});
  const auto task = prepared("/tool");
  ASSERT_TRUE(task->launch().ok());
  fakes.clock.advance(4s);
  EXPECT_TRUE(task->isRunning());
  fakes.clock.advance(1s);
  EXPECT_FALSE(task->isRunning());
  EXPECT_EQ(task->terminationStatus(), 1);
}

TEST_F(Tasks, ServeTheMainThreadWhileItWaits) {
  fakes.tasks.script("/tool", {.runsUntilEnded = true});
  const auto task = prepared("/tool");
  ASSERT_TRUE(task->launch().ok());
  std::thread other([&] { fakes.mainThread.performAndWait([&] { task->terminate(); }); });
  task->waitUntilExit();
  other.join();
  EXPECT_EQ(task->terminationStatus(), 15);
}

TEST_F(Tasks, DoTheirWorkOnTheDiskAndNothingWhenTerminated) {
  fakes.disk.addFile("/tmp/a");
  ASSERT_TRUE(prepared("/bin/mv", {"-f", "/tmp/a", "/tmp/b"})->launch().ok());
  EXPECT_TRUE(fakes.disk.has("/tmp/b"));
  fakes.tasks.scriptOnce("/bin/mv", {.runsUntilEnded = true});
  const auto task = prepared("/bin/mv", {"-f", "/tmp/b", "/tmp/c"});
  ASSERT_TRUE(task->launch().ok());
  task->terminate();
  EXPECT_TRUE(fakes.disk.has("/tmp/b"));
}

TEST_F(Tasks, MayFailToLaunch) {
  fakes.tasks.scriptOnce("/tool", {.launchFailure = qm::platform::Failure{2, "No such file"}});
  const auto task = prepared("/tool");
  task->setStandardOutput(TaskStream::Pipe);
  const auto reader = task->standardOutputReader();
  EXPECT_EQ(task->launch().localizedDescription(), "No such file");
  EXPECT_EQ(reader->availableData(), "");
  EXPECT_TRUE(fakes.tasks.launches().empty());
  fakes.calls.failNext("tasks.launch");
  EXPECT_FALSE(prepared("/tool")->launch().ok());
  EXPECT_TRUE(prepared("/tool")->launch().ok());
}

TEST_F(Tasks, EndABlockedReadWhenTheReaderIsClosed) {
  fakes.tasks.script("/tool", {.runsUntilEnded = true});
  const auto task = prepared("/tool");
  task->setStandardOutput(TaskStream::Pipe);
  const auto reader = task->standardOutputReader();
  ASSERT_TRUE(task->launch().ok());
  auto blocked = std::async(std::launch::async, [&] { return reader->availableData(); });
  reader->close();
  EXPECT_EQ(blocked.get(), "");
}

TEST_F(Tasks, PrintWhatTheTestSaysAndMayCloseTheirOutputEarly) {
  fakes.tasks.script("/tool", {.runsUntilEnded = true});
  const auto task = prepared("/tool");
  task->setStandardOutput(TaskStream::Pipe);
  ASSERT_TRUE(task->launch().ok());
  fakes.tasks.last()->print("later");
  EXPECT_EQ(task->standardOutputReader()->availableData(), "later");
  fakes.tasks.script("/tool", {.standardOutput = {"x"}, .closesOutputEarly = true, .runsUntilEnded = true});
  const auto early = prepared("/tool");
  early->setStandardOutput(TaskStream::Pipe);
  ASSERT_TRUE(early->launch().ok());
  EXPECT_EQ(early->standardOutputReader()->availableData(), "x");
  EXPECT_EQ(early->standardOutputReader()->availableData(), "");
  EXPECT_TRUE(early->isRunning());
}

}  // namespace
