// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/contract/system/TaskWorld.h"
#include "tests/contract/system/WaitUntil.h"

namespace qm::testing {
namespace {

using platform::OutputReader;
using platform::Task;
using platform::TaskStream;

struct WorldMaker {
  const char* name;
  std::unique_ptr<TaskWorld> (*make)();
};

std::string readToEnd(OutputReader& reader) {
  std::string all;
  for (std::string piece = reader.availableData(); !piece.empty(); piece = reader.availableData()) all += piece;
  return all;
}

class TaskContract : public ::testing::TestWithParam<WorldMaker> {
 protected:
  TaskContract() : world_(GetParam().make()) {}
  void TearDown() override {
    for (const auto& task : prepared_) {
      task->terminate();
      task->waitUntilExit();
    }
  }

  std::shared_ptr<Task> prepare(const Tool& tool) {
    prepared_.push_back(world_->tasks().makeTask());
    prepared_.back()->setLaunchPath(tool.path);
    prepared_.back()->setArguments(tool.arguments);
    return prepared_.back();
  }
  std::shared_ptr<Task> launch(const Tool& tool) {
    auto task = prepare(tool);
    EXPECT_TRUE(task->launch().ok());
    return task;
  }
  std::shared_ptr<Task> launchWithPipes(const Tool& tool) {
    auto task = prepare(tool);
    task->setStandardOutput(TaskStream::Pipe);
    task->setStandardError(TaskStream::Pipe);
    EXPECT_TRUE(task->launch().ok());
    return task;
  }

  std::unique_ptr<TaskWorld> world_;
  std::vector<std::shared_ptr<Task>> prepared_;
};

TEST_P(TaskContract, DoesNothingBeforeTheLaunch) {
  auto task = prepare(world_->endless());
  EXPECT_FALSE(task->isRunning());
  EXPECT_EQ(task->terminationStatus(), 0);
  task->waitUntilExit();
  task->terminate();
  EXPECT_FALSE(task->isRunning());
}

TEST_P(TaskContract, IsNotEndedByATerminateBeforeTheLaunch) {
  auto task = prepare(world_->endless());
  task->terminate();
  ASSERT_TRUE(task->launch().ok());
  EXPECT_TRUE(task->isRunning());
}

TEST_P(TaskContract, RemembersItsLaunchPath) {
  auto task = world_->tasks().makeTask();
  EXPECT_EQ(task->launchPath(), "");
  task->setLaunchPath("/bin/one");
  task->setLaunchPath("/bin/two words");
  EXPECT_EQ(task->launchPath(), "/bin/two words");
}

TEST_P(TaskContract, AnswersTheExitStatus) {
  for (const int status : {0, 1, 42, 127, 255}) {
    auto task = launch(world_->exiting(status));
    task->waitUntilExit();
    EXPECT_EQ(task->terminationStatus(), status);
    EXPECT_FALSE(task->isRunning());
  }
}

TEST_P(TaskContract, ReturnsAtOnceFromASecondWait) {
  auto task = launch(world_->exiting(3));
  task->waitUntilExit();
  task->waitUntilExit();
  EXPECT_EQ(task->terminationStatus(), 3);
}

TEST_P(TaskContract, SeesTheExitWithoutAWait) {
  auto task = launch(world_->exiting(7));
  EXPECT_TRUE(waitUntil([&] { return !task->isRunning(); }));
  EXPECT_EQ(task->terminationStatus(), 7);
}

TEST_P(TaskContract, RunsWithTheStatusZeroUntilItExits) {
  auto task = launch(world_->endless());
  EXPECT_TRUE(task->isRunning());
  EXPECT_EQ(task->terminationStatus(), 0);
}

TEST_P(TaskContract, AnswersTheSignalThatEndedIt) {
  auto task = launch(world_->endless());
  task->terminate();
  task->waitUntilExit();
  EXPECT_EQ(task->terminationStatus(), SIGTERM);
  EXPECT_FALSE(task->isRunning());
}

TEST_P(TaskContract, KeepsItsStatusWhenItIsTerminatedAfterItsEnd) {
  auto task = launch(world_->exiting(5));
  task->waitUntilExit();
  task->terminate();
  task->terminate();
  EXPECT_EQ(task->terminationStatus(), 5);
}

TEST_P(TaskContract, IsTerminatedByOneThreadWhileAnotherWaits) {
  auto task = launch(world_->endless());
  int status = -1;
  std::thread waiting([&] {
    task->waitUntilExit();
    status = task->terminationStatus();
  });
  task->terminate();
  waiting.join();
  EXPECT_EQ(status, SIGTERM);
}

TEST_P(TaskContract, LetsSeveralThreadsWait) {
  auto task = launch(world_->endless());
  std::atomic<int> right{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      task->waitUntilExit();
      if (task->terminationStatus() == SIGTERM) ++right;
    });
  }
  task->terminate();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, 4);
}

TEST_P(TaskContract, EndsAWaitOnTheMainThread) {
  world_->setMainThread(true);
  auto task = launch(world_->endless());
  std::thread ending([&] { task->terminate(); });
  task->waitUntilExit();
  ending.join();
  EXPECT_EQ(task->terminationStatus(), SIGTERM);
}

TEST_P(TaskContract, HasReadersForPipesOnly) {
  auto task = prepare(world_->exiting(0));
  EXPECT_EQ(task->standardOutputReader(), nullptr);
  EXPECT_EQ(task->standardErrorReader(), nullptr);
  task->setStandardOutput(TaskStream::Pipe);
  task->setStandardError(TaskStream::NullDevice);
  EXPECT_NE(task->standardOutputReader(), nullptr);
  EXPECT_EQ(task->standardErrorReader(), nullptr);
  task->setStandardOutput(TaskStream::NullDevice);
  EXPECT_EQ(task->standardOutputReader(), nullptr);
}

TEST_P(TaskContract, GivesReadersBeforeTheLaunchThatReadAfterIt) {
  auto task = prepare(world_->printing("out", "err"));
  task->setStandardOutput(TaskStream::Pipe);
  task->setStandardError(TaskStream::Pipe);
  const auto output = task->standardOutputReader();
  const auto error = task->standardErrorReader();
  ASSERT_TRUE(task->launch().ok());
  EXPECT_EQ(readToEnd(*output), "out");
  EXPECT_EQ(readToEnd(*error), "err");
}

TEST_P(TaskContract, KeepsWhatWasPrintedUntilItIsRead) {
  auto task = launchWithPipes(world_->printing("out", "err"));
  task->waitUntilExit();
  EXPECT_EQ(readToEnd(*task->standardErrorReader()), "err");
  EXPECT_EQ(readToEnd(*task->standardOutputReader()), "out");
}

TEST_P(TaskContract, StaysAtTheEndOfTheOutput) {
  auto task = launchWithPipes(world_->exiting(0));
  EXPECT_EQ(task->standardOutputReader()->availableData(), "");
  EXPECT_EQ(task->standardOutputReader()->availableData(), "");
  EXPECT_EQ(task->standardErrorReader()->availableData(), "");
}

TEST_P(TaskContract, ReadsOnAfterTheTaskObjectIsGone) {
  auto task = launchWithPipes(world_->printing("out", ""));
  task->waitUntilExit();
  const auto reader = task->standardOutputReader();
  prepared_.clear();
  task.reset();
  EXPECT_EQ(readToEnd(*reader), "out");
}

TEST_P(TaskContract, SeesTheEndOfAnOutputThatIsClosedEarly) {
  auto task = launchWithPipes(world_->closingItsOutput());
  EXPECT_EQ(readToEnd(*task->standardOutputReader()), "x");
  EXPECT_EQ(readToEnd(*task->standardErrorReader()), "");
  EXPECT_TRUE(task->isRunning());
}

TEST_P(TaskContract, EndsTheOutputOfATerminatedTool) {
  auto task = launchWithPipes(world_->endless());
  std::thread ending([&] { task->terminate(); });
  EXPECT_EQ(readToEnd(*task->standardOutputReader()), "");
  ending.join();
  EXPECT_EQ(readToEnd(*task->standardErrorReader()), "");
}

TEST_P(TaskContract, EndsAReadWhenAnotherThreadCloses) {
  auto task = launchWithPipes(world_->endless());
  const auto reader = task->standardOutputReader();
  std::string data = "nothing read yet";
  std::thread reading([&] { data = reader->availableData(); });
  reader->close();
  reading.join();
  EXPECT_EQ(data, "");
  EXPECT_TRUE(task->isRunning());
}

TEST_P(TaskContract, ReadsNothingAfterClosing) {
  auto task = launchWithPipes(world_->printing("out", "err"));
  task->waitUntilExit();
  task->standardOutputReader()->close();
  task->standardOutputReader()->close();
  EXPECT_EQ(task->standardOutputReader()->availableData(), "");
  EXPECT_EQ(readToEnd(*task->standardErrorReader()), "err");
}

TEST_P(TaskContract, LeavesNothingOfALaunchThatFails) {
  auto task = prepare(world_->missing());
  task->setStandardOutput(TaskStream::Pipe);
  task->setStandardError(TaskStream::Pipe);
  const platform::Status status = task->launch();
  EXPECT_EQ(status.code(), ENOENT);
  EXPECT_EQ(status.localizedDescription(), "No such file or directory");
  EXPECT_FALSE(task->isRunning());
  EXPECT_EQ(task->terminationStatus(), 0);
  task->waitUntilExit();
  task->terminate();
  EXPECT_EQ(task->standardOutputReader()->availableData(), "");
  EXPECT_EQ(task->standardErrorReader()->availableData(), "");
}

std::string nameOf(const ::testing::TestParamInfo<WorldMaker>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(Tasks, TaskContract,
                         ::testing::Values(WorldMaker{"Fake", &makeFakeTaskWorld},
                                           WorldMaker{"Real", &makeRealTaskWorld}),
                         nameOf);

}  // namespace
}  // namespace qm::testing
