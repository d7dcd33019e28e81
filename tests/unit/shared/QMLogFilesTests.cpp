// SPDX-License-Identifier: MIT
#include <chrono>
#include <cstdint>
#include <future>
#include <utility>

#include "tests/unit/shared/LogTest.h"

namespace qm::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::Values;

// MARK: - The first file

TEST_F(LogFiles, BeginWithTheirFolderAndAHeaderWhenNothingIsThere) {
  QMLog::createNewLog();
  EXPECT_THAT(names(), ElementsAre(logFile(1)));
  EXPECT_EQ(contents(1), kHeader);
  EXPECT_THAT(printed(), IsEmpty());
  EXPECT_NE(log().fileHandle(), nullptr);
  EXPECT_EQ(log().bytesWritten(), 0U);
}

TEST_F(LogFiles, AreMadeByTheseStepsInThisOrder) {
  QMLog::createNewLog();
  EXPECT_THAT(fakes.calls.log(), ElementsAre("fileSystem.createDirectory(" + kLogFolder + ")",
                                             "fileSystem.writeFileAtomically(" + logFile(1) + ", " + kHeader + ")",
                                             "fileSystem.openForWriting(" + logFile(1) + ")",
                                             "fileHandle.seekToEndOfFile(" + logFile(1) + ")"));
}

TEST_F(LogFiles, DoNotNeedTheirFolderMadeWhenItIsThere) {
  fakes.disk.addFolder(kLogFolder);
  QMLog::createNewLog();
  EXPECT_EQ(fakes.calls.count("fileSystem.createDirectory"), 0U);
  EXPECT_EQ(contents(1), kHeader);
}

TEST_F(LogFiles, AreWrittenToBehindTheirHeader) {
  QMLog::createNewLog();
  QMLog::appendLog("First message");
  EXPECT_EQ(contents(1), kHeader + lineOf("First message"));
}

// MARK: - The header

TEST_F(LogFiles, NameNoVersionWithoutOne) {
  fakes.systemInformation.setBundleVersion(std::nullopt);
  QMLog::createNewLog();
  EXPECT_EQ(contents(1),
            "Log started: 2024-02-29 23:05:07 +0000\n"
            "Path: /Applications/Demo.app/Contents/MacOS/Demo\n"
            "System: OS X Version 12.0 (Fake), 2 CPU(s), 8.00 GB RAM\n"
            "Running in 64-bit mode\n");
}

TEST_F(LogFiles, NameNoPathWithoutAnExecutable) {
  fakes.systemInformation.setExecutablePath(std::nullopt);
  QMLog::createNewLog("Demo");
  EXPECT_EQ(contents(1),
            "Log started: 2024-02-29 23:05:07 +0000\n"
            "Version: 1.2.3\n"
            "System: OS X Version 12.0 (Fake), 2 CPU(s), 8.00 GB RAM\n"
            "Running in 64-bit mode\n");
}

TEST_F(LogFiles, TellTheMachineFacts) {
  fakes.systemInformation.setOperatingSystemVersion("Version 10.6.8 (100% free)");
  fakes.systemInformation.setProcessorCount(16);
  QMLog::createNewLog();
  EXPECT_THAT(*contents(1), HasSubstr("\nSystem: OS X Version 10.6.8 (100% free), 16 CPU(s), 8.00 GB RAM\n"));
}

TEST_F(LogFiles, TellTheDateInTheMachinesTimeZone) {
  fakes.clock.setLocalTime({2009, 1, 2, 3, 4, 5, -150});
  QMLog::createNewLog();
  EXPECT_THAT(*contents(1), StartsWith("Log started: 2009-01-02 03:04:05 -0230\n"));
}

class MemoryText : public LogFiles, public ::testing::WithParamInterface<std::pair<std::uint64_t, const char*>> {};

TEST_P(MemoryText, HasTwoDecimals) {
  fakes.systemInformation.setPhysicalMemory(GetParam().first);
  QMLog::createNewLog();
  EXPECT_THAT(*contents(1), HasSubstr(", 2 CPU(s), " + std::string(GetParam().second) + " GB RAM\n"));
}

INSTANTIATE_TEST_SUITE_P(EachSize, MemoryText,
                         Values(std::pair{8'589'934'592U, "8.00"}, std::pair{3'758'096'384U, "3.50"},
                                std::pair{0U, "0.00"}, std::pair{536'870'912U, "0.50"},
                                std::pair{1'099'511'627'776U, "1024.00"}, std::pair{8'327'286'784U, "7.76"}));

// MARK: - The rotation

TEST_F(LogFiles, MoveUpByOneAndLoseTheFifth) {
  addFiles({1, 2, 3, 4, 5});
  QMLog::createNewLog();
  EXPECT_EQ(contents(1), kHeader);
  for (int number = 2; number <= 5; ++number) EXPECT_EQ(contents(number), "old " + std::to_string(number - 1));
  EXPECT_EQ(names().size(), 5U);
  EXPECT_THAT(printed(), IsEmpty());
}

/// Some volumes allow only one name for a file.
TEST_F(LogFiles, MoveUpByOneWithoutASecondNameToo) {
  addFiles({1, 2});
  fakes.calls.failNext("fileSystem.linkItem");
  QMLog::createNewLog();
  EXPECT_TRUE(fakes.calls.areInOrder({moveOf(2), linkOf(1), moveOf(1), "fileSystem.writeFileAtomically"}));
  EXPECT_EQ(contents(1), kHeader);
  EXPECT_EQ(contents(2), "old 1");
  EXPECT_EQ(contents(3), "old 2");
}

TEST_F(LogFiles, MoveFromTheOldestOn) {
  addFiles({1, 2, 3, 4, 5});
  QMLog::createNewLog();
  EXPECT_THAT(
      fakes.calls.log(),
      ElementsAre("fileSystem.removeItem(" + logFile(5) + ")", moveOf(4), moveOf(3), moveOf(2), linkOf(1),
                  "fileSystem.writeFileAtomically(" + logFile(1) + ", " + kHeader + ")",
                  "fileSystem.openForWriting(" + logFile(1) + ")", "fileHandle.seekToEndOfFile(" + logFile(1) + ")"));
}

TEST_F(LogFiles, KeepTheirGaps) {
  addFiles({1, 3});
  QMLog::createNewLog();
  EXPECT_THAT(names(), ElementsAre(logFile(1), logFile(2), logFile(4)));
  EXPECT_EQ(contents(1), kHeader);
  EXPECT_EQ(contents(2), "old 1");
  EXPECT_EQ(contents(4), "old 3");
}

TEST_F(LogFiles, StayWhereTheyAreWithoutAFirst) {
  addFiles({2, 5});
  QMLog::createNewLog();
  EXPECT_THAT(names(), ElementsAre(logFile(1), logFile(2), logFile(5)));
  EXPECT_EQ(contents(2), "old 2");
  EXPECT_EQ(contents(5), "old 5");
}

TEST_F(LogFiles, OfOtherProgramsAreLeftAlone) {
  fakes.disk.addFile(kLogFolder + "/Other.1.log", "other");
  addFiles({1});
  QMLog::createNewLog();
  EXPECT_EQ(fakes.disk.fileContents(kLogFolder + "/Other.1.log"), "other");
}

TEST_F(LogFiles, BecomeFiveAtMostAfterManyNewLogs) {
  for (int round = 1; round <= 7; ++round) {
    QMLog::createNewLog();
    QMLog::appendLog("Round %i", round);
  }
  EXPECT_EQ(names().size(), 5U);
  for (int number = 1; number <= 5; ++number) {
    EXPECT_EQ(contents(number), kHeader + lineOf("Round " + std::to_string(8 - number)));
  }
}

TEST_F(LogFiles, WithoutAFifthNeedNoneRemoved) {
  addFiles({1, 4});
  QMLog::createNewLog();
  EXPECT_EQ(fakes.calls.count("fileSystem.removeItem"), 0U);
  EXPECT_EQ(contents(5), "old 4");
}

TEST_F(LogFiles, MayKeepAFifthThatCannotBeRemovedWithoutAWord) {
  addFiles({1, 5});
  fakes.calls.failNext("fileSystem.removeItem");
  QMLog::createNewLog();
  EXPECT_THAT(printed(), IsEmpty());
  EXPECT_EQ(contents(5), "old 5");
  EXPECT_EQ(contents(2), "old 1");
  EXPECT_EQ(contents(1), kHeader);
}

TEST_F(LogFiles, AreNotReplacedWhenTheFifthCannotBeRemoved) {
  addFiles({1, 4, 5});
  fakes.calls.failNext("fileSystem.removeItem");
  QMLog::createNewLog();
  EXPECT_THAT(printed(), ElementsAre(moveFailure(4)));
  for (const int number : {1, 4, 5}) EXPECT_EQ(contents(number), "old " + std::to_string(number));
}

class FailingMove : public LogFiles, public ::testing::WithParamInterface<int> {};

TEST_P(FailingMove, IsPrintedAndEndsTheRotationWithNothingLost) {
  addFiles({1, 2, 3, 4});
  QMLog::createNewLog();  // a handle is open
  addFiles({1, 2, 3, 4});
  fakes.disk.remove(logFile(5));
  fakes.calls.failNext("fileSystem.linkItem");
  fakes.calls.failNext(moveOf(GetParam()));
  QMLog::createNewLog();
  EXPECT_THAT(printed(), ElementsAre(moveFailure(GetParam())));
  EXPECT_EQ(log().fileHandle(), nullptr);
  for (int number = 1; number <= 4; ++number) {
    EXPECT_EQ(contents(number <= GetParam() ? number : number + 1), "old " + std::to_string(number));
  }
  EXPECT_EQ(names().size(), 4U);
}

INSTANTIATE_TEST_SUITE_P(EachMove, FailingMove, Values(1, 2, 3, 4));

// MARK: - Failures

TEST_F(LogFiles, SayWhenTheirFolderCannotBeMade) {
  fakes.calls.failNext("fileSystem.createDirectory");
  QMLog::createNewLog();
  EXPECT_THAT(printed(), ElementsAre("Unable to create folder /home/u/Library/Logs/Quillmark."));
  EXPECT_EQ(log().fileHandle(), nullptr);
  EXPECT_FALSE(fakes.disk.has("/home/u/Library/Logs"));
  EXPECT_EQ(fakes.calls.count("fileSystem.writeFileAtomically"), 0U);
}

TEST_F(LogFiles, SayWhenTheLibraryIsNotWritable) {
  fakes.disk.setWritable("/home/u/Library", false);
  QMLog::createNewLog();
  EXPECT_THAT(printed(), ElementsAre("Unable to create folder /home/u/Library/Logs/Quillmark."));
}

TEST_F(LogFiles, SayWhenThereIsNoLibrary) {
  fakes.calls.failAlways("standardDirectories.search");
  QMLog::createNewLog();
  EXPECT_THAT(printed(), ElementsAre("Unable to create folder (null)."));
  EXPECT_EQ(log().fileHandle(), nullptr);
}

TEST_F(LogFiles, SayWhyTheFirstCannotBeWritten) {
  fakes.calls.setFailure(28, "There is 0 % space left.");
  fakes.calls.failNext("fileSystem.writeFileAtomically");
  QMLog::createNewLog();
  EXPECT_THAT(printed(), ElementsAre("Unable to create log file /home/u/Library/Logs/Quillmark/Demo.1.log - "
                                     "There is 0 % space left."));
  EXPECT_EQ(log().fileHandle(), nullptr);
  EXPECT_EQ(fakes.calls.count("fileSystem.openForWriting"), 0U);
}

TEST_F(LogFiles, KeepTheOldOnesWhenTheFirstCannotBeWritten) {
  addFiles({1, 2});
  fakes.calls.failNext("fileSystem.writeFileAtomically");
  QMLog::createNewLog();
  EXPECT_EQ(contents(2), "old 1");
  EXPECT_EQ(contents(3), "old 2");
  EXPECT_EQ(contents(1), std::nullopt);
}

TEST_F(LogFiles, CannotBeWrittenWhereAFileIsInTheFoldersPlace) {
  fakes.disk.addFile(kLogFolder, "no folder");
  QMLog::createNewLog();
  EXPECT_THAT(printed(), ElementsAre(StartsWith("Unable to create log file " + logFile(1) + " - ")));
  EXPECT_EQ(fakes.disk.fileContents(kLogFolder), "no folder");
}

TEST_F(LogFiles, SayNothingWhenTheFirstCannotBeOpenedAndOpenItLater) {
  fakes.calls.failNext("fileSystem.openForWriting");
  QMLog::createNewLog();
  EXPECT_THAT(printed(), IsEmpty());
  EXPECT_EQ(log().fileHandle(), nullptr);
  QMLog::appendLog("Later");
  EXPECT_EQ(contents(1), kHeader + lineOf("Later"));
  EXPECT_THAT(printed(), IsEmpty());
}

TEST_F(LogFiles, KeepTheirHeaderWhenItsEndIsNotFound) {
  fakes.calls.failNext("fileHandle.seekToEndOfFile");
  QMLog::createNewLog();
  EXPECT_THAT(printed(), IsEmpty());
  QMLog::appendLog("Later");
  EXPECT_EQ(contents(1), kHeader + lineOf("Later"));
}

TEST_F(LogFiles, GiveUpTheOldHandleEvenWhenNoNewOneCanBeBegun) {
  QMLog::createNewLog();
  fakes.calls.failNext(linkOf(1));
  fakes.calls.failNext(moveOf(1));
  QMLog::createNewLog();
  EXPECT_EQ(log().fileHandle(), nullptr);
}

TEST_F(LogFiles, CountFromNothingAgain) {
  log().setBytesWritten(77);
  fakes.calls.failNext("fileSystem.createDirectory");
  QMLog::createNewLog();  // even when it fails
  EXPECT_EQ(log().bytesWritten(), 0U);
}

TEST_F(LogFiles, AreBegunAfterAllThatWasWaitingIsWritten) {
  QMLog::createNewLog();
  fakes.calls.hang("fileHandle.writeData");
  for (int number = 1; number <= 20; ++number) QMLog::fastAppendLog("Message %i", number);
  ASSERT_TRUE(fakes.calls.waitUntilHanging("fileHandle.writeData"));
  const auto creating = std::async(std::launch::async, [] { QMLog::createNewLog(); });
  EXPECT_EQ(creating.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
  EXPECT_EQ(contents(2), std::nullopt) << "the file that is written to is not moved";
  fakes.calls.release("fileHandle.writeData");
  creating.wait();
  std::string lines;
  for (int number = 1; number <= 20; ++number) lines += lineOf("Message " + std::to_string(number));
  EXPECT_EQ(contents(2), kHeader + lines);
  EXPECT_EQ(contents(1), kHeader);
}

// MARK: - Root

class RootLog : public LogFiles {
 protected:
  RootLog() { fakes.actAsRoot(); }
};

TEST_F(RootLog, TestsAndMakesTheUsersFolderButWritesTheMachinesFile) {
  fakes.disk.addFolder(kRootLogFolder);
  QMLog::createNewLog();
  EXPECT_TRUE(fakes.disk.has(kLogFolder));
  EXPECT_THAT(names(), IsEmpty());
  EXPECT_EQ(fakes.disk.fileContents(logFile(1, kRootLogFolder)), kHeader);
  QMLog::appendLog("Message");
  EXPECT_EQ(fakes.disk.fileContents(logFile(1, kRootLogFolder)), kHeader + lineOf("Message"));
}

TEST_F(RootLog, DoesNotMakeTheMachinesFolder) {
  fakes.calls.setFailure(2, "No such folder.");
  QMLog::createNewLog();
  EXPECT_THAT(printed(), ElementsAre(StartsWith("Unable to create log file /Library/Logs/Quillmark/Demo.1.log - ")));
  EXPECT_FALSE(fakes.disk.has("/Library/Logs"));
  EXPECT_TRUE(fakes.disk.has(kLogFolder));
  EXPECT_EQ(log().fileHandle(), nullptr);
}

TEST_F(RootLog, RotatesTheUsersFilesWhenTheMachinesFileIsThere) {
  addFiles({1, 2, 5});
  fakes.disk.addFile(logFile(1, kRootLogFolder), "machine 1");
  QMLog::createNewLog();
  EXPECT_THAT(names(), ElementsAre(logFile(2), logFile(3)));
  EXPECT_EQ(contents(2), "old 1");
  EXPECT_EQ(contents(3), "old 2");
  EXPECT_THAT(fakes.disk.tree(kRootLogFolder), ElementsAre(logFile(1, kRootLogFolder)));
  EXPECT_EQ(fakes.disk.fileContents(logFile(1, kRootLogFolder)), kHeader);
}

TEST_F(RootLog, LeavesTheUsersFilesWhenTheMachinesFileIsNotThere) {
  addFiles({1, 2, 5});
  fakes.disk.addFolder(kRootLogFolder);
  QMLog::createNewLog();
  for (const int number : {1, 2, 5}) EXPECT_EQ(contents(number), "old " + std::to_string(number));
  EXPECT_EQ(fakes.disk.fileContents(logFile(1, kRootLogFolder)), kHeader);
}

TEST_F(RootLog, NeedsAFolderOfTheConsoleUser) {
  fakes.actAsRoot(std::nullopt);
  fakes.disk.addFolder(kRootLogFolder);
  QMLog::createNewLog();
  EXPECT_THAT(printed(), ElementsAre("Unable to create folder (null)."));
  EXPECT_THAT(fakes.disk.tree(kRootLogFolder), IsEmpty());
}

TEST_F(RootLog, SaysThatItsFileIsNilWithoutALocalLibrary) {
  fakes.standardDirectories.set(platform::StandardDirectory::Library, platform::DomainMask::Local, {});
  QMLog::createNewLog();
  EXPECT_THAT(printed(), ElementsAre(StartsWith("Unable to create log file (null) - ")));
  QMLog::appendLog("Message");
  EXPECT_THAT(printed(),
              ElementsAre(StartsWith("Unable to create log file (null) - "),
                          "Unable to log the following information: Message", "Unable to open log for output"));
}

}  // namespace
}  // namespace qm::testing
