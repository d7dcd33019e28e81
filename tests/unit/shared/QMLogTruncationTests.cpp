// SPDX-License-Identifier: MIT
#include <cstddef>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/unit/shared/LogTest.h"

namespace qm::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// MARK: - Truncation

class Truncation : public LogQueue {
 protected:
  /// The number of bytes before `message` that is one too few for a new file.
  static std::size_t justBefore(const std::string& message) { return 499'999 - lineOf(message).size(); }
};

TEST_F(Truncation, DoesNotHappenAtFourHundredNinetyNineThousandNineHundredNinetyNineBytes) {
  addLogFile();
  log().setBytesWritten(justBefore("last"));
  QMLog::appendLog("last");
  EXPECT_EQ(log().bytesWritten(), 499'999U);
  EXPECT_FALSE(fakes.disk.has(logFile(2)));
}

TEST_F(Truncation, HappensAtFiveHundredThousandBytes) {
  addLogFile();
  log().setBytesWritten(justBefore("last") + 1);
  QMLog::fastAppendLog("last");
  QMLog::finishWriting();
  EXPECT_EQ(contents(2), "old line\n" + lineOf("last"));
  EXPECT_EQ(contents(1), kHeader + lineOf("Log truncated at 500KB"));
  EXPECT_EQ(log().bytesWritten(), lineOf("Log truncated at 500KB").size());
  EXPECT_EQ(log().bytesInQueue(), 0U);
  EXPECT_THAT(printed(), IsEmpty());
}

TEST_F(Truncation, PutsItsNoticeBehindTheMessagesThatWait) {
  addLogFile();
  log().setBytesWritten(499'999);
  hold();
  for (const char* message : {"first", "second", "third"}) QMLog::fastAppendLog(message);
  release();
  EXPECT_EQ(contents(2), "old line\n" + lineOf("held"));
  EXPECT_EQ(contents(1),
            kHeader + lineOf("first") + lineOf("second") + lineOf("third") + lineOf("Log truncated at 500KB"));
}

TEST_F(Truncation, IsCompleteWhenAMessageWasWaitedFor) {
  addLogFile();
  log().setBytesWritten(499'999);
  QMLog::appendLog("last");
  EXPECT_EQ(contents(1), kHeader + lineOf("Log truncated at 500KB"));
}

TEST_F(Truncation, TakesPlaceBeforeTheMessageIsUncounted) {
  addLogFile();
  log().setBytesWritten(499'999);
  std::size_t counted = 0;
  fakes.calls.before("fileSystem.writeFileAtomically", 1, [&counted] { counted = log().bytesInQueue(); });
  QMLog::fastAppendLog("12345");
  QMLog::finishWriting();
  EXPECT_EQ(counted, 5U);
}

TEST_F(Truncation, KeepsTheNameOfTheLog) {
  fakes.systemInformation.setExecutablePath(std::nullopt);
  QMLog::createNewLog("Given");
  log().setBytesWritten(499'999);
  QMLog::appendLog("last");
  EXPECT_THAT(fakes.disk.tree(kLogFolder), ElementsAre(kLogFolder + "/Given.1.log", kLogFolder + "/Given.2.log"));
}

TEST_F(Truncation, GoesOnInTheOldFileWhenItCannotBeMoved) {
  addLogFile();
  log().setBytesWritten(499'999);
  fakes.calls.failNext("fileSystem.linkItem");
  fakes.calls.failNext("fileSystem.moveItem");
  QMLog::appendLog("last");
  EXPECT_EQ(contents(1), "old line\n" + lineOf("last") + lineOf("Log truncated at 500KB"));
  EXPECT_THAT(printed(), ElementsAre("Unable to move file " + logFile(1) + " to " + logFile(2)));
  EXPECT_EQ(log().bytesWritten(), lineOf("Log truncated at 500KB").size());
}

TEST_F(Truncation, EndsTheLogWhenItHasBeenSwitchedOffMeanwhile) {
  addLogFile();
  log().setBytesWritten(499'999);
  fakes.propertyLists.set("/home/u/Library/Preferences/com.quillmark.global.plist", {{"disable-logging", true}});
  QMLog::fastAppendLog("last");
  QMLog::finishWriting();
  EXPECT_THAT(printed(), ElementsAre("Logging is disabled"));
  EXPECT_EQ(contents(1), "old line\n" + lineOf("last"));
  EXPECT_FALSE(fakes.disk.has(logFile(2)));
  EXPECT_EQ(log().bytesInQueue(), std::string("Log truncated at 500KB").size());
}

TEST_F(Truncation, HappensAgainAndAgainWithNoLineLost) {
  QMLog::createNewLog();
  const std::string filling(1'000, 'x');
  constexpr int lines = 1'600;
  for (int number = 0; number < lines; ++number) QMLog::fastAppendLog("%05i %@", number, filling);
  QMLog::finishWriting();
  EXPECT_TRUE(fakes.disk.has(logFile(4)));
  EXPECT_FALSE(fakes.disk.has(logFile(5)));
  std::string all;
  for (int file = 4; file >= 1; --file) all += *contents(file);
  std::size_t at = 0;
  for (int number = 0; number < lines && at != std::string::npos; ++number) {
    std::ostringstream begin;
    begin.width(5);
    begin.fill('0');
    begin << number;
    at = all.find(" - " + begin.str() + " xxx", at);
  }
  EXPECT_NE(at, std::string::npos);
}

// MARK: - Many threads

/// The messages of the lines that end in a word, in order.
std::vector<std::string> linesOf(const std::string& text, const std::string& word) {
  std::vector<std::string> found;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    if (line.ends_with(" " + word)) found.push_back(line.substr(kDated.size()));
  }
  return found;
}

class LogOfManyThreads : public LogQueue {
 protected:
  static constexpr int threadCount = 8;
  static constexpr int messageCount = 60;

  static void run(const std::function<void(const std::string& word, int number)>& append) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
      threads.emplace_back([&append, word = "thread" + std::to_string(thread)] {
        for (int number = 0; number < messageCount; ++number) append(word, number);
      });
    }
    for (std::thread& thread : threads) thread.join();
    QMLog::finishWriting();
  }

  static void expectAllInOrder(const std::string& text) {
    std::vector<std::string> expected;
    for (int thread = 0; thread < threadCount; ++thread) {
      const std::string word = "thread" + std::to_string(thread);
      expected.clear();
      for (int number = 0; number < messageCount; ++number) expected.push_back(std::to_string(number) + " " + word);
      EXPECT_EQ(linesOf(text, word), expected);
    }
  }
};

TEST_F(LogOfManyThreads, HoldsTheMessagesOfEachInItsOrder) {
  addLogFile();
  run([](const std::string& word, int number) { QMLog::fastAppendLog("%i %@", number, word); });
  expectAllInOrder(written());
}

TEST_F(LogOfManyThreads, HoldsShortMessagesThatEachWaitsFor) {
  addLogFile();
  run([](const std::string& word, int number) { QMLog::appendLog("%i %@", number, word); });
  expectAllInOrder(written());
}

TEST_F(LogOfManyThreads, HoldsWhatIsPrinted) {
  addLogFile();
  run([](const std::string& word, int number) { QMLog::appendLogAndPrint("%i %@", number, word); });
  expectAllInOrder(written());
  EXPECT_EQ(printed().size(), static_cast<std::size_t>(threadCount * messageCount));
}

TEST_F(LogOfManyThreads, LosesNothingToTruncation) {
  QMLog::createNewLog();
  run([](const std::string& word, int number) {
    if (number % 20 == 0) log().setBytesWritten(490'000);
    QMLog::fastAppendLog("%i %@", number, word);
  });
  std::string all;
  for (int file = 5; file >= 1; --file) all += contents(file).value_or("");
  expectAllInOrder(all);
}

TEST_F(LogOfManyThreads, MayBeBegunAnewAtAnyTime) {
  QMLog::createNewLog();
  run([](const std::string& word, int number) {
    if (number == 30 && word == "thread3") QMLog::createNewLog();
    QMLog::fastAppendLog("%i %@", number, word);
    log().setAppName(log().appName());
  });
  EXPECT_THAT(*contents(1), StartsWith(kHeader));
  EXPECT_THAT(*contents(2), StartsWith(kHeader));
  EXPECT_THAT(printed(), IsEmpty());
}

}  // namespace
}  // namespace qm::testing
