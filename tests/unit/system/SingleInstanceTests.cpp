// SPDX-License-Identifier: MIT
#include "Platform/linux/system/SingleInstance.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <future>
#include <memory>
#include <string>

#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using namespace std::chrono_literals;
using linux_::SingleInstance;
using Start = SingleInstance::Start;

constexpr uid_t kSomebody = 1234;

class SingleInstanceTest : public ::testing::Test {
 protected:
  SingleInstanceTest()
      : program("test." + std::to_string(::getpid())), first(std::make_unique<SingleInstance>(program)) {}

  /// A separate start, on another thread.
  std::future<Start> startAgain() const {
    return std::async(std::launch::async, [name = program] { return SingleInstance(name).start(10s); });
  }
  void waitForRequest() const {
    pollfd request{.fd = first->requests().get(), .events = POLLIN, .revents = 0};
    ASSERT_EQ(::poll(&request, 1, 10'000), 1);
  }
  /// A socket at the name that the program has for `user`, or one that connects to it.
  posix::UniqueFd socketAt(uid_t user, int (*use)(int, const sockaddr*, socklen_t)) const {
    const std::string name = program + '.' + std::to_string(user);
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    std::copy(name.begin(), name.end(), place.sun_path + 1);
    posix::UniqueFd made(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    EXPECT_EQ(use(made.get(), reinterpret_cast<const sockaddr*>(&place), size), 0);
    return made;
  }
  /// The start goes on as if there were no other, and does not listen.
  void expectToStartAlone(std::chrono::milliseconds patience = 10s) const {
    SingleInstance instance(program);
    EXPECT_EQ(instance.start(patience), Start::First);
    EXPECT_FALSE(instance.requests());
  }

  const std::string program;
  std::unique_ptr<SingleInstance> first;
};

TEST_F(SingleInstanceTest, IsTheFirstAndListens) {
  EXPECT_EQ(first->start(10s), Start::First);
  EXPECT_TRUE(first->requests());
}

TEST_F(SingleInstanceTest, AnswersAnotherStartOnceItHasShownItself) {
  first->start(10s);
  auto second = startAgain();
  waitForRequest();
  bool shownBeforeTheAnswer = false;
  EXPECT_TRUE(first->serve([&] { shownBeforeTheAnswer = second.wait_for(0s) == std::future_status::timeout; }));
  EXPECT_EQ(second.get(), Start::Answered);
  EXPECT_TRUE(shownBeforeTheAnswer);
}

TEST_F(SingleInstanceTest, AnswersEachOfSeveralStarts) {
  first->start(10s);
  auto second = startAgain();
  auto third = startAgain();
  for (int request = 0; request < 2; ++request) {
    waitForRequest();
    first->serve([] {});
  }
  EXPECT_EQ(second.get(), Start::Answered);
  EXPECT_EQ(third.get(), Start::Answered);
}

TEST_F(SingleInstanceTest, WaitsForAnAnswerNoLongerThanItsPatience) {
  first->start(10s);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(SingleInstance(program).start(50ms), Start::NoAnswer);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 50ms);
}

TEST_F(SingleInstanceTest, LeavesNothingBehind) {
  first->start(10s);
  first.reset();
  EXPECT_EQ(SingleInstance(program).start(0s), Start::First);
}

TEST_F(SingleInstanceTest, TakesTheFirstOnesPlaceWhenThatEndsInsteadOfAnswering) {
  first->start(10s);
  auto second = startAgain();
  waitForRequest();
  first.reset();
  EXPECT_EQ(second.get(), Start::First);
}

TEST_F(SingleInstanceTest, IsAnotherForAnotherProgram) {
  first->start(10s);
  SingleInstance other(program + ".other");
  EXPECT_EQ(other.start(0s), Start::First);
  EXPECT_TRUE(other.requests());
}

TEST_F(SingleInstanceTest, HasNothingToServeWhenNobodyAsks) {
  first->start(10s);
  EXPECT_TRUE(first->serve([] { ADD_FAILURE() << "shown"; }));
}

TEST_F(SingleInstanceTest, ServesAStartThatHasGivenUp) {
  first->start(10s);
  socketAt(::geteuid(), ::connect).reset();
  bool shown = false;
  EXPECT_TRUE(first->serve([&] { shown = true; }));
  EXPECT_TRUE(shown);
}

TEST_F(SingleInstanceTest, StartsWhenTheNameIsHeldByAnotherUser) {
  EXPECT_TRUE(runInPrivateMachine([&] {
    const auto stranger = socketAt(kSomebody, ::bind);
    ASSERT_EQ(::listen(stranger.get(), 1), 0);
    EXPECT_TRUE(asUser(kSomebody, kSomebody, [&] { SingleInstanceTest::expectToStartAlone(); }));
  }));
}

TEST_F(SingleInstanceTest, StartsWhenTheNameIsHeldByAnotherMachineWithinThisOne) {
  EXPECT_TRUE(runInPrivateMachine([&] {
    SingleInstance(program).start(0s);
    first = std::make_unique<SingleInstance>(program);
    first->start(0s);
    EXPECT_TRUE(inChild([&] {
      ASSERT_EQ(::unshare(CLONE_NEWPID), 0);
      EXPECT_TRUE(inChild([&] { expectToStartAlone(); }));
    }));
  }));
}

TEST_F(SingleInstanceTest, StartsWhenWhoeverHoldsTheNameCannotBeKnown) {
  const auto deaf = socketAt(::geteuid(), ::bind);
  const auto begin = std::chrono::steady_clock::now();
  expectToStartAlone(50ms);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 50ms);
}

TEST_F(SingleInstanceTest, DoesNotShowItselfToAnotherUser) {
  EXPECT_TRUE(runInPrivateMachine([&] {
    SingleInstance mine(program);
    ASSERT_EQ(mine.start(0s), Start::First);
    EXPECT_TRUE(asUser(kSomebody, kSomebody, [&] { socketAt(0, ::connect); }));
    EXPECT_TRUE(mine.serve([] { ADD_FAILURE() << "shown"; }));
    pollfd more{.fd = mine.requests().get(), .events = POLLIN, .revents = 0};
    EXPECT_EQ(::poll(&more, 1, 0), 0);
  }));
}

TEST_F(SingleInstanceTest, StartsWithoutTheMeansToListen) {
  const long calls[] = {SYS_socket, SYS_bind, SYS_listen};
  for (const long call : calls) {
    EXPECT_TRUE(inChild([&] {
      failSystemCall(call, EACCES);
      expectToStartAlone();
    }));
  }
}

TEST_F(SingleInstanceTest, StartsWhenItCannotLookWhoIsThere) {
  first->start(10s);
  EXPECT_TRUE(inChild([&] {
    failSystemCall(SYS_getsockopt, EACCES);
    expectToStartAlone();
  }));
}

TEST_F(SingleInstanceTest, LeavesARequestWaitingForWhichItHasNoMeans) {
  first->start(10s);
  const auto request = socketAt(::geteuid(), ::connect);
  EXPECT_TRUE(inChild([&] {
    failSystemCall(SYS_accept4, EMFILE);
    EXPECT_FALSE(first->serve([] { ADD_FAILURE() << "shown"; }));
  }));
  waitForRequest();
}

}  // namespace
}  // namespace qm::testing
