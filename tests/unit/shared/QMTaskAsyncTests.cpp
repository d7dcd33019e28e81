// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "tests/unit/shared/AsyncTaskTest.h"

namespace qm::testing {
namespace {

using platform::TaskStream;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Delegate = std::shared_ptr<AsyncTaskDelegate>;
using Context = std::shared_ptr<void>;

// MARK: - What must not compile

template <class Path, class Selector>
concept StartsARun = requires(QMTask runner, Path path, Selector selector) {
  runner.asyncDataFromTask(path, {}, Delegate(), selector, Context());
};
static_assert(StartsARun<const char*, const char*> && StartsARun<std::string, std::nullopt_t>);
static_assert(!StartsARun<std::nullptr_t, const char*>, "a null pointer is no path");
static_assert(!StartsARun<const char*, std::nullptr_t>, "a null pointer is no selector");

// MARK: - The notification

TEST(AsyncTaskNotification, CarriesOnePieceUnderThePlatformsKey) {
  const auto notification = AsyncTaskNotification::withData("piece");
  EXPECT_EQ(notification.name, "QMAsyncTaskDataNotification");
  EXPECT_EQ(notification.object, nullptr);
  EXPECT_THAT(notification.userInfo,
              ElementsAre(std::pair<const std::string, std::string>("NSFileHandleNotificationDataItem", "piece")));
  EXPECT_EQ(notification.data(), "piece");
}

TEST(AsyncTaskNotification, CarriesNothingWithoutTheKey) {
  AsyncTaskNotification notification{"QMAsyncTaskDataNotification", nullptr, {{"other", "piece"}}};
  EXPECT_EQ(notification.data(), "");
}

// MARK: - Preparing

class AsyncTask : public AsyncTaskTest {};

TEST_F(AsyncTask, IsPreparedWhenTheCallReturnsAndLaunchedByTheThread) {
  fakes.threads.keepBodies();
  runner->asyncDataFromTask(kTool, std::vector<std::string>{"-f", "two words"}, delegate, kSelector, nullptr);
  EXPECT_EQ(runner->theTask(), fakes.tasks.last());
  EXPECT_EQ(task().launchPath(), kTool);
  EXPECT_THAT(task().arguments(), ElementsAre("-f", "two words"));
  EXPECT_EQ(task().standardOutput(), TaskStream::Pipe);
  EXPECT_EQ(task().standardError(), TaskStream::NullDevice);
  EXPECT_EQ(task().standardInput(), TaskStream::Inherited);
  EXPECT_FALSE(task().wasLaunched());
  EXPECT_EQ(fakes.threads.runKept(), 1U);
  EXPECT_THAT(fakes.tasks.launches(), ElementsAre(ElementsAre(kTool, "-f", "two words")));
}

TEST_F(AsyncTask, HasNoArgumentsWhenTheyAreNil) {
  run();
  EXPECT_THAT(steps(), Contains("tasks.setArguments()"));
  EXPECT_THAT(fakes.tasks.launches(), ElementsAre(ElementsAre(kTool)));
}

TEST_F(AsyncTask, AsksNothingAboutThePath) {
  run();
  EXPECT_EQ(fakes.calls.count("fileSystem.isExecutableFile"), 0U);
  EXPECT_EQ(fakes.calls.count("packages.isFilePackage"), 0U);
}

// MARK: - Delivering

TEST_F(AsyncTask, HandsThePiecesOnInTheirOrderAndThenAnEmptyOne) {
  scriptOutput({"one\ntwo", "\n", std::string("\0\xff", 2)}, {"an error"});
  run();
  EXPECT_THAT(delegate->pieces(), ElementsAre("one\ntwo", "\n", std::string("\0\xff", 2), ""));
  for (const auto& call : delegate->calls()) {
    EXPECT_EQ(call.selector, kSelector);
    EXPECT_EQ(call.task, runner.get());
    EXPECT_EQ(call.thread, delegate->calls().front().thread);
    EXPECT_NE(call.thread, std::this_thread::get_id());
  }
  EXPECT_THAT(console(), IsEmpty());
  EXPECT_EQ(log(), "");
}

TEST_F(AsyncTask, HandsOneEmptyPieceOnOfAToolThatPrintsNothing) {
  run();
  EXPECT_THAT(delegate->pieces(), ElementsAre(""));
  EXPECT_EQ(fakes.calls.count("tasks.terminate(" + kTool + ")"), 1U);
}

TEST_F(AsyncTask, HandsThePiecesOnWhileTheToolRuns) {
  scriptEndlessTool({"first"});
  start();
  ASSERT_TRUE(delegate->waitForCalls(1));
  task().print("second");
  ASSERT_TRUE(delegate->waitForCalls(2));
  EXPECT_THAT(delegate->pieces(), ElementsAre("first", "second"));
  task().exit(1);
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_THAT(delegate->pieces(), ElementsAre("first", "second", ""));
}

TEST_F(AsyncTask, PassesTheContextBackWithEveryPiece) {
  scriptOutput({"one"});
  const auto context = std::make_shared<int>(7);
  start(delegate, kSelector, context);
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  ASSERT_EQ(delegate->calls().size(), 2U);
  for (const auto& call : delegate->calls()) EXPECT_EQ(call.object, context);
}

TEST_F(AsyncTask, PassesNoContextWhenNoneWasGiven) {
  scriptOutput({"one"});
  run();
  ASSERT_EQ(delegate->calls().size(), 2U);
  for (const auto& call : delegate->calls()) EXPECT_EQ(call.object, nullptr);
}

TEST_F(AsyncTask, LivesAsLongAsItsRun) {
  scriptEndlessTool({"one"});
  start();
  const std::weak_ptr<QMTask> alive = std::exchange(runner, nullptr);
  ASSERT_TRUE(delegate->waitForCalls(1));
  EXPECT_FALSE(alive.expired());
  fakes.tasks.endAll();
  ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_TRUE(alive.expired());
}

// MARK: - Nobody to call

class AsyncTaskWithoutReceiver : public AsyncTaskTest {
 protected:
  enum class Receiver { None, TheDelegate };

  void expectDropped(Receiver receiver, const AsyncTaskSelector& selector) {
    scriptOutput({"one", "two"});
    start(receiver == Receiver::None ? nullptr : delegate, selector);
    ASSERT_TRUE(fakes.threads.waitUntilAllEnded());
    EXPECT_THAT(delegate->calls(), IsEmpty());
    EXPECT_EQ(fakes.calls.count("tasks.availableData"), 3U) << "the pieces are read all the same";
    EXPECT_EQ(fakes.calls.count("tasks.terminate"), 1U);
    expectReleased();
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_EQ(log(), "");
  }
};

TEST_F(AsyncTaskWithoutReceiver, DropsThePiecesWithoutADelegate) { expectDropped(Receiver::None, kSelector); }

TEST_F(AsyncTaskWithoutReceiver, DropsThePiecesWithoutASelector) { expectDropped(Receiver::TheDelegate, std::nullopt); }

TEST_F(AsyncTaskWithoutReceiver, DropsThePiecesOfADelegateThatDoesNotAnswer) {
  expectDropped(Receiver::TheDelegate, "somethingElse:");
}

TEST_F(AsyncTaskWithoutReceiver, DropsThePiecesOfADelegateThatDoesNotAnswerTheEmptySelector) {
  expectDropped(Receiver::TheDelegate, "");
}

// MARK: - The steps by themselves

TEST_F(AsyncTask, SaysWhenThereIsNoTaskToLaunch) {
  runner->launchAsyncTask();
  EXPECT_EQ(log(), "2024-02-29 23:05:07 +0000 - Unable to launch async task - no task set\n");
  EXPECT_THAT(console(), IsEmpty());
  EXPECT_THAT(steps(), IsEmpty());
}

TEST_F(AsyncTask, LaunchesAndEndsATaskWhoseOutputIsNoPipe) {
  runner->setTheTask(fakes.tasks.makeTask());
  task().setLaunchPath(kTool);
  runner->launchAsyncTask();
  EXPECT_THAT(fakes.tasks.launches(), ElementsAre(ElementsAre(kTool)));
  EXPECT_EQ(fakes.calls.count("tasks.availableData"), 0U);
  EXPECT_EQ(fakes.calls.count("tasks.terminate"), 1U);
  EXPECT_EQ(runner->theTask(), nullptr);
}

TEST_F(AsyncTask, DeliversAPieceByItself) {
  fakes.threads.keepBodies();
  start();
  runner->asyncTaskReturnData(AsyncTaskNotification::withData("piece"));
  EXPECT_THAT(delegate->pieces(), ElementsAre("piece"));
  EXPECT_NE(runner->theTask(), nullptr);
  EXPECT_EQ(fakes.calls.count("tasks.terminate"), 0U);
}

TEST_F(AsyncTask, EndsTheRunAfterAnEmptyPieceOrNone) {
  fakes.threads.keepBodies();
  for (const auto& notification : {AsyncTaskNotification::withData(""), AsyncTaskNotification()}) {
    start();
    runner->asyncTaskReturnData(notification);
    EXPECT_EQ(delegate->calls().back().data, "");
    expectReleased();
  }
  EXPECT_EQ(delegate->calls().size(), 2U);
  EXPECT_EQ(fakes.calls.count("tasks.terminate"), 2U);
}

TEST_F(AsyncTask, DeliversToNobodyWhenNothingRuns) {
  runner->asyncTaskReturnData(AsyncTaskNotification::withData("piece"));
  runner->asyncTaskReturnData(AsyncTaskNotification::withData(""));
  runner->terminateAsyncTask();
  EXPECT_EQ(fakes.calls.callCount(), 0U);
}

}  // namespace
}  // namespace qm::testing
