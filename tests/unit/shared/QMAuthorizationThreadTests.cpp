// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

#include "tests/unit/shared/AuthorizationTest.h"

namespace qm::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Several threads that request rights at the same moment.
class QMAuthorizationThreads : public QMAuthorizationTest {
 protected:
  QMAuthorizationThreads() { rights(); }

  static std::future<std::int32_t> command(const std::string& folder) {
    return std::async(std::launch::async, [folder] { return rights().authExecTask("/bin/mkdir", {folder}); });
  }
  /// A first command, with the password dialog in front of the user.
  std::future<std::int32_t> commandAtTheDialog() {
    fakes.calls.hang("authorization.copyRights");
    auto first = command("/first");
    EXPECT_TRUE(fakes.calls.waitUntilHanging("authorization.copyRights"));
    return first;
  }
  void answerTheDialog() { fakes.calls.release("authorization.copyRights"); }
  /// The other command has looked for its tool, which is the last step before it requests rights.
  void waitForTheToolToBeLookedFor(std::size_t times) {
    while (fakes.calls.count("fileSystem.fileExists(/bin/mkdir)") < times) std::this_thread::yield();
  }
};

TEST_F(QMAuthorizationThreads, ShowOneDialogAndShareItsSession) {
  auto first = commandAtTheDialog();
  auto second = command("/second");
  waitForTheToolToBeLookedFor(2);
  EXPECT_EQ(second.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  answerTheDialog();
  EXPECT_EQ(first.get(), 0);
  EXPECT_EQ(second.get(), 0);
  EXPECT_EQ(fakes.calls.count("authorization.create"), 1U);
  EXPECT_EQ(fakes.calls.count("authorization.copyRights"), 1U);
  EXPECT_THAT(services().announcements(), ElementsAre(Command{"/bin/mkdir", "/first"}));
  EXPECT_EQ(services().openPipes(), 2U);
}

TEST_F(QMAuthorizationThreads, AskOneAfterTheOtherWhenTheFirstIsRefused) {
  services().answerNext("copyRights", platform::errAuthorizationCanceled);
  auto first = commandAtTheDialog();
  auto second = command("/second");
  waitForTheToolToBeLookedFor(2);
  answerTheDialog();
  EXPECT_EQ(first.get(), -1);
  EXPECT_EQ(second.get(), 0);
  EXPECT_THAT(services().announcements(),
              ElementsAre(Command{"/bin/mkdir", "/first"}, Command{"/bin/mkdir", "/second"}));
  EXPECT_EQ(services().openSessions(), 1U);
}

TEST_F(QMAuthorizationThreads, SeeNoSessionWhileTheDialogIsShown) {
  auto first = commandAtTheDialog();
  EXPECT_FALSE(rights().isAuthorized());
  EXPECT_EQ(rights().authRef(), nullptr);
  EXPECT_TRUE(rights().canAuthorize());
  auto start = std::async(std::launch::async, [] { return rights().authStart(); });
  answerTheDialog();
  EXPECT_TRUE(start.get());
  EXPECT_EQ(first.get(), 0);
  EXPECT_TRUE(rights().isAuthorized());
  EXPECT_EQ(fakes.calls.count("authorization.copyRights"), 1U);
}

/// Nobody starts a tool under a session that another has just ended.
TEST_F(QMAuthorizationThreads, StartEveryToolUnderAnOpenSession) {
  constexpr int rounds = 50;
  std::atomic<int> started{0};
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([&started, number] {
      for (int round = 0; round < rounds; ++round) {
        if (number == 3) rights().authEnd();
        rights().setHasGUI(true);
        if (rights().authExecTask("/bin/mkdir", {"-p", "/new"}) == 0) ++started;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(started, 4 * rounds);
  EXPECT_THAT(executions(), SizeIs(4 * rounds));
  EXPECT_EQ(services().openPipes(), static_cast<std::size_t>(4 * rounds));
  rights().authEnd();
  EXPECT_EQ(services().openSessions(), 0U);
  EXPECT_THAT(console(), IsEmpty());
}

TEST_F(QMAuthorizationThreads, AuthorizeWithCredentialsWhileOthersStartTools) {
  std::thread credentials([] {
    for (int round = 0; round < 20; ++round) EXPECT_TRUE(rights().authStartWithUser("u", "secret"));
  });
  for (int round = 0; round < 20; ++round) EXPECT_EQ(rights().authExecTask("/bin/mkdir", {"-p", "/new"}), 0);
  credentials.join();
  EXPECT_TRUE(rights().isAuthorized());
}

}  // namespace
}  // namespace qm::testing
