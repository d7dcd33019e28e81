// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "Shared/QMFileManager.h"
#include "tests/unit/shared/CopyDelegate.h"
#include "tests/unit/shared/LoggedTest.h"

namespace qm::testing {
namespace {

using platform::FileOperationStage;
using platform::FileOperationStatusDictionary;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using Delegate = std::shared_ptr<FileOperationDelegate>;
using Context = std::shared_ptr<void>;

// MARK: - What must not compile

template <class Source, class Destination>
concept CopiesWithProgress = requires(Source source, Destination destination) {
  QMFileManager::copyFileWithProgress(source, destination, Delegate(), Context());
  QMFileManager::copyFileWithProgress(source, destination, Delegate(), Context(), Context());
};
static_assert(CopiesWithProgress<const char*, std::string>);
static_assert(!CopiesWithProgress<std::nullptr_t, std::string>, "a null pointer is no path");
static_assert(!CopiesWithProgress<std::string, std::nullptr_t>, "a null pointer is no path");

/// One copy of /from/a to /to/b; the test makes its reports.
class CopyWithProgress : public LoggedTest {
 protected:
  CopyWithProgress() {
    fakes.disk.addFile("/from/a", "text");
    fakes.disk.addFolder("/to");
    fakes.fileOperations.keepCopies();
  }

  /// The reports that a delegate keeps hold the delegate itself.
  void TearDown() override {
    for (const auto& delegate : delegates) {
      if (const auto left = delegate.lock()) left->forget();
    }
    LoggedTest::TearDown();
  }

  std::shared_ptr<CopyDelegate> answering(std::set<std::string> selectors, CopyDelegate::Action action = {}) {
    auto delegate = std::make_shared<CopyDelegate>(std::move(selectors), std::move(action));
    delegates.push_back(delegate);
    return delegate;
  }
  bool start(const Delegate& delegate, const Context& object = nullptr, const Context& object2 = nullptr) {
    const bool started = QMFileManager::copyFileWithProgress("/from/a", "/to/b", delegate, object, object2);
    operation = fakes.fileOperations.last();
    return started;
  }
  void report(FileOperationStage stage) { operation->report({stage, "/from/a"}); }
  void reportProgress(const FileOperationStatusDictionary& status) {
    operation->report({FileOperationStage::Running, "/from/a", 0, status});
  }
  /// The calls that change something, without those of the log.
  std::vector<std::string> steps() const {
    std::vector<std::string> all;
    for (const auto& call : fakes.calls.log()) {
      if (call.starts_with("fileOperations.") || call.starts_with("fileSystem.")) all.push_back(call);
    }
    return all;
  }

  std::shared_ptr<FakeFileOperation> operation;

 private:
  std::vector<std::weak_ptr<CopyDelegate>> delegates;
};

// MARK: - Starting

TEST_F(CopyWithProgress, IsScheduledAndThenStartedIntoTheFolderUnderTheNewName) {
  EXPECT_TRUE(start(nullptr));
  EXPECT_THAT(steps(),
              ElementsAre("fileOperations.scheduleWithMainRunLoop()", "fileOperations.copyObject(/from/a, /to, b)"));
  EXPECT_EQ(operation->statusInterval(), std::chrono::seconds(1));
  EXPECT_THAT(console(), IsEmpty());
}

TEST_F(CopyWithProgress, TakesTheLastComponentOfTheDestinationForTheName) {
  EXPECT_TRUE(QMFileManager::copyFileWithProgress("/from/a", "/to/a name//", nullptr, nullptr));
  EXPECT_EQ(fakes.fileOperations.last()->destinationFolder(), "/to");
  EXPECT_EQ(fakes.fileOperations.last()->newName(), "a name");
  EXPECT_TRUE(QMFileManager::copyFileWithProgress("/from/a", "/top", nullptr, nullptr));
  EXPECT_EQ(fakes.fileOperations.last()->destinationFolder(), "/");
}

TEST_F(CopyWithProgress, SchedulesNothingWhenTheSourceIsMissing) {
  EXPECT_FALSE(QMFileManager::copyFileWithProgress("/from/none", "/to/b", nullptr, nullptr));
  EXPECT_THAT(console(), ElementsAre("Error: File /from/none doesn't exist. Aborting copy process..."));
  EXPECT_THAT(steps(), IsEmpty());
  EXPECT_EQ(fakes.fileOperations.last(), nullptr);
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(CopyWithProgress, TakesADanglingLinkForAMissingSource) {
  fakes.disk.addLink("/from/link", "nowhere");
  EXPECT_FALSE(QMFileManager::copyFileWithProgress("/from/link", "/to/b", nullptr, nullptr));
  EXPECT_THAT(console(), ElementsAre("Error: File /from/link doesn't exist. Aborting copy process..."));
}

TEST_F(CopyWithProgress, MakesTheMissingFolderFirst) {
  EXPECT_TRUE(QMFileManager::copyFileWithProgress("/from/a", "/new/folder/b", nullptr, nullptr));
  EXPECT_THAT(steps(),
              ElementsAre("fileSystem.createDirectory(/new/folder)", "fileOperations.scheduleWithMainRunLoop()",
                          "fileOperations.copyObject(/from/a, /new/folder, b)"));
  EXPECT_TRUE(fakes.disk.has("/new/folder"));
}

TEST_F(CopyWithProgress, SchedulesNothingWhenTheFolderCannotBeMade) {
  fakes.calls.failAlways("fileSystem.createDirectory");
  fakes.calls.failAlways("authorization.copyRights");
  EXPECT_FALSE(QMFileManager::copyFileWithProgress("/from/a", "/new/b", nullptr, nullptr));
  EXPECT_THAT(console(), Contains("Unable to copy file /from/a - destination directory /new doesn't exist. "
                                  "Aborting copy process..."));
  EXPECT_EQ(fakes.calls.count("fileOperations.scheduleWithMainRunLoop"), 0U);
  EXPECT_EQ(fakes.calls.count("fileOperations.create"), 0U);
}

TEST_F(CopyWithProgress, WaitsTenSecondsForTheFolder) {
  fakes.mainThread.disown();
  fakes.calls.failAlways("fileSystem.createDirectory");
  fakes.authorizationServices.onExecute("/bin/mkdir", [](const std::vector<std::string>&) {});
  EXPECT_FALSE(QMFileManager::copyFileWithProgress("/from/a", "/new/b", nullptr, nullptr));
  EXPECT_GE(fakes.clock.elapsed(), std::chrono::seconds(10));
  EXPECT_LT(fakes.clock.elapsed(), std::chrono::milliseconds(10'400));
  EXPECT_THAT(console(), Contains("Unable to copy file /from/a - destination directory /new doesn't exist. "
                                  "Aborting copy process..."));
}

TEST_F(CopyWithProgress, SaysWithWhatNumberSchedulingFailed) {
  fakes.calls.setFailure(-50, "unused");
  fakes.calls.failNext("fileOperations.scheduleWithMainRunLoop");
  const auto delegate = answering({kFinished});
  EXPECT_FALSE(start(delegate));
  EXPECT_THAT(console(), ElementsAre("Failed to schedule operation with run loop: -50"));
  EXPECT_EQ(fakes.calls.count("fileOperations.copyObject"), 0U);
  EXPECT_EQ(delegate.use_count(), 1);
}

TEST_F(CopyWithProgress, SaysWithWhatNumberStartingFailedAndKeepsNothing) {
  fakes.calls.setFailure(12, "unused");
  fakes.calls.failNext("fileOperations.copyObject");
  const auto delegate = answering({kFinished});
  const auto object = std::make_shared<int>(1);
  EXPECT_FALSE(start(delegate, object));
  EXPECT_THAT(console(), ElementsAre("Failed to begin asynchronous object copy: 12"));
  EXPECT_EQ(delegate.use_count(), 1);
  EXPECT_EQ(object.use_count(), 1);
  EXPECT_EQ(operation, nullptr) << "nobody holds an operation that did not begin";
  EXPECT_THAT(logged(), IsEmpty()) << "failures go to the console alone";
}

TEST_F(CopyWithProgress, LeavesItToThePlatformToFindThatTheNameIsTaken) {
  fakes.disk.addFile("/to/b", "other");
  EXPECT_TRUE(start(nullptr));
}

// MARK: - Reports

TEST_F(CopyWithProgress, ReportsOnceToADelegateThatAnswersOnlyTheEnd) {
  const auto delegate = answering({kFinished});
  ASSERT_TRUE(start(delegate));
  report(FileOperationStage::Preflighting);
  reportProgress({{platform::kFSOperationTotalBytesKey, 4}});
  report(FileOperationStage::Complete);
  fakes.mainThread.pump();
  ASSERT_THAT(delegate->selectors(), ElementsAre(kFinished));
  const auto call = delegate->calls().front();
  EXPECT_EQ(call.operation, nullptr);
  EXPECT_THAT(keysOf(call.report), ElementsAre("delegate", "destination", "operationtype", "source", "stage"));
  EXPECT_EQ(numberIn(call.report, "stage"), 3U);
  EXPECT_EQ(textIn(call.report, "operationtype"), "copy");
  EXPECT_EQ(textIn(call.report, "source"), "/from/a");
  EXPECT_EQ(textIn(call.report, "destination"), "/to/b");
  EXPECT_EQ(std::get<Delegate>(call.report.at("delegate")), delegate);
  EXPECT_THAT(console(), IsEmpty());
}

TEST_F(CopyWithProgress, PrefersTheFormsWithTheOperation) {
  const auto delegate = answering({kProgress, kProgressBoth, kFinished, kFinishedBoth});
  ASSERT_TRUE(start(delegate));
  reportProgress({});
  report(FileOperationStage::Complete);
  fakes.mainThread.pump();
  EXPECT_THAT(delegate->selectors(), ElementsAre(kProgressBoth, kFinishedBoth));
  for (const auto& call : delegate->calls()) EXPECT_EQ(call.operation, operation);
}

TEST_F(CopyWithProgress, FallsBackToTheFormsWithoutTheOperation) {
  const auto delegate = answering({kProgress, kFinished});
  ASSERT_TRUE(start(delegate));
  reportProgress({});
  report(FileOperationStage::Complete);
  fakes.mainThread.pump();
  EXPECT_THAT(delegate->selectors(), ElementsAre(kProgress, kFinished));
  for (const auto& call : delegate->calls()) EXPECT_EQ(call.operation, nullptr);
}

TEST_F(CopyWithProgress, CallsNothingThatTheDelegateDoesNotAnswer) {
  const auto delegate = answering({});
  ASSERT_TRUE(start(delegate));
  reportProgress({});
  report(FileOperationStage::Complete);
  EXPECT_EQ(fakes.mainThread.queued(), 0U);
  EXPECT_THAT(delegate->selectors(), IsEmpty());
  EXPECT_FALSE(operation->isScheduled());
}

TEST_F(CopyWithProgress, LooksTheOperationsUpAtEachReport) {
  const auto delegate = answering({});
  ASSERT_TRUE(start(delegate));
  reportProgress({});
  delegate->setAnswered({kProgress});
  reportProgress({});
  delegate->setAnswered({kProgressBoth});
  reportProgress({});
  fakes.mainThread.pump();
  EXPECT_THAT(delegate->selectors(), ElementsAre(kProgress, kProgressBoth));
}

TEST_F(CopyWithProgress, NeedsNoDelegate) {
  ASSERT_TRUE(start(nullptr));
  reportProgress({{platform::kFSOperationTotalBytesKey, 4}});
  report(FileOperationStage::Complete);
  EXPECT_EQ(fakes.mainThread.queued(), 0U);
  EXPECT_FALSE(operation->isScheduled());
  EXPECT_THAT(console(), IsEmpty());
}

TEST_F(CopyWithProgress, AddsThePlatformsNumbersToProgressAlone) {
  const auto delegate = answering({kProgress, kFinished});
  ASSERT_TRUE(start(delegate));
  const FileOperationStatusDictionary numbers{{"kFSOperationTotalBytesKey", 10}, {"kFSOperationBytesCompleteKey", 4}};
  reportProgress(numbers);
  operation->report({FileOperationStage::Complete, "/to/b", 0, numbers});
  fakes.mainThread.pump();
  const auto calls = delegate->calls();
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_EQ(numberIn(calls[0].report, "stage"), 2U);
  EXPECT_EQ(numberIn(calls[0].report, "kFSOperationTotalBytesKey"), 10U);
  EXPECT_EQ(numberIn(calls[0].report, "kFSOperationBytesCompleteKey"), 4U);
  EXPECT_EQ(textIn(calls[0].report, "source"), "/from/a");
  EXPECT_THAT(keysOf(calls[1].report), Not(Contains("kFSOperationTotalBytesKey")));
}

TEST_F(CopyWithProgress, LetsLaterEntriesReplaceEarlierOnes) {
  const auto delegate = answering({kProgress});
  ASSERT_TRUE(start(delegate));
  reportProgress({{"stage", 99}, {"source", 7}});
  fakes.mainThread.pump();
  ASSERT_EQ(delegate->calls().size(), 1U);
  EXPECT_EQ(numberIn(delegate->calls()[0].report, "stage"), 99U);
  EXPECT_EQ(numberIn(delegate->calls()[0].report, "source"), 7U);
}

TEST_F(CopyWithProgress, HandsNoOtherStageOn) {
  const auto delegate = answering({kProgress, kProgressBoth, kFinished, kFinishedBoth});
  ASSERT_TRUE(start(delegate));
  report(FileOperationStage::Undefined);
  report(FileOperationStage::Preflighting);
  report(FileOperationStage::Running);  // without a status dictionary
  operation->report({FileOperationStage::Preflighting, "/from/a", 0, FileOperationStatusDictionary{}});
  EXPECT_EQ(fakes.mainThread.queued(), 0U);
  EXPECT_TRUE(operation->isScheduled());
}

TEST_F(CopyWithProgress, PassesBothObjectsBackAndLeavesOutWhatIsNil) {
  const auto one = std::make_shared<int>(1);
  const auto two = std::make_shared<int>(2);
  const auto reportOf = [&](const Context& object, const Context& object2) {
    const auto delegate = answering({kFinished});
    EXPECT_TRUE(start(delegate, object, object2));
    report(FileOperationStage::Complete);
    fakes.mainThread.pump();
    return delegate->calls().at(0).report;
  };
  const auto both = reportOf(one, two);
  EXPECT_EQ(std::get<Context>(both.at("object")), one);
  EXPECT_EQ(std::get<Context>(both.at("object2")), two);
  EXPECT_FALSE(reportOf(nullptr, two).contains("object"));
  EXPECT_TRUE(reportOf(nullptr, two).contains("object2"));
  EXPECT_FALSE(reportOf(one, nullptr).contains("object2"));
  const auto delegate = answering({kFinished});
  ASSERT_TRUE(QMFileManager::copyFileWithProgress("/from/a", "/to/b", delegate, one));
  fakes.fileOperations.last()->report({FileOperationStage::Complete});
  fakes.mainThread.pump();
  EXPECT_THAT(keysOf(delegate->calls().at(0).report),
              ElementsAre("delegate", "destination", "object", "operationtype", "source", "stage"));
}

TEST_F(CopyWithProgress, IsHeardOfOnTheMainThreadWithoutBeingWaitedFor) {
  const auto delegate = answering({kProgress, kFinished});
  ASSERT_TRUE(start(delegate));
  reportProgress({});
  report(FileOperationStage::Complete);
  EXPECT_THAT(delegate->selectors(), IsEmpty()) << "only queued";
  EXPECT_EQ(fakes.calls.count("mainThread.perform"), 2U);
  EXPECT_EQ(fakes.calls.count("mainThread.performAndWait"), 0U);
  EXPECT_EQ(fakes.mainThread.pump(), 2U);
  EXPECT_THAT(delegate->selectors(), ElementsAre(kProgress, kFinished));
  for (const auto& call : delegate->calls()) EXPECT_EQ(call.thread, std::this_thread::get_id());
}

TEST_F(CopyWithProgress, SaysNothingOfAnError) {
  const auto delegate = answering({kFinished});
  ASSERT_TRUE(start(delegate));
  operation->report({FileOperationStage::Complete, std::nullopt, ENOSPC});
  fakes.mainThread.pump();
  EXPECT_THAT(keysOf(delegate->calls().at(0).report),
              ElementsAre("delegate", "destination", "operationtype", "source", "stage"));
  EXPECT_THAT(console(), IsEmpty());
}

// MARK: - The end

TEST_F(CopyWithProgress, IsUnscheduledAtTheEndOnly) {
  ASSERT_TRUE(start(nullptr));
  reportProgress({});
  EXPECT_EQ(fakes.calls.count("fileOperations.unscheduleFromMainRunLoop"), 0U);
  report(FileOperationStage::Complete);
  EXPECT_EQ(fakes.calls.count("fileOperations.unscheduleFromMainRunLoop"), 1U);
  EXPECT_FALSE(operation->isScheduled());
}

TEST_F(CopyWithProgress, SaysWithWhatNumberUnschedulingFailedAndReportsAllTheSame) {
  fakes.calls.setFailure(22, "unused");
  fakes.calls.failNext("fileOperations.unscheduleFromMainRunLoop");
  const auto delegate = answering({kFinishedBoth});
  ASSERT_TRUE(start(delegate));
  report(FileOperationStage::Complete);
  fakes.mainThread.pump();
  EXPECT_THAT(console(), ElementsAre("Failed to unschedule operation from run loop: 22"));
  EXPECT_THAT(delegate->selectors(), ElementsAre(kFinishedBoth));
}

TEST_F(CopyWithProgress, KeepsDelegateAndObjectsUntilTheEndWasReported) {
  auto delegate = answering({kFinishedBoth});
  auto object = std::make_shared<int>(1);
  const std::weak_ptr<CopyDelegate> weakDelegate = delegate;
  const std::weak_ptr<int> weakObject = object;
  ASSERT_TRUE(start(delegate, object));
  delegate.reset();
  object.reset();
  reportProgress({});
  fakes.mainThread.pump();
  EXPECT_FALSE(weakDelegate.expired());
  EXPECT_FALSE(weakObject.expired());
  report(FileOperationStage::Complete);
  ASSERT_FALSE(weakDelegate.expired()) << "the report is still queued";
  weakDelegate.lock()->setAnswered({});
  fakes.mainThread.pump();
  ASSERT_EQ(weakDelegate.lock()->calls().size(), 1U);
  weakDelegate.lock()->forget();  // it holds itself through its report
  EXPECT_TRUE(weakDelegate.expired());
  EXPECT_TRUE(weakObject.expired());
}

TEST_F(CopyWithProgress, IsCancelledThroughWhatTheDelegateWasGiven) {
  const auto delegate = answering(
      {kProgressBoth}, [](const CopyDelegate::Call& call) { QMFileManager::cancelFileOperation(call.operation); });
  ASSERT_TRUE(start(delegate));
  EXPECT_FALSE(operation->isCancelled());
  reportProgress({});
  fakes.mainThread.pump();
  EXPECT_TRUE(operation->isCancelled());
  EXPECT_EQ(fakes.calls.count("fileOperations.cancel"), 1U);
}

TEST_F(CopyWithProgress, IgnoresThatNothingCanBeCancelled) {
  QMFileManager::cancelFileOperation(nullptr);
  fakes.calls.failNext("fileOperations.cancel");
  QMFileManager::cancelFileOperation(nullptr);
  EXPECT_THAT(console(), IsEmpty());
  EXPECT_THAT(logged(), IsEmpty());
}

/// The platform does it all by itself.
TEST(CopyOnAWholeMachine, ReportsAndCopies) {
  FakePlatform fakes;
  const ScopedPlatform installed(fakes.platform);
  fakes.disk.addFile("/from/tree/file", "text");
  const auto delegate = std::make_shared<CopyDelegate>(std::set<std::string>{kProgressBoth, kFinishedBoth});
  ASSERT_TRUE(QMFileManager::copyFileWithProgress("/from/tree", "/to/copy", delegate, nullptr));
  fakes.mainThread.pump();
  EXPECT_THAT(delegate->selectors(), ElementsAre(kProgressBoth, kFinishedBoth));
  EXPECT_EQ(numberIn(delegate->calls()[0].report, platform::kFSOperationTotalObjectsKey), 2U);
  EXPECT_EQ(numberIn(delegate->calls()[0].report, platform::kFSOperationTotalBytesKey), 4U);
  EXPECT_EQ(fakes.disk.fileContents("/to/copy/file"), "text");
  delegate->forget();
  EXPECT_EQ(delegate.use_count(), 1);
}

// MARK: - Waiting for writes

class WaitForFileWrites : public LoggedTest {
 protected:
  static constexpr const char* kPath = "/d/file";
  void changed(std::chrono::microseconds ago) {
    fakes.disk.addFile(kPath);
    fakes.disk.setModificationDate(kPath, fakes.clock.now() - ago);
  }
  std::vector<std::string> bothLines() const {
    return {"File /d/file is currently being written to. Waiting...", "File /d/file finished writing."};
  }
};

TEST_F(WaitForFileWrites, ReturnsAtOnceForAFileOfTenSecondsAgo) {
  changed(std::chrono::seconds(10));
  QMFileManager::waitForFileWrites(kPath);
  EXPECT_THAT(fakes.clock.sleeps(), IsEmpty());
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(WaitForFileWrites, ReturnsAtOnceWhenNothingIsThere) {
  QMFileManager::waitForFileWrites(kPath);
  EXPECT_THAT(fakes.clock.sleeps(), IsEmpty());
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(WaitForFileWrites, WaitsUntilMoreThanFourSecondsHavePassed) {
  changed(std::chrono::seconds(3));
  QMFileManager::waitForFileWrites(kPath);
  EXPECT_EQ(fakes.clock.elapsed(), std::chrono::microseconds(1'000'500));
  EXPECT_EQ(fakes.clock.sleeps().size(), 2001U);
  EXPECT_THAT(fakes.clock.sleeps(), ::testing::Each(std::chrono::microseconds(500)));
  EXPECT_EQ(logged(), bothLines());
}

TEST_F(WaitForFileWrites, StillWaitsWhenFourSecondsHaveJustPassed) {
  changed(std::chrono::seconds(4));
  QMFileManager::waitForFileWrites(kPath);
  EXPECT_THAT(fakes.clock.sleeps(), ElementsAre(std::chrono::microseconds(500)));
  changed(std::chrono::microseconds(4'000'001));
  QMFileManager::waitForFileWrites(kPath);
  EXPECT_EQ(fakes.clock.sleeps().size(), 1U);
}

TEST_F(WaitForFileWrites, WaitsForAFileThatIsWrittenAgain) {
  changed(std::chrono::seconds(0));
  fakes.clock.setAlarm(std::chrono::seconds(3), [this] { changed(std::chrono::seconds(0)); });
  QMFileManager::waitForFileWrites(kPath);
  EXPECT_EQ(fakes.clock.elapsed(), std::chrono::microseconds(7'000'500));
  EXPECT_EQ(logged(), bothLines());
}

TEST_F(WaitForFileWrites, WaitsForADateInTheFuture) {
  changed(std::chrono::seconds(-2));
  QMFileManager::waitForFileWrites(kPath);
  EXPECT_EQ(fakes.clock.elapsed(), std::chrono::microseconds(6'000'500));
}

TEST_F(WaitForFileWrites, ReturnsAtOnceForTheOldestOfDates) {
  fakes.disk.addFile(kPath);
  fakes.disk.setModificationDate(kPath, std::chrono::system_clock::time_point::min());
  fakes.disk.disappearAfter(kPath, std::chrono::seconds(1));
  QMFileManager::waitForFileWrites(kPath);
  EXPECT_THAT(fakes.clock.sleeps(), IsEmpty());
}

TEST_F(WaitForFileWrites, WaitsForTheLastOfDatesUntilTheFileIsGone) {
  fakes.disk.addFile(kPath);
  fakes.disk.setModificationDate(kPath, std::chrono::system_clock::time_point::max());
  fakes.disk.disappearAfter(kPath, std::chrono::seconds(1));
  QMFileManager::waitForFileWrites(kPath);
  EXPECT_EQ(fakes.clock.elapsed(), std::chrono::seconds(1));
}

TEST_F(WaitForFileWrites, EndsWhenTheFileIsGone) {
  changed(std::chrono::seconds(0));
  fakes.disk.disappearAfter(kPath, std::chrono::seconds(1));
  QMFileManager::waitForFileWrites(kPath);
  EXPECT_EQ(fakes.clock.elapsed(), std::chrono::seconds(1));
  EXPECT_EQ(logged(), bothLines());
}

TEST_F(WaitForFileWrites, DoesNotFollowALink) {
  changed(std::chrono::seconds(0));
  fakes.disk.addLink("/d/link", "file");
  fakes.disk.setModificationDate("/d/link", fakes.clock.now() - std::chrono::seconds(10));
  QMFileManager::waitForFileWrites("/d/link");
  EXPECT_THAT(fakes.clock.sleeps(), IsEmpty());
}

}  // namespace
}  // namespace qm::testing
