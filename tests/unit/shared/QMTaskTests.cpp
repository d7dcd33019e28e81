// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <type_traits>

#include "tests/unit/shared/TaskTest.h"

namespace qm::testing {
namespace {

using foundation::StringEncoding;
using platform::TaskStream;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using TaskPointer = std::shared_ptr<QMTask::Task>;
using OptionalText = std::optional<std::string>;

constexpr QMTask::TimeoutInterval kLimit(5);
const Arguments kTwo = std::vector<std::string>{"-f", "two words"};

// MARK: - What must not compile

template <class Path>
concept IsPath = requires(Path path, Arguments arguments, TaskPointer* task, QMTask runner) {
  QMTask::terminationCodeFromTask(path, arguments);
  QMTask::dataFromTask(path, arguments, task);
  QMTask::stringFromTask(path, arguments);
  QMTask::runTask(path, arguments);
  QMTask::runTaskAndReturn(path, arguments);
  runner.terminationCodeOnInstance(path, arguments, kLimit);
};
static_assert(IsPath<std::string> && IsPath<const char*>);

template <class Path>
constexpr bool startsSomething = requires(Path path) {
  QMTask::terminationCodeFromTask(path, {});
}
|| requires(Path path) { QMTask::terminationCodeFromTask(path, kNone, nullptr); }
|| requires(Path path) { QMTask::terminationCodeFromTask(path, {}, kLimit); }
|| requires(Path path) { QMTask::dataFromTask(path, {}, nullptr); }
|| requires(Path path) { QMTask::dataFromTask(path, kNone, kLimit); }
|| requires(Path path) { QMTask::stringFromTask(path, {}); }
|| requires(Path path) { QMTask::stringFromTask(path, kNone, nullptr); }
|| requires(Path path) { QMTask::stringFromTask(path, {}, kLimit); }
|| requires(Path path) { QMTask::stringFromTask(path, {}, StringEncoding::UTF8, nullptr); }
|| requires(Path path) { QMTask::stringFromTask(path, {}, StringEncoding::UTF8, kLimit); }
|| requires(Path path) { QMTask::runTask(path, {}); }
|| requires(Path path) { QMTask::runTask(path, {}, nullptr); }
|| requires(Path path) { QMTask::runTask(path, kNone, kLimit); }
|| requires(Path path) { QMTask::runTaskAndReturn(path, {}); };
static_assert(startsSomething<const char*>);
static_assert(!startsSomething<std::nullptr_t>, "a null pointer is no path");

template <class Path>
constexpr bool startsOnInstance = requires(Path path, QMTask runner) {
  runner.terminationCodeOnInstance(path, {}, kLimit);
}
|| requires(Path path, QMTask runner) { runner.dataOnInstance(path, {}, kLimit); }
|| requires(Path path, QMTask runner) { runner.runOnInstance(path, {}, kLimit); };
static_assert(startsOnInstance<const char*>);
static_assert(!startsOnInstance<std::nullptr_t>);

template <class Limit>
constexpr bool isThirdArgument = requires(Limit limit) {
  QMTask::terminationCodeFromTask(kTool, kNone, limit);
}
|| requires(Limit limit) { QMTask::dataFromTask(kTool, kNone, limit); }
|| requires(Limit limit) { QMTask::stringFromTask(kTool, kNone, limit); }
|| requires(Limit limit) { QMTask::stringFromTask(kTool, kNone, StringEncoding::UTF8, limit); }
|| requires(Limit limit) { QMTask::runTask(kTool, kNone, limit); };
static_assert(isThirdArgument<QMTask::TimeoutInterval> && isThirdArgument<std::nullptr_t>);
static_assert(!isThirdArgument<int> && !isThirdArgument<double>, "a bare number is no limit");
static_assert(!std::is_constructible_v<Arguments, std::nullptr_t>, "arguments are nil, not null");
static_assert(!std::is_default_constructible_v<QMTask>, "a runner is always shared with its timer");
static_assert(!std::is_copy_constructible_v<QMTask> && !std::is_copy_assignable_v<QMTask>);

// MARK: - What is refused

/// One operation: runs it on a path and returns whether the result says that no process was started.
struct Operation {
  const char* name;
  std::function<bool(const std::string& path, const Arguments& arguments)> refuses;
};

std::vector<Operation> everyOperation() {
  const auto nothing = [](auto run) {
    return [run](const std::string& path, const Arguments& arguments) {
      run(path, arguments);
      return true;
    };
  };
  const auto code = [](auto... last) {
    return [=](const std::string& path, const Arguments& arguments) {
      return QMTask::terminationCodeFromTask(path, arguments, last...) == -1;
    };
  };
  const auto data = [](auto last) {
    return [=](const std::string& path, const Arguments& arguments) {
      return QMTask::dataFromTask(path, arguments, last) == std::nullopt;
    };
  };
  const auto text = [](auto... last) {
    return [=](const std::string& path, const Arguments& arguments) {
      return QMTask::stringFromTask(path, arguments, last...) == "";
    };
  };
  const auto run = [](auto... last) {
    return
        [=](const std::string& path, const Arguments& arguments) { return !QMTask::runTask(path, arguments, last...); };
  };
  return {
      {"CodeWithTask", code(nullptr)},
      {"Code", code()},
      {"CodeWithLimit", code(kLimit)},
      {"DataWithTask", data(nullptr)},
      {"DataWithLimit", data(kLimit)},
      {"StringWithEncodingAndTask", text(StringEncoding::UTF8, nullptr)},
      {"StringWithTask", text(nullptr)},
      {"String", text()},
      {"StringWithEncodingAndLimit", text(StringEncoding::UTF8, kLimit)},
      {"StringWithLimit", text(kLimit)},
      {"RunWithTask", run(nullptr)},
      {"Run", run()},
      {"RunWithLimit",
       nothing([](const auto& path, const auto& arguments) { QMTask::runTask(path, arguments, kLimit); })},
      {"RunAndReturn",
       nothing([](const auto& path, const auto& arguments) { QMTask::runTaskAndReturn(path, arguments); })},
  };
}

class EveryTaskOperation : public TaskTest, public ::testing::WithParamInterface<Operation> {
 protected:
  EveryTaskOperation() { fakes.clock.setManual(); }  // a limit does not pass

  void expectRefused(const std::string& path) {
    EXPECT_TRUE(GetParam().refuses(path, kTwo));
    EXPECT_THAT(console(), ElementsAre("Error: " + path + " is not executable"));
    EXPECT_EQ(log(), "2024-02-29 23:05:07 +0000 - Error: " + path + " is not executable\n");
    EXPECT_THAT(fakes.tasks.all(), IsEmpty());
  }
};

INSTANTIATE_TEST_SUITE_P(All, EveryTaskOperation, ::testing::ValuesIn(everyOperation()),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_P(EveryTaskOperation, RefusesAPathWhereNothingIs) { expectRefused("/usr/bin/missing"); }

TEST_P(EveryTaskOperation, RefusesAFileThatIsNotExecutable) {
  fakes.disk.addFile("/usr/bin/notes.txt");
  expectRefused("/usr/bin/notes.txt");
}

TEST_P(EveryTaskOperation, RefusesAFolder) { expectRefused("/usr/bin"); }

TEST_P(EveryTaskOperation, RefusesAnApplicationBundle) {
  fakes.disk.addFile("/Applications/Other.app/Contents/Info.plist");
  expectRefused("/Applications/Other.app");
}

TEST_P(EveryTaskOperation, RefusesAnExecutableFileThatTheDesktopShowsAsABundle) {
  fakes.packages.set(kTool, true);
  expectRefused(kTool);
}

TEST_P(EveryTaskOperation, RefusesAnEmptyPath) { expectRefused(""); }

TEST_P(EveryTaskOperation, PrintsTheRefusalBeforeItIsLogged) {
  fakes.disk.remove(kLogFile);
  EXPECT_TRUE(GetParam().refuses("/no", kNone));
  EXPECT_THAT(console(), ElementsAre("Error: /no is not executable",
                                     "Unable to log the following information: Error: /no is not executable",
                                     "Unable to open log for output"));
}

TEST_P(EveryTaskOperation, PrintsAPercentSignOfThePathAsItStands) {
  EXPECT_TRUE(GetParam().refuses("/100%d", kNone));
  EXPECT_THAT(console(), ElementsAre("Error: /100%d is not executable"));
  EXPECT_EQ(log(), "2024-02-29 23:05:07 +0000 - Error: /100(missing) is not executable\n");
}

TEST_P(EveryTaskOperation, AnswersALaunchThatTheSystemRefusesAsNoProcessAndSaysNothing) {
  fakes.calls.failNext("tasks.launch");
  EXPECT_TRUE(GetParam().refuses(kTool, kTwo));
  EXPECT_THAT(console(), IsEmpty());
  EXPECT_EQ(log(), "");
  EXPECT_EQ(fakes.calls.count("tasks.waitUntilExit"), 0U);
  EXPECT_EQ(fakes.calls.count("tasks.availableData"), 0U);
}

TEST_P(EveryTaskOperation, PassesTheArgumentsAsTheyAre) {
  (void)GetParam().refuses(kTool, kTwo);
  EXPECT_THAT(fakes.tasks.launches(), ElementsAre(ElementsAre(kTool, "-f", "two words")));
}

TEST_P(EveryTaskOperation, StartsAToolWithoutArgumentsWhenTheyAreNil) {
  (void)GetParam().refuses(kTool, kNone);
  EXPECT_THAT(fakes.tasks.launches(), ElementsAre(ElementsAre(kTool)));
}

TEST_P(EveryTaskOperation, StartsAToolWithoutArgumentsWhenThereAreNone) {
  (void)GetParam().refuses(kTool, std::vector<std::string>());
  EXPECT_THAT(fakes.tasks.launches(), ElementsAre(ElementsAre(kTool)));
}

TEST_P(EveryTaskOperation, AsksBothQuestionsBeforeItMakesATask) {
  (void)GetParam().refuses(kTool, kTwo);
  EXPECT_TRUE(fakes.calls.areInOrder({"fileSystem.isExecutableFile(" + kTool + ")", "tasks.makeTask"}));
  EXPECT_TRUE(fakes.calls.areInOrder({"packages.isFilePackage(" + kTool + ")", "tasks.makeTask"}));
}

TEST_P(EveryTaskOperation, StartsAtMostOneProcessWhateverCallFails) {
  (void)GetParam().refuses(kTool, kTwo);
  fakes.end();
  const std::size_t count = fakes.calls.callCount();
  ASSERT_GE(count, 3U);
  for (std::size_t number = 1; number <= count; ++number) {
    SCOPED_TRACE("call " + std::to_string(number));
    FakePlatform machine;
    const ScopedPlatform installed(machine.platform);
    machine.mainThread.serveOnOwnThread();
    machine.disk.addExecutable(kTool);
    machine.calls.failCallNumber(number);
    const bool refused = GetParam().refuses(kTool, kTwo);
    machine.end();
    const bool launched = !machine.tasks.all().empty() && machine.tasks.last()->wasLaunched();
    EXPECT_LE(machine.tasks.all().size(), 1U);
    if (!launched) {
      EXPECT_TRUE(refused);
    }
  }
}

/// Every call that a refusal makes, the log's included.
TEST_P(EveryTaskOperation, RefusesWhateverCallFailsMeanwhile) {
  EXPECT_TRUE(GetParam().refuses("/no", kNone));
  QMLog::finishWriting();
  fakes.end();
  const std::size_t count = fakes.calls.callCount();
  ASSERT_GE(count, 4U);
  for (std::size_t number = 1; number <= count; ++number) {
    SCOPED_TRACE("call " + std::to_string(number));
    FakePlatform machine;
    const ScopedPlatform installed(machine.platform);
    const SingletonReset<QMLog> freshLog;
    machine.mainThread.serveOnOwnThread();
    machine.disk.addFile(kLogFile);
    machine.calls.failCallNumber(number);
    EXPECT_TRUE(GetParam().refuses("/no", kNone));
    QMLog::finishWriting();
    machine.end();
    EXPECT_THAT(machine.tasks.all(), IsEmpty());
  }
}

// MARK: - The exit status

class TerminationCode : public TaskTest {};

TEST_F(TerminationCode, IsTheToolsExitStatus) {
  scriptExit(7);
  EXPECT_EQ(QMTask::terminationCodeFromTask(kTool, kNone), 7);
  EXPECT_EQ(QMTask::terminationCodeFromTask(kTool, kNone, nullptr), 7);
}

TEST_F(TerminationCode, KeepsTheSignOfTheStatus) {
  scriptExit(-2);
  EXPECT_EQ(QMTask::terminationCodeFromTask(kTool, kNone), -2L);
  scriptExit(INT_MIN);
  EXPECT_EQ(QMTask::terminationCodeFromTask(kTool, kNone), static_cast<long>(INT_MIN));
  scriptExit(INT_MAX);
  EXPECT_EQ(QMTask::terminationCodeFromTask(kTool, kNone), static_cast<long>(INT_MAX));
}

TEST_F(TerminationCode, DoesNotWaitForAToolThatHasFinished) {
  QMTask::terminationCodeFromTask(kTool, kTwo);
  EXPECT_THAT(steps(), ElementsAre("tasks.makeTask()", "tasks.setLaunchPath(/usr/bin/tool)",
                                   "tasks.setArguments(-f, two words)", "tasks.setStandardError(null device)",
                                   "tasks.setStandardOutput(null device)", "tasks.launch(/usr/bin/tool, -f, two words)",
                                   "tasks.isRunning(/usr/bin/tool)", "tasks.terminationStatus(/usr/bin/tool)"));
}

TEST_F(TerminationCode, WaitsForAToolThatStillRuns) {
  scriptAToolThatEndsWhenWaitedFor(9);
  EXPECT_EQ(QMTask::terminationCodeFromTask(kTool, kNone), 9);
  EXPECT_THAT(steps(), ElementsAre("tasks.makeTask()", "tasks.setLaunchPath(/usr/bin/tool)",
                                   "tasks.setStandardError(null device)", "tasks.setStandardOutput(null device)",
                                   "tasks.launch(/usr/bin/tool)", "tasks.isRunning(/usr/bin/tool)",
                                   "tasks.waitUntilExit(/usr/bin/tool)", "tasks.terminationStatus(/usr/bin/tool)"));
}

TEST_F(TerminationCode, DiscardsTheOutputAndInheritsTheInput) {
  QMTask::terminationCodeFromTask(kTool, kNone);
  EXPECT_EQ(task().standardInput(), TaskStream::Inherited);
  EXPECT_EQ(task().standardOutput(), TaskStream::NullDevice);
  EXPECT_EQ(task().standardError(), TaskStream::NullDevice);
}

TEST_F(TerminationCode, HandsOutTheTaskWhenItIsPreparedAndBeforeItIsLaunched) {
  TaskPointer received;
  fakes.calls.before("tasks.setStandardOutput", 1, [&] { EXPECT_EQ(received, nullptr); });
  fakes.calls.before("tasks.launch", 1, [&] { EXPECT_EQ(received, fakes.tasks.last()); });
  QMTask::terminationCodeFromTask(kTool, kNone, &received);
  EXPECT_EQ(received, fakes.tasks.last());
}

TEST_F(TerminationCode, HandsOutTheTaskThatCouldNotBeLaunched) {
  TaskPointer received;
  fakes.calls.failNext("tasks.launch");
  EXPECT_EQ(QMTask::terminationCodeFromTask(kTool, kNone, &received), -1);
  EXPECT_EQ(received, fakes.tasks.last());
}

TEST_F(TerminationCode, LeavesTheOutParameterAloneWhenTheToolIsRefused) {
  QMTask::runTask(kTool, kNone);
  TaskPointer received = fakes.tasks.last();
  EXPECT_EQ(QMTask::terminationCodeFromTask("/no", kNone, &received), -1);
  EXPECT_EQ(received, fakes.tasks.last());
}

TEST_F(TerminationCode, GivesUpItsTask) {
  QMTask::terminationCodeFromTask(kTool, kNone);
  EXPECT_EQ(fakes.tasks.last().use_count(), 2);  // the fake's own and this one
}

// MARK: - Run and wait

class RunTask : public TaskTest {};

TEST_F(RunTask, IsTrueWhateverTheExitStatus) {
  scriptExit(1);
  EXPECT_TRUE(QMTask::runTask(kTool, kNone));
  EXPECT_TRUE(QMTask::runTask(kTool, kNone, nullptr));
  EXPECT_EQ(fakes.calls.count("tasks.terminationStatus"), 0U);
}

TEST_F(RunTask, WaitsAlsoForAToolThatHasFinished) {
  QMTask::runTask(kTool, kTwo);
  EXPECT_THAT(steps(),
              ElementsAre("tasks.makeTask()", "tasks.setLaunchPath(/usr/bin/tool)", "tasks.setArguments(-f, two words)",
                          "tasks.setStandardError(null device)", "tasks.setStandardOutput(null device)",
                          "tasks.launch(/usr/bin/tool, -f, two words)", "tasks.waitUntilExit(/usr/bin/tool)"));
}

TEST_F(RunTask, ReturnsWhenTheToolHasExited) {
  scriptAToolThatEndsWhenWaitedFor(0);
  TaskPointer received;
  EXPECT_TRUE(QMTask::runTask(kTool, kNone, &received));
  EXPECT_FALSE(received->isRunning());
}

TEST_F(RunTask, HandsOutTheTaskBeforeItsLaunchPathIsSet) {
  TaskPointer received;
  fakes.calls.before("tasks.makeTask", 1, [&] { EXPECT_EQ(received, nullptr); });
  fakes.calls.before("tasks.setLaunchPath", 1, [&] { EXPECT_NE(received, nullptr); });
  QMTask::runTask(kTool, kNone, &received);
  EXPECT_EQ(received, fakes.tasks.last());
}

TEST_F(RunTask, KeepsTheEventLoopServedWhileTheMainThreadWaits) {
  TaskScript script;
  script.runsUntilEnded = true;
  fakes.tasks.script(kTool, script);
  bool served = false;
  fakes.mainThread.perform([&] {
    served = true;
    task().exit(0);
  });
  EXPECT_TRUE(QMTask::runTask(kTool, kNone));
  EXPECT_TRUE(served);
}

// MARK: - Start and forget

class RunTaskAndReturn : public TaskTest {};

TEST_F(RunTaskAndReturn, ReturnsWhileTheToolRuns) {
  TaskScript script;
  script.runsUntilEnded = true;
  fakes.tasks.script(kTool, script);
  QMTask::runTaskAndReturn(kTool, kTwo);
  EXPECT_TRUE(task().isRunning());
  EXPECT_FALSE(task().wasTerminated());
}

TEST_F(RunTaskAndReturn, LaunchesAndAsksNothing) {
  QMTask::runTaskAndReturn(kTool, kNone);
  EXPECT_THAT(steps(), ElementsAre("tasks.makeTask()", "tasks.setLaunchPath(/usr/bin/tool)",
                                   "tasks.setStandardError(null device)", "tasks.setStandardOutput(null device)",
                                   "tasks.launch(/usr/bin/tool)"));
  EXPECT_EQ(fakes.tasks.last().use_count(), 2);
}

// MARK: - The output

class DataFromTask : public TaskTest {};

TEST_F(DataFromTask, PreparesReadsToTheEndsAndCloses) {
  scriptOutput({"o1", "o2"}, {"e1"});
  EXPECT_EQ(QMTask::dataFromTask(kTool, kTwo, nullptr), "e1");
  EXPECT_THAT(
      steps(),
      ElementsAre(
          "tasks.makeTask()", "tasks.setLaunchPath(/usr/bin/tool)", "tasks.setArguments(-f, two words)",
          "tasks.setStandardOutput(pipe)", "tasks.setStandardInput(pipe)", "tasks.setStandardError(pipe)",
          "tasks.launch(/usr/bin/tool, -f, two words)", "tasks.availableData(/usr/bin/tool, standard output)",
          "tasks.availableData(/usr/bin/tool, standard output)", "tasks.availableData(/usr/bin/tool, standard output)",
          "tasks.availableData(/usr/bin/tool, standard error)", "tasks.availableData(/usr/bin/tool, standard output)",
          "tasks.availableData(/usr/bin/tool, standard error)", "tasks.closeReader(/usr/bin/tool, standard error)",
          "tasks.closeReader(/usr/bin/tool, standard output)"));
}

TEST_F(DataFromTask, IsTheStandardOutputWhenNoErrorIsPrinted) {
  scriptOutput({"one ", "two ", "three"});
  EXPECT_EQ(QMTask::dataFromTask(kTool, kNone, nullptr), "one two three");
}

TEST_F(DataFromTask, IsTheStandardErrorAloneWhenAnythingIsPrintedThere) {
  scriptOutput({"much output"}, {"!", "?"});
  EXPECT_EQ(QMTask::dataFromTask(kTool, kNone, nullptr), "!?");
  scriptOutput({}, {"only this"});
  EXPECT_EQ(QMTask::dataFromTask(kTool, kNone, nullptr), "only this");
}

TEST_F(DataFromTask, IsEmptyAndNotNilWhenNothingIsPrinted) {
  EXPECT_EQ(QMTask::dataFromTask(kTool, kNone, nullptr), "");
}

TEST_F(DataFromTask, KeepsEveryByte) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  scriptOutput({bytes});
  EXPECT_EQ(QMTask::dataFromTask(kTool, kNone, nullptr), bytes);
}

TEST_F(DataFromTask, DoesNotLookAtTheExitStatus) {
  TaskScript script;
  script.exitStatus = 1;
  script.standardOutput = {"partial"};
  fakes.tasks.script(kTool, script);
  EXPECT_EQ(QMTask::dataFromTask(kTool, kNone, nullptr), "partial");
  EXPECT_EQ(fakes.calls.count("tasks.terminationStatus"), 0U);
}

TEST_F(DataFromTask, ReturnsAtTheEndOfTheOutputWhileTheToolRunsOn) {
  TaskScript script;
  script.runsUntilEnded = true;
  script.closesOutputEarly = true;
  script.standardOutput = {"done"};
  fakes.tasks.script(kTool, script);
  EXPECT_EQ(QMTask::dataFromTask(kTool, kNone, nullptr), "done");
  EXPECT_TRUE(task().isRunning());
  EXPECT_EQ(fakes.calls.count("tasks.waitUntilExit"), 0U);
}

TEST_F(DataFromTask, SetsAnEmptyListWhenTheArgumentsAreNil) {
  QMTask::dataFromTask(kTool, kNone, nullptr);
  EXPECT_EQ(fakes.calls.count("tasks.setArguments()"), 1U);
}

TEST_F(DataFromTask, HandsOutTheTaskBeforeItsLaunchPathIsSet) {
  TaskPointer received;
  fakes.calls.before("tasks.setLaunchPath", 1, [&] { EXPECT_NE(received, nullptr); });
  QMTask::dataFromTask(kTool, kNone, &received);
  EXPECT_EQ(received, fakes.tasks.last());
}

TEST_F(DataFromTask, EndsWithWhatItHasWhenReadingFails) {
  scriptOutput({"one", "two"}, {"error"});
  fakes.calls.failNth("tasks.availableData", 2);  // taken for the end; read again after standard error
  EXPECT_EQ(QMTask::dataFromTask(kTool, kNone, nullptr), "error");
  fakes.calls.failAlways("tasks.availableData");
  EXPECT_EQ(QMTask::dataFromTask(kTool, kNone, nullptr), "");
}

// MARK: - The output as text

class StringFromTask : public TaskTest {
 protected:
  void expectFromEveryForm(const OptionalText& inAscii, const OptionalText& inUtf8) {
    EXPECT_EQ(QMTask::stringFromTask(kTool, kNone), inAscii);
    EXPECT_EQ(QMTask::stringFromTask(kTool, kNone, nullptr), inAscii);
    EXPECT_EQ(QMTask::stringFromTask(kTool, kNone, kLimit), inAscii);
    EXPECT_EQ(QMTask::stringFromTask(kTool, kNone, StringEncoding::UTF8, nullptr), inUtf8);
    EXPECT_EQ(QMTask::stringFromTask(kTool, kNone, StringEncoding::UTF8, kLimit), inUtf8);
  }
};

TEST_F(StringFromTask, IsTheOutputDecoded) {
  scriptOutput({"plain", " text\n"});
  expectFromEveryForm("plain text\n", "plain text\n");
}

TEST_F(StringFromTask, IsEmptyWhenNothingIsPrinted) { expectFromEveryForm("", ""); }

TEST_F(StringFromTask, PrefersTheStandardError) {
  scriptOutput({"output"}, {"error"});
  expectFromEveryForm("error", "error");
}

TEST_F(StringFromTask, IsNilWhenTheBytesAreNotValidInTheEncoding) {
  scriptOutput({"na\xC3\xAFve"});
  expectFromEveryForm(std::nullopt, "na\xC3\xAFve");
  scriptOutput({"\xFF"});
  expectFromEveryForm(std::nullopt, std::nullopt);
}

TEST_F(StringFromTask, DecodesACharacterThatCameInTwoPieces) {
  scriptOutput({"\xC3", "\xA9"});
  EXPECT_EQ(QMTask::stringFromTask(kTool, kNone, StringEncoding::UTF8, nullptr), "\xC3\xA9");
}

TEST_F(StringFromTask, TakesTheEncodingGiven) {
  scriptOutput({"\xE9"});
  EXPECT_EQ(QMTask::stringFromTask(kTool, kNone, StringEncoding::ISOLatin1, nullptr), "\xC3\xA9");
  EXPECT_EQ(QMTask::stringFromTask(kTool, kNone, StringEncoding::ISOLatin1, kLimit), "\xC3\xA9");
}

TEST_F(StringFromTask, HandsOutTheTask) {
  TaskPointer received;
  QMTask::stringFromTask(kTool, kNone, &received);
  EXPECT_EQ(received, fakes.tasks.last());
  QMTask::stringFromTask(kTool, kNone, StringEncoding::UTF8, &received);
  EXPECT_EQ(received, fakes.tasks.last());
  EXPECT_EQ(fakes.tasks.all().size(), 2U);
}

}  // namespace
}  // namespace qm::testing
