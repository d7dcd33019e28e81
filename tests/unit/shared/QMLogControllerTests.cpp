// SPDX-License-Identifier: MIT
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "tests/unit/shared/LogTest.h"

namespace qm::testing {
namespace {

using platform::PropertyList;
using platform::PropertyListValue;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::Values;

// A null pointer is not a name.

template <class Name>
concept IsANameForANewLog = requires(Name name) {
  QMLog::createNewLog(name);
};
template <class Name>
concept IsAName = requires(QMLog& log, Name name) {
  log.setAppName(name);
};

static_assert(IsANameForANewLog<const char*> && IsANameForANewLog<std::nullopt_t> &&
              !IsANameForANewLog<std::nullptr_t>);
static_assert(IsAName<const char*> && IsAName<std::nullopt_t> && !IsAName<std::nullptr_t>);

// MARK: - The name

TEST_F(LogFiles, AreNamedByTheExecutableWhateverNameIsGiven) {
  QMLog::createNewLog("Given");
  EXPECT_THAT(names(), ElementsAre(logFile(1)));
  EXPECT_EQ(log().appName(), "Demo");
}

TEST_F(LogFiles, AreNamedAsGivenWithoutAnExecutable) {
  fakes.systemInformation.setExecutablePath(std::nullopt);
  QMLog::createNewLog("Given 100%@");
  EXPECT_THAT(names(), ElementsAre(kLogFolder + "/Given 100%@.1.log"));
  EXPECT_EQ(log().appName(), "Given 100%@");
}

TEST_F(LogFiles, KeepTheFirstNameGiven) {
  fakes.systemInformation.setExecutablePath(std::nullopt);
  QMLog::createNewLog("First");
  QMLog::createNewLog("Second");
  EXPECT_THAT(names(), ElementsAre(kLogFolder + "/First.1.log", kLogFolder + "/First.2.log"));
}

TEST_F(LogFiles, AreNamedByTheNameThatWasSet) {
  log().setAppName("Set");
  QMLog::createNewLog("Given");
  EXPECT_THAT(names(), ElementsAre(kLogFolder + "/Set.1.log"));
}

TEST_F(LogFiles, SayThatTheirNameIsNilWhenThereIsNone) {
  fakes.systemInformation.setExecutablePath(std::nullopt);
  QMLog::createNewLog();
  EXPECT_THAT(names(), ElementsAre(kLogFolder + "/(null).1.log"));
}

TEST_F(LogFiles, TakeNoNameWhileLoggingIsSwitchedOff) {
  fakes.systemInformation.setExecutablePath(std::nullopt);
  switchWith(true);
  QMLog::createNewLog("Given");
  EXPECT_EQ(log().appName(), std::nullopt);
}

using ExecutableName = std::pair<const char*, const char*>;
class NameOfTheLog : public LogFiles, public ::testing::WithParamInterface<ExecutableName> {};

TEST_P(NameOfTheLog, IsTheExecutablesWithoutItsExtensionAndNeverStored) {
  fakes.systemInformation.setExecutablePath(GetParam().first);
  EXPECT_EQ(log().appName(), GetParam().second);
  fakes.systemInformation.setExecutablePath(std::nullopt);
  EXPECT_EQ(log().appName(), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(EachExecutable, NameOfTheLog,
                         Values(ExecutableName{"/usr/bin/tessaly", "tessaly"},
                                ExecutableName{"/a.b/Tessaly.exe", "Tessaly"},
                                ExecutableName{"/a/Tessaly 1.2", "Tessaly 1"}, ExecutableName{"/a/.hidden", ".hidden"},
                                ExecutableName{"/a/b.tar.gz", "b.tar"}));

TEST_F(LogFiles, HaveTheNameThatWasSetUntilItIsTakenBack) {
  log().setAppName("Set");
  EXPECT_EQ(log().appName(), "Set");
  log().setAppName("");
  EXPECT_EQ(log().appName(), "");
  log().setAppName(std::nullopt);
  EXPECT_EQ(log().appName(), "Demo");
}

// MARK: - The switch

struct SwitchCase {
  std::string name;
  PropertyListValue value;
  bool isOff;
};

void PrintTo(const SwitchCase& one, std::ostream* stream) { *stream << one.name; }

class LogSwitch : public LogFiles, public ::testing::WithParamInterface<SwitchCase> {};

TEST_P(LogSwitch, IsOffForTheTextOneAndForNumbersEqualToTrue) {
  switchWith(GetParam().value);
  QMLog::createNewLog();
  EXPECT_EQ(log().loggingDisabled(), GetParam().isOff);
  EXPECT_EQ(fakes.disk.has(logFile(1)), !GetParam().isOff);
  EXPECT_EQ(printed(), GetParam().isOff ? std::vector<std::string>{"Logging is disabled"} : std::vector<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(
    EachValue, LogSwitch,
    Values(SwitchCase{"TextOne", std::string("1"), true}, SwitchCase{"TextYES", std::string("YES"), false},
           SwitchCase{"TextTrue", std::string("true"), false}, SwitchCase{"TextZero", std::string("0"), false},
           SwitchCase{"TextOneWithBlank", std::string("1 "), false}, SwitchCase{"TextEmpty", std::string(), false},
           SwitchCase{"TextOnePointZero", std::string("1.0"), false}, SwitchCase{"True", true, true},
           SwitchCase{"False", false, false}, SwitchCase{"One", std::int64_t{1}, true},
           SwitchCase{"Zero", std::int64_t{0}, false}, SwitchCase{"Two", std::int64_t{2}, false},
           SwitchCase{"MinusOne", std::int64_t{-1}, false}, SwitchCase{"RealOne", 1.0, true},
           SwitchCase{"RealZero", 0.0, false}, SwitchCase{"RealOneAndAHalf", 1.5, false},
           SwitchCase{"AnotherKind", std::monostate{}, false}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(LogFiles, AreWrittenWithoutASwitch) {
  QMLog::createNewLog();  // no file, or one that cannot be read
  EXPECT_FALSE(log().loggingDisabled());
  fakes.propertyLists.set(kSwitchFile, PropertyList{{"disable_logging", true}, {"Disable-Logging", true}});
  QMLog::createNewLog();
  EXPECT_FALSE(log().loggingDisabled());
  EXPECT_EQ(fakes.calls.count("propertyLists.read(" + kSwitchFile + ")"), 2U);
  EXPECT_TRUE(fakes.disk.has(logFile(2)));
}

TEST_F(LogFiles, AreWrittenWhenTheSwitchCannotBeRead) {
  switchWith(true);
  fakes.calls.failNext("propertyLists.read");
  QMLog::createNewLog();
  EXPECT_FALSE(log().loggingDisabled());
  EXPECT_EQ(contents(1), kHeader);
}

TEST_F(LogFiles, AreUntouchedWhenLoggingIsSwitchedOff) {
  addFiles({1, 2, 3, 4, 5});
  switchWith(std::string("1"));
  log().setBytesWritten(5);
  log().setBytesInQueue(6);
  const std::vector<std::string> before = fakes.disk.tree();
  QMLog::createNewLog("Given");
  EXPECT_EQ(fakes.disk.tree(), before);
  EXPECT_EQ(contents(1), "old 1");
  EXPECT_THAT(printed(), ElementsAre("Logging is disabled"));
  EXPECT_THAT(fakes.calls.log(), ElementsAre("console.print(Logging is disabled)"));
  EXPECT_EQ(log().bytesWritten(), 5U);
  EXPECT_EQ(log().bytesInQueue(), 6U);
  EXPECT_EQ(log().fileHandle(), nullptr);
}

TEST_F(LogFiles, AreClosedWhenLoggingIsSwitchedOff) {
  QMLog::createNewLog();
  switchWith(true);
  QMLog::createNewLog();
  EXPECT_EQ(log().fileHandle(), nullptr);
  EXPECT_EQ(contents(2), std::nullopt);
}

TEST_F(LogFiles, AreBegunAgainAfterTheSwitchButStayEmptyOfMessages) {
  switchWith(true);
  QMLog::createNewLog();
  switchWith(false);
  QMLog::createNewLog();
  EXPECT_TRUE(log().loggingDisabled());
  QMLog::appendLog("Message");
  QMLog::finishWriting();
  EXPECT_EQ(contents(1), kHeader);
}

TEST_F(LogFiles, LookForTheConsoleUsersSwitchAsRoot) {
  fakes.users.addUser("anna", "/Users/anna");
  fakes.actAsRoot("anna");
  switchWith(true, "/Users/anna/Library/Preferences/com.quillmark.global.plist");
  QMLog::createNewLog();
  EXPECT_TRUE(log().loggingDisabled());
}

// MARK: - The one log

TEST_F(LogFiles, HaveOneController) {
  QMLog* const log = QMLog::sharedController();
  ASSERT_NE(log, nullptr);
  EXPECT_EQ(QMLog::sharedController(), log);
  EXPECT_EQ(QMLog::allocWithZone(), nullptr);
  EXPECT_EQ(log->retain(), log);
  EXPECT_EQ(log->autorelease(), log);
  EXPECT_EQ(log->copyWithZone(), log);
  EXPECT_EQ(log->retainCount(), 4294967295U);
  log->release();
  EXPECT_EQ(QMLog::sharedController(), log);
}

TEST_F(LogFiles, HaveAControllerThatBeginsEmptyWithAQueue) {
  EXPECT_NE(log().writeQueue(), nullptr);
  EXPECT_EQ(log().fileHandle(), nullptr);
  EXPECT_EQ(log().bytesWritten(), 0U);
  EXPECT_EQ(log().bytesInQueue(), 0U);
  EXPECT_FALSE(log().loggingDisabled());
}

TEST_F(LogFiles, HaveAControllerThatIsAnsweredAsItWasAllocated) {
  QMLog* const log = QMLog::allocWithZone();
  ASSERT_NE(log, nullptr);
  EXPECT_EQ(QMLog::allocWithZone(), nullptr);
  EXPECT_EQ(QMLog::sharedController(), log);
  EXPECT_EQ(log->writeQueue(), nullptr);
  QMLog::appendLog("Lost");  // counted, but there is no queue
  EXPECT_EQ(log->bytesInQueue(), 4U);
}

TEST_F(LogFiles, HaveOneControllerForManyThreads) {
  std::vector<QMLog*> found(8);
  std::atomic<int> queues{0};
  std::vector<std::thread> threads;
  for (QMLog*& place : found) {
    threads.emplace_back([&place, &queues] {
      place = QMLog::sharedController();
      queues += place->writeQueue() != nullptr ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(found, AllOf(::testing::Each(found.front()), Not(Contains(nullptr))));
  EXPECT_EQ(queues, 8);
}

TEST_F(LogFiles, AreCompleteWhenTheControllerIsReleased) {
  QMLog::createNewLog();
  for (int number = 0; number < 50; ++number) QMLog::fastAppendLog("Message");
  log().release();
  std::string expected = kHeader;
  for (int number = 0; number < 50; ++number) expected += lineOf("Message");
  EXPECT_EQ(contents(1), expected);
}

TEST_F(LogFiles, AreCompleteAndGivenUpWhenTheControllerIsDeallocated) {
  QMLog::createNewLog();
  log().setAppName("Set");
  QMLog::fastAppendLog("Message");
  log().dealloc();
  EXPECT_EQ(contents(1), kHeader + lineOf("Message"));
  EXPECT_EQ(log().fileHandle(), nullptr);
  EXPECT_EQ(log().writeQueue(), nullptr);
  EXPECT_EQ(log().appName(), "Demo");
}

TEST_F(LogFiles, HaveAControllerWhosePropertiesCanBeSet) {
  auto queue = std::make_shared<platform::OperationQueue>();
  log().setWriteQueue(queue);
  log().setLoggingDisabled(true);
  log().setBytesInQueue(3);
  EXPECT_EQ(log().writeQueue(), queue);
  EXPECT_TRUE(log().loggingDisabled());
  EXPECT_EQ(log().bytesInQueue(), 3U);
}

}  // namespace
}  // namespace qm::testing
