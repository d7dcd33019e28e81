// SPDX-License-Identifier: MIT
#include <algorithm>
#include <functional>
#include <memory>
#include <ostream>
#include <sstream>

#include "tests/unit/shared/LogTest.h"

namespace qm::testing {
namespace {

using ::testing::ValuesIn;

/// A machine with a log of its own, for one run after the other.
struct LogMachine {
  FakePlatform fakes;
  ScopedPlatform installed{fakes.platform};
  SingletonReset<QMLog> log;
};

/// An operation on the log while one call of a service after the other fails.
struct Operation {
  std::string name;
  std::function<void(FakePlatform&)> arrange;
  std::function<void()> run;
};

void PrintTo(const Operation& operation, std::ostream* stream) { *stream << operation.name; }

void addOldFiles(FakePlatform& fakes, const std::string& folder) {
  for (int number = 1; number <= 5; ++number) {
    fakes.disk.addFile(logFile(number, folder), "old line " + std::to_string(number) + "\n");
  }
}

void asUser(FakePlatform& fakes) { addOldFiles(fakes, kLogFolder); }

void asRoot(FakePlatform& fakes) {
  addOldFiles(fakes, kLogFolder);
  fakes.disk.addFile(logFile(1, kRootLogFolder), "machine line\n");
  fakes.actAsRoot();
}

void appendThree() {
  for (int number = 1; number <= 3; ++number) QMLog::appendLog("message %i", number);
}

void appendAndPrint() { QMLog::appendLogAndPrint("message %i", 1); }

void truncate() {
  QMLog::sharedController()->setBytesWritten(499'999);
  appendThree();
}

std::vector<Operation> operations() {
  const auto create = [] { QMLog::createNewLog(); };
  return {{"CreateWithNothingThere", [](FakePlatform&) {}, create},
          {"CreateWithFiveFiles", asUser, create},
          {"CreateAsRoot", asRoot, create},
          {"Append", asUser, appendThree},
          {"AppendAsRoot", asRoot, appendThree},
          {"AppendWithoutAFile", [](FakePlatform&) {}, appendThree},
          {"AppendAndPrint", asUser, appendAndPrint},
          {"Truncate", asUser, truncate},
          {"TruncateAsRoot", asRoot, truncate}};
}

class LogWithFailures : public ::testing::TestWithParam<Operation> {
 protected:
  /// Runs the operation on a new machine where one call fails (0 for none).
  static std::unique_ptr<LogMachine> runWithFailure(std::size_t number) {
    auto machine = std::make_unique<LogMachine>();
    GetParam().arrange(machine->fakes);
    machine->fakes.calls.failCallNumber(number);
    GetParam().run();
    QMLog::finishWriting();
    return machine;
  }

  static std::string allLines(LogMachine& machine) {
    std::string all;
    for (const std::string& path : machine.fakes.disk.tree()) {
      if (path.ends_with(".log")) all += machine.fakes.disk.fileContents(path).value_or("");
    }
    return all;
  }

  static bool contains(const std::vector<std::string>& list, const std::string& one) {
    return std::find(list.begin(), list.end(), one) != list.end();
  }

  /// A file that is reported missing is treated as missing and a new one is begun.
  static bool wasDenied(const LogMachine& machine, const std::string& file) {
    const std::string question = "fileSystem.fileExists(" + file + ")";
    return contains(machine.fakes.calls.failed(), question);
  }

  static void expectOldLinesKept(LogMachine& machine, const std::string& all) {
    if (wasDenied(machine, logFile(1)) || wasDenied(machine, logFile(1, kRootLogFolder))) return;
    // The fifth makes room for the fourth.
    for (int number = 1; number <= 4; ++number) {
      EXPECT_NE(all.find("old line " + std::to_string(number) + "\n"), std::string::npos) << number;
    }
  }

  static void expectNothingElsewhere(LogMachine& machine, const std::vector<std::string>& before) {
    for (const std::string& path : machine.fakes.disk.tree()) {
      const bool isTheLogs = path.starts_with("/home/u/Library/Logs/") || path.starts_with("/Library/Logs/");
      EXPECT_TRUE(isTheLogs || contains(before, path)) << path;
    }
  }

  /// Every line is whole: part of a header, an old one, or a dated message.
  static void expectWholeLines(const std::string& all) {
    std::istringstream stream(all);
    for (std::string line; std::getline(stream, line);) {
      const bool isKnown = line.starts_with("old line ") || line == "machine line" || line.starts_with(kDated) ||
                           kHeader.find(line + "\n") != std::string::npos || line.starts_with("Path: ") ||
                           line.starts_with("Version: ");
      EXPECT_TRUE(isKnown) << line;
    }
  }
};

TEST_P(LogWithFailures, LosesNoLineAndMakesNothingElsewhereWhicheverCallFails) {
  std::vector<std::string> before;
  {
    LogMachine untouched;
    GetParam().arrange(untouched.fakes);
    before = untouched.fakes.disk.tree();
  }
  const std::size_t calls = runWithFailure(0)->fakes.calls.callCount();
  ASSERT_GE(calls, 3U);
  for (std::size_t number = 1; number <= calls; ++number) {
    SCOPED_TRACE("call " + std::to_string(number));
    const std::unique_ptr<LogMachine> machine = runWithFailure(number);
    EXPECT_EQ(machine->fakes.calls.failed().size(), 1U);
    const std::string all = allLines(*machine);
    if (contains(before, logFile(4))) expectOldLinesKept(*machine, all);
    expectNothingElsewhere(*machine, before);
    expectWholeLines(all);
  }
}

/// One failure passes: afterwards the log is as usable as before.
TEST_P(LogWithFailures, WritesTheNextMessagesWhicheverCallFailed) {
  const std::size_t calls = runWithFailure(0)->fakes.calls.callCount();
  for (std::size_t number = 1; number <= calls; ++number) {
    SCOPED_TRACE("call " + std::to_string(number));
    const std::unique_ptr<LogMachine> machine = runWithFailure(number);
    machine->fakes.calls.failCallNumber(0);
    machine->fakes.disk.addFolder(kRootLogFolder);
    QMLog::createNewLog();
    QMLog::fastAppendLog("the next message");
    QMLog::finishWriting();
    EXPECT_NE(allLines(*machine).find(kHeader + lineOf("the next message")), std::string::npos);
  }
}

INSTANTIATE_TEST_SUITE_P(EachOperation, LogWithFailures, ValuesIn(operations()),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace
}  // namespace qm::testing
