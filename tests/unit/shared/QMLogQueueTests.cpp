// SPDX-License-Identifier: MIT
#include <chrono>
#include <cstddef>
#include <functional>
#include <future>
#include <ostream>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/unit/shared/LogTest.h"

namespace qm::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::Values;

// A null pointer is not a text, whatever follows it.

template <class Text>
concept IsAFastFormat = requires(Text text) {
  QMLog::fastAppendLog(text, 1);
};
template <class Text>
concept IsAFormat = requires(Text text) {
  QMLog::appendLog(text);
};
template <class Text>
concept IsAPrintedFormat = requires(Text text) {
  QMLog::appendLogAndPrint(text, "x");
};
template <class Text>
concept IsAMessage = requires(Text text) {
  QMLog::appendLogOnThread(text);
};

static_assert(IsAFastFormat<const char*> && IsAFastFormat<std::nullopt_t> && !IsAFastFormat<std::nullptr_t>);
static_assert(IsAFormat<const char*> && IsAFormat<std::nullopt_t> && !IsAFormat<std::nullptr_t>);
static_assert(IsAPrintedFormat<const char*> && IsAPrintedFormat<std::nullopt_t> && !IsAPrintedFormat<std::nullptr_t>);
static_assert(IsAMessage<const char*> && IsAMessage<std::string> && !IsAMessage<std::nullptr_t>);
static_assert(!std::is_constructible_v<foundation::FormatArgument, std::nullptr_t>);

// MARK: - The line

TEST_F(LogQueue, WritesADatedLineForEachMessage) {
  EXPECT_EQ(writtenBy([] { QMLog::fastAppendLog("Item %i of %@", 3, "Trash"); }),
            "2024-02-29 23:05:07 +0000 - Item 3 of Trash\n");
  EXPECT_EQ(writtenBy([] { QMLog::appendLog("Item %i of %@", 3, "Trash"); }),
            "2024-02-29 23:05:07 +0000 - Item 3 of Trash\n");
  EXPECT_EQ(writtenBy([] { QMLog::appendLogAndPrint("Item %i of %@", 3, "Trash"); }),
            "2024-02-29 23:05:07 +0000 - Item 3 of Trash\n");
}

TEST_F(LogQueue, WritesTheDateOfTheWritingInTheMachinesTimeZone) {
  fakes.clock.setUtcOffset(std::chrono::minutes(90));
  addLogFile();
  hold();
  QMLog::fastAppendLog("later");
  fakes.clock.advance(std::chrono::seconds(3600));
  release();
  EXPECT_EQ(written(), "2024-03-01 00:35:07 +0130 - held\n2024-03-01 01:35:07 +0130 - later\n");
}

TEST_F(LogQueue, WritesEachSecondsOwnDate) {
  addLogFile();
  std::string expected;
  for (const char* second : {"07", "08", "09"}) {
    QMLog::appendLog("a");
    QMLog::appendLog("b");
    const std::string date = "2024-02-29 23:05:" + std::string(second) + " +0000 - ";
    expected += date + "a\n" + date + "b\n";
    fakes.clock.advance(std::chrono::seconds(1));
  }
  EXPECT_EQ(written(), expected);
}

TEST_F(LogQueue, WritesTheDateThatTheClockWasSetBackTo) {
  addLogFile();
  QMLog::appendLog("now");
  fakes.clock.setLocalTime({1999, 12, 31, 23, 59, 59, -720});
  QMLog::appendLog("then");
  EXPECT_EQ(written(), lineOf("now") + "1999-12-31 23:59:59 -1200 - then\n");
}

TEST_F(LogQueue, WritesMessagesInTheOrderQueued) {
  std::string expected;
  for (int number = 0; number < 100; ++number) expected += lineOf("Message " + std::to_string(number));
  EXPECT_EQ(writtenBy([] {
              for (int number = 0; number < 100; ++number) QMLog::fastAppendLog("Message %i", number);
            }),
            expected);
}

TEST_F(LogQueue, WritesUtf8AndBytesThatAreNotAsTheyAre) {
  const std::string text = "\u00fcber \U0001F600 \xff\x80 end";
  EXPECT_EQ(writtenBy([&] { QMLog::appendLog("%@", text); }), lineOf(text));
}

// MARK: - Formatting and trimming

/// The result of one format, given without arguments, in each operation.
struct FormatCase {
  std::string format;
  std::string fast;
  std::string append;
  std::string andPrint;
  std::string printed;
};

void PrintTo(const FormatCase& one, std::ostream* stream) { *stream << '"' << one.format << '"'; }

class FormattedMessage : public LogQueue, public ::testing::WithParamInterface<FormatCase> {};

TEST_P(FormattedMessage, IsFormattedOnceByFastAppendLog) {
  EXPECT_EQ(writtenBy([] { QMLog::fastAppendLog(GetParam().format); }), lineOf(GetParam().fast));
  EXPECT_THAT(printed(), IsEmpty());
}

TEST_P(FormattedMessage, IsFormattedTwiceByAppendLog) {
  EXPECT_EQ(writtenBy([] { QMLog::appendLog(GetParam().format); }), lineOf(GetParam().append));
  EXPECT_THAT(printed(), IsEmpty());
}

TEST_P(FormattedMessage, IsFormattedThriceByAppendLogAndPrintAndPrintedAfterOnce) {
  EXPECT_EQ(writtenBy([] { QMLog::appendLogAndPrint(GetParam().format); }), lineOf(GetParam().andPrint));
  EXPECT_THAT(printed(), ElementsAre(GetParam().printed));
}

INSTANTIATE_TEST_SUITE_P(EachFormat, FormattedMessage,
                         Values(FormatCase{"plain", "plain", "plain", "plain", "plain"}, FormatCase{"", "", "", "", ""},
                                FormatCase{"%%%%%%%%", "%%%%", "%%", "%", "%%%%"},
                                FormatCase{"%%%%", "%%", "%", "%", "%%"}, FormatCase{"%%", "%", "%", "%", "%"},
                                FormatCase{"100%", "100%", "100%", "100%", "100%"},
                                FormatCase{"%@", "(missing)", "(missing)", "(missing)", "(missing)"},
                                FormatCase{"%%@", "%@", "(missing)", "(missing)", "%@"},
                                FormatCase{"%%%%i", "%%i", "%i", "(missing)", "%%i"},
                                FormatCase{"a%nb", "ab", "ab", "ab", "ab"},
                                FormatCase{"a%%nb", "a%nb", "ab", "ab", "a%nb"},
                                FormatCase{" \t\r\n a \n b \n", "a \n b", "a \n b", "a \n b", "a \n b"},
                                FormatCase{"\u00a0\u2003x\u2028", "x", "x", "x", "x"}));

TEST_F(LogQueue, ReadsAPercentInAnArgumentAsADirectiveOfTheNextPass) {
  EXPECT_EQ(writtenBy([] { QMLog::fastAppendLog("Moved %@", "/a/50%@.txt"); }), lineOf("Moved /a/50%@.txt"));
  EXPECT_EQ(writtenBy([] { QMLog::appendLog("Moved %@", "/a/50%@.txt"); }), lineOf("Moved /a/50(missing).txt"));
  EXPECT_EQ(writtenBy([] { QMLog::appendLog("Moved %@", "/a/50%%@.txt"); }), lineOf("Moved /a/50%@.txt"));
  EXPECT_EQ(writtenBy([] { QMLog::appendLogAndPrint("Moved %@", "/a/50%%@.txt"); }),
            lineOf("Moved /a/50(missing).txt"));
  EXPECT_THAT(printed(), ElementsAre("Moved /a/50%%@.txt"));
}

TEST_F(LogQueue, WritesNilArgumentsAsSuch) {
  EXPECT_EQ(writtenBy([] { QMLog::appendLog("%@ and %@", std::optional<std::string>(), "text"); }),
            lineOf("(null) and text"));
}

TEST_F(LogQueue, TrimsTheResultNotOnlyTheFormat) {
  EXPECT_EQ(writtenBy([] { QMLog::fastAppendLog("%@", " \n x y \n\n"); }), lineOf("x y"));
  EXPECT_EQ(writtenBy([] { QMLog::appendLog(" %@ ", "\tx\n\ny\t"); }), lineOf("x\n\ny"));
}

TEST_F(LogQueue, PrintsAMessageWhoseFormatWasTrimmedButNotItself) {
  EXPECT_EQ(writtenBy([] { QMLog::appendLogAndPrint("  [%@]  \n", " x "); }), lineOf("[ x ]"));
  EXPECT_EQ(writtenBy([] { QMLog::appendLogAndPrint("  %@  \n", " x "); }), lineOf("x"));
  EXPECT_THAT(printed(), ElementsAre("[ x ]", " x "));
}

TEST_F(LogQueue, PrintsAfterTheMessageIsHandedOver) {
  addLogFile();
  QMLog::appendLogAndPrint("short");
  EXPECT_TRUE(fakes.calls.areInOrder({"fileHandle.writeData", "console.print"}));
}

TEST_F(LogQueue, DoesNothingForANilFormat) {
  addLogFile();
  const std::optional<std::string> nil;
  QMLog::fastAppendLog(nil);
  QMLog::appendLog(nil, 1, "x");
  QMLog::appendLogAndPrint(nil);
  QMLog::fastAppendLog(std::nullopt);
  QMLog::finishWriting();
  EXPECT_EQ(written(), "");
  EXPECT_THAT(printed(), IsEmpty());
  EXPECT_EQ(log().bytesInQueue(), 0U);
}

// MARK: - The file

TEST_F(LogQueue, AppendsToTheFileThatIsThereAndOpensItOnce) {
  addLogFile("old line\n");
  for (int number = 0; number < 3; ++number) QMLog::appendLog("x");
  EXPECT_EQ(contents(1), "old line\n" + lineOf("x") + lineOf("x") + lineOf("x"));
  EXPECT_EQ(fakes.calls.count("fileSystem.openForWriting"), 1U);
  EXPECT_EQ(fakes.calls.count("fileHandle.seekToEndOfFile"), 1U);
  EXPECT_NE(log().fileHandle(), nullptr);
}

TEST_F(LogQueue, CountsFromNothingInAFileThatItOpens) {
  addLogFile(std::string(600'000, 'x'));
  QMLog::appendLog("message");
  EXPECT_EQ(log().bytesWritten(), lineOf("message").size());
  EXPECT_FALSE(fakes.disk.has(logFile(2)));
}

TEST_F(LogQueue, CountsBytesNotCharacters) {
  addLogFile();
  QMLog::appendLog("\u00e9\U0001F600");
  EXPECT_EQ(log().bytesWritten(), kDated.size() + 6 + 1);
}

TEST_F(LogQueue, PrintsBothTextsForEachMessageAndMakesNoFileWhenThereIsNone) {
  const std::vector<std::string> before = fakes.disk.tree();
  QMLog::appendLog("First 50%%");
  QMLog::appendLog("Second");
  EXPECT_THAT(printed(),
              ElementsAre("Unable to log the following information: First 50%", "Unable to open log for output",
                          "Unable to log the following information: Second", "Unable to open log for output"));
  EXPECT_EQ(fakes.disk.tree(), before);
  EXPECT_EQ(log().bytesInQueue(), 0U);
  EXPECT_EQ(log().bytesWritten(), 0U);
}

TEST_F(LogQueue, PrintsBothTextsWithoutALibraryFolder) {
  fakes.calls.failAlways("standardDirectories.search");
  QMLog::appendLog("x");
  EXPECT_THAT(printed(), ElementsAre("Unable to log the following information: x", "Unable to open log for output"));
}

TEST_F(LogQueue, OpensTheFileAgainForTheNextMessage) {
  addLogFile();
  fakes.calls.failNext("fileSystem.openForWriting");
  QMLog::appendLog("lost");
  QMLog::appendLog("written");
  EXPECT_EQ(written(), lineOf("written"));
  EXPECT_EQ(printed().size(), 2U);
}

TEST_F(LogQueue, OpensTheMachinesFileForRoot) {
  fakes.actAsRoot();
  addLogFile();
  fakes.disk.addFile(logFile(1, kRootLogFolder), "machine\n");
  QMLog::appendLog("x");
  EXPECT_EQ(fakes.disk.fileContents(logFile(1, kRootLogFolder)), "machine\n" + lineOf("x"));
  EXPECT_EQ(written(), "");
}

TEST_F(LogQueue, OpensTheFileOfTheNameThatWasSet) {
  fakes.disk.addFile(kLogFolder + "/Set.1.log", "");
  log().setAppName("Set");
  QMLog::appendLog("x");
  EXPECT_EQ(fakes.disk.fileContents(kLogFolder + "/Set.1.log"), lineOf("x"));
}

TEST_F(LogQueue, PrintsWhyALineCannotBeWrittenAndKeepsItCounted) {
  addLogFile();
  fakes.calls.setFailure(28, "The volume is 100%@ full.");
  fakes.calls.failNth("fileHandle.writeData", 2);
  for (const char* message : {"one", "second", "three"}) QMLog::appendLog(message);
  EXPECT_EQ(written(), lineOf("one") + lineOf("three"));
  EXPECT_THAT(printed(), ElementsAre("Exception writing to log: The volume is 100%@ full."));
  EXPECT_EQ(log().bytesInQueue(), std::string("second").size());
  EXPECT_EQ(log().bytesWritten(), (lineOf("one") + lineOf("three")).size());
  EXPECT_EQ(fakes.calls.count("fileSystem.openForWriting"), 1U);
}

TEST_F(LogQueue, PrintsWhyTheEndOfTheFileCannotBeFoundAndWritesNothingElsewhere) {
  addLogFile();
  fakes.calls.setFailure(29, "Illegal seek.");
  fakes.calls.failNext("fileHandle.seekToEndOfFile");
  QMLog::appendLog("lost");
  QMLog::appendLog("next");
  EXPECT_EQ(contents(1), "old line\n" + lineOf("next"));
  EXPECT_THAT(printed(), ElementsAre("Exception writing to log: Illegal seek."));
  EXPECT_EQ(log().bytesInQueue(), std::string("lost").size());
}

TEST_F(LogQueue, LeavesNoPartOfALineOnAFullVolume) {
  fillTheVolumeBehind(5);
  QMLog::appendLog("x");
  EXPECT_THAT(printed(), ElementsAre(StartsWith("Exception writing to log: ")));
  EXPECT_EQ(written(), "");
  EXPECT_EQ(log().bytesInQueue(), 1U);
  EXPECT_EQ(log().bytesWritten(), 0U);
  fakes.disk.setVolumeKind("/", {});
  QMLog::appendLog("y");
  EXPECT_EQ(written(), lineOf("y"));
}

TEST_F(LogQueue, BeginsALineOfItsOwnBelowAPartThatCannotBeTakenBack) {
  fillTheVolumeBehind(5);
  fakes.calls.failNext("fileHandle.removeIncompleteData");
  QMLog::appendLog("x");
  QMLog::appendLog("still full");
  const std::string part = lineOf("x").substr(0, 5);
  EXPECT_EQ(written(), part);
  fakes.disk.setVolumeKind("/", {});
  QMLog::appendLog("y");
  QMLog::appendLog("z");
  EXPECT_EQ(written(), part + "\n" + lineOf("y") + lineOf("z"));
  EXPECT_EQ(log().bytesWritten(), (lineOf("y") + lineOf("z")).size());
}

TEST_F(LogQueue, BeginsANewFileWithItsHeaderAfterAPartThatCannotBeTakenBack) {
  fillTheVolumeBehind(5);
  fakes.calls.failNext("fileHandle.removeIncompleteData");
  QMLog::appendLog("x");
  fakes.disk.setVolumeKind("/", {});
  QMLog::createNewLog();
  QMLog::appendLog("y");
  EXPECT_EQ(contents(1), kHeader + lineOf("y"));
}

// MARK: - Logging switched off

class DisabledLog : public LogQueue {
 protected:
  /// Switches logging off while a message is being written, right before `call`.
  void disableBefore(const std::string& call) {
    fakes.calls.before(call, 1, [] { log().setLoggingDisabled(true); });
  }
};

TEST_F(DisabledLog, WritesAndPrintsNothingAndOnlyCounts) {
  addLogFile();
  log().setLoggingDisabled(true);
  QMLog::appendLog("1234567890");
  QMLog::fastAppendLog("123");
  QMLog::finishWriting();
  EXPECT_EQ(written(), "");
  EXPECT_THAT(fakes.calls.log(), IsEmpty());
  EXPECT_EQ(log().bytesInQueue(), 13U);
}

TEST_F(DisabledLog, StillPrintsWhatIsToBePrinted) {
  log().setLoggingDisabled(true);
  QMLog::appendLogAndPrint("text");
  EXPECT_THAT(printed(), ElementsAre("text"));
}

TEST_F(DisabledLog, PrintsNothingAboutAFileThatItCannotOpen) {
  disableBefore("fileSystem.openForWriting");
  QMLog::fastAppendLog("1234567890");
  QMLog::finishWriting();
  EXPECT_THAT(printed(), IsEmpty());
  EXPECT_EQ(log().bytesInQueue(), 0U);
}

TEST_F(DisabledLog, PrintsNothingAboutALineThatItCannotWrite) {
  addLogFile();
  disableBefore("fileHandle.writeData");
  fakes.calls.failNext("fileHandle.writeData");
  QMLog::fastAppendLog("1234567890");
  QMLog::finishWriting();
  EXPECT_THAT(printed(), IsEmpty());
  EXPECT_EQ(log().bytesInQueue(), 10U);
}

TEST_F(DisabledLog, StopsWaitingOnceMoreThanNinetyNineCharactersHaveBeenQueued) {
  log().setLoggingDisabled(true);
  // The queue's only operation waits, so that a call that waited for the queue would not return.
  std::promise<void> go;
  log().writeQueue()->addOperation([&go] { go.get_future().wait(); });
  log().setBytesInQueue(99);
  std::future<void> call = std::async(std::launch::async, [] { QMLog::appendLog("x"); });
  EXPECT_EQ(call.wait_for(kLong), std::future_status::ready);
  go.set_value();
  call.wait();
  QMLog::finishWriting();
  EXPECT_EQ(log().bytesInQueue(), 100U);
}

// MARK: - Counting and waiting

TEST_F(LogQueue, CountsTheUtf16UnitsOfTrimmedMessagesUntilTheyAreWritten) {
  addLogFile();
  hold();
  EXPECT_EQ(log().bytesInQueue(), 4U);  // "held"
  QMLog::fastAppendLog("  abc \n");
  EXPECT_EQ(log().bytesInQueue(), 7U);
  QMLog::fastAppendLog("\u00e9");
  EXPECT_EQ(log().bytesInQueue(), 8U);
  QMLog::fastAppendLog("\U0001F600");
  EXPECT_EQ(log().bytesInQueue(), 10U);
  QMLog::fastAppendLog(" ");
  EXPECT_EQ(log().bytesInQueue(), 10U);
  release();
  EXPECT_EQ(log().bytesInQueue(), 0U);
}

TEST_F(LogQueue, NeverCountsBelowNothing) {
  addLogFile();
  hold();
  log().setBytesInQueue(1);
  release();
  EXPECT_EQ(log().bytesInQueue(), 0U);
}

/// Each of four threads has so many messages written.
void appendOnManyThreads(int messages) {
  std::vector<std::thread> writers;
  for (int writer = 0; writer < 4; ++writer) {
    writers.emplace_back([messages] {
      for (int number = 0; number < messages; ++number) QMLog::fastAppendLog("message");
    });
  }
  for (std::thread& writer : writers) writer.join();
  QMLog::finishWriting();
}

TEST_F(LogQueue, CountsNothingAnyMoreWhenManyThreadsMessagesAreWritten) {
  addLogFile("");
  appendOnManyThreads(5'000);
  EXPECT_EQ(log().bytesInQueue(), 0U);
}

TEST_F(LogQueue, KeepsOnlyALineThatCannotBeWrittenCountedWhenManyThreadsMessagesAreWritten) {
  addLogFile("");
  fakes.calls.failNth("fileHandle.writeData", 1'000);
  appendOnManyThreads(1'000);
  EXPECT_EQ(log().bytesInQueue(), std::string("message").size());
}

TEST_F(LogQueue, ReturnsAtOnceFromFastAppendLog) {
  addLogFile();
  expectToGoOn([] { QMLog::fastAppendLog("short"); });
}

TEST_F(LogQueue, WaitsForAShortMessage) {
  addLogFile();
  expectToWait([] { QMLog::appendLog("x"); });
  expectToWait([] { QMLog::appendLog("%@", std::string(99, 'x')); });
  expectToWait([] { QMLog::appendLogAndPrint("short"); });
}

TEST_F(LogQueue, DoesNotWaitForALongMessage) {
  addLogFile();
  expectToGoOn([] { QMLog::appendLog("%@", std::string(100, 'x')); });
  expectToGoOn([] { QMLog::appendLogAndPrint("%@", std::string(100, 'x')); });
}

TEST_F(LogQueue, DoesNotWaitForAnEmptyMessageButWritesIt) {
  addLogFile();
  expectToGoOn([] { QMLog::appendLog(""); });
  EXPECT_EQ(written(), lineOf(""));
}

TEST_F(LogQueue, MeasuresAMessageBeforeItIsTrimmed) {
  addLogFile();
  expectToWait([] { QMLog::appendLog("   "); });
  expectToGoOn([] { QMLog::appendLog("%@", "x" + std::string(99, ' ')); });
}

TEST_F(LogQueue, MeasuresAMessageAfterTheFirstPassInUtf16Units) {
  addLogFile();
  std::string smileys;
  for (int number = 0; number < 49; ++number) smileys += "\U0001F600";
  expectToWait([&] { QMLog::appendLog("%@", smileys + "x"); });
  expectToGoOn([&] { QMLog::appendLog("%@", smileys + "\U0001F600"); });
  expectToWait([&] { QMLog::appendLog("%99@", "x"); });
  expectToGoOn([&] { QMLog::appendLog("%100@", "x"); });
}

TEST_F(LogQueue, WaitsOnlyBehindAtMostNinetyNineCharactersTheMessageIncluded) {
  addLogFile();
  log().setBytesInQueue(98);
  expectToWait([] { QMLog::appendLog("x"); });
  log().setBytesInQueue(99);
  expectToGoOn([] { QMLog::appendLog("x"); });
}

TEST_F(LogQueue, HasWrittenAllThatCameBeforeAShortMessage) {
  addLogFile();
  for (int number = 0; number < 10; ++number) QMLog::fastAppendLog("1");
  QMLog::appendLog("2");
  std::string expected;
  for (int number = 0; number < 10; ++number) expected += lineOf("1");
  EXPECT_EQ(written(), expected + lineOf("2"));
}

TEST_F(LogQueue, FinishesAtOnceWithNothingToWrite) {
  QMLog::finishWriting();
  EXPECT_THAT(fakes.calls.log(), IsEmpty());
}

TEST_F(LogQueue, FinishesWithoutAQueue) {
  log().setWriteQueue(nullptr);
  QMLog::appendLog("x");
  QMLog::finishWriting();
  EXPECT_EQ(log().bytesInQueue(), 1U);
  EXPECT_THAT(fakes.calls.log(), IsEmpty());
}

TEST_F(LogQueue, IsNotWaitedForByItsOwnOperations) {
  addLogFile();
  std::promise<void> done;
  log().writeQueue()->addOperation([&done] {
    QMLog::finishWriting();
    QMLog::appendLog("from inside");
    done.set_value();
  });
  EXPECT_EQ(done.get_future().wait_for(kLong), std::future_status::ready);
  QMLog::finishWriting();
  EXPECT_EQ(written(), lineOf("from inside"));
}

TEST_F(LogQueue, WritesAMessageDirectlyOnTheCallingThread) {
  addLogFile();
  QMLog::appendLogOnThread("50%@");
  EXPECT_EQ(written(), lineOf("50%@"));
}

}  // namespace
}  // namespace qm::testing
