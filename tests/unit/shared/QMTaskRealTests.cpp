// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

#include "tests/unit/shared/RealTaskTest.h"

namespace qm::testing {
namespace {

using foundation::StringEncoding;
using std::chrono::seconds;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::IsEmpty;

/// A limit that no test reaches unless something hangs.
constexpr QMTask::TimeoutInterval kAmple(60);

// MARK: - Statuses

TEST_F(RealTask, AnswersTheExitStatus) {
  EXPECT_EQ(QMTask::terminationCodeFromTask(kShell, script("exit 0")), 0);
  EXPECT_EQ(QMTask::terminationCodeFromTask(kShell, script("exit 7")), 7);
  EXPECT_EQ(QMTask::terminationCodeFromTask(kShell, script("exit 255")), 255);
}

TEST_F(RealTask, AnswersTheSignalThatKilledTheTool) {
  EXPECT_EQ(QMTask::terminationCodeFromTask(kShell, script("kill -KILL $$")), SIGKILL);
  EXPECT_EQ(QMTask::terminationCodeFromTask(kShell, script("kill -SEGV $$")), SIGSEGV);
}

TEST_F(RealTask, IsTrueForAToolThatFailsOrIsKilled) {
  EXPECT_TRUE(QMTask::runTask(kShell, script("exit 3")));
  EXPECT_TRUE(QMTask::runTask(kShell, script("kill -KILL $$")));
}

TEST_F(RealTask, HandsTheArgumentsOverWithoutAShell) {
  const QMTask::Arguments arguments =
      std::vector<std::string>{"-c", "printf '<%s>' \"$@\"", "name", "", "a b", "$HOME", "*"};
  EXPECT_EQ(QMTask::stringFromTask(kShell, arguments), "<><a b><$HOME><*>");
}

TEST_F(RealTask, AnswersALaunchThatTheSystemRefusesAsNoProcess) {
  const std::string tool = folder() + "/broken";
  std::ofstream(tool) << "\x7f"
                         "ELF and nothing more";
  ASSERT_EQ(::chmod(tool.c_str(), 0755), 0);
  fakes.disk.addExecutable(tool);
  EXPECT_EQ(QMTask::terminationCodeFromTask(tool, std::nullopt), -1);
  EXPECT_EQ(QMTask::dataFromTask(tool, std::nullopt, nullptr), std::nullopt);
  EXPECT_EQ(QMTask::stringFromTask(tool, std::nullopt), "");
  EXPECT_FALSE(QMTask::runTask(tool, std::nullopt));
  QMTask::runTaskAndReturn(tool, std::nullopt);
  EXPECT_EQ(QMTask::terminationCodeFromTask(folder() + "/missing", std::nullopt), -1);
}

// MARK: - Output

TEST_F(RealTask, AnswersWhatWasPrinted) {
  EXPECT_EQ(QMTask::stringFromTask(kShell, script("echo one; echo two")), "one\ntwo\n");
  EXPECT_EQ(QMTask::dataFromTask(kShell, script(":"), nullptr), "");
}

TEST_F(RealTask, PrefersTheErrorOutputWhicheverComesFirst) {
  EXPECT_EQ(QMTask::stringFromTask(kShell, script("echo out; echo err >&2")), "err\n");
  EXPECT_EQ(QMTask::stringFromTask(kShell, script("echo err >&2; echo out; exit 1")), "err\n");
}

TEST_F(RealTask, ReadsMuchOutput) {
  const auto data = QMTask::dataFromTask(kShell, script("head -c 8388608 /dev/zero"), kAmple);
  ASSERT_TRUE(data);
  EXPECT_EQ(data->size(), 8 * kMebibyte);
  EXPECT_EQ(data->find_first_not_of('\0'), std::string::npos);
}

TEST_F(RealTask, TakesAMebibyteOfChatterOnTheErrorOutputWhileTheOutputIsSilent) {
  const auto data =
      QMTask::dataFromTask(kShell, script("exec 3>&1 >&2; exec dd if=/dev/zero bs=65536 count=16 status=none"), kAmple);
  ASSERT_TRUE(data);
  EXPECT_EQ(data->size(), kMebibyte);
  EXPECT_EQ(log(), "");
}

TEST_F(RealTask, LetsChatterBeyondThePipeWaitForTheLimit) {
  fakes.mainThread.serveOnOwnThread();
  const auto data = QMTask::dataFromTask(kShell, script("exec 3>&1 >&2; exec head -c 268435456 /dev/zero"),
                                         QMTask::TimeoutInterval(1));
  ASSERT_TRUE(data);
  EXPECT_THAT(data->size(), AllOf(Ge(kMebibyte), ::testing::Lt(256 * kMebibyte)));
  EXPECT_THAT(fakes.console.lines(), ElementsAre("Task timed out. Terminating..."));
}

TEST_F(RealTask, IsNilForOutputThatIsNotValidInTheEncoding) {
  EXPECT_EQ(QMTask::stringFromTask(kShell, script("printf '\\303\\251'")), std::nullopt);
  EXPECT_EQ(QMTask::stringFromTask(kShell, script("printf '\\303\\251'"), StringEncoding::UTF8, nullptr), "\xC3\xA9");
  EXPECT_EQ(QMTask::stringFromTask(kShell, script("printf '\\377'"), StringEncoding::UTF8, nullptr), std::nullopt);
}

TEST_F(RealTask, ReturnsAtTheEndOfTheOutputWhileTheToolRunsOn) {
  std::shared_ptr<QMTask::Task> task;
  EXPECT_EQ(QMTask::dataFromTask(kShell, script("echo done; exec >&- 2>&-; read line"), &task), "done\n");
  EXPECT_TRUE(task->isRunning());  // it reads an input that nobody ever writes to or closes
  task->terminate();
  task->waitUntilExit();
}

// MARK: - Limits

TEST_F(RealTask, EndsASleeperAtItsLimitOffTheMainThread) {
  fakes.mainThread.serveOnOwnThread();
  EXPECT_EQ(QMTask::terminationCodeFromTask(kShell, script("exec sleep 600"), QMTask::TimeoutInterval(1.9)), SIGTERM);
  EXPECT_THAT(fakes.console.lines(), ElementsAre("Task timed out. Terminating..."));
  EXPECT_EQ(log(), "2024-02-29 23:05:07 +0000 - Task /bin/sh timed out. Terminating...\n");
}

TEST_F(RealTask, EndsASleeperAtItsLimitOnTheMainThreadWhoseEventsAreServed) {
  bool served = false;
  fakes.mainThread.perform([&] { served = true; });
  EXPECT_EQ(QMTask::terminationCodeFromTask(kShell, script("exec sleep 600"), QMTask::TimeoutInterval(0.5)), SIGTERM);
  EXPECT_TRUE(served);
}

TEST_F(RealTask, RunsToItsLimitInTheRunForm) {
  QMTask::runTask(kShell, script("exec sleep 600"), QMTask::TimeoutInterval(0));
  EXPECT_THAT(fakes.console.lines(), ElementsAre("Task timed out. Terminating..."));
}

TEST_F(RealTask, AnswersWhatWasPrintedUpToTheLimit) {
  fakes.mainThread.serveOnOwnThread();
  EXPECT_EQ(QMTask::stringFromTask(kShell, script("echo begun; exec sleep 600"), QMTask::TimeoutInterval(1)),
            "begun\n");
  EXPECT_EQ(QMTask::dataFromTask("/bin/cat", std::nullopt, QMTask::TimeoutInterval(1)), "");  // its input never ends
}

TEST_F(RealTask, ReadsToTheEndOnTheMainThreadBeforeItsLimitTakesEffect) {
  const std::string gate = folder() + "/gate";
  ASSERT_EQ(::mkfifo(gate.c_str(), 0600), 0);
  std::thread opener([&] {
    while (fakes.mainThread.queued() == 0) std::this_thread::yield();  // the timer has requested the end
    std::ofstream(gate) << "go\n";
  });
  EXPECT_EQ(
      QMTask::stringFromTask(kShell, script("echo a; read line < " + gate + "; echo b"), QMTask::TimeoutInterval(0)),
      "a\nb\n");
  opener.join();
  EXPECT_EQ(fakes.mainThread.pump(), 1U);
  EXPECT_THAT(fakes.console.lines(), IsEmpty());
}

TEST_F(RealTask, ReturnsLongBeforeALimitThatIsNotReached) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(QMTask::terminationCodeFromTask(kShell, script("exit 4"), QMTask::TimeoutInterval(600)), 4);
  EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(300));
  EXPECT_THAT(fakes.console.lines(), IsEmpty());
}

// MARK: - What is left behind

TEST_F(RealTask, StartsAToolAndReturnsWhileItRuns) {
  const std::string gate = folder() + "/gate";
  ASSERT_EQ(::mkfifo(gate.c_str(), 0600), 0);
  QMTask::runTaskAndReturn(kShell, script("read line < " + gate + "; echo \"$line\" > " + folder() + "/done"));
  EXPECT_FALSE(std::filesystem::exists(folder() + "/done"));
  std::ofstream(gate) << "went on\n";
  EXPECT_TRUE(eventually(hasNoChildren));
  std::string line;
  std::getline(std::ifstream(folder() + "/done") >> std::ws, line);
  EXPECT_EQ(line, "went on");
}

TEST_F(RealTask, LeavesNoZombieOfAToolThatNobodyWaitsFor) {
  for (int run = 0; run < 20; ++run) QMTask::runTaskAndReturn(kShell, script("exit 1"));
  EXPECT_TRUE(eventually(hasNoChildren)) << statesOfChildren();
}

TEST_F(RealTask, LeavesNoZombieOfAnyForm) {
  fakes.mainThread.serveOnOwnThread();
  QMTask::runTask(kShell, script(":"));
  QMTask::terminationCodeFromTask(kShell, script(":"));
  QMTask::dataFromTask(kShell, script("echo x"), nullptr);
  QMTask::runTask(kShell, script("exec sleep 600"), QMTask::TimeoutInterval(1));
  QMTask::stringFromTask(kShell, script("exec sleep 600"), QMTask::TimeoutInterval(1));
  EXPECT_TRUE(eventually(hasNoChildren)) << statesOfChildren();
}

TEST_F(RealTask, LeaksNoDescriptorInTwoHundredRuns) {
  const std::string refused = folder() + "/broken";
  std::ofstream(refused) << "\x7f"
                            "ELF and nothing more";
  ASSERT_EQ(::chmod(refused.c_str(), 0755), 0);
  fakes.disk.addExecutable(refused);
  const auto runAll = [&refused](int times) {
    for (int run = 0; run < times; ++run) {
      QMTask::runTask(kShell, script(":"));
      QMTask::terminationCodeFromTask(kShell, script(":"));
      QMTask::dataFromTask(kShell, script("echo x; echo y >&2"), nullptr);
      QMTask::runTaskAndReturn(kShell, script(":"));
      QMTask::dataFromTask(refused, std::nullopt, nullptr);
    }
  };
  runAll(2);
  EXPECT_TRUE(eventually(hasNoChildren));
  const std::size_t before = openDescriptors();
  runAll(50);
  EXPECT_TRUE(eventually(hasNoChildren));
  EXPECT_TRUE(eventually([before] { return openDescriptors() <= before; })) << openDescriptors() << " > " << before;
}

TEST_F(RealTask, RunsManyToolsFromManyThreads) {
  fakes.mainThread.serveOnOwnThread();
  std::atomic<int> right = 0;
  constexpr int kThreads = 8;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int index = 0; index < kThreads; ++index) {
    threads.emplace_back([&right, index] {
      for (int run = 0; run < 10; ++run) {
        const int status = index * 10 + run;
        const auto text = std::to_string(status);
        if (QMTask::terminationCodeFromTask(kShell, script("exit " + text), kAmple) == status) ++right;
        if (QMTask::stringFromTask(kShell, script("printf " + text), kAmple) == text) ++right;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, 160);
}

}  // namespace
}  // namespace qm::testing
