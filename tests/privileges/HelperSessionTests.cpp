// SPDX-License-Identifier: MIT

// A helper's conversation with its application, from the hello to the last report.

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>

#include "Platform/linux/privileges/helper/HelperSession.h"
#include "Platform/posix/process/Descriptors.h"
#include "Uninstaller/Product.h"
#include "tests/privileges/HelperInAChild.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/privileges/MeddledPolicy.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using linux_::Exited;
using linux_::Hello;
using linux_::Message;
using linux_::Started;
using linux_::WorkResult;

constexpr const char* kRefusedTool = "refused";
constexpr const char* kEndingTool = "ends while it is checked";
constexpr const char* kInterrupted = "the launch was interrupted";

/// What a launch does, with the output of its tool.
using Deed = std::function<WorkResult(int output)>;

class WorkOfADeed : public linux_::PrivilegedWork {
 public:
  explicit WorkOfADeed(Deed deed) : deed_(std::move(deed)) {}

  int begin(const posix::UniqueFd& output) override {
    output_ = output.get();
    return 0;
  }
  WorkResult finish() override { return deed_(output_); }

 private:
  const Deed deed_;
  int output_ = -1;
};

class PolicyOfADeed : public linux_::HelperPolicy {
 public:
  explicit PolicyOfADeed(Deed deed, bool once = false) : HelperPolicy(kProduct), deed_(std::move(deed)), once_(once) {}

  linux_::PreparedWork prepare(const linux_::Launch& launch, const linux_::UserRecord&) const override {
    if (launch.tool == kRefusedTool) return linux_::Refusal{EPERM, "refused: it is"};
    if (launch.tool == kEndingTool) ::_exit(6);
    return std::unique_ptr<linux_::PrivilegedWork>(std::make_unique<WorkOfADeed>(deed_));
  }
  bool servesOnce() const override { return once_; }

 private:
  const Deed deed_;
  const bool once_;
};

WorkResult doNothing(int) { return {}; }

/// A session for the policy; `before` is called in the helper first.
HelperInAChild::Main sessionOf(
    const PolicyOfADeed& policy, const std::function<void()>& before = [] {}) {
  return HelperInAChild::talking([&policy, before](linux_::PeerSocket& peer) {
    before();
    const linux_::UserRecord sam = person();
    linux_::HelperSession(peer, policy, sam, 2).run();
  });
}

/// A deed that lasts until it is told to end, or until the test has ended.
struct Waiting {
  posix::Pipe pipe = posix::makePipe();

  Deed deed() {
    return [this](int) {
      pipe.writing.reset();
      char word = 0;
      return ::read(pipe.reading.get(), &word, 1) == 1 ? WorkResult() : WorkResult::failed("nobody told");
    };
  }
  void end(int times = 1) const {
    const std::string words(static_cast<std::size_t>(times), 'x');
    EXPECT_EQ(::write(pipe.writing.get(), words.data(), words.size()), times);
  }
};

void expectStarted(HelperInAChild& helper, std::uint64_t number) {
  const auto message = helper.next();
  ASSERT_TRUE(message && std::holds_alternative<Started>(*message));
  const auto& started = std::get<Started>(*message);
  EXPECT_EQ(started.number, number);
  EXPECT_EQ(started.error, 0);
  EXPECT_EQ(started.reason, "");
  EXPECT_GT(started.process, 0);
}

void expectNext(HelperInAChild& helper, const Message& message) { EXPECT_TRUE(helper.next() == message); }

/// Nothing more comes, and the helper has ended by itself.
void expectEnd(HelperInAChild& helper) {
  EXPECT_FALSE(helper.next());
  EXPECT_EQ(helper.exitStatus(), 0);
}

TEST(SessionOfAHelper, ReportsALaunchFromItsStartToItsEnd) {
  const PolicyOfADeed policy([](int output) {
    return ::write(output, "text", 4) == 4 ? WorkResult{3 << 8, "note"} : WorkResult::failed("no output");
  });
  HelperInAChild helper(sessionOf(policy));
  expectNext(helper, Hello{});
  helper.launch(7);
  expectStarted(helper, 7);
  ASSERT_EQ(helper.descriptors.size(), 1U);
  expectNext(helper, Exited{7, 3 << 8, "note"});
  EXPECT_EQ(helper.descriptors.size(), 1U) << "only the start comes with a descriptor";
  EXPECT_EQ(readOutput(helper.descriptors[0]), "text");
  helper.close();
  EXPECT_EQ(helper.exitStatus(), 0);
}

TEST(SessionOfAHelper, GoesOnAfterALaunchThatIsRefused) {
  const PolicyOfADeed policy(doNothing);
  HelperInAChild helper(sessionOf(policy));
  expectNext(helper, Hello{});
  helper.launch(1, kRefusedTool);
  expectNext(helper, Started{1, EPERM, 0, "refused: it is"});
  helper.launch(2);
  expectStarted(helper, 2);
  expectNext(helper, Exited{2, 0, ""});
  EXPECT_EQ(helper.descriptors.size(), 1U);
  helper.endSpeech();
  expectEnd(helper);
}

TEST(SessionOfAHelper, ReportsALaunchThatEndsWithoutAWord) {
  const PolicyOfADeed policy([](int) -> WorkResult { ::_exit(5); });
  HelperInAChild helper(sessionOf(policy));
  expectNext(helper, Hello{});
  helper.launch(1, kEndingTool);
  expectNext(helper, Started{1, EIO, 0, kInterrupted});
  helper.launch(2);
  expectStarted(helper, 2);
  expectNext(helper, Exited{2, 5 << 8, kInterrupted});
  helper.endSpeech();
  expectEnd(helper);
}

TEST(SessionOfAHelper, HearsALaunchThatComesInPieces) {
  const PolicyOfADeed policy(doNothing);
  HelperInAChild helper(sessionOf(policy));
  expectNext(helper, Hello{});
  const std::string bytes = linux_::encoded(linux_::Launch{1, "tool", {}}).value_or("");
  helper.say(bytes.substr(0, 1));
  EXPECT_TRUE(helper.sleeps());
  helper.say(bytes.substr(1) + bytes);
  for (int time = 0; time < 2; ++time) EXPECT_TRUE(helper.next() && helper.next()) << "both are answered";
  helper.endSpeech();
  expectEnd(helper);
}

TEST(SessionOfAHelper, EndsAtAnythingButALaunch) {
  const std::string launch = linux_::encoded(linux_::Launch{1, "tool", {}}).value_or("");
  for (const std::string& said : {linux_::encoded(Hello{}).value_or(""), std::string("\0\0\0\0\x09", 5)}) {
    const PolicyOfADeed policy(doNothing);
    HelperInAChild helper(sessionOf(policy));
    expectNext(helper, Hello{});
    helper.say(said + launch);
    expectEnd(helper);
  }
}

TEST(SessionOfAHelper, ServesOneLaunchWhereTheRightsAreForOne) {
  const PolicyOfADeed policy(doNothing, true);
  HelperInAChild helper(sessionOf(policy));
  expectNext(helper, Hello{});
  const std::string launch = linux_::encoded(linux_::Launch{1, "tool", {}}).value_or("");
  helper.say(launch + launch);
  expectStarted(helper, 1);
  expectNext(helper, Exited{1, 0, ""});
  expectEnd(helper);
}

/// A session whose first launch waits.
struct LaunchThatWaits {
  LaunchThatWaits() {
    expectNext(helper, Hello{});
    helper.launch(1);
    expectStarted(helper, 1);
  }

  Waiting waiting;
  const PolicyOfADeed policy{waiting.deed()};
  HelperInAChild helper{sessionOf(policy)};
};

TEST(SessionOfAHelper, FinishesWhatRunsWhenItIsAskedToEnd) {
  LaunchThatWaits session;
  HelperInAChild& helper = session.helper;
  ASSERT_TRUE(helper.sleeps());
  ASSERT_EQ(::kill(helper.process(), SIGTERM), 0);
  ASSERT_TRUE(helper.sleeps()) << "it waits for the launch";
  helper.launch(2);
  session.waiting.end();
  expectNext(helper, Exited{1, 0, ""});
  expectEnd(helper);
}

TEST(SessionOfAHelper, EndsWhenItIsAskedTo) {
  const PolicyOfADeed policy(doNothing);
  HelperInAChild helper(sessionOf(policy));
  expectNext(helper, Hello{});
  ASSERT_EQ(::kill(helper.process(), SIGTERM), 0);
  expectEnd(helper);
}

// Before it begins to wait there is a moment in which the request must not get lost.
TEST(SessionOfAHelper, EndsWhenItIsAskedToBeforeItWaits) {
  const PolicyOfADeed policy(doNothing);
  const auto askAfterTheHello = [] {
    afterSystemCall(SYS_sendmsg, [] { ::syscall(SYS_tgkill, ::getpid(), ::getpid(), SIGTERM); });
  };
  HelperInAChild helper(sessionOf(policy, askAfterTheHello));
  expectNext(helper, Hello{});
  expectEnd(helper);
}

TEST(SessionOfAHelper, LetsNoSignalOfItsEndReachALaunch) {
  const PolicyOfADeed policy([](int) {
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    for (const int number : {SIGTERM, SIGPIPE}) ::kill(::getpid(), number);
    return WorkResult();
  });
  HelperInAChild helper(sessionOf(policy));
  expectNext(helper, Hello{});
  helper.launch(1);
  expectStarted(helper, 1);
  expectNext(helper, Exited{1, 0, ""});
}

// It would otherwise take all the time of a processor until the tool ends.
TEST(SessionOfAHelper, SleepsWhileAToolIsRunningWhoseApplicationSaysNothingMore) {
  LaunchThatWaits session;
  HelperInAChild& helper = session.helper;
  ASSERT_TRUE(helper.sleeps());
  helper.endSpeech();
  EXPECT_TRUE(helper.sleeps());
  session.waiting.end();
  expectNext(helper, Exited{1, 0, ""});
  expectEnd(helper);
}

// A third process holds the application's end, as a program could that the application has started.
TEST(SessionOfAHelper, EndsWithItsApplicationEvenIfSomebodyElseHoldsTheOtherEnd) {
  posix::Pipe said = posix::makePipe();
  const PolicyOfADeed policy(doNothing);
  const pid_t application = ::fork();
  if (application == 0) {
    HelperInAChild helper([&](posix::UniqueFd socket) {
      sessionOf(policy)(std::move(socket));
      if (::write(said.writing.get(), "ended", 5) < 0) ::_exit(1);
    });
    const pid_t holder = ::fork();
    if (holder == 0) {
      said.writing.reset();
      ::alarm(30);
      for (;;) ::pause();
    }
    static_cast<void>(helper.next());
    ::_exit(::write(said.writing.get(), &holder, sizeof holder) > 0 ? 0 : 1);
  }
  said.writing.reset();
  pid_t holder = -1;
  EXPECT_EQ(::read(said.reading.get(), &holder, sizeof holder), static_cast<ssize_t>(sizeof holder));
  EXPECT_EQ(::waitpid(application, nullptr, 0), application);
  EXPECT_EQ(readOutput(said.reading), "ended");
  ASSERT_GT(holder, 0);
  EXPECT_EQ(::kill(holder, SIGKILL), 0);
}

TEST(SessionOfAHelper, StartsOnlySoManyLaunchesAtATime) {
  Waiting waiting;
  const PolicyOfADeed policy(waiting.deed());
  HelperInAChild helper(sessionOf(policy));
  expectNext(helper, Hello{});
  for (const std::uint64_t number : {1U, 2U}) {
    helper.launch(number);
    expectStarted(helper, number);
  }
  helper.launch(3);
  expectNext(helper, Started{3, EAGAIN, 0, "tool: Resource temporarily unavailable"});
  waiting.end(2);
  for (int time = 0; time < 2; ++time) {
    const auto message = helper.next();
    EXPECT_TRUE(message && std::holds_alternative<Exited>(*message));
  }
  // A launch is over once its process has ended, a moment after its report.
  std::optional<Message> message;
  do {
    helper.launch(4);
    message = helper.next();
  } while (message == Message(Started{4, EAGAIN, 0, "tool: Resource temporarily unavailable"}));
  EXPECT_TRUE(message && std::get<Started>(*message).error == 0);
}

TEST(SessionOfAHelper, ReportsALaunchThatTheSystemCannotStart) {
  const std::vector<std::pair<std::function<void()>, Started>> cases = {
      {[] { failSystemCall(SYS_clone, ENOMEM); }, Started{1, ENOMEM, 0, "tool: Cannot allocate memory"}},
      {[] { failSystemCall(SYS_pipe2, EMFILE); }, Started{1, EMFILE, 0, "tool: Too many open files"}},
      {[] { leaveDescriptors(2); }, Started{1, EMFILE, 0, "tool: Too many open files"}}};
  for (const auto& [before, started] : cases) {
    const PolicyOfADeed policy(doNothing);
    HelperInAChild helper(sessionOf(policy, before));
    expectNext(helper, Hello{});
    helper.launch(1);
    expectNext(helper, started);
    helper.endSpeech();
    expectEnd(helper);
  }
}

std::set<std::string> openFiles() {
  std::set<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    files.insert(std::filesystem::read_symlink(entry.path(), error));
  }
  return files;
}

// Beyond what this process had before: the pipes of its messages and of its output. Of the launch before it, nothing.
TEST(SessionOfAHelper, LeavesALaunchNothingButItsOwnPipes) {
  const std::set<std::string> before = openFiles();
  const PolicyOfADeed listing([&before](int output) {
    WorkResult result;
    for (const std::string& file : openFiles()) {
      const bool isTheListingItself = file.empty() || file.starts_with("/proc");
      if (!before.contains(file) && !isTheListingItself) result.note += file.substr(0, file.find(':')) + " ";
    }
    pollfd reader{output, 0, 0};
    result.note += ::poll(&reader, 1, 20'000) == 1 ? "and nobody reads" : "and somebody reads";
    return result;
  });
  HelperInAChild helper(sessionOf(listing));
  expectNext(helper, Hello{});
  for (const std::uint64_t number : {1U, 2U}) {
    helper.launch(number);
    expectStarted(helper, number);
  }
  helper.descriptors.clear();
  for (int time = 0; time < 2; ++time) {
    const auto message = helper.next();
    ASSERT_TRUE(message && std::holds_alternative<Exited>(*message));
    EXPECT_EQ(std::get<Exited>(*message).note, "pipe pipe and nobody reads");
  }
}

}  // namespace
}  // namespace qm::testing
