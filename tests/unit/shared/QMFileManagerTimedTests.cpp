// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "Shared/QMFileManager.h"
#include "tests/unit/shared/LoggedTest.h"

namespace qm::testing {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Rights that are always granted, with tools that only start: the test decides what they leave on the disk.
class TimedTest : public LoggedTest {
 protected:
  TimedTest() {
    fakes.mainThread.disown();
    for (const std::string tool : {"/bin/mv", "/bin/cp", "/bin/rm", "/bin/mkdir"}) {
      fakes.authorizationServices.onExecute(tool, [](const std::vector<std::string>&) {});
    }
  }

  void failPlainAttempts() {
    for (const std::string call : {"trash.recycle", "fileSystem.removeItem", "fileSystem.moveItem",
                                   "fileSystem.copyItem", "fileSystem.createDirectory"}) {
      fakes.calls.failAlways(call);
    }
  }

  std::vector<microseconds> sleeps() const { return fakes.clock.sleeps(); }
};

TEST_F(TimedTest, DoesNotPauseForAnItemThatIsGoneAtTheFirstLook) {
  fakes.disk.addFile("/d/a");
  EXPECT_TRUE(QMFileManager::trashFile("/d/a", seconds(10)));
  fakes.disk.addFile("/d/a");
  EXPECT_TRUE(QMFileManager::removeFile("/d/a", seconds(10)));
  EXPECT_TRUE(QMFileManager::trashFile("/d/none", seconds(10)));
  EXPECT_TRUE(QMFileManager::removeFile("/d/none", seconds(10)));
  EXPECT_THAT(sleeps(), IsEmpty());
}

TEST_F(TimedTest, LooksEveryThreeTenthsOfASecondUntilTheItemIsGone) {
  failPlainAttempts();
  fakes.disk.addFile("/d/a");
  fakes.disk.disappearAfter("/d/a", milliseconds(1000));
  EXPECT_TRUE(QMFileManager::trashFile("/d/a", seconds(10)));
  EXPECT_THAT(sleeps(), ElementsAre(milliseconds(300), milliseconds(300), milliseconds(300), milliseconds(300)));
}

TEST_F(TimedTest, GivesUpAfterTheLimitAndAtMostOnePause) {
  failPlainAttempts();
  fakes.disk.addFile("/d/a");
  fakes.disk.disappearAfter("/d/a", seconds(12));
  EXPECT_FALSE(QMFileManager::trashFile("/d/a", seconds(10)));
  EXPECT_GE(fakes.clock.elapsed(), seconds(10));
  EXPECT_LE(fakes.clock.elapsed(), milliseconds(10300));
  fakes.clock.advance(seconds(2));
  EXPECT_FALSE(fakes.disk.has("/d/a")) << "it may go later all the same";
}

TEST_F(TimedTest, TestsOnceMoreWhenTheLimitHasPassed) {
  failPlainAttempts();
  fakes.disk.addFile("/d/a");
  // Gone during the last pause.
  fakes.disk.disappearAfter("/d/a", milliseconds(1100));
  EXPECT_TRUE(QMFileManager::trashFile("/d/a", seconds(1)));
  EXPECT_THAT(sleeps(), SizeIs(4));
}

TEST_F(TimedTest, NeverPausesForALimitOfZeroOrLess) {
  failPlainAttempts();
  fakes.disk.addFile("/d/a");
  EXPECT_FALSE(QMFileManager::trashFile("/d/a", seconds(0)));
  EXPECT_FALSE(QMFileManager::removeFile("/d/a", seconds(-5)));
  EXPECT_FALSE(QMFileManager::copyFile("/d/a", "/d/b", seconds(0)));
  EXPECT_THAT(sleeps(), IsEmpty());
}

TEST_F(TimedTest, MeasuresTheLimitFromTheEndOfTheOperation) {
  failPlainAttempts();
  fakes.disk.addFile("/d/a");
  fakes.calls.before("authorization.executeWithPrivileges", 1, [this] { fakes.clock.advance(seconds(60)); });
  fakes.disk.disappearAfter("/d/a", seconds(61));
  EXPECT_TRUE(QMFileManager::trashFile("/d/a", seconds(2)));
}

TEST_F(TimedTest, AnswersNoAtOnceWhenTheOperationFails) {
  failPlainAttempts();
  fakes.calls.failAlways("authorization.create");
  fakes.disk.addFile("/d/a");
  const auto looks = [&] { return fakes.calls.count("fileSystem.fileExists(/d/b)"); };
  EXPECT_FALSE(QMFileManager::trashFile("/d/a", seconds(10)));
  EXPECT_FALSE(QMFileManager::removeFile("/d/a", seconds(10)));
  EXPECT_FALSE(QMFileManager::moveFile("/d/a", "/d/b", seconds(10)));
  EXPECT_FALSE(QMFileManager::copyFile("/d/a", "/d/b", seconds(10)));
  EXPECT_FALSE(QMFileManager::createDirectory("/d/b", seconds(10)));
  EXPECT_FALSE(QMFileManager::copyFile(std::nullopt, std::nullopt, seconds(10)));
  EXPECT_EQ(looks(), 0U);
  EXPECT_THAT(sleeps(), IsEmpty());
}

TEST_F(TimedTest, WaitsUntilACopyAppears) {
  failPlainAttempts();
  fakes.disk.addFile("/d/a");
  fakes.disk.appearAfter("/d/b", milliseconds(500));
  EXPECT_TRUE(QMFileManager::copyFile("/d/a", "/d/b", seconds(10)));
  EXPECT_THAT(sleeps(), SizeIs(2));
  EXPECT_FALSE(QMFileManager::copyFile("/d/a", "/d/c", seconds(1)));
}

TEST_F(TimedTest, TakesACopyOntoSomethingForDone) {
  failPlainAttempts();
  fakes.disk.addFile("/d/a", "new");
  fakes.disk.addFile("/d/b", "old");
  EXPECT_TRUE(QMFileManager::copyFile("/d/a", "/d/b", seconds(10)));
  EXPECT_THAT(sleeps(), IsEmpty());
}

TEST_F(TimedTest, WaitsUntilAFolderAppears) {
  failPlainAttempts();
  fakes.disk.appearAfter("/d/new", milliseconds(100));
  EXPECT_TRUE(QMFileManager::createDirectory("/d/new", seconds(10)));
  EXPECT_FALSE(QMFileManager::createDirectory("/d/other", seconds(1)));
}

TEST_F(TimedTest, JudgesAMoveByItsSource) {
  failPlainAttempts();
  fakes.disk.addFile("/d/a");
  fakes.disk.disappearAfter("/d/a", milliseconds(700));
  EXPECT_TRUE(QMFileManager::moveFile("/d/a", "/d/b", seconds(10)));
  EXPECT_FALSE(fakes.disk.has("/d/b"));
  EXPECT_THAT(sleeps(), SizeIs(3));
}

TEST_F(TimedTest, WaitsOnlyAMomentAfterAChangeOfLetterCase) {
  failPlainAttempts();
  fakes.disk.addFile("/d/report");
  EXPECT_TRUE(QMFileManager::moveFile("/d/report", "/d/Report", seconds(10)));
  EXPECT_TRUE(fakes.disk.has("/d/report")) << "whatever the disk shows";
  EXPECT_THAT(sleeps(), ElementsAre(microseconds(500)));
}

TEST_F(TimedTest, WaitsUntilARemovedItemIsGone) {
  failPlainAttempts();
  fakes.disk.addFile("/d/a");
  fakes.disk.disappearAfter("/d/a", milliseconds(10));
  EXPECT_TRUE(QMFileManager::removeFile("/d/a", seconds(1)));
  fakes.disk.addFile("/d/a");
  EXPECT_FALSE(QMFileManager::removeFile("/d/a", seconds(1)));
}

TEST_F(TimedTest, HandlesOneEventPerPauseOnTheMainThread) {
  fakes.mainThread.claim();
  failPlainAttempts();
  fakes.disk.addFile("/d/a");
  int handled = 0;
  for (int i = 0; i < 3; ++i) fakes.mainThread.perform([&handled] { ++handled; });
  fakes.mainThread.perform([this] { fakes.disk.remove("/d/a"); });
  fakes.mainThread.perform([&handled] { handled = 100; });
  EXPECT_TRUE(QMFileManager::trashFile("/d/a", seconds(10)));
  EXPECT_EQ(handled, 3) << "the wait ends as soon as the item is gone";
  EXPECT_EQ(fakes.mainThread.queued(), 1U);
  EXPECT_THAT(sleeps(), IsEmpty());
}

TEST_F(TimedTest, WaitsAHundredthOfASecondForAnEventOnTheMainThread) {
  fakes.mainThread.claim();
  failPlainAttempts();
  fakes.disk.addFile("/d/a");
  EXPECT_FALSE(QMFileManager::trashFile("/d/a", seconds(1)));
  EXPECT_EQ(fakes.clock.elapsed(), seconds(1));
  EXPECT_EQ(fakes.calls.count("mainThread.handleOneEvent"), 100U);
}

TEST_F(TimedTest, LetsAnotherTimedOperationRunInsideTheWait) {
  fakes.mainThread.claim();
  fakes.disk.addFile("/d/a");
  fakes.disk.addFile("/d/b");
  fakes.calls.failAlways("trash.recycle(/d, /home/u/.Trash, a)");
  bool inner = false;
  fakes.mainThread.perform([&] {
    inner = QMFileManager::trashFile("/d/b", seconds(5));
    fakes.disk.remove("/d/a");
  });
  EXPECT_TRUE(QMFileManager::trashFile("/d/a", seconds(5)));
  EXPECT_TRUE(inner);
}

// The contents of a folder.

TEST_F(TimedTest, CopiesEveryEntryAndLogsItsName) {
  fakes.disk.addFile("/from/one", "1");
  fakes.disk.addFile("/from/.two", "2");
  fakes.disk.addFile("/from/sub/three", "3");
  fakes.disk.addFolder("/to");
  EXPECT_TRUE(QMFileManager::copyContentsOfDirectory("/from", "/to", seconds(5)));
  EXPECT_THAT(logged(), ElementsAre("File: one", "File: .two", "File: sub"));
  EXPECT_THAT(fakes.disk.tree("/to"), ElementsAre("/to/.two", "/to/one", "/to/sub/", "/to/sub/three"));
}

TEST_F(TimedTest, StopsAtTheFirstEntryThatIsNotCopied) {
  for (const std::string name : {"one", "two", "three", "four"}) fakes.disk.addFile("/from/" + name);
  fakes.disk.addFolder("/to");
  fakes.calls.failNth("fileSystem.copyItem", 3);
  fakes.calls.failAlways("authorization.create");
  EXPECT_FALSE(QMFileManager::copyContentsOfDirectory("/from", "/to", seconds(5)));
  EXPECT_THAT(fakes.disk.tree("/to"), ElementsAre("/to/one", "/to/two"));
  const auto lines = logged();
  ASSERT_THAT(lines, SizeIs(4));
  EXPECT_EQ(lines[0], "File: one");
  EXPECT_EQ(lines[1], "File: two");
  EXPECT_EQ(lines[2], "File: three");
}

TEST_F(TimedTest, GivesEachEntryTheWholeLimit) {
  failPlainAttempts();
  fakes.disk.addFile("/from/one");
  fakes.disk.addFile("/from/two");
  fakes.disk.appearAfter("/to/one", milliseconds(2700));
  fakes.disk.appearAfter("/to/two", milliseconds(5300));
  EXPECT_TRUE(QMFileManager::copyContentsOfDirectory("/from", "/to", seconds(3)));
}

TEST_F(TimedTest, HasNothingToCopyFromAnEmptyOrMissingFolder) {
  fakes.disk.addFolder("/from");
  EXPECT_TRUE(QMFileManager::copyContentsOfDirectory("/from", "/to", seconds(5)));
  EXPECT_TRUE(QMFileManager::copyContentsOfDirectory("/none", "/to", seconds(5)));
  EXPECT_THAT(logged(), IsEmpty());
  EXPECT_FALSE(fakes.disk.has("/to")) << "the destination is not made";
}

TEST_F(TimedTest, AnswersWhatTheLastLookShows) {
  failPlainAttempts();
  fakes.disk.addFile("/d/a");
  fakes.calls.before("fileSystem.fileExists(/d/a)", 3, [this] { fakes.disk.remove("/d/a"); });
  EXPECT_TRUE(QMFileManager::removeFile("/d/a", seconds(0)));
  EXPECT_EQ(fakes.calls.count("fileSystem.fileExists(/d/a)"), 3U);
}

TEST_F(TimedTest, AnswersNoForAnItemThatIsBackAtTheLastLook) {
  fakes.disk.addFile("/d/a");
  fakes.calls.before("fileSystem.fileExists(/d/a)", 3, [this] { fakes.disk.addFile("/d/a"); });
  EXPECT_FALSE(QMFileManager::removeFile("/d/a", seconds(5)));
  EXPECT_THAT(fakes.clock.sleeps(), IsEmpty());
}

TEST_F(TimedTest, WaitsForAnyLimit) {
  failPlainAttempts();
  fakes.disk.addFile("/d/a");
  fakes.disk.disappearAfter("/d/a", seconds(1));
  EXPECT_TRUE(QMFileManager::trashFile("/d/a", seconds::max()));
  EXPECT_FALSE(QMFileManager::createDirectory("/d/b", seconds::min()));
}

TEST_F(TimedTest, StopsAtTheLimitItself) {
  failPlainAttempts();
  fakes.disk.addFile("/d/a");
  EXPECT_FALSE(QMFileManager::trashFile("/d/a", seconds(3)));
  EXPECT_THAT(fakes.clock.sleeps(), SizeIs(10));
}

}  // namespace
}  // namespace qm::testing
