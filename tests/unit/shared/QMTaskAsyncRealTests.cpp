// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <csignal>

#include <cstddef>
#include <fstream>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "tests/unit/shared/AsyncDelegate.h"
#include "tests/unit/shared/RealTaskTest.h"

namespace qm::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class RealAsyncTask : public RealTask {
 protected:
  void start(const std::string& text) { runner->asyncDataFromTask(kShell, script(text), delegate, kSelector, nullptr); }
  bool waitUntilEnded() { return fakes.threads.waitUntilAllEnded(); }
  /// A named pipe on which a tool waits for a line.
  std::string gate(const std::string& name) {
    std::string path = folder() + "/" + name;
    EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
    return path;
  }

  std::shared_ptr<QMTask> runner = QMTask::make();
  std::shared_ptr<AsyncDelegate> delegate = std::make_shared<AsyncDelegate>();
};

TEST_F(RealAsyncTask, HandsThreePiecesOnAsTheyArePrintedAndThenAnEmptyOne) {
  const std::string first = gate("first");
  const std::string second = gate("second");
  delegate = std::make_shared<AsyncDelegate>([&](const std::string& data, QMTask&) {
    if (data == "one") std::ofstream(first) << "go\n";
    if (data == "two") std::ofstream(second) << "go\n";
  });
  start("printf one; read line < " + first + "; printf two; read line < " + second + "; printf three; echo error >&2");
  ASSERT_TRUE(waitUntilEnded());
  EXPECT_THAT(delegate->pieces(), ElementsAre("one", "two", "three", ""));
  EXPECT_EQ(delegate.use_count(), 1);
  EXPECT_EQ(runner->theTask(), nullptr);
}

TEST_F(RealAsyncTask, IsNotEndedByAnotherThatTakesItsPlace) {
  const std::string go = gate("go");
  const std::string done = folder() + "/done";
  start("printf one; read line < " + go + "; head -c 3000000 /dev/zero; echo done > " + done);
  ASSERT_TRUE(delegate->waitForCalls(1));
  const auto second = std::make_shared<AsyncDelegate>();
  runner->asyncDataFromTask(kShell, script("printf two"), second, kSelector, nullptr);
  std::ofstream(go) << "go\n";
  ASSERT_TRUE(waitUntilEnded());
  EXPECT_TRUE(std::filesystem::exists(done)) << "it could not print to its end";
  EXPECT_THAT(delegate->pieces(), ElementsAre("one"));
  EXPECT_THAT(second->pieces(), ElementsAre("two", ""));
}

TEST_F(RealAsyncTask, HandsOneEmptyPieceOnOfAToolThatPrintsNothing) {
  start("exit 3");
  ASSERT_TRUE(waitUntilEnded());
  EXPECT_THAT(delegate->pieces(), ElementsAre(""));
}

TEST_F(RealAsyncTask, EndsAToolThatClosesItsOutputAndRunsOn) {
  start("printf one; exec >&-; exec sleep 600");
  ASSERT_TRUE(waitUntilEnded());
  EXPECT_THAT(delegate->pieces(), ElementsAre("one", ""));
  EXPECT_TRUE(eventually(hasNoChildren)) << statesOfChildren();
}

TEST_F(RealAsyncTask, ReportsAToolThatIsMissingOrNotExecutable) {
  const std::string plain = folder() + "/plain";
  std::ofstream(plain) << "text";
  for (const std::string& path : {folder() + "/missing", plain, folder()}) {
    runner->asyncDataFromTask(path, {}, delegate, kSelector, nullptr);
    ASSERT_TRUE(waitUntilEnded());
    EXPECT_EQ(runner->theTask(), nullptr);
  }
  EXPECT_THAT(delegate->calls(), IsEmpty());
  EXPECT_EQ(delegate.use_count(), 1);
  EXPECT_THAT(fakes.console.lines(), SizeIs(3));
  for (const std::string& line : fakes.console.lines()) {
    const std::string beginning = "Unable to launch async task - ";
    EXPECT_EQ(line.substr(0, beginning.size()), beginning);
    EXPECT_GT(line.size(), beginning.size()) << "without a reason";
    EXPECT_NE(log().find(" - " + line + "\n"), std::string::npos) << log();
  }
}

TEST_F(RealAsyncTask, EndsABlockedReadAtOnceWhenItIsEndedEarly) {
  start("trap '' TERM; printf begun; exec sleep 600");  // it goes on, and holds its output open
  ASSERT_TRUE(delegate->waitForCalls(1));
  const pid_t child = onlyChild();
  ASSERT_GT(child, 0);
  runner->terminateAsyncTask();
  ASSERT_TRUE(waitUntilEnded());
  EXPECT_THAT(delegate->pieces(), ElementsAre("begun"));
  EXPECT_EQ(::kill(child, SIGKILL), 0);
}

TEST_F(RealAsyncTask, EndsTheToolWhenItIsEndedEarly) {
  start("printf begun; exec sleep 600");
  ASSERT_TRUE(delegate->waitForCalls(1));
  runner->terminateAsyncTask();
  ASSERT_TRUE(waitUntilEnded());
  EXPECT_THAT(delegate->pieces(), ElementsAre("begun"));
  EXPECT_TRUE(eventually(hasNoChildren)) << statesOfChildren();
}

TEST_F(RealAsyncTask, RunsTwiceInSequenceOnOneInstance) {
  start("printf one");
  ASSERT_TRUE(waitUntilEnded());
  start("printf two");
  ASSERT_TRUE(waitUntilEnded());
  EXPECT_THAT(delegate->pieces(), ElementsAre("one", "", "two", ""));
}

TEST_F(RealAsyncTask, HandsMuchOutputOnWithoutLosingAByte) {
  start("head -c 8388608 /dev/zero");
  ASSERT_TRUE(waitUntilEnded());
  const auto pieces = delegate->pieces();
  const auto total = std::accumulate(pieces.begin(), pieces.end(), std::size_t{0},
                                     [](std::size_t sum, const std::string& piece) { return sum + piece.size(); });
  EXPECT_EQ(total, 8 * kMebibyte);
  EXPECT_EQ(pieces.back(), "");
}

TEST_F(RealAsyncTask, LeavesNoChildAndNoDescriptorWhateverTheMomentOfItsEnd) {
  const auto runAll = [this](int times) {
    for (int run = 0; run < times; ++run) {
      start("while :; do echo line; done");
      const std::size_t wanted = run % 2 == 0 ? 0 : delegate->calls().size() + 1;
      EXPECT_TRUE(delegate->waitForCalls(wanted));
      runner->terminateAsyncTask();
    }
    EXPECT_TRUE(waitUntilEnded());
    EXPECT_TRUE(eventually(hasNoChildren)) << statesOfChildren();
  };
  runAll(2);
  const std::size_t before = openDescriptors();
  runAll(40);
  EXPECT_TRUE(eventually([before] { return openDescriptors() <= before; })) << openDescriptors() << " > " << before;
}

TEST_F(RealAsyncTask, RunsFourToolsAtOnce) {
  std::vector<std::shared_ptr<QMTask>> runners;
  std::vector<std::shared_ptr<AsyncDelegate>> delegates;
  for (int number = 0; number < 4; ++number) {
    runners.push_back(QMTask::make());
    delegates.push_back(std::make_shared<AsyncDelegate>());
    runners.back()->asyncDataFromTask(kShell, script("printf " + std::to_string(number)), delegates.back(), kSelector,
                                      nullptr);
  }
  ASSERT_TRUE(waitUntilEnded());
  for (std::size_t number = 0; number < 4; ++number)
    EXPECT_THAT(delegates[number]->pieces(), ElementsAre(std::to_string(number), ""));
}

}  // namespace
}  // namespace qm::testing
