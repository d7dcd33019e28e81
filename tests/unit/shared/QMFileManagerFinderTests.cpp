// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Platform/DesktopShell.h"
#include "Shared/QMFileManager.h"
#include "tests/unit/shared/LoggedTest.h"

namespace qm::testing {
namespace {

using foundation::Color;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FinderTest : public LoggedTest {
 protected:
  using Command = std::vector<std::string>;

  FinderTest() { fakes.disk.addFile(kFile); }

  void expectSilence() {
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
  }
  void label(std::uint16_t flags) { fakes.disk.setFinderFlags(kFile, flags); }
  std::uint16_t flags() { return fakes.disk.finderFlags(*fakes.disk.item(kFile)).value_or(0xffff); }

  const std::string kFile = "/d/file";
};

// Labels.

TEST_F(FinderTest, HasNoLabelAtFirst) {
  EXPECT_EQ(QMFileManager::finderColorIndexForPath(kFile), 0U);
  EXPECT_EQ(QMFileManager::finderColorForPath(kFile), std::nullopt);
}

TEST_F(FinderTest, AnswersTheFlagsWhole) {
  label(4);
  EXPECT_EQ(QMFileManager::finderColorIndexForPath(kFile), 4U);
  label(0xFFFF);
  EXPECT_EQ(QMFileManager::finderColorIndexForPath(kFile), 0xFFFFU);
  label(0x0100 | 4);
  EXPECT_EQ(QMFileManager::finderColorIndexForPath(kFile), 0x0104U);
  EXPECT_EQ(QMFileManager::finderColorForPath(kFile), std::nullopt) << "another flag is set";
}

TEST_F(FinderTest, HasAColourForEachLabelWhateverTheLowestBit) {
  struct Row {
    std::uint16_t flags;
    Color color;
  };
  const std::vector<Row> table = {{2, {0.0, 0.0, 0.72, 1.0}},      {4, {0.2056, 0.5, 0.85, 1.0}},
                                  {6, {0.7917, 0.26, 0.86, 1.0}},  {8, {0.5789, 0.56, 0.98, 1.0}},
                                  {10, {0.1388, 0.54, 0.95, 1.0}}, {12, {0.0083, 0.54, 1.0, 1.0}},
                                  {14, {0.0888, 0.52, 0.98, 1.0}}};
  for (const Row& row : table) {
    label(row.flags);
    EXPECT_EQ(QMFileManager::finderColorForPath(kFile), row.color) << row.flags;
    label(static_cast<std::uint16_t>(row.flags | 1U));
    EXPECT_EQ(QMFileManager::finderColorForPath(kFile), row.color) << row.flags + 1;
  }
}

TEST_F(FinderTest, HasNoColourForAnythingElse) {
  constexpr std::uint16_t kOthers[] = {0, 1, 16, 17, 0x0102, 0x8000, 0xFFF2};
  for (const std::uint16_t value : kOthers) {
    label(value);
    EXPECT_EQ(QMFileManager::finderColorForPath(kFile), std::nullopt) << value;
  }
}

TEST_F(FinderTest, SetsTheLabelAndKeepsTheOtherFlags) {
  label(0x0108);
  QMFileManager::setFinderColorIndex(6, kFile);
  EXPECT_EQ(flags(), 0x0106);
  label(0xFFFF);
  QMFileManager::setFinderColorIndex(0, kFile);
  EXPECT_EQ(flags(), 0xFFF1);
  expectSilence();
}

TEST_F(FinderTest, LeavesOutWhatIsNoLabel) {
  label(0x0108);
  QMFileManager::setFinderColorIndex(0x0011, kFile);
  EXPECT_EQ(flags(), 0x0100);
  QMFileManager::setFinderColorIndex(0xFFFFFFFF, kFile);
  EXPECT_EQ(flags(), 0x010E);
}

TEST_F(FinderTest, LabelsFoldersAndNeverWhatALinkLeadsTo) {
  QMFileManager::setFinderColorIndex(2, "/d/");
  EXPECT_EQ(QMFileManager::finderColorIndexForPath("/d"), 2U);
  fakes.disk.addLink("/d/link", kFile);
  QMFileManager::setFinderColorIndex(4, "/d/link");
  EXPECT_EQ(flags(), 0);
  EXPECT_EQ(QMFileManager::finderColorIndexForPath("/d/link"), 0U);
}

TEST_F(FinderTest, HasNoLabelWhereNothingIs) {
  for (const std::string path : {"/none", "/d/file/none", "relative", ""}) {
    EXPECT_EQ(QMFileManager::finderColorIndexForPath(path), 0U) << path;
    EXPECT_EQ(QMFileManager::finderColorForPath(path), std::nullopt) << path;
    QMFileManager::setFinderColorIndex(6, path);
  }
  EXPECT_EQ(fakes.calls.count("finderInformation.setFinderFlags"), 0U) << "what cannot be read is not written";
  expectSilence();
}

TEST_F(FinderTest, IsSilentWhenReadingOrWritingALabelFails) {
  label(4);
  fakes.calls.failNext("finderInformation.finderFlags");
  EXPECT_EQ(QMFileManager::finderColorIndexForPath(kFile), 0U);
  fakes.calls.failNext("finderInformation.finderFlags");
  QMFileManager::setFinderColorIndex(6, kFile);
  EXPECT_EQ(fakes.calls.count("finderInformation.setFinderFlags"), 0U);
  fakes.calls.failNext("finderInformation.setFinderFlags");
  QMFileManager::setFinderColorIndex(6, kFile);
  EXPECT_EQ(flags(), 4);
  fakes.calls.failNext("fileReferences.make");
  QMFileManager::setFinderColorIndex(6, kFile);
  EXPECT_EQ(flags(), 4);
  expectSilence();
}

// Touching.

TEST_F(FinderTest, TouchesWhatTheUserMayWriteWithinFiveSeconds) {
  TaskScript endless;
  endless.runsUntilEnded = true;
  fakes.tasks.scriptOnce("/usr/bin/touch", endless);
  EXPECT_TRUE(QMFileManager::touchFile(kFile)) << "the result of the tool does not count";
  EXPECT_THAT(fakes.tasks.launches(), ElementsAre(Command{"/usr/bin/touch", "-c", kFile}));
  EXPECT_TRUE(fakes.tasks.last()->wasTerminated());
  EXPECT_EQ(fakes.clock.elapsed(), std::chrono::seconds(5));
  EXPECT_EQ(fakes.calls.count("fileSystem.setCreationDate"), 0U);
  EXPECT_THAT(fakes.authorizationServices.executions(), IsEmpty());
}

TEST_F(FinderTest, SetsTheDateOfWhatItTouches) {
  fakes.clock.setManual();  // the timer that watches the tool must not move it
  fakes.clock.advance(std::chrono::hours(1));
  EXPECT_TRUE(QMFileManager::touchFile(kFile));
  EXPECT_EQ(fakes.fileSystem.attributesOfItem(kFile)->modificationDate, fakes.clock.now());
}

TEST_F(FinderTest, SetsTheCreationDateAfterTouchingWhatTheUserMayWrite) {
  fakes.clock.setManual();
  fakes.disk.setKeepsCreationDates(true);
  fakes.clock.advance(std::chrono::hours(1));
  EXPECT_TRUE(QMFileManager::touchFile(kFile, QMFileManager::SetCreationDate::Yes));
  EXPECT_EQ(fakes.disk.creationDate(kFile), fakes.clock.now());
  EXPECT_TRUE(fakes.calls.areInOrder({"tasks.launch", "fileSystem.setCreationDate"}));
  EXPECT_TRUE(QMFileManager::touchFile(kFile, QMFileManager::SetCreationDate::No));
  EXPECT_EQ(fakes.calls.count("fileSystem.setCreationDate"), 1U);
}

TEST_F(FinderTest, TakesNoNoticeOfACreationDateThatStays) {
  EXPECT_TRUE(QMFileManager::touchFile(kFile, QMFileManager::SetCreationDate::Yes));
  EXPECT_EQ(fakes.disk.creationDate(kFile), std::nullopt);
  EXPECT_EQ(fakes.calls.count("fileSystem.setCreationDate"), 1U);
  expectSilence();
}

TEST_F(FinderTest, IsDoneWithWhatTheUserMayWriteEvenWithoutTheTool) {
  fakes.disk.remove("/usr/bin/touch");
  EXPECT_TRUE(QMFileManager::touchFile(kFile));
  EXPECT_THAT(fakes.tasks.launches(), IsEmpty());
}

TEST_F(FinderTest, AsksForRightsToTouchWhatTheUserMayNotWrite) {
  fakes.disk.setKeepsCreationDates(true);
  fakes.disk.setWritable(kFile, false);
  fakes.clock.advance(std::chrono::hours(1));
  EXPECT_TRUE(QMFileManager::touchFile(kFile, QMFileManager::SetCreationDate::Yes));
  EXPECT_THAT(fakes.authorizationServices.executions(), ElementsAre(Command{"/usr/bin/touch", "-c", kFile}));
  EXPECT_EQ(fakes.authorizationServices.pipesReadToEnd(), 1U) << "it waits for the tool";
  EXPECT_THAT(fakes.tasks.launches(), IsEmpty());
  EXPECT_EQ(fakes.disk.creationDate(kFile), std::nullopt) << "the user may not set it";
  EXPECT_TRUE(fakes.calls.areInOrder({"fileSystem.setCreationDate", "authorization.executeWithPrivileges"}));
  EXPECT_EQ(fakes.fileSystem.attributesOfItem(kFile)->modificationDate, fakes.clock.now());
}

TEST_F(FinderTest, LeavesTheCreationDateWhenItIsNotWantedWithRightsEither) {
  fakes.disk.setWritable(kFile, false);
  EXPECT_TRUE(QMFileManager::touchFile(kFile));
  EXPECT_EQ(fakes.calls.count("fileSystem.setCreationDate"), 0U);
}

TEST_F(FinderTest, FailsToTouchWhenRightsAreRefused) {
  fakes.disk.setWritable(kFile, false);
  fakes.calls.failNext("authorization.executeWithPrivileges");
  EXPECT_FALSE(QMFileManager::touchFile(kFile));
  fakes.disk.remove("/usr/bin/touch");
  EXPECT_FALSE(QMFileManager::touchFile(kFile)) << "there is no tool";
}

TEST_F(FinderTest, MakesNothingOfAMissingFile) {
  EXPECT_TRUE(QMFileManager::touchFile("/d/none", QMFileManager::SetCreationDate::Yes)) << "the tool was started";
  EXPECT_FALSE(fakes.disk.has("/d/none"));
  EXPECT_THAT(fakes.authorizationServices.executions(), ElementsAre(Command{"/usr/bin/touch", "-c", "/d/none"}));
}

TEST_F(FinderTest, RefusesToTouchNil) {
  EXPECT_FALSE(QMFileManager::touchFile(std::nullopt));
  EXPECT_FALSE(QMFileManager::touchFile(std::nullopt, QMFileManager::SetCreationDate::Yes));
  EXPECT_EQ(fakes.calls.count("fileSystem.isWritableFile"), 0U);
  expectSilence();
}

// References.

TEST_F(FinderTest, FindsAnItemAgainThatWasRenamed) {
  const QMFileManager::FSRef reference = QMFileManager::stringToFSRef(kFile);
  EXPECT_TRUE(reference.isFilled());
  EXPECT_EQ(QMFileManager::stringWithFSRef(&reference), kFile);
  fakes.disk.addFolder("/e");
  EXPECT_TRUE(fakes.fileSystem.moveItem(kFile, "/e/other"));
  EXPECT_EQ(QMFileManager::stringWithFSRef(&reference), "/e/other");
  const QMFileManager::FSRef copy = reference;
  EXPECT_EQ(QMFileManager::stringWithFSRef(&copy), "/e/other");
}

TEST_F(FinderTest, FindsNothingAgainThatIsGone) {
  const QMFileManager::FSRef reference = QMFileManager::stringToFSRef(kFile);
  EXPECT_TRUE(fakes.fileSystem.removeItem(kFile));
  fakes.disk.addFile(kFile, "another");
  EXPECT_EQ(QMFileManager::stringWithFSRef(&reference), std::nullopt);
}

TEST_F(FinderTest, RefersToNothingWhereNothingIs) {
  const QMFileManager::FSRef reference = QMFileManager::stringToFSRef("/none");
  EXPECT_FALSE(reference.isFilled());
  EXPECT_EQ(QMFileManager::stringWithFSRef(&reference), std::nullopt);
  EXPECT_EQ(QMFileManager::stringWithFSRef(nullptr), std::nullopt);
  fakes.calls.failNext("fileReferences.path");
  const QMFileManager::FSRef file = QMFileManager::stringToFSRef(kFile);
  EXPECT_EQ(QMFileManager::stringWithFSRef(&file), std::nullopt);
}

// The desktop.

TEST_F(FinderTest, TellsTheDesktopThatAFolderChanged) {
  QMFileManager::notifyFileSystemChanged("/d");
  EXPECT_THAT(fakes.desktopShell.notices(), ElementsAre("/d"));
  EXPECT_EQ(fakes.desktopShell.openAliases(), 0);
}

TEST_F(FinderTest, TellsTheDesktopOfAnItemWhereItIsNow) {
  const QMFileManager::FSRef reference = QMFileManager::stringToFSRef(kFile);
  EXPECT_TRUE(fakes.fileSystem.moveItem(kFile, "/d/other"));
  EXPECT_EQ(SendFinderSyncEvent(&reference), platform::noErr);
  EXPECT_THAT(fakes.desktopShell.notices(), ElementsAre("/d/other"));
}

TEST_F(FinderTest, SendsNoNoticeOfWhatCannotBeNamed) {
  const QMFileManager::FSRef unfilled;
  EXPECT_EQ(SendFinderSyncEvent(&unfilled), platform::fnfErr);
  EXPECT_EQ(SendFinderSyncEvent(nullptr), platform::fnfErr);
  QMFileManager::notifyFileSystemChanged("/none");
  EXPECT_EQ(fakes.calls.count("desktopShell.sendUpdateEvent"), 0U);
  expectSilence();
}

TEST_F(FinderTest, AnswersTheStatusOfTheStepThatFailedAndDisposesOfTheAlias) {
  const QMFileManager::FSRef reference = QMFileManager::stringToFSRef("/d");
  fakes.calls.failNext("desktopShell.newMinimalAlias");
  EXPECT_EQ(SendFinderSyncEvent(&reference), platform::fnfErr);
  EXPECT_EQ(fakes.calls.count("desktopShell.sendUpdateEvent"), 0U);
  fakes.desktopShell.setListening(false);
  EXPECT_EQ(SendFinderSyncEvent(&reference), platform::procNotFound);
  EXPECT_EQ(fakes.desktopShell.openAliases(), 0);
  QMFileManager::notifyFileSystemChanged("/d");
  EXPECT_THAT(fakes.desktopShell.notices(), IsEmpty());
  expectSilence();
}

TEST_F(FinderTest, RegistersAnApplicationEachTimeAnew) {
  fakes.disk.addFolder("/Applications/A.app");
  EXPECT_TRUE(QMFileManager::registerApplicationWithLaunchServices("/Applications/A.app"));
  EXPECT_TRUE(QMFileManager::registerApplicationWithLaunchServices("/Applications/A.app"));
  EXPECT_THAT(fakes.desktopShell.applications(), ElementsAre("/Applications/A.app", "/Applications/A.app"));
}

TEST_F(FinderTest, AnswersWhetherTheDesktopRefusedAnApplication) {
  EXPECT_FALSE(QMFileManager::registerApplicationWithLaunchServices(kFile));
  EXPECT_FALSE(QMFileManager::registerApplicationWithLaunchServices("/none"));
  fakes.calls.failNext("desktopShell.registerApplication");
  EXPECT_FALSE(QMFileManager::registerApplicationWithLaunchServices("/d"));
  expectSilence();
}

}  // namespace
}  // namespace qm::testing
