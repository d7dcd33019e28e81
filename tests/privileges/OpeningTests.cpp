// SPDX-License-Identifier: MIT

// How a helper is started: what pkexec is given, what it says, and what it says when there is no helper. Scripts take
// the places of pkexec and of the agents.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <string>
#include <vector>

#include "Platform/linux/privileges/AuthenticationAgents.h"
#include "Platform/linux/privileges/ChildProgram.h"
#include "Platform/linux/privileges/HelperOpening.h"
#include "Platform/posix/process/Descriptors.h"
#include "tests/contract/system/WaitUntil.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/privileges/BlockedThread.h"
#include "tests/privileges/Scripts.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using namespace platform;  // the names of Authorization Services are long enough as they are
using linux_::HelperOpening;

// Says hello, and stays until the connection ends.
const std::string kGranted = "cat hello >&0\ncat > /dev/null 2>&1";
const std::string kNoAgent = "echo 'Error getting authority: No authentication agent found.' >&2\nexit 127";

class OpeningOfAHelper : public ::testing::Test {
 protected:
  HelperOpening open(const linux_::OnlyCommand& only = {}) {
    return linux_::openHelperWithDialog(scripts.programs(), only, *fakes.platform.console);
  }
  HelperOpening openFrom(const std::string& commands, const linux_::OnlyCommand& only = {}) {
    scripts.write("pkexec", commands);
    return open(only);
  }
  /// Expects a failure of the system around, and why.
  static void expectUnusable(const HelperOpening& opening, const std::string& cause) {
    EXPECT_EQ(opening.status, errAuthorizationToolEnvironmentError);
    EXPECT_EQ(opening.cause, cause);
    EXPECT_EQ(opening.connection, nullptr);
  }
  static void expectGranted(const HelperOpening& opening) {
    EXPECT_EQ(opening.status, errAuthorizationSuccess) << opening.cause;
    ASSERT_NE(opening.connection, nullptr);
    EXPECT_TRUE(opening.connection->isOpen());
    opening.connection->end();
  }

  FakePlatform fakes;
  Scripts scripts;
};

TEST_F(OpeningOfAHelper, GivesAConnectionOnceTheHelperSaysHello) {
  expectGranted(openFrom(kGranted));
  EXPECT_EQ(scripts.runs("pkexec"), "--disable-internal-agent " + scripts.at("helper") + "\n");
}

TEST_F(OpeningOfAHelper, GivesPkexecTheOnlyCommandAndNoOutput) {
  expectGranted(
      openFrom("links=$(for fd in 0 1 2; do readlink /proc/$$/fd/$fd; done)\necho \"$links\" > links\n" + kGranted,
               {"/bin/echo", "one", "two"}));
  EXPECT_EQ(scripts.runs("pkexec"), "--disable-internal-agent " + scripts.at("helper") + " /bin/echo one two\n");
  const std::string links = scripts.text("links");
  EXPECT_TRUE(links.starts_with("socket:")) << links;
  EXPECT_NE(links.find("]\n/dev/null\npipe:"), std::string::npos) << links;
}

TEST_F(OpeningOfAHelper, ReadsWhatPkexecSaysMeanwhile) {
  // More than the pipe has room for.
  expectGranted(openFrom("head -c 200000 /dev/zero >&2\n" + kGranted));
}

TEST_F(OpeningOfAHelper, SaysWhyThereIsNone) {
  struct Case {
    std::string errors;
    int exitStatus;
    AuthorizationStatus status;
    std::string cause;
  };
  const std::string denied = "Error executing command as another user: Not authorized";
  const std::vector<Case> cases = {
      {"", 126, errAuthorizationCanceled, "the dialog was dismissed"},
      {denied, 126, errAuthorizationCanceled, "the dialog was dismissed"},
      {denied, 127, errAuthorizationDenied, "the request was not authorized"},
      {"a first line\n" + denied, 127, errAuthorizationDenied, "the request was not authorized"},
      {denied, 1, errAuthorizationToolEnvironmentError, denied},
      {"No authentication agent found.", 127, errAuthorizationInteractionNotAllowed,
       "no program here can ask for a password"},
      {"No authentication agent found.", 3, errAuthorizationToolEnvironmentError, "No authentication agent found."},
      {"first\nsecond", 127, errAuthorizationToolEnvironmentError, "first"},
      {"", 127, errAuthorizationToolEnvironmentError, "the helper ended with status 127"},
      {"", 125, errAuthorizationToolEnvironmentError, "the helper ended with status 125"},
      {"", 0, errAuthorizationToolEnvironmentError, "the helper ended with status 0"},
      {std::string(6000, 'x'), 1, errAuthorizationToolEnvironmentError, std::string(4096, 'x')},
  };
  for (const Case& each : cases) {
    std::ofstream(scripts.at("errors")) << each.errors << "\n";
    // Its end of the connection is closed before it says why.
    const HelperOpening opening = openFrom("exec 0<&-\n" + std::string(each.errors.empty() ? "" : "cat errors >&2\n") +
                                           "exit " + std::to_string(each.exitStatus));
    EXPECT_EQ(opening.status, each.status) << each.errors << each.exitStatus;
    EXPECT_EQ(opening.cause, each.cause);
    EXPECT_EQ(opening.connection, nullptr);
  }
}

TEST_F(OpeningOfAHelper, FailsIfItsFirstMessageIsNoHello) {
  const std::vector<std::string> messages = {
      *linux_::encoded(linux_::Hello{2}),
      *linux_::encoded(linux_::Started{1, 0, 1, ""}),
      "\xFF\xFF\xFF\xFF\x02",
  };
  for (const std::string& message : messages) {
    std::ofstream(scripts.at("message"), std::ios::binary) << message;
    expectUnusable(openFrom("cat message >&0\ncat > /dev/null\nexit 7"), "the helper ended with status 7");
  }
}

/// Whether everything that came over the connection of this process has been read.
bool isConnectionRead() {
  for (int fd = 3; fd < 256; ++fd) {
    int type = 0;
    socklen_t size = sizeof type;
    int unread = 0;
    if (::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && ::ioctl(fd, FIONREAD, &unread) == 0) {
      return unread == 0;
    }
  }
  return false;
}

TEST_F(OpeningOfAHelper, TakesAHelloThatComesInTwoPieces) {
  for (const char* pipe : {"begun", "gate"}) scripts.makePipe(pipe);
  scripts.write("pkexec",
                "head -c 4 hello >&0\necho > begun\nread -r line < gate\ntail -c +5 hello >&0\n"
                "cat > /dev/null");
  std::future<HelperOpening> opening = std::async(std::launch::async, [this] { return open(); });
  std::ifstream(scripts.at("begun")).get();
  EXPECT_TRUE(waitUntil(isConnectionRead));
  std::ofstream(scripts.at("gate")) << "go on\n";
  expectGranted(opening.get());
}

TEST_F(OpeningOfAHelper, WaitsForTheDialogAndGoesOnAfterASignal) {
  scripts.makePipe("answer");
  scripts.write("pkexec", "read -r line < answer\n" + kGranted);
  std::future<HelperOpening> opening = std::async(std::launch::async, [this] { return open(); });
  EXPECT_TRUE(interruptThreadIn(SYS_poll));
  std::ofstream(scripts.at("answer")) << "yes\n";
  expectGranted(opening.get());
}

TEST_F(OpeningOfAHelper, FailsWithoutTheProgramsForIt) {
  expectUnusable(open(), scripts.at("pkexec") + ": No such file or directory");
  std::filesystem::permissions(scripts.at("helper"), std::filesystem::perms::owner_read);
  expectUnusable(openFrom(kGranted), scripts.at("helper") + ": Permission denied");
  std::filesystem::remove(scripts.at("helper"));
  expectUnusable(openFrom(kGranted), scripts.at("helper") + ": No such file or directory");
  EXPECT_EQ(scripts.runs("pkexec"), "") << "nobody was asked for nothing";
}

TEST_F(OpeningOfAHelper, FailsWhereTheSystemHasNothingToConnectItWith) {
  scripts.write("pkexec", kGranted);
  const auto expectFailure = [this](const std::function<void()>& preparation, int error) {
    inChild([&] {
      preparation();
      expectUnusable(open(), scripts.at("pkexec") + ": " + std::strerror(error));
    });
  };
  expectFailure([] { failSystemCall(SYS_socketpair, EMFILE); }, EMFILE);
  expectFailure([] { failSystemCall(SYS_pipe2, ENFILE); }, ENFILE);
  expectFailure([] { failSystemCall(SYS_pidfd_open, EMFILE); }, EMFILE);
  expectFailure(
      [] {
        ::close(STDIN_FILENO);  // the connection would take its number, and cannot be moved
        failSystemCall(SYS_fcntl, EMFILE);
      },
      EMFILE);
}

TEST_F(OpeningOfAHelper, EndsTheConnectionWhereItCannotBeWatched) {
  scripts.write("pkexec", kGranted + "\nexit 5");
  inChild([this] {
    for (const long call : {SYS_poll, SYS_ppoll}) failSystemCall(call, ENOMEM);
    expectUnusable(open(), "the helper ended with status 5");
  });
}

// MARK: - At a terminal

class OpeningAtATerminal : public OpeningOfAHelper {
 protected:
  /// Runs `body` where there is a terminal.
  static void atTerminal(const std::function<void()>& body) {
    inChild([&] {
      const posix::UniqueFd terminal(::posix_openpt(O_RDWR | O_NOCTTY));
      ASSERT_TRUE(terminal && ::grantpt(terminal.get()) == 0 && ::unlockpt(terminal.get()) == 0);
      ASSERT_GT(::setsid(), 0);
      const posix::UniqueFd own(::open(::ptsname(terminal.get()), O_RDWR));  // becomes the session's terminal
      ASSERT_TRUE(own);
      ::signal(SIGHUP, SIG_IGN);
      body();
    });
  }
  static void withoutTerminal(const std::function<void()>& body) {
    inChild([&] {
      ASSERT_GT(::setsid(), 0);
      body();
    });
  }
  void expectNobodyAsks() {
    const HelperOpening opening = open();
    EXPECT_EQ(opening.status, errAuthorizationInteractionNotAllowed);
    EXPECT_EQ(opening.cause, "no program here can ask for a password");
    EXPECT_EQ(opening.connection, nullptr);
  }
  static long lines(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }
};

const std::string kAgentIsReady = "touch agent-is-there\nexec 1>&-\nexec sleep 1000";
const std::string kGrantedWithAgent = "if ! [ -e agent-is-there ]; then " + kNoAgent + "; fi\n" + kGranted;

TEST_F(OpeningAtATerminal, AsksThereWhereThereIsNoDesktop) {
  scripts.write("terminal-agent", kAgentIsReady);
  scripts.write("pkexec", kGrantedWithAgent);
  atTerminal([this] {
    expectGranted(open({"/bin/echo"}));
    const std::string process = std::to_string(::getpid()) + "," + linux_::ownStartTime();
    EXPECT_EQ(scripts.runs("terminal-agent"), "--process " + process + " --notify-fd 1\n");
    const std::string run = "--disable-internal-agent " + scripts.at("helper") + " /bin/echo\n";
    EXPECT_EQ(scripts.runs("pkexec"), run + run);
  });
}

TEST_F(OpeningAtATerminal, DoesNotAskThereWhatADesktopHasAnswered) {
  scripts.write("terminal-agent", kAgentIsReady);
  atTerminal([this] {
    expectGranted(openFrom(kGranted));
    EXPECT_EQ(openFrom("exit 126").status, errAuthorizationCanceled);
    EXPECT_EQ(scripts.runs("terminal-agent"), "");
  });
}

TEST_F(OpeningAtATerminal, FailsWithoutATerminal) {
  scripts.write("terminal-agent", kAgentIsReady);
  scripts.write("pkexec", kGrantedWithAgent);
  withoutTerminal([this] {
    expectNobodyAsks();
    EXPECT_EQ(scripts.runs("terminal-agent"), "");
  });
}

TEST_F(OpeningAtATerminal, FailsWithoutAnAgent) {
  scripts.write("pkexec", kNoAgent);
  atTerminal([this] {
    expectNobodyAsks();
    scripts.write("terminal-agent", "printf x\nexec sleep 1000");
    expectNobodyAsks();
    EXPECT_EQ(lines(scripts.runs("pkexec")), 2) << "it is not asked again";
  });
  scripts.write("terminal-agent", "exec 1>&-\nexec sleep 1000");
  for (const long call : {SYS_pidfd_open, SYS_pipe2}) {
    inChild([&] {
      failSystemCall(call, EMFILE);
      EXPECT_FALSE(linux_::TerminalAgent().start(scripts.at("terminal-agent")));
    });
  }
}

// MARK: - With credentials

class OpeningWithCredentials : public OpeningOfAHelper {
 protected:
  HelperOpening openFor(const std::string& user, const std::string& password) {
    return linux_::openHelperWithCredentials(scripts.programs(), *fakes.platform.console, user, password);
  }
  bool isAgentReady(const std::string& user, const std::string& password) {
    return linux_::CredentialsAgent().start(scripts.at("agent"), user, password);
  }
  /// A text as it is sent.
  static std::string sent(const std::string& text) {
    const std::size_t size = text.size();
    return {std::string{static_cast<char>(size & 0xFFU), static_cast<char>(size >> 8U), '\0', '\0'} + text};
  }
  /// An agent that reads so many bytes of credentials, is ready and waits for its end.
  void writeAgent(std::size_t size) const {
    scripts.write("agent", "head -c " + std::to_string(size) + " > received\necho ready\nexec cat > rest");
  }
};

TEST_F(OpeningWithCredentials, GivesThemToTheAgentAndToNobodyElse) {
  const std::string expected = sent("anna") + sent("her secret");
  writeAgent(expected.size());
  scripts.write("pkexec", kGranted);
  expectGranted(openFor("anna", "her secret"));
  EXPECT_EQ(scripts.text("received"), expected);
  EXPECT_EQ(scripts.text("rest"), "");
  EXPECT_EQ(scripts.runs("agent"), std::to_string(::getpid()) + " " + linux_::ownStartTime() + "\n");
  EXPECT_EQ(scripts.runs("pkexec"), "--disable-internal-agent " + scripts.at("helper") + "\n");
}

TEST_F(OpeningWithCredentials, FailsWithoutTheAgent) {
  scripts.write("pkexec", kGranted);
  expectUnusable(openFor("anna", "x"), scripts.at("agent") + " could not be used");
  EXPECT_EQ(scripts.runs("pkexec"), "");
}

TEST_F(OpeningWithCredentials, TakesNamesAndPasswordsUpToTheirLimit) {
  const std::string longest(4096, 'x');
  for (const auto& [user, password] : {std::pair(longest, longest), {"a", longest}, {longest, ""}}) {
    const std::string expected = sent(user) + sent(password);
    writeAgent(expected.size());
    EXPECT_TRUE(isAgentReady(user, password));
    EXPECT_EQ(scripts.text("received"), expected);
  }
  const std::string runs = scripts.runs("agent");
  EXPECT_FALSE(isAgentReady(longest + "x", "a"));
  EXPECT_FALSE(isAgentReady("a", longest + "x"));
  EXPECT_EQ(scripts.runs("agent"), runs) << "it is not even started";
}

TEST_F(OpeningWithCredentials, FailsIfTheAgentDoesNotSayThatItIsReady) {
  for (const std::string answer : {"", "ready", "Ready\\n", "ready\\nx", "ready\\nor not\\n"}) {
    scripts.write("agent", "head -c 10 > received\nprintf '" + answer + "'\ncat > /dev/null");
    if (answer.empty()) scripts.write("agent", "exit 0");
    EXPECT_FALSE(isAgentReady("a", "b")) << answer;
  }
}

TEST_F(OpeningWithCredentials, FailsWhereTheSystemHasNoPipeForThem) {
  writeAgent(10);
  // With room for so many pipes, two are needed.
  for (const int pipes : {0, 1}) {
    inChild([&] {
      const int next = ::dup(STDERR_FILENO);
      ::close(next);
      rlimit usual{};
      ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &usual), 0);
      const rlimit room{static_cast<rlim_t>(next + 2 * pipes), usual.rlim_max};
      ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &room), 0);
      EXPECT_FALSE(isAgentReady("a", "b"));
      EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &usual), 0);
    });
  }
  EXPECT_EQ(scripts.runs("agent"), "");
}

TEST_F(OpeningWithCredentials, FailsIfTheyCannotBeSent) {
  scripts.write("agent", "echo ready\ncat > /dev/null");
  inChild([this] {
    // The first pipe is the one for them.
    const int descriptor = posix::makePipe().writing.get();
    failSystemCallOn(descriptor, SYS_write, EIO);
    EXPECT_FALSE(isAgentReady("a", "b"));
  });
}

}  // namespace
}  // namespace qm::testing
