// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/RunningProduct.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace qm::removal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr uid_t kOwner = 501;
constexpr uid_t kStranger = 502;

pid_t startWaiting() {
  const pid_t child = ::fork();
  while (child == 0) ::pause();
  return child;
}

/// A child of the test that the list of processes presents as the product, running for `kOwner`.
class RunningProduct : public ::testing::Test {
 protected:
  ~RunningProduct() override {
    if (!isReaped) lastSignal();
  }

  std::vector<pid_t> idsAfter(IfRunning how, const std::set<uid_t>& users = {kOwner}) {
    std::vector<pid_t> ids;
    for (const ProductProcess& each : endProduct(users, how, list)) ids.push_back(each.id);
    return ids;
  }

  /// The signal that has ended the child. Without an earlier one it is the one that is sent here: of two signals that
  /// wait, the system delivers the one with the lower number first.
  int lastSignal() {
    int status = 0;
    ::kill(child, SIGPROF);
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    isReaped = true;
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  }

  const pid_t child = startWaiting();
  bool isReaped = false;
  int named = 0;                              // how often the name was read
  int nameLasts = 1000;                       // how often it is the product's
  int asked = 0;                              // how often the user was read
  int userLasts = 1000;                       // how often it is the owner
  std::optional<uid_t> userThen = kStranger;  // who it is after that
  ProcessList list{
      .all = [this] { return std::vector<pid_t>{child}; },
      .nameOf = [this](pid_t) { return ++named > nameLasts ? "Other" : "Tessaly"; },
      .userOf = [this](pid_t) { return ++asked > userLasts ? userThen : kOwner; },
  };
};

TEST_F(RunningProduct, IsEnded) {
  EXPECT_THAT(idsAfter(IfRunning::End), IsEmpty());
  EXPECT_EQ(lastSignal(), SIGTERM);
}

TEST_F(RunningProduct, IsAskedToQuit) {
  EXPECT_THAT(idsAfter(IfRunning::AskToQuit), IsEmpty());
  EXPECT_EQ(lastSignal(), SIGTERM);
}

TEST_F(RunningProduct, RunsOnWhereNobodyIsToEndIt) {
  EXPECT_THAT(idsAfter(IfRunning::Refuse), ElementsAre(child));
  EXPECT_EQ(lastSignal(), SIGPROF);
}

TEST_F(RunningProduct, RunsOnForOtherUsers) {
  EXPECT_THAT(idsAfter(IfRunning::End, {kStranger}), IsEmpty());
  EXPECT_EQ(lastSignal(), SIGPROF);
}

TEST_F(RunningProduct, IsNoProcessOfAnotherName) {
  nameLasts = 0;
  EXPECT_THAT(idsAfter(IfRunning::End), IsEmpty());
  EXPECT_EQ(lastSignal(), SIGPROF);
}

// The name is read before and after the process is held, the user after that.

TEST_F(RunningProduct, IsNotHeldWhereAnotherProcessHasItsNumberByThen) {
  nameLasts = 1;
  EXPECT_THAT(idsAfter(IfRunning::Refuse), IsEmpty());
}

TEST_F(RunningProduct, GetsNoSignalWhereItsNumberIsThatOfAProcessOfAnotherName) {
  nameLasts = 2;
  EXPECT_THAT(idsAfter(IfRunning::End), IsEmpty());
  EXPECT_EQ(lastSignal(), SIGPROF);
}

TEST_F(RunningProduct, GetsNoSignalWhereItsNumberIsThatOfAProcessOfAnotherUser) {
  userLasts = 1;
  EXPECT_THAT(idsAfter(IfRunning::End), IsEmpty());
  EXPECT_EQ(lastSignal(), SIGPROF);
}

TEST_F(RunningProduct, GetsNoSignalWhereNothingIsKnownOfItAnyMore) {
  userLasts = 1;
  userThen = std::nullopt;
  EXPECT_THAT(idsAfter(IfRunning::End), IsEmpty());
  EXPECT_EQ(lastSignal(), SIGPROF);
}

TEST_F(RunningProduct, IsNotRunningOnceItHasExited) {
  ::kill(child, SIGKILL);
  siginfo_t exit{};
  EXPECT_EQ(::waitid(P_PID, static_cast<id_t>(child), &exit, WEXITED | WNOWAIT), 0);
  EXPECT_THAT(runningProduct({kOwner}, list), IsEmpty());
}

}  // namespace
}  // namespace qm::removal
