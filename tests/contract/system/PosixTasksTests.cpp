// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>
#include <vector>

#include "Platform/posix/UniqueFd.h"
#include "tests/contract/system/RealTasks.h"
#include "tests/contract/system/WaitUntil.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using platform::OutputReader;
using platform::Status;
using platform::Task;
using platform::TaskStream;
using ::testing::ElementsAre;
using ::testing::StartsWith;

using Arguments = std::vector<std::string>;

bool hasChildren() {
  siginfo_t child{};
  return ::waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) == 0;
}

std::size_t openDescriptors() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) ++count;
  return count;
}

std::string readToEnd(OutputReader& reader) {
  std::string all;
  for (std::string piece = reader.availableData(); !piece.empty(); piece = reader.availableData()) all += piece;
  return all;
}

bool sleepsInAWait(pid_t thread) {
  std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
  const std::string text{std::istreambuf_iterator<char>(stat), {}};
  return text.find(") S ") != std::string::npos;
}

/// One of the signal sets of a process's status, without the C library's own signals from 32 on.
unsigned long standardSignals(const std::string& status, const std::string& set) {
  const std::size_t at = status.find(set);
  return at == std::string::npos ? ~0UL : std::stoul(status.substr(at + set.size()), nullptr, 16) & 0x7fffffffUL;
}

class PosixTasks : public ::testing::Test {
 protected:
  PosixTasks() {
    char pattern[] = "/tmp/posix-tasks-XXXXXX";
    folder_ = ::mkdtemp(pattern);
  }
  ~PosixTasks() override { std::filesystem::remove_all(folder_); }
  /// Everything that a test released is gone before the next one begins.
  void TearDown() override {
    EXPECT_TRUE(waitUntil([] { return !hasChildren(); }));
  }

  std::shared_ptr<Task> prepare(const std::string& path, const Arguments& arguments = {}) {
    auto task = real_.tasks.makeTask();
    task->setLaunchPath(path);
    task->setArguments(arguments);
    return task;
  }
  std::shared_ptr<Task> prepareShell(const std::string& script) { return prepare("/bin/sh", {"-c", script}); }
  /// Runs until its standard input ends, which the task object holds open.
  std::shared_ptr<Task> prepareEndless() {
    auto task = prepare("/bin/cat");
    task->setStandardInput(TaskStream::Pipe);
    task->setStandardOutput(TaskStream::NullDevice);
    return task;
  }
  std::string outputOf(const std::shared_ptr<Task>& task) {
    task->setStandardOutput(TaskStream::Pipe);
    const Status status = task->launch();
    EXPECT_TRUE(status.ok()) << status.localizedDescription();
    std::string output = readToEnd(*task->standardOutputReader());
    task->waitUntilExit();
    return output;
  }
  std::string outputOfShell(const std::string& script) { return outputOf(prepareShell(script)); }
  std::string makeFile(const std::string& name, const std::string& contents, mode_t mode) {
    const std::string path = folder_ + "/" + name;
    std::ofstream(path) << contents;
    ::chmod(path.c_str(), mode);
    return path;
  }
  void expectRefused(const std::shared_ptr<Task>& task, int error) {
    const std::size_t before = openDescriptors();
    const Status status = task->launch();
    EXPECT_EQ(status.code(), error);
    EXPECT_EQ(status.localizedDescription(), std::generic_category().message(error));
    EXPECT_FALSE(task->isRunning());
    EXPECT_EQ(task->terminationStatus(), 0);
    task->waitUntilExit();
    task->terminate();
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(openDescriptors(), before);
  }

  std::string folder_;
  RealTasks real_;
};

TEST_F(PosixTasks, PassesArgumentsByteForByte) {
  const Arguments odd{"", " ", "a b", "$HOME", "`id`", "'\"\\", "*", "-n", "line\nend", "\x01\xff\xfe", "\xc3\xa4%s%n"};
  Arguments all{"-c", "for a in \"$@\"; do printf '%s|' \"$a\"; done", "name"};
  all.insert(all.end(), odd.begin(), odd.end());
  std::string expected;
  for (const std::string& argument : odd) expected += argument + "|";
  EXPECT_EQ(outputOf(prepare("/bin/sh", all)), expected);
}

TEST_F(PosixTasks, TellsTheToolItsOwnLaunchPathFirst) {
  EXPECT_EQ(outputOf(prepare("/bin/cat", {"/proc/self/cmdline"})), std::string("/bin/cat\0/proc/self/cmdline\0", 28));
}

TEST_F(PosixTasks, GivesTheToolTheEnvironmentAsItIsAtTheLaunch) {
  ::setenv("QM_POSIX_TASKS", "before", 1);
  const auto task = prepareShell("printf %s \"$QM_POSIX_TASKS\"");
  ::setenv("QM_POSIX_TASKS", "at the launch", 1);
  EXPECT_EQ(outputOf(task), "at the launch");
  ::unsetenv("QM_POSIX_TASKS");
}

TEST_F(PosixTasks, GivesTheToolNoDescriptorButItsStandardStreams) {
  const posix::UniqueFd inheritable(::fcntl(STDERR_FILENO, F_DUPFD, 57));
  ASSERT_TRUE(inheritable);
  // The fourth is the folder that the tool itself reads.
  EXPECT_EQ(outputOf(prepare("/bin/ls", {"/proc/self/fd"})), "0\n1\n2\n3\n");
}

TEST_F(PosixTasks, GivesTheToolDefaultSignalsAndNoneBlocked) {
  inChild([this] {
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigaddset(&blocked, SIGUSR1);
    ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, &blocked, nullptr), 0);
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGXFSZ, SIG_IGN);
    ::signal(SIGHUP, SIG_IGN);
    const std::string status = outputOf(prepare("/bin/cat", {"/proc/self/status"}));
    EXPECT_EQ(standardSignals(status, "SigBlk:"), 0U) << status;
    EXPECT_EQ(standardSignals(status, "SigIgn:"), 0U) << status;
  });
}

TEST_F(PosixTasks, ConnectsEveryStreamToTheNullDevice) {
  auto task = prepareShell("readlink /proc/self/fd/0 /proc/self/fd/1 /proc/self/fd/2 > " + folder_ + "/streams");
  task->setStandardInput(TaskStream::NullDevice);
  task->setStandardOutput(TaskStream::NullDevice);
  task->setStandardError(TaskStream::NullDevice);
  ASSERT_TRUE(task->launch().ok());
  task->waitUntilExit();
  std::ifstream streams(folder_ + "/streams");
  std::string lines[3];
  for (std::string& line : lines) std::getline(streams, line);
  EXPECT_THAT(lines, ElementsAre("/dev/null", folder_ + "/streams", "/dev/null"));
}

TEST_F(PosixTasks, ConnectsTheInputToTheNullDeviceWhateverTheProcessHas) {
  inChild([this] {
    const posix::UniqueFd file(::open(makeFile("input", "theirs", 0600).c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(::dup2(file.get(), STDIN_FILENO), STDIN_FILENO);
    auto task = prepare("/bin/cat");
    task->setStandardInput(TaskStream::NullDevice);
    EXPECT_EQ(outputOf(task), "");
  });
}

TEST_F(PosixTasks, InheritsTheStreamsOfTheProcess) {
  inChild([this] {
    const std::string path = makeFile("output", "", 0600);
    const posix::UniqueFd file(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(::dup2(file.get(), STDOUT_FILENO), STDOUT_FILENO);
    auto task = prepare("/bin/echo", {"inherited"});
    ASSERT_TRUE(task->launch().ok());
    task->waitUntilExit();
    std::ifstream output(path);
    std::string line;
    std::getline(output, line);
    EXPECT_EQ(line, "inherited");
    EXPECT_EQ(task->standardOutputReader(), nullptr);
  });
}

TEST_F(PosixTasks, SharesTheStandardInputOfTheProcess) {
  inChild([this] {
    const std::string path = makeFile("input", "inherited", 0600);
    const posix::UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(::dup2(file.get(), STDIN_FILENO), STDIN_FILENO);
    auto task = prepare("/bin/cat", {});
    task->setStandardOutput(TaskStream::Pipe);
    ASSERT_TRUE(task->launch().ok());
    EXPECT_EQ(readToEnd(*task->standardOutputReader()), "inherited");
  });
}

TEST_F(PosixTasks, StartsNothingWhoseReadingCouldNotBeEnded) {
  inChild([this] {
    failSystemCall(SYS_eventfd2, EMFILE);
    auto task = prepare("/bin/echo", {"x"});
    task->setStandardOutput(TaskStream::Pipe);
    EXPECT_EQ(task->launch().code(), EMFILE);
  });
}

TEST_F(PosixTasks, TakesAMegabyteOfErrorOutputWhileNobodyReadsIt) {
  auto task = prepareShell("head -c 1048576 /dev/zero >&2");
  task->setStandardOutput(TaskStream::Pipe);
  task->setStandardError(TaskStream::Pipe);
  ASSERT_TRUE(task->launch().ok());
  EXPECT_EQ(readToEnd(*task->standardOutputReader()), "");
  EXPECT_EQ(readToEnd(*task->standardErrorReader()), std::string(1048576, '\0'));
}

TEST_F(PosixTasks, ReadsEverythingThatWaitsInThePipeAtOnce) {
  auto task = prepareShell("head -c 1048576 /dev/zero");
  task->setStandardOutput(TaskStream::Pipe);
  ASSERT_TRUE(task->launch().ok());
  task->waitUntilExit();
  EXPECT_EQ(task->standardOutputReader()->availableData().size(), 1048576U);
  EXPECT_EQ(task->standardOutputReader()->availableData(), "");
}

TEST_F(PosixTasks, LetsAToolThatFillsItsErrorPipeWaitUntilItIsTerminated) {
  auto task = prepareShell("exec cat /dev/zero >&2");
  task->setStandardOutput(TaskStream::Pipe);
  task->setStandardError(TaskStream::Pipe);
  ASSERT_TRUE(task->launch().ok());
  std::thread ending([&task] {
    // Its first piece shows that the tool has begun to write.
    EXPECT_NE(task->standardErrorReader()->availableData(), "");
    task->terminate();
  });
  EXPECT_EQ(readToEnd(*task->standardOutputReader()), "");
  task->waitUntilExit();
  EXPECT_EQ(task->terminationStatus(), SIGTERM);
  ending.join();
}

TEST_F(PosixTasks, EndsABlockedReadWhenAnotherThreadCloses) {
  auto task = prepareEndless();
  task->setStandardOutput(TaskStream::Pipe);
  ASSERT_TRUE(task->launch().ok());
  const auto reader = task->standardOutputReader();
  std::atomic<pid_t> readingThread{0};
  std::string data = "nothing read yet";
  std::thread reading([&] {
    readingThread = ::gettid();
    data = reader->availableData();
  });
  EXPECT_TRUE(waitUntil([&] { return readingThread != 0 && sleepsInAWait(readingThread); }));
  reader->close();
  reading.join();
  EXPECT_EQ(data, "");
  EXPECT_EQ(reader->availableData(), "");
  EXPECT_TRUE(task->isRunning());
}

TEST_F(PosixTasks, ClosesThePipeSoThatAToolThatGoesOnWritingIsEnded) {
  ::signal(SIGPIPE, SIG_IGN);
  auto task = prepare("/usr/bin/yes");
  task->setStandardOutput(TaskStream::Pipe);
  ASSERT_TRUE(task->launch().ok());
  EXPECT_THAT(task->standardOutputReader()->availableData(), StartsWith("y\n"));
  task->standardOutputReader()->close();
  task->standardOutputReader()->close();
  task->waitUntilExit();
  EXPECT_EQ(task->terminationStatus(), SIGPIPE);
}

TEST_F(PosixTasks, HoldsTheStandardInputOpenUntilTheTaskObjectDies) {
  auto task = prepareEndless();
  task->setStandardOutput(TaskStream::Pipe);
  ASSERT_TRUE(task->launch().ok());
  const auto reader = task->standardOutputReader();
  EXPECT_TRUE(task->isRunning());
  task.reset();
  EXPECT_EQ(reader->availableData(), "");  // the tool's end
  EXPECT_TRUE(waitUntil([] { return !hasChildren(); }));
}

TEST_F(PosixTasks, ReapsAToolThatWasLetGoOfWhileItRuns) {
  const std::string fifo = folder_ + "/fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  auto task = prepareShell("read line < " + fifo + " && echo $line > " + folder_ + "/said");
  ASSERT_TRUE(task->launch().ok());
  task.reset();
  EXPECT_TRUE(hasChildren());
  std::ofstream(fifo) << "still here\n";
  EXPECT_TRUE(waitUntil([] { return !hasChildren(); }));
  std::ifstream said(folder_ + "/said");
  std::string line;
  std::getline(said, line);
  EXPECT_EQ(line, "still here");
}

TEST_F(PosixTasks, ReapsManyToolsThatWereLetGoOf) {
  for (int i = 0; i < 50; ++i) ASSERT_TRUE(prepare("/bin/true")->launch().ok());
  EXPECT_TRUE(waitUntil([] { return !hasChildren(); }));
}

/// The first blocks the thread that the second is passed to.
TEST_F(PosixTasks, ReapsToolsWhereTheThreadThatDoesSoCannotBeWoken) {
  inChild([this] {
    failSystemCall(SYS_eventfd2, EMFILE);
    RealTasks real;
    const auto launch = [&](const std::string& script) {
      auto task = real.tasks.makeTask();
      task->setLaunchPath("/bin/sh");
      task->setArguments({"-c", script});
      ASSERT_TRUE(task->launch().ok());
    };
    const std::string fifo = folder_ + "/fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    launch("read line < " + fifo);
    const std::size_t whileOneRuns = openDescriptors();
    launch("true");
    EXPECT_TRUE(waitUntil([&] { return openDescriptors() == whileOneRuns; }));
    std::ofstream(fifo) << "end\n";
    EXPECT_TRUE(waitUntil([] { return !hasChildren(); }));
  });
}

TEST_F(PosixTasks, ReapsAToolThatWasAskedAboutButNeverWaitedFor) {
  auto task = prepare("/bin/true");
  ASSERT_TRUE(task->launch().ok());
  EXPECT_TRUE(waitUntil([&] { return !task->isRunning(); }));
  EXPECT_FALSE(hasChildren());
}

TEST_F(PosixTasks, RefusesAMissingProgram) { expectRefused(prepare(folder_ + "/none"), ENOENT); }
TEST_F(PosixTasks, RefusesAnEmptyPath) { expectRefused(prepare(""), ENOENT); }
TEST_F(PosixTasks, RefusesAPathBelowAFile) { expectRefused(prepare(makeFile("f", "", 0755) + "/x"), ENOTDIR); }
TEST_F(PosixTasks, RefusesAFolder) { expectRefused(prepare(folder_), EACCES); }
TEST_F(PosixTasks, RefusesAFileThatMayNotBeExecuted) {
  expectRefused(prepare(makeFile("plain", "#!/bin/sh\n", 0644)), EACCES);
}
TEST_F(PosixTasks, RefusesAFileInNoExecutableFormat) {
  expectRefused(prepare(makeFile("odd", "echo no shell\n", 0755)), ENOEXEC);
}
TEST_F(PosixTasks, RefusesAnArgumentThatIsTooLong) {
  expectRefused(prepare("/bin/true", {std::string(1 << 20, 'a')}), E2BIG);
}
TEST_F(PosixTasks, RefusesANulByteInThePath) { expectRefused(prepare(std::string("/bin/true\0x", 11)), ENOENT); }
TEST_F(PosixTasks, RefusesANulByteInAnArgument) {
  expectRefused(prepare("/bin/true", {std::string("a\0b", 3)}), EINVAL);
}

TEST_F(PosixTasks, EndsTheOutputOfAToolThatCouldNotBeStarted) {
  auto task = prepare(folder_ + "/none");
  task->setStandardInput(TaskStream::Pipe);
  task->setStandardOutput(TaskStream::Pipe);
  task->setStandardError(TaskStream::Pipe);
  EXPECT_EQ(task->launch().code(), ENOENT);
  EXPECT_EQ(task->standardOutputReader()->availableData(), "");
  EXPECT_EQ(task->standardErrorReader()->availableData(), "");
}

TEST_F(PosixTasks, IsLaunchedOnce) {
  auto task = prepareEndless();
  ASSERT_TRUE(task->launch().ok());
  EXPECT_EQ(task->launch().code(), EALREADY);
  EXPECT_TRUE(task->isRunning());
}

TEST_F(PosixTasks, StartsNothingWhenThereIsNoDescriptorLeft) {
  inChild([this] {
    const std::string witness = folder_ + "/witness";
    auto task = prepare("/usr/bin/touch", {witness});
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit none{STDERR_FILENO + 1, limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    EXPECT_EQ(task->launch().code(), EMFILE);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_FALSE(hasChildren());
    EXPECT_FALSE(std::filesystem::exists(witness));
    ASSERT_TRUE(task->launch().ok());
    task->waitUntilExit();
    EXPECT_TRUE(std::filesystem::exists(witness));
  });
}

TEST_F(PosixTasks, SaysAtTheLaunchThatThereWasNoPipe) {
  inChild([this] {
    auto task = prepare("/bin/true");
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit none{STDERR_FILENO + 1, limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    task->setStandardOutput(TaskStream::Pipe);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    ASSERT_NE(task->standardOutputReader(), nullptr);
    EXPECT_EQ(task->standardOutputReader()->availableData(), "");
    EXPECT_EQ(task->launch().code(), EMFILE);
    EXPECT_FALSE(hasChildren());
  });
}

TEST_F(PosixTasks, FailsWithTheReasonWhenTheSystemHasNoProcessDescriptors) {
  inChild([this] {
    failSystemCall(SYS_pidfd_open, ENOSYS);
    expectRefused(prepare("/bin/true"), ENOSYS);
  });
}

/// In a machine with a process namespace of its own the tool's id is predictable: 2 or one of the next.
TEST_F(PosixTasks, EndsAToolThatItCouldNotTellFromOthers) {
  runInPrivateMachine([this] {
    ASSERT_EQ(::unshare(CLONE_NEWPID), 0);
    inChild([this] {
      for (int number = 2; number < 10; ++number) failSystemCallOn(number, SYS_pidfd_open, EMFILE);
      const std::string fifo = folder_ + "/fifo";
      ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
      // By itself it would wait forever.
      EXPECT_EQ(prepareShell("read line < " + fifo)->launch().code(), EMFILE);
      EXPECT_FALSE(hasChildren());
    });
  });
}

TEST_F(PosixTasks, FallsBackToASmallerPipeWhenTheLargestIsRefused) {
  inChild([this] {
    failSystemCall(SYS_fcntl, EPERM, 2);
    EXPECT_EQ(outputOf(prepare("/bin/echo", {"small"})), "small\n");
  });
}

TEST_F(PosixTasks, SeparatesTheStreamsInAProcessWithoutStandardDescriptors) {
  inChild([this] {
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    ::close(STDERR_FILENO);
    auto task = prepareShell("echo out; echo err >&2; readlink /proc/self/fd/0 >&2; cat");
    task->setStandardInput(TaskStream::NullDevice);
    task->setStandardError(TaskStream::Pipe);
    EXPECT_EQ(outputOf(task), "out\n");
    EXPECT_EQ(readToEnd(*task->standardErrorReader()), "err\n/dev/null\n");
  });
}

TEST_F(PosixTasks, GivesTheNullDeviceWhereTheProcessHasNoStreamToInherit) {
  inChild([this] {
    ::close(STDIN_FILENO);
    EXPECT_EQ(outputOf(prepare("/bin/readlink", {"/proc/self/fd/0"})), "/dev/null\n");
    const posix::UniqueFd own(::open("/dev/zero", O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(own.get(), STDIN_FILENO);
    EXPECT_EQ(outputOf(prepare("/bin/readlink", {"/proc/self/fd/0"})), "/dev/null\n");
  });
}

TEST_F(PosixTasks, LeavesNoDescriptorAfterAThousandRuns) {
  const std::size_t before = openDescriptors();
  for (int i = 0; i < 1000; ++i) {
    auto task = prepare("/bin/true");
    task->setStandardInput(TaskStream::Pipe);
    task->setStandardOutput(TaskStream::Pipe);
    task->setStandardError(TaskStream::NullDevice);
    ASSERT_TRUE(task->launch().ok());
    task->waitUntilExit();
    ASSERT_EQ(task->terminationStatus(), 0);
  }
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_FALSE(hasChildren());
}

TEST_F(PosixTasks, ServesTheEventLoopWhileTheMainThreadWaits) {
  real_.mainThread.isMain = true;
  auto task = prepareShell("exit 3");
  ASSERT_TRUE(task->launch().ok());
  task->waitUntilExit();
  EXPECT_EQ(real_.descriptorWait.calls, 1);
  EXPECT_TRUE(real_.descriptorWait.sawReadable);
  EXPECT_EQ(task->terminationStatus(), 3);
  task->waitUntilExit();
  EXPECT_EQ(real_.descriptorWait.calls, 1);
}

TEST_F(PosixTasks, WaitsOnWhenTheEventLoopEndsEarly) {
  real_.mainThread.isMain = true;
  real_.descriptorWait.givesUp = true;
  const std::string fifo = folder_ + "/fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  auto task = prepareShell("read line < " + fifo + "; exit 5");
  ASSERT_TRUE(task->launch().ok());
  std::thread ending([&fifo] { std::ofstream(fifo) << "go\n"; });
  task->waitUntilExit();
  ending.join();
  EXPECT_EQ(task->terminationStatus(), 5);
}

TEST_F(PosixTasks, BlocksPlainlyOnOtherThreads) {
  auto task = prepareShell("exit 4");
  ASSERT_TRUE(task->launch().ok());
  task->waitUntilExit();
  EXPECT_EQ(task->terminationStatus(), 4);
  EXPECT_EQ(real_.descriptorWait.calls, 0);
}

TEST_F(PosixTasks, LetsSeveralThreadsWaitAskAndTerminateAtOnce) {
  auto task = prepareEndless();
  ASSERT_TRUE(task->launch().ok());
  std::vector<std::thread> threads;
  std::atomic<int> returned{0};
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      task->waitUntilExit();
      if (task->terminationStatus() == SIGTERM && !task->isRunning()) ++returned;
    });
    threads.emplace_back([&] {
      EXPECT_TRUE(waitUntil([&] { return !task->isRunning(); }));
      ++returned;
    });
  }
  task->terminate();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(returned, 8);
}

TEST_F(PosixTasks, RunsToolsFromManyThreadsAtOnce) {
  std::vector<std::thread> threads;
  std::atomic<int> right{0};
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, i] {
      for (int run = 0; run < 10; ++run) {
        const std::string word = std::to_string(i * 100 + run);
        if (outputOf(prepare("/bin/echo", {word})) == word + "\n") ++right;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, 80);
  EXPECT_FALSE(hasChildren());
}

TEST_F(PosixTasks, AnswersAnUnknownStatusWhenSomebodyElseReapedTheTool) {
  auto task = prepare("/bin/true");
  ASSERT_TRUE(task->launch().ok());
  ASSERT_GT(::wait(nullptr), 0);
  EXPECT_FALSE(task->isRunning());
  task->waitUntilExit();
  task->terminate();
  EXPECT_EQ(task->terminationStatus(), -1);
}

}  // namespace
}  // namespace qm::testing
