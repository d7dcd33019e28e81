// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <string_view>
#include <thread>

#include "tests/unit/shared/TaskTest.h"

namespace qm::testing {
namespace {

using std::chrono::microseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr int kTerminated = 15;

/// A tool that does not end by itself, a clock moved by hand, a main thread served by a thread of its own. The test
/// plays a worker.
class TaskTimeout : public TaskTest {
 protected:
  TaskTimeout() {
    fakes.clock.setManual();
    fakes.mainThread.serveOnOwnThread();
    fakes.tasks.script(kTool, endless());
  }

  static TaskScript endless() {
    TaskScript script;
    script.runsUntilEnded = true;
    return script;
  }

  /// Moves the clock when somebody begins to wait for the tool, and lets the timer's request be performed.
  void whenWaitedForAdvance(const std::string& call, microseconds span) {
    fakes.calls.before(call, 1, [this, span] {
      EXPECT_TRUE(fakes.clock.waitForSleepers(1));
      fakes.clock.advance(span);
      EXPECT_TRUE(fakes.threads.waitUntilAllEnded());
    });
  }

  void expectTimedOut() {
    EXPECT_THAT(console(), ElementsAre("Task timed out. Terminating..."));
    // Said when the limit has passed, one second after 23:05:07.
    EXPECT_EQ(log(), "2024-02-29 23:05:08 +0000 - Task /usr/bin/tool timed out. Terminating...\n");
    EXPECT_TRUE(task().wasTerminated());
  }

  void expectNothingSaid() {
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_EQ(log(), "");
    EXPECT_EQ(fakes.calls.count("tasks.terminate"), 0U);
  }
};

// MARK: - A tool that takes too long

TEST_F(TaskTimeout, EndsTheToolOfTheExitStatusForm) {
  whenWaitedForAdvance("tasks.waitUntilExit", seconds(1));
  EXPECT_EQ(QMTask::terminationCodeFromTask(kTool, kNone, QMTask::TimeoutInterval(1)), kTerminated);
  expectTimedOut();
}

TEST_F(TaskTimeout, EndsTheToolOfTheRunForm) {
  whenWaitedForAdvance("tasks.waitUntilExit", seconds(1));
  QMTask::runTask(kTool, kNone, QMTask::TimeoutInterval(1));
  EXPECT_FALSE(task().isRunning());
  expectTimedOut();
}

TEST_F(TaskTimeout, EndsTheToolOfTheOutputFormWhichAnswersWhatWasPrinted) {
  TaskScript script = endless();
  script.standardOutput = {"begun"};
  fakes.tasks.script(kTool, script);
  whenWaitedForAdvance("tasks.availableData(/usr/bin/tool, standard output)", seconds(1));
  EXPECT_EQ(QMTask::dataFromTask(kTool, kNone, QMTask::TimeoutInterval(1)), "begun");
  expectTimedOut();
}

TEST_F(TaskTimeout, EndsTheToolOfTheStringForms) {
  TaskScript script = endless();
  script.standardError = {"slow"};
  fakes.tasks.script(kTool, script);
  whenWaitedForAdvance("tasks.availableData", seconds(1));
  EXPECT_EQ(QMTask::stringFromTask(kTool, kNone, QMTask::TimeoutInterval(1)), "slow");
  expectTimedOut();
}

TEST_F(TaskTimeout, PrintsThenLogsThenTerminates) {
  whenWaitedForAdvance("tasks.waitUntilExit", seconds(1));
  QMTask::runTask(kTool, kNone, QMTask::TimeoutInterval(1));
  EXPECT_TRUE(fakes.calls.areInOrder(
      {"console.print(Task timed out. Terminating...)", "fileHandle.writeData", "tasks.terminate(/usr/bin/tool)"}));
}

TEST_F(TaskTimeout, HappensOnTheMainThread) {
  std::vector<bool> onMainThread;
  const auto note = [&] { onMainThread.push_back(fakes.mainThread.isMainThread()); };
  fakes.calls.before("console.print", 1, note);
  fakes.calls.before("tasks.terminate", 1, note);
  fakes.calls.before("clock.sleep", 1, [&] { EXPECT_FALSE(fakes.mainThread.isMainThread()); });
  whenWaitedForAdvance("tasks.waitUntilExit", seconds(1));
  QMTask::runTask(kTool, kNone, QMTask::TimeoutInterval(1));
  EXPECT_THAT(onMainThread, ElementsAre(true, true));
}

TEST_F(TaskTimeout, DoesNotHappenBeforeTheLimit) {
  fakes.calls.before("tasks.waitUntilExit", 1, [this] {
    EXPECT_TRUE(fakes.clock.waitForSleepers(1));
    fakes.clock.advance(seconds(1) - microseconds(1));
    EXPECT_TRUE(fakes.clock.waitForSleepers(1));
    EXPECT_EQ(fakes.calls.count("mainThread.performAndWait"), 0U);
    fakes.clock.advance(microseconds(1));
  });
  EXPECT_EQ(QMTask::terminationCodeFromTask(kTool, kNone, QMTask::TimeoutInterval(1)), kTerminated);
}

TEST_F(TaskTimeout, LeavesAToolThatIgnoresTheRequestToItsWaitingCall) {
  TaskScript script = endless();
  script.ignoresTermination = true;
  fakes.tasks.script(kTool, script);
  fakes.calls.before("tasks.waitUntilExit", 1, [this] {
    EXPECT_TRUE(fakes.clock.waitForSleepers(1));
    fakes.clock.advance(seconds(1));
    EXPECT_TRUE(fakes.threads.waitUntilAllEnded());
    EXPECT_TRUE(task().isRunning());
    task().exit(3);
  });
  EXPECT_EQ(QMTask::terminationCodeFromTask(kTool, kNone, QMTask::TimeoutInterval(1)), 3);
  EXPECT_EQ(fakes.calls.count("tasks.terminate"), 1U);
}

TEST_F(TaskTimeout, TerminatesAtOnceWhenTheLimitIsLessThanASecond) {
  fakes.calls.before("tasks.waitUntilExit", 1, [this] { EXPECT_TRUE(fakes.threads.waitUntilAllEnded()); });
  fakes.calls.hang("clock.sleep");  // until the tool runs
  fakes.calls.before("tasks.isRunning", 1, [this] { fakes.calls.release("clock.sleep"); });
  EXPECT_EQ(QMTask::terminationCodeFromTask(kTool, kNone, QMTask::TimeoutInterval(0.5)), kTerminated);
  EXPECT_THAT(console(), ElementsAre("Task timed out. Terminating..."));
  EXPECT_EQ(log(), "2024-02-29 23:05:07 +0000 - Task /usr/bin/tool timed out. Terminating...\n");
  EXPECT_EQ(fakes.clock.elapsed(), microseconds(0));
}

// MARK: - A tool that is quicker

TEST_F(TaskTimeout, LetsAQuickToolReturnAtOnceWhileTheTimerSleepsOn) {
  fakes.tasks.script(kTool, {});
  EXPECT_EQ(QMTask::terminationCodeFromTask(kTool, kNone, QMTask::TimeoutInterval(10)), 0);
  ASSERT_TRUE(fakes.clock.waitForSleepers(1));
  fakes.clock.advance(seconds(10) - microseconds(1));
  EXPECT_TRUE(fakes.clock.waitForSleepers(1));
  EXPECT_EQ(fakes.calls.count("mainThread.performAndWait"), 0U);
  fakes.clock.advance(microseconds(1));
  EXPECT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_EQ(fakes.calls.count("mainThread.performAndWait"), 1U);  // requested all the same
  expectNothingSaid();
}

TEST_F(TaskTimeout, LetsAnEarlierTimerFindNothingToDo) {
  fakes.tasks.scriptOnce(kTool, {});
  QMTask::runTask(kTool, kNone, QMTask::TimeoutInterval(2));
  fakes.calls.before("tasks.waitUntilExit", 1, [this] {
    EXPECT_TRUE(fakes.clock.waitForSleepers(2));
    fakes.clock.advance(seconds(2));  // the earlier call's limit
    while (fakes.calls.count("mainThread.performAndWait") == 0) std::this_thread::yield();
    EXPECT_TRUE(task().isRunning());
    task().exit(0);
  });
  QMTask::runTask(kTool, kNone, QMTask::TimeoutInterval(3));
  fakes.clock.advance(seconds(1));
  EXPECT_TRUE(fakes.threads.waitUntilAllEnded());
  expectNothingSaid();
}

TEST_F(TaskTimeout, DoesNothingForATaskThatHasFinishedButIsStillInTheSlot) {
  fakes.tasks.script(kTool, {});
  fakes.calls.before("tasks.terminationStatus", 1, [this] {
    EXPECT_TRUE(fakes.clock.waitForSleepers(1));
    fakes.clock.advance(seconds(1));
    EXPECT_TRUE(fakes.threads.waitUntilAllEnded());
  });
  EXPECT_EQ(QMTask::terminationCodeFromTask(kTool, kNone, QMTask::TimeoutInterval(1)), 0);
  expectNothingSaid();
}

TEST_F(TaskTimeout, DoesNothingForAToolThatIsRefused) {
  QMTask::runTask("/no", kNone, QMTask::TimeoutInterval(1));
  ASSERT_TRUE(fakes.clock.waitForSleepers(1));
  fakes.clock.advance(seconds(1));
  EXPECT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_THAT(console(), ElementsAre("Error: /no is not executable"));
  EXPECT_EQ(fakes.calls.count("tasks.terminate"), 0U);
}

TEST_F(TaskTimeout, StartsTheTimerBeforeAnythingElse) {
  fakes.tasks.script(kTool, {});
  QMTask::dataFromTask(kTool, kNone, QMTask::TimeoutInterval(1));
  EXPECT_EQ(fakes.calls.indexOf("threads.detachNewThread"), 0U);
  EXPECT_EQ(fakes.calls.count("threads.detachNewThread"), 1U);
}

TEST_F(TaskTimeout, IsWithoutALimitWhenTheSystemGivesNoThread) {
  fakes.calls.failNext("threads.detachNewThread");
  scriptAToolThatEndsWhenWaitedFor(4);
  EXPECT_EQ(QMTask::terminationCodeFromTask(kTool, kNone, QMTask::TimeoutInterval(1)), 4);
  EXPECT_THAT(console(), ElementsAre("Unable to start a timer thread"));
  EXPECT_THAT(fakes.clock.sleeps(), IsEmpty());
}

// MARK: - The runner's slot

TEST_F(TaskTimeout, HoldsTheTaskWhileItRunsAndNothingAfterwards) {
  const auto runner = QMTask::make();
  EXPECT_EQ(runner->theTask(), nullptr);
  fakes.calls.before("tasks.waitUntilExit", 1, [&] {
    EXPECT_EQ(runner->theTask(), fakes.tasks.last());
    task().exit(5);
  });
  EXPECT_EQ(runner->terminationCodeOnInstance(kTool, kNone, QMTask::TimeoutInterval(9)), 5);
  EXPECT_EQ(runner->theTask(), nullptr);
}

TEST_F(TaskTimeout, IsEmptyAfterEveryKindOfEnd) {
  const auto runner = QMTask::make();
  fakes.tasks.script(kTool, {});
  EXPECT_EQ(runner->dataOnInstance(kTool, kNone, QMTask::TimeoutInterval(1)), "");
  EXPECT_EQ(runner->theTask(), nullptr);
  fakes.calls.failNext("tasks.launch");
  runner->runOnInstance(kTool, kNone, QMTask::TimeoutInterval(1));
  EXPECT_EQ(runner->theTask(), nullptr);
  EXPECT_EQ(runner->terminationCodeOnInstance("/no", kNone, QMTask::TimeoutInterval(1)), -1);
  EXPECT_EQ(runner->theTask(), nullptr);
}

TEST_F(TaskTimeout, EmptiesTheSlotAfterTheTimerIsStartedAndBeforeTheToolIsLookedAt) {
  const auto runner = QMTask::make();
  const auto old = fakes.tasks.makeTask();
  runner->setTheTask(old);
  bool isEmpty = false;
  fakes.calls.before("threads.detachNewThread", 1, [&] { EXPECT_EQ(runner->theTask(), old); });
  fakes.calls.before("fileSystem.isExecutableFile", 1, [&] { isEmpty = runner->theTask() == nullptr; });
  runner->runOnInstance("/no", kNone, QMTask::TimeoutInterval(1));
  EXPECT_TRUE(isEmpty);
  EXPECT_EQ(old.use_count(), 2);
}

TEST_F(TaskTimeout, KeepsTheTaskThatIsSet) {
  const auto runner = QMTask::make();
  auto task = fakes.tasks.makeTask();
  runner->setTheTask(task);
  EXPECT_EQ(task.use_count(), 3);
  runner->setTheTask(nullptr);
  EXPECT_EQ(task.use_count(), 2);
}

TEST_F(TaskTimeout, LetsTheRunnerLiveUntilItsTimerHasAsked) {
  fakes.tasks.script(kTool, {});
  std::weak_ptr<QMTask> watched;
  {
    const auto runner = QMTask::make();
    watched = runner;
    runner->runOnInstance(kTool, kNone, QMTask::TimeoutInterval(2));
  }
  ASSERT_TRUE(fakes.clock.waitForSleepers(1));
  EXPECT_FALSE(watched.expired());
  fakes.clock.advance(seconds(2));
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  fakes.mainThread.close();  // the request itself is gone as well
  EXPECT_TRUE(watched.expired());
}

TEST_F(TaskTimeout, DoesNothingForAnEmptySlotOrATaskThatNeverRan) {
  const auto runner = QMTask::make();
  runner->timeout();
  runner->setTheTask(fakes.tasks.makeTask());
  runner->timeout();
  expectNothingSaid();
}

TEST_F(TaskTimeout, ForgetsNothingWhenItIsAskedTwice) {
  const auto runner = QMTask::make();
  TaskScript script = endless();
  script.ignoresTermination = true;
  fakes.tasks.script(kTool, script);
  const auto task = fakes.tasks.makeTask();
  task->setLaunchPath(kTool);
  ASSERT_TRUE(task->launch());
  runner->setTheTask(task);
  runner->timeout();
  runner->timeout();
  EXPECT_EQ(fakes.calls.count("tasks.terminate(/usr/bin/tool)"), 2U);
  EXPECT_EQ(runner->theTask(), task);
}

// MARK: - Calls at the same time

TEST_F(TaskTimeout, EndsOnlyTheToolWhoseLimitHasPassed) {
  fakes.disk.addExecutable("/usr/bin/other");
  fakes.tasks.script("/usr/bin/other", endless());
  long slow = 0;
  long quick = 0;
  std::thread one([&] { slow = QMTask::terminationCodeFromTask("/usr/bin/other", kNone, QMTask::TimeoutInterval(5)); });
  std::thread two([&] { quick = QMTask::terminationCodeFromTask(kTool, kNone, QMTask::TimeoutInterval(2)); });
  // Both are launched, and asked whether they run, before the clock moves.
  while (fakes.calls.count("tasks.waitUntilExit") < 2) std::this_thread::yield();
  ASSERT_TRUE(fakes.clock.waitForSleepers(2));
  fakes.clock.advance(seconds(2));
  two.join();
  EXPECT_EQ(quick, kTerminated);
  EXPECT_EQ(fakes.calls.count("tasks.terminate(/usr/bin/other)"), 0U);
  fakes.clock.advance(seconds(3));
  one.join();
  EXPECT_EQ(slow, kTerminated);
  EXPECT_EQ(fakes.calls.count("threads.detachNewThread"), 2U);
  EXPECT_THAT(fakes.clock.sleeps(), UnorderedElementsAre(seconds(2), seconds(5)));
}

/// The tool ends, the caller empties the slot and the main thread reads it, all at the same time.
TEST_F(TaskTimeout, IsSafeWhenTheToolEndsAtItsLimit) {
  constexpr int kRounds = 200;
  fakes.clock.setAutomatic();
  std::atomic<bool> isLaunched = false;
  for (int round = 0; round < kRounds; ++round) {
    isLaunched = false;
    fakes.calls.before("tasks.waitUntilExit", 1, [&] { isLaunched = true; });
    std::thread ender([&] {
      while (!isLaunched) std::this_thread::yield();
      task().exit(1);
    });
    std::thread caller([&] {
      const long code = QMTask::terminationCodeFromTask(kTool, kNone, QMTask::TimeoutInterval(0));
      EXPECT_TRUE(code == 1 || code == kTerminated) << code;
      isLaunched = true;  // also if it was over before anybody waited
    });
    caller.join();
    ender.join();
  }
  EXPECT_TRUE(fakes.threads.waitUntilAllEnded());
}

// MARK: - On the main thread

class TaskTimeoutOnTheMainThread : public TaskTest {
 protected:
  TaskTimeoutOnTheMainThread() {
    fakes.clock.setManual();
    fakes.tasks.script(kTool, endless());
  }

  static TaskScript endless() {
    TaskScript script;
    script.runsUntilEnded = true;
    return script;
  }
};

TEST_F(TaskTimeoutOnTheMainThread, EndsAToolWhoseExitIsWaitedFor) {
  fakes.calls.before("tasks.waitUntilExit", 1, [this] {
    EXPECT_TRUE(fakes.clock.waitForSleepers(1));
    fakes.clock.advance(seconds(1));
  });
  EXPECT_EQ(QMTask::terminationCodeFromTask(kTool, kNone, QMTask::TimeoutInterval(1)), kTerminated);
  EXPECT_THAT(console(), ElementsAre("Task timed out. Terminating..."));
}

TEST_F(TaskTimeoutOnTheMainThread, TakesEffectOnAnOutputFormOnlyWhenTheReadingHasEnded) {
  fakes.calls.before("tasks.availableData", 1, [this] {
    EXPECT_TRUE(fakes.clock.waitForSleepers(1));
    fakes.clock.advance(seconds(1));
    while (fakes.mainThread.queued() == 0) std::this_thread::yield();
    EXPECT_TRUE(task().isRunning());
    task().print("all of it");
    task().exit(0);
  });
  EXPECT_EQ(QMTask::dataFromTask(kTool, kNone, QMTask::TimeoutInterval(1)), "all of it");
  EXPECT_EQ(fakes.mainThread.queued(), 1U);
  EXPECT_EQ(fakes.mainThread.pump(), 1U);
  EXPECT_THAT(console(), IsEmpty());
  EXPECT_EQ(fakes.calls.count("tasks.terminate"), 0U);
}

// MARK: - The limit in whole seconds

struct Limit {
  const char* name;
  double given;
  seconds slept;
};

class TaskLimit : public TaskTest, public ::testing::WithParamInterface<Limit> {};

constexpr seconds kCentury(100L * 366 * 24 * 3600);
constexpr double kInfinite = std::numeric_limits<double>::infinity();

INSTANTIATE_TEST_SUITE_P(All, TaskLimit,
                         ::testing::Values(Limit{"Zero", 0, seconds(0)}, Limit{"NegativeZero", -0.0, seconds(0)},
                                           Limit{"Half", 0.5, seconds(0)}, Limit{"NearlyOne", 0.999999, seconds(0)},
                                           Limit{"One", 1, seconds(1)}, Limit{"NearlyThree", 2.9, seconds(2)},
                                           Limit{"ThreeAndALot", 3.999, seconds(3)},
                                           Limit{"MinusHalf", -0.5, seconds(0)}, Limit{"Minus", -2.9, seconds(-2)},
                                           Limit{"NotANumber", std::nan(""), seconds(0)},
                                           Limit{"FourBytes", 4294967296.5, kCentury}, Limit{"Huge", 1e300, kCentury},
                                           Limit{"Infinite", kInfinite, kCentury},
                                           Limit{"MinusInfinite", -kInfinite, -kCentury}),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_P(TaskLimit, IsCutTowardsZero) {
  QMTask::runTask(kTool, kNone, QMTask::TimeoutInterval(GetParam().given));
  EXPECT_EQ(QMTask::terminationCodeFromTask(kTool, kNone, QMTask::TimeoutInterval(GetParam().given)), 0);
  EXPECT_EQ(QMTask::dataFromTask(kTool, kNone, QMTask::TimeoutInterval(GetParam().given)), "");
  fakes.end();
  EXPECT_THAT(fakes.clock.sleeps(), ElementsAre(GetParam().slept, GetParam().slept, GetParam().slept));
}

TEST_F(TaskTest, SleepsTheLimitInOneGo) {
  fakes.clock.setManual();
  QMTask::runTask(kTool, kNone, QMTask::TimeoutInterval(7.25));
  ASSERT_TRUE(fakes.clock.waitForSleepers(1));
  EXPECT_EQ(fakes.calls.count("clock.sleep(7000000)"), 1U);
}

// MARK: - Every call fails in turn

/// A tool that runs five seconds under a limit of one.
class TimeoutUnderFailure : public ::testing::TestWithParam<bool> {
 protected:
  struct Machine {
    Machine() {
      fakes.clock.setManual();
      fakes.mainThread.serveOnOwnThread();
      fakes.disk.addExecutable(kTool);
      fakes.disk.addFile(kLogFile);
      TaskScript script;
      script.runsFor = seconds(5);
      script.exitStatus = 42;
      fakes.tasks.script(kTool, script);
    }
    ~Machine() { fakes.end(); }
    FakePlatform fakes;
    ScopedPlatform installed{fakes.platform};
    SingletonReset<QMLog> log;
  };

  /// The limit passes, the main thread performs the request, then the tool ends by itself.
  static void letTimePass(FakePlatform& fakes) {
    const auto lines = fakes.console.lines();
    const bool hasTimer = std::find(lines.begin(), lines.end(), "Unable to start a timer thread") == lines.end();
    if (hasTimer) {
      EXPECT_TRUE(fakes.clock.waitForSleepers(1));
    }
    fakes.clock.advance(seconds(1));
    EXPECT_TRUE(fakes.threads.waitUntilAllEnded());
    fakes.clock.advance(seconds(9));
  }

  static long runOnce(FakePlatform& fakes) {
    if (GetParam()) {
      fakes.calls.before("tasks.availableData", 1, [&fakes] { letTimePass(fakes); });
      return QMTask::dataFromTask(kTool, kNone, QMTask::TimeoutInterval(1)) ? 0 : -1;
    }
    fakes.calls.before("tasks.waitUntilExit", 1, [&fakes] { letTimePass(fakes); });
    return QMTask::terminationCodeFromTask(kTool, kNone, QMTask::TimeoutInterval(1));
  }
};

TEST_P(TimeoutUnderFailure, ReturnsWhenTheToolHasEndedWhateverCallFails) {
  std::size_t count = 0;
  {
    Machine machine;
    runOnce(machine.fakes);
    QMLog::finishWriting();
    count = machine.fakes.calls.callCount();
    EXPECT_TRUE(machine.fakes.tasks.last()->wasTerminated());
  }
  ASSERT_GE(count, 7U);  // a thread, two queries, a launch, console, log and the request
  for (std::size_t number = 1; number <= count; ++number) {
    SCOPED_TRACE("call " + std::to_string(number));
    Machine machine;
    machine.fakes.calls.failCallNumber(number);
    const long answer = runOnce(machine.fakes);
    const auto task = machine.fakes.tasks.last();
    if (task == nullptr || !task->wasLaunched()) {
      EXPECT_EQ(answer, -1);
      continue;
    }
    EXPECT_FALSE(task->isRunning());
    EXPECT_EQ(answer, GetParam() ? 0 : task->wasTerminated() ? kTerminated : 42);
  }
}

INSTANTIATE_TEST_SUITE_P(All, TimeoutUnderFailure, ::testing::Bool(),
                         [](const auto& each) { return each.param ? "OfTheOutputForm" : "OfTheExitStatusForm"; });

}  // namespace
}  // namespace qm::testing
