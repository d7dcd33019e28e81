// SPDX-License-Identifier: MIT

// The helper for any tool: what its rights are for, and how it waits for a tool.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "Platform/linux/privileges/helper/LaunchRun.h"
#include "Platform/linux/privileges/helper/ToolHelperMain.h"
#include "tests/privileges/HelperInAChild.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/privileges/MeddledPolicy.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using linux_::AnyToolPolicy;
using linux_::Exited;
using linux_::Hello;
using linux_::Launch;
using linux_::Message;
using linux_::Started;

using Arguments = std::vector<std::string>;

constexpr const char* kOtherCommand = "rights were given for another command";

// The process that waits for the tool, seen from the tool: it fails if that process takes time of a processor for ever.
const std::string kAwaitSleep =
    "i=0; while [ $i -lt 500 ]; do read -r a b state rest < /proc/$PPID/stat; [ $state = S ] && break; "
    "i=$((i+1)); sleep 0.01; done; [ $state = S ]; ";

/// The helper's program, started by root with this command line. `before` is called in its process first.
HelperInAChild::Main programWith(
    std::vector<std::string> arguments, const std::function<void()>& before = [] {}) {
  return [arguments = std::move(arguments), before](posix::UniqueFd socket) mutable {
    ::setenv("PKEXEC_UID", "0", 1);
    if (::dup2(socket.get(), STDIN_FILENO) != STDIN_FILENO) ::_exit(1);
    arguments.insert(arguments.begin(), "helper");
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    before();
    ::_exit(linux_::runToolHelper(kProduct, static_cast<int>(arguments.size()), pointers.data()));
  };
}

/// The error of a launch, and whether it has ended well.
int errorOf(HelperInAChild& helper, const std::string& tool, const std::vector<std::string>& arguments) {
  helper.launch(1, tool, arguments);
  const auto message = helper.next();
  if (!message || !std::holds_alternative<Started>(*message)) return -1;
  if (std::get<Started>(*message).error != 0) return std::get<Started>(*message).error;
  EXPECT_TRUE(helper.next() == Message(Exited{1, 0, ""}));
  return 0;
}

TEST(HelperForAnyTool, ServesEverythingWithoutACommandLine) {
  needRootsOwnSystem();
  for (const std::vector<std::string>& arguments : {Arguments{}, {""}, {"more"}, {"--for", "0"}}) {
    HelperInAChild helper(programWith(arguments));
    EXPECT_TRUE(helper.next() == Message(Hello{}));
    EXPECT_EQ(errorOf(helper, "/bin/true", {}), 0);
    EXPECT_EQ(errorOf(helper, "/bin/sh", {"-c", "exit 0"}), 0);
    helper.endSpeech();
    EXPECT_FALSE(helper.next());
    EXPECT_EQ(helper.exitStatus(), 0);
  }
}

TEST(HelperForAnyTool, ServesOnlyTheCommandOnItsCommandLine) {
  needRootsOwnSystem();
  struct Case {
    std::vector<std::string> commandLine;
    std::string tool;
    std::vector<std::string> arguments;
    int error;
  };
  const std::vector<Case> cases = {{{"/bin/true"}, "/bin/true", {}, 0},
                                   {{"/bin/sh", "-c", "exit 0"}, "/bin/sh", {"-c", "exit 0"}, 0},
                                   {{"/bin/sh", "-c", "exit 0"}, "/bin/sh", {"-c", "exit 1"}, EPERM},
                                   {{"/bin/sh", "-c", "exit 0"}, "/bin/sh", {"-c"}, EPERM},
                                   {{"/bin/true"}, "/bin/sh", {}, EPERM}};
  for (const Case& one : cases) {
    HelperInAChild helper(programWith(one.commandLine));
    EXPECT_TRUE(helper.next() == Message(Hello{}));
    EXPECT_EQ(errorOf(helper, one.tool, one.arguments), one.error) << one.commandLine[0] << one.tool;
    EXPECT_FALSE(helper.next()) << "the rights end with the first launch";
    EXPECT_EQ(helper.exitStatus(), 0);
  }
}

TEST(HelperForAnyTool, TakesTheCommandForAnotherProcessOfTheUsers) {
  needRootsOwnSystem();
  HelperInAChild well(programWith({"--for", "0", "/bin/true"}));
  EXPECT_EQ(well.exitStatus(), EXIT_SUCCESS);
  HelperInAChild ill(programWith({"--for", "0", "/bin/false"}));
  EXPECT_EQ(ill.exitStatus(), EXIT_FAILURE);
}

TEST(HelperForAnyTool, StartsNothingInAProcessThatIsNotRootsOrNotClean) {
  needRootsOwnSystem();
  const std::vector<std::function<void()>> faults = {
      [] { EXPECT_EQ(::setresuid(kPerson, 0, 0), 0); }, [] { EXPECT_EQ(::setresuid(0, kPerson, 0), 0); },
      [] { failSystemCall(SYS_chdir, EIO); }, [] { failSystemCall(SYS_dup2, EBADF); }};
  for (const auto& fault : faults) {
    HelperInAChild helper(programWith({"--for", "0", "/bin/true"}, fault));
    EXPECT_EQ(helper.exitStatus(), 2);
  }
}

TEST(HelperForAnyTool, LetsAToolWriteWhereNobodyReads) {
  needRootsOwnSystem();
  HelperInAChild helper(programWith({"--for", "0", "/bin/sh", "-c", "echo text"}));
  EXPECT_EQ(helper.exitStatus(), EXIT_SUCCESS);
}

TEST(HelperForAnyTool, NeedsNoStandardStreamsButItsConnection) {
  needRootsOwnSystem();
  HelperInAChild helper([](posix::UniqueFd socket) {
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) ::close(stream);
    programWith({})(std::move(socket));
  });
  EXPECT_TRUE(helper.next() == Message(Hello{}));
  EXPECT_EQ(errorOf(helper, "/bin/true", {}), 0);
}

TEST(HelperForAnyTool, StartsNothingWithoutANullDevice) {
  runInPrivateMachine([] {
    needRootsOwnSystem();
    mountTmpfs("/dev", "mode=0755");
    const std::string made = machineFolder() + "/made";
    for (const Arguments& arguments : {Arguments{"--for", "0", "/bin/mkdir", made}, {}}) {
      HelperInAChild helper(programWith(arguments));
      EXPECT_EQ(helper.exitStatus(), 2);
    }
    EXPECT_FALSE(exists(made));
  });
}

// Root's own move to the Trash, in a process that is killed in the middle.
void interruptAMoveOf(const std::string& path) {
  const pid_t child = ::fork();
  if (child == 0) {
    afterSystemCall(SYS_renameat2, [] { ::kill(::getpid(), SIGKILL); });
    const Launch launch{1, "/bin/mv", {"-f", path, "/root/.Trash/item"}};
    linux_::runLaunch(AnyToolPolicy(kProduct), launch, {0, 0, "root", "/root"}, posix::UniqueFd(), [](const auto&) {});
    ::_exit(0);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status)) << "it was not ended in the middle";
}

TEST(HelperForAnyTool, MendsInterruptedMovesAtItsEnd) {
  runInPrivateMachine([] {
    needRootsOwnSystem();
    const std::string trash = "/root/.local/share/Trash";
    const Arguments plain = {"files", "info"};
    for (const Arguments& arguments : {Arguments{}, {"--for", "0", "/bin/true"}}) {
      mountTmpfs("/root", "mode=0700");
      makeFolder("/root/item");
      interruptAMoveOf("/root/item");
      EXPECT_NE(namesIn(trash), plain);
      HelperInAChild helper(programWith(arguments));
      helper.endSpeech();
      EXPECT_EQ(helper.exitStatus(), 0);
      EXPECT_EQ(namesIn(trash), plain);
    }
  });
}

TEST(RightsForOneCommand, AreForNoOther) {
  needRootsOwnSystem();
  const AnyToolPolicy policy(kProduct, Launch{1, "/bin/echo", {"a"}});
  EXPECT_TRUE(policy.servesOnce());
  EXPECT_EQ(launch(policy, "/bin/echo", {"a"}).output, "a\n");
  EXPECT_EQ(launch(policy, "/bin/echo", {"b"}).reason, std::string("/bin/echo: ") + kOtherCommand);
  EXPECT_EQ(launch(policy, "/bin/true", {"a"}).reason, std::string("/bin/true: ") + kOtherCommand);
  EXPECT_FALSE(AnyToolPolicy(kProduct).servesOnce());
}

TEST(RightsForOneCommand, AreForNoneThatADialogCannotShow) {
  needRootsOwnSystem();
  const std::vector<Launch> hidden = {{1, "/bin/echo", {"a\033b"}}, {1, "/bin/ec\nho", {"a"}}};
  for (const Launch& command : hidden) {
    const Outcome outcome = launch(AnyToolPolicy(kProduct, command), command.tool, command.arguments);
    EXPECT_EQ(outcome.error, EPERM);
    EXPECT_EQ(outcome.reason, command.tool + ": no dialog can show this command");
  }
  EXPECT_EQ(launch("/bin/echo", {"a\tb"}).output, "a\tb\n") << "where nobody is asked there is no dialog";
}

TEST(ToolByItsName, IsTheSystemsOwnAndNoOtherOfThatName) {
  runInPrivateMachine([] {
    needRootsOwnSystem();
    mountTmpfs("/mnt", "mode=0755");
    for (const std::string path : {"/mnt/mv", "/mnt/abcdmv", "/mnt/a mv"}) {
      makeFile(path, "#!/bin/sh\necho own\n", 0, 0755);
      EXPECT_EQ(launch(path, {}).output, "own\n") << path;
    }
    EXPECT_EQ(launch("/usr/bin/mv", {}).reason, "wrong number of paths for mv");
  });
}

TEST(ToolThatAnybodyCanChange, IsNotStarted) {
  runInPrivateMachine([] {
    needRootsOwnSystem();
    for (const mode_t mode : {0775U, 0757U}) {
      const std::string path = machineFolder() + "/tool" + std::to_string(mode);
      makeFile(path, "#!/bin/sh\n", 0, mode);
      const Outcome outcome = launch(path, {});
      EXPECT_EQ(outcome.error, EPERM);
      EXPECT_EQ(outcome.reason, path + ": users other than root can change this program");
    }
  });
}

TEST(AwaitedTool, IsAwaitedAsleep) {
  EXPECT_EQ(launch("/bin/sh", {"-c", kAwaitSleep}).waitStatus, 0);
  EXPECT_EQ(launch("/bin/sh", {"-c", "exec 2>&-; " + kAwaitSleep}).waitStatus, 0) << "also without its errors";
}

TEST(AwaitedTool, MayPauseBetweenItsErrors) {
  const Outcome outcome = launch("/bin/sh", {"-c", "printf one >&2; " + kAwaitSleep + "printf ' two' >&2"});
  EXPECT_EQ(outcome.waitStatus, 0);
  EXPECT_EQ(outcome.note, "one two");
}

TEST(AwaitedTool, IsReadToTheEndWhereTheSystemDoesNotTellItsEnd) {
  needRootsOwnSystem();
  const MeddledPolicy policy([] { failSystemCall(SYS_pidfd_open, ENOSYS); });
  const Outcome outcome =
      launch(policy, "/bin/sh", {"-c", "head -c 1000000 /dev/zero | tr '\\0' x >&2; exec 2>&-; exit 3"});
  EXPECT_EQ(outcome.waitStatus, 3 << 8);
  EXPECT_EQ(outcome.note, std::string(700, 'x'));
}

// The helper may have been started without its standard streams.
TEST(AwaitedTool, ReadsNothingWhereTheHelperHasNoInput) {
  needRootsOwnSystem();
  const MeddledPolicy policy([] { ::close(STDIN_FILENO); });
  const Outcome outcome = launch(policy, "/bin/sh", {"-c", "readlink /proc/$$/fd/0; cat"});
  EXPECT_EQ(outcome.output, "/dev/null\n");
  EXPECT_EQ(outcome.waitStatus, 0);
}

TEST(AwaitedTool, IsReportedWhereTheSystemCannotStartIt) {
  needRootsOwnSystem();
  struct Case {
    std::function<void()> before;
    int error;
  };
  const std::vector<Case> cases = {{[] { failSystemCall(SYS_clone, ENOMEM); }, ENOMEM},
                                   {[] { failSystemCall(SYS_pipe2, EMFILE); }, EMFILE},
                                   {[] { leaveDescriptors(2); }, EMFILE},
                                   {[] { leaveDescriptors(4); }, EMFILE},
                                   {[] { failSystemCall(SYS_dup2, EBADF); }, EBADF},
                                   {[] { failSystemCall(SYS_close_range, EPERM); }, EPERM},
                                   {[] { failSystemCall(SYS_execve, EACCES); }, EACCES}};
  for (const Case& one : cases) {
    const Outcome outcome = launch(MeddledPolicy(one.before), "/bin/true", {});
    EXPECT_EQ(outcome.error, one.error);
    EXPECT_EQ(outcome.reason, std::string("/bin/true: ") + std::strerror(one.error));
  }
}

}  // namespace
}  // namespace qm::testing
