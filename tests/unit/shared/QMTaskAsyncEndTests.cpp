// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/unit/shared/AsyncTaskTest.h"

namespace qm::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kDate = "2024-02-29 23:05:07 +0000 - ";

/// A context whose destructor does something.
std::shared_ptr<void> endingWith(std::function<void()> action) {
  static int contents = 0;
  return {&contents, [action = std::move(action)](void*) { action(); }};
}

/// A delegate that holds such a context, and so does it in its destructor.
std::shared_ptr<AsyncDelegate> delegateEndingWith(std::function<void()> action) {
  return std::make_shared<AsyncDelegate>([held = endingWith(std::move(action))](const std::string&, QMTask&) {});
}

// MARK: - The end of the output

class AsyncTaskEnd : public AsyncTaskTest {
 protected:
  /// Records the state at a moment of the ending.
  void look(const std::string& moment) {
    const auto done = [&](const char* call) { return fakes.calls.count(call) > 0; };
    seen.push_back(moment + (done("tasks.closeReader") ? ", closed" : ", open") +
                   (done("tasks.terminate") ? ", asked to end" : "") +
                   (runner->theTask() ? ", in the slot" : ", out of the slot"));
  }
  /// Starts a run that records how it ends, and gives it the only references to its delegate and its context.
  void startObserved() {
    fakes.calls.before("tasks.terminate", 1, [this] { look("tool"); });
    start(delegateEndingWith([this] { look("delegate"); }), "nobody:", endingWith([this] { look("context"); }));
  }
  void expectTheOrder() {
    look("afterwards");
    EXPECT_THAT(seen, ElementsAre("delegate, closed, in the slot", "context, closed, in the slot",
                                  "tool, closed, asked to end, in the slot",
                                  "afterwards, closed, asked to end, out of the slot"));
  }

  std::vector<std::string> seen;
};

TEST_F(AsyncTaskEnd, GoesInItsOrderAfterTheLastPiece) {
  scriptOutput({"one"});
  fakes.threads.keepBodies();  // nothing holds the delegate any more when the run goes on
  startObserved();
  ASSERT_EQ(fakes.threads.runKept(), 1U);
  expectTheOrder();
}

TEST_F(AsyncTaskEnd, GoesInItsOrderWhenTheOwnerEndsTheRun) {
  scriptEndlessTool();
  startObserved();
  runner->terminateAsyncTask();
  expectTheOrder();
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
}

TEST_F(AsyncTaskEnd, IsNotBegunAgainByADelegateThatEndsTheRunAsItEnds) {
  scriptEndlessTool({"one"});
  start(delegateEndingWith([this] { runner->terminateAsyncTask(); }));
  runner->terminateAsyncTask();
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_EQ(fakes.calls.count("tasks.terminate"), 1U);
  EXPECT_EQ(fakes.calls.count("tasks.closeReader"), 1U);
  EXPECT_EQ(runner->theTask(), nullptr);
}

TEST_F(AsyncTaskEnd, IsToldByABufferOfItsOwn) {
  const std::string* received = nullptr;
  delegate = std::make_shared<AsyncDelegate>([&](const std::string& data, QMTask&) { received = &data; });
  fakes.threads.keepBodies();
  start();
  const auto notification = AsyncTaskNotification::withData("");
  runner->asyncTaskReturnData(notification);
  EXPECT_THAT(delegate->pieces(), ElementsAre(""));
  EXPECT_NE(received, &notification.data());
}

TEST_F(AsyncTaskEnd, LetsGoOfEverythingAndAsksTheToolToEnd) {
  scriptOutput({"one"});
  auto context = std::make_shared<int>(7);
  start(delegate, kSelector, context);
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  expectReleased();
  const std::size_t keptByTheDelegatesCalls = 2;
  EXPECT_EQ(static_cast<std::size_t>(context.use_count()), 1 + keptByTheDelegatesCalls);
  const std::vector<std::string> all = steps();
  ASSERT_GE(all.size(), 2U);
  EXPECT_EQ(all[all.size() - 2], "tasks.closeReader(" + kTool + ", standard output)");
  EXPECT_EQ(all.back(), "tasks.terminate(" + kTool + ")");
}

TEST_F(AsyncTaskEnd, ComesWhenTheOutputIsClosedWhileTheToolRunsOn) {
  TaskScript script;
  script.standardOutput = {"one"};
  script.closesOutputEarly = script.runsUntilEnded = true;
  fakes.tasks.script(kTool, script);
  bool ranAtTheLastCall = false;
  delegate = std::make_shared<AsyncDelegate>([&](const std::string& data, QMTask& runnerItself) {
    if (data.empty()) ranAtTheLastCall = runnerItself.theTask()->isRunning();
  });
  run();
  EXPECT_THAT(delegate->pieces(), ElementsAre("one", ""));
  EXPECT_TRUE(ranAtTheLastCall);
  EXPECT_TRUE(task().wasTerminated());
}

TEST_F(AsyncTaskEnd, LeavesTheRunnerReadyForAnotherRun) {
  scriptOutput({"one"});
  run();
  scriptOutput({"two", "three"});
  const auto second = std::make_shared<AsyncDelegate>();
  start(second);
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_THAT(delegate->pieces(), ElementsAre("one", ""));
  EXPECT_THAT(second->pieces(), ElementsAre("two", "three", ""));
  EXPECT_EQ(second.use_count(), 1);
}

TEST_F(AsyncTaskEnd, LeavesARunAloneThatTheDelegateBeginsAtTheLastCall) {
  scriptOutput({"one"});
  const auto second = std::make_shared<AsyncDelegate>();
  delegate = std::make_shared<AsyncDelegate>([&](const std::string& data, QMTask& runnerItself) {
    if (!data.empty()) return;
    scriptEndlessTool({"two"});
    runnerItself.asyncDataFromTask(kTool, {}, second, kSelector, nullptr);
  });
  start();
  ASSERT_TRUE(second->waitForCalls(1));
  EXPECT_THAT(second->pieces(), ElementsAre("two"));
  EXPECT_FALSE(task().wasTerminated());
  task().exit(0);
  ASSERT_TRUE(second->waitForCalls(2));
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_THAT(second->pieces(), ElementsAre("two", ""));
  EXPECT_THAT(delegate->pieces(), ElementsAre("one", ""));
  expectReleased();
}

TEST_F(AsyncTaskEnd, EndsAToolThatRunsOnAlthoughTheDelegateBeginsAnotherRunAtTheLastCall) {
  TaskScript script;
  script.standardOutput = {"one"};
  script.closesOutputEarly = script.runsUntilEnded = true;
  fakes.tasks.script(kTool, script);
  const auto second = std::make_shared<AsyncDelegate>();
  delegate = std::make_shared<AsyncDelegate>([&](const std::string& data, QMTask& runnerItself) {
    if (!data.empty()) return;
    scriptOutput({"two"});
    runnerItself.asyncDataFromTask(kTool, {}, second, kSelector, nullptr);
  });
  start();
  ASSERT_TRUE(second->waitForCalls(2));
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_TRUE(fakes.tasks.all().front()->wasTerminated());
  EXPECT_THAT(second->pieces(), ElementsAre("two", ""));
}

TEST_F(AsyncTaskEnd, ComesAtTheNextPieceWhenTheSlotIsEmptied) {
  scriptEndlessTool({"one"});
  auto context = std::make_shared<int>(7);
  start(delegate, kSelector, context);
  ASSERT_TRUE(delegate->waitForCalls(1));
  const auto tool = fakes.tasks.last();
  runner->setTheTask(nullptr);
  tool->print("two");
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_EQ(delegate->pieces().front(), "one");
  EXPECT_EQ(delegate->pieces().back(), "");
  EXPECT_TRUE(tool->wasTerminated());
  expectReleased();
}

TEST_F(AsyncTaskEnd, LetsGoOfTheContextWhicheverWayItComes) {
  // The delegate keeps the context of each call; this one has no operation.
  const auto silent = std::make_shared<AsyncDelegate>();
  const auto isHeld = [](const std::shared_ptr<int>& context) { return context.use_count() > 1; };
  const AsyncTaskSelector unanswered = "nobody:";
  scriptEndlessTool({"one"});
  auto ended = std::make_shared<int>(1);
  start(silent, unanswered, ended);
  EXPECT_TRUE(isHeld(ended));
  runner->terminateAsyncTask();
  EXPECT_FALSE(isHeld(ended));
  auto replaced = std::make_shared<int>(2);
  start(silent, unanswered, replaced);
  scriptOutput({"two"});
  start(delegate);
  EXPECT_FALSE(isHeld(replaced));
  ASSERT_TRUE(delegate->waitForCalls(2));
  for (const auto& tool : fakes.tasks.all()) tool->terminate();
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  fakes.calls.failNext("tasks.launch");
  auto failed = std::make_shared<int>(3);
  start(silent, unanswered, failed);
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_FALSE(isHeld(failed));
}

// MARK: - What cannot be launched

class AsyncTaskFailure : public AsyncTaskTest {
 protected:
  void expectOnlyReported(const std::string& text) {
    EXPECT_THAT(console(), ElementsAre(text));
    EXPECT_EQ(log(), kDate + text + "\n");
    EXPECT_THAT(delegate->calls(), IsEmpty());
    EXPECT_EQ(fakes.calls.count("tasks.availableData"), 0U);
    expectReleased();
  }
};

TEST_F(AsyncTaskFailure, OfALaunchIsReportedAndNobodyIsCalled) {
  TaskScript script;
  script.launchFailure = platform::Failure{2, "No such file or directory"};
  fakes.tasks.script(kTool, script);
  run();
  expectOnlyReported("Unable to launch async task - No such file or directory");
}

TEST_F(AsyncTaskFailure, ToStartAThreadIsReportedAndNobodyIsCalled) {
  fakes.calls.failNext("threads.detachNewThread");
  start();
  EXPECT_THAT(fakes.tasks.launches(), IsEmpty());
  expectOnlyReported("Unable to launch async task - no thread");
}

TEST_F(AsyncTaskFailure, LeavesTheRunnerReadyForAnotherRun) {
  scriptOutput({"one"});
  fakes.calls.failNext("tasks.launch");
  run();
  run();
  EXPECT_THAT(delegate->pieces(), ElementsAre("one", ""));
}

TEST_F(AsyncTaskFailure, OfReadingReadsAsTheEnd) {
  scriptOutput({"one", "two"});
  fakes.calls.failNth("tasks.availableData", 2);
  run();
  EXPECT_THAT(delegate->pieces(), ElementsAre("one", ""));
  expectReleased();
}

TEST_F(AsyncTaskFailure, OfAnyCallStillEndsTheRun) {
  scriptOutput({"one", "two"});
  run();
  fakes.end();
  const std::size_t count = fakes.calls.callCount();
  ASSERT_GE(count, 6U);
  for (std::size_t number = 1; number <= count; ++number) {
    SCOPED_TRACE("call " + std::to_string(number));
    FakePlatform machine;
    const ScopedPlatform installed(machine.platform);
    const SingletonReset<QMLog> freshLog;
    TaskScript script;
    script.standardOutput = {"one", "two"};
    machine.tasks.script(kTool, script);
    machine.calls.failCallNumber(number);
    const auto receiver = std::make_shared<AsyncDelegate>();
    const auto ownRunner = QMTask::make();
    ownRunner->asyncDataFromTask(kTool, {}, receiver, kSelector, nullptr);
    EXPECT_TRUE(machine.threads.waitUntilAllEnded());
    EXPECT_EQ(machine.calls.failed().size(), 1U);
    EXPECT_EQ(ownRunner->theTask(), nullptr);
    EXPECT_EQ(receiver.use_count(), 1);
    const auto pieces = receiver->pieces();
    EXPECT_EQ(std::count(pieces.begin(), pieces.end(), ""), pieces.empty() ? 0 : 1);
    QMLog::finishWriting();
    machine.end();
  }
}

// MARK: - Ended early

class AsyncTaskEndedEarly : public AsyncTaskTest {};

TEST_F(AsyncTaskEndedEarly, EndsABlockedReadAndCallsNobodyMore) {
  scriptEndlessTool({"one"});
  start();
  ASSERT_TRUE(delegate->waitForCalls(1));
  runner->terminateAsyncTask();
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_THAT(delegate->pieces(), ElementsAre("one"));
  EXPECT_TRUE(task().wasTerminated());
  EXPECT_EQ(fakes.calls.count("tasks.terminate"), 1U);
  expectReleased();
  EXPECT_THAT(console(), IsEmpty());
}

/// A tool that ignores the request keeps its pipe open; the read ends nevertheless.
TEST_F(AsyncTaskEndedEarly, EndsABlockedReadOfAToolThatGoesOn) {
  TaskScript script;
  script.standardOutput = {"one"};
  script.runsUntilEnded = script.ignoresTermination = true;
  fakes.tasks.script(kTool, script);
  start();
  ASSERT_TRUE(delegate->waitForCalls(1));
  runner->terminateAsyncTask();
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_TRUE(task().isRunning());
  EXPECT_THAT(delegate->pieces(), ElementsAre("one"));
}

TEST_F(AsyncTaskEndedEarly, HasNothingLeftToEndASecondTime) {
  scriptEndlessTool();
  start();
  runner->terminateAsyncTask();
  runner->terminateAsyncTask();
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_THAT(delegate->calls(), IsEmpty());
  EXPECT_EQ(fakes.calls.count("tasks.terminate"), 1U);
}

TEST_F(AsyncTaskEndedEarly, StopsAtTheDelegatesOwnWish) {
  scriptOutput({"one", "two"});
  delegate = std::make_shared<AsyncDelegate>([](const std::string&, QMTask& task) { task.terminateAsyncTask(); });
  run();
  EXPECT_THAT(delegate->pieces(), ElementsAre("one"));
  EXPECT_EQ(fakes.calls.count("tasks.terminate"), 1U);
  expectReleased();
}

TEST_F(AsyncTaskEndedEarly, LaunchesNothingWhenTheThreadComesTooLate) {
  fakes.threads.keepBodies();
  start();
  runner->terminateAsyncTask();
  EXPECT_EQ(fakes.threads.runKept(), 1U);
  EXPECT_THAT(fakes.tasks.launches(), IsEmpty());
  EXPECT_EQ(log(), kDate + "Unable to launch async task - no task set\n");
  EXPECT_THAT(delegate->calls(), IsEmpty());
}

TEST_F(AsyncTaskEndedEarly, EndsAToolThatIsJustBeingLaunched) {
  scriptEndlessTool({"one"});
  fakes.calls.hang("tasks.launch");
  start();
  ASSERT_TRUE(fakes.calls.waitUntilHanging("tasks.launch"));
  auto ending = std::async(std::launch::async, [&] { runner->terminateAsyncTask(); });
  while (fakes.calls.count("tasks.closeReader") == 0) std::this_thread::yield();
  EXPECT_EQ(fakes.calls.count("tasks.terminate"), 0U);
  fakes.calls.release("tasks.launch");
  ending.wait();
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_TRUE(task().wasTerminated());
  EXPECT_THAT(delegate->calls(), IsEmpty());
}

// MARK: - Another run in its place

class AsyncTaskReplaced : public AsyncTaskTest {
 protected:
  std::shared_ptr<AsyncDelegate> second = std::make_shared<AsyncDelegate>();
};

TEST_F(AsyncTaskReplaced, RunsOnWithoutAReceiver) {
  scriptEndlessTool({"one"});
  start();
  ASSERT_TRUE(delegate->waitForCalls(1));
  const auto first = fakes.tasks.last();
  scriptEndlessTool({"two"});
  start(second);
  ASSERT_TRUE(second->waitForCalls(1));
  EXPECT_EQ(delegate.use_count(), 1);
  first->print("late");
  first->exit(0);
  task().print("three");
  ASSERT_TRUE(second->waitForCalls(2));
  task().exit(0);
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_THAT(delegate->pieces(), ElementsAre("one"));
  EXPECT_THAT(second->pieces(), ElementsAre("two", "three", ""));
  EXPECT_FALSE(first->wasTerminated());
  EXPECT_EQ(runner->theTask(), nullptr);
}

TEST_F(AsyncTaskReplaced, IsNotLaunchedWhenItsThreadComesTooLate) {
  scriptOutput({"two"});
  fakes.threads.keepBodies();
  start();
  start(second);
  EXPECT_EQ(fakes.threads.runKept(), 2U);
  EXPECT_FALSE(fakes.tasks.all().front()->wasLaunched());
  EXPECT_EQ(fakes.tasks.launches().size(), 1U);
  EXPECT_THAT(delegate->calls(), IsEmpty());
  EXPECT_THAT(second->pieces(), ElementsAre("two", ""));
  EXPECT_THAT(console(), IsEmpty());
  EXPECT_EQ(log(), "");
}

TEST_F(AsyncTaskReplaced, LeavesTheOtherAloneWhenItWasEndedBefore) {
  scriptEndlessTool({"one"});
  start();
  ASSERT_TRUE(delegate->waitForCalls(1));
  runner->terminateAsyncTask();
  start(second);
  ASSERT_TRUE(second->waitForCalls(1));
  EXPECT_FALSE(task().wasTerminated());
  task().exit(0);
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_THAT(second->pieces(), ElementsAre("one", ""));
  EXPECT_THAT(delegate->pieces(), ElementsAre("one"));
}

TEST_F(AsyncTaskReplaced, LetsGoOfItsDelegateAndContextBeforeTheOtherIsMade) {
  fakes.threads.keepBodies();
  std::vector<std::string> ended;
  const auto note = [&](const char* what) {
    const bool isInTheSlot = runner->theTask() == fakes.tasks.last() && fakes.tasks.all().size() == 1;
    ended.push_back(std::string(what) + (isInTheSlot ? " before" : " after"));
  };
  start(delegateEndingWith([&] { note("delegate"); }), kSelector, endingWith([&] { note("context"); }));
  start(second);
  EXPECT_THAT(ended, ElementsAre("delegate before", "context before"));
}

/// Its tool prints nothing, because a call would keep the delegate.
TEST_F(AsyncTaskReplaced, EndsOnlyItselfWhenItsDelegateEndsTheRunAsItEnds) {
  scriptEndlessTool();
  start(delegateEndingWith([this] { runner->terminateAsyncTask(); }));
  start(second);
  task().print("one");
  ASSERT_TRUE(second->waitForCalls(1));
  EXPECT_TRUE(fakes.tasks.all().front()->wasTerminated() || !fakes.tasks.all().front()->wasLaunched());
  EXPECT_FALSE(task().wasTerminated());
  EXPECT_EQ(runner->theTask(), fakes.tasks.last());
  task().exit(0);
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_THAT(second->pieces(), ElementsAre("one", ""));
}

/// The call keeps the delegate beyond the moment at which the other run begins.
TEST_F(AsyncTaskReplaced, EndsOnlyItselfWhenItsDelegateIsLetGoOfByALateCall) {
  scriptEndlessTool({"one"});
  std::promise<void> called;
  std::promise<void> replaced;
  std::atomic<bool> ended = false;
  auto held = endingWith([&] {
    runner->terminateAsyncTask();
    ended = true;
  });
  start(std::make_shared<AsyncDelegate>([&, held = std::move(held)](const std::string&, QMTask&) {
    called.set_value();
    replaced.get_future().wait();
  }));
  called.get_future().wait();
  start(second);
  ASSERT_TRUE(second->waitForCalls(1));
  replaced.set_value();
  fakes.tasks.all().front()->exit(0);
  while (!ended) std::this_thread::yield();
  EXPECT_FALSE(task().wasTerminated());
  task().exit(0);
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_THAT(second->pieces(), ElementsAre("one", ""));
}

// MARK: - All at once

TEST_F(AsyncTaskEndedEarly, StaysWholeWhenManyThreadsBeginAndEndRuns) {
  scriptEndlessTool({"one", "two"});
  std::vector<std::thread> owners;
  owners.reserve(4);
  for (int owner = 0; owner < 4; ++owner) {
    owners.emplace_back([&, owner] {
      for (int round = 0; round < 25; ++round) {
        start();
        if ((owner + round) % 2 == 0) std::this_thread::yield();
        runner->terminateAsyncTask();
      }
    });
  }
  for (std::thread& owner : owners) owner.join();
  runner->terminateAsyncTask();
  fakes.tasks.endAll();  // those that another owner's run replaced
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  expectReleased();
  EXPECT_EQ(fakes.tasks.all().size(), 100U);
}

}  // namespace
}  // namespace qm::testing
