// Administrator rights the whole way: the real message bus, polkit, pkexec, helper and agents.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "tests/contract/system/WaitUntil.h"
#include "tests/privileges/PolkitMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using namespace platform;  // the names of Authorization Services are long enough as they are
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

std::string fileText(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Nothing is left of any case: no process, no file, no account, no mount.
class AdministratorRights : public ::testing::Test {
 protected:
  void SetUp() override { before_ = traces(); }
  void TearDown() override {
    EXPECT_TRUE(nobodyIsLeft());
    EXPECT_EQ(traces(), before_);
  }

 private:
  static std::string traces() {
    std::string all = fileText("/etc/passwd") + fileText("/etc/group") + fileText("/proc/self/mounts");
    for (const char* folder : {"/run", "/tmp", "/root", "/home/sam", "/home/anna"}) {
      for (const auto& entry : std::filesystem::directory_iterator(folder)) all += entry.path().string() + "\n";
    }
    return all;
  }

  std::string before_;
};

// MARK: - The dialog

TEST_F(AdministratorRights, AreGrantedForTheRightPassword) {
  for (const Account& account : {kSam, kAnna}) {
    asAccount(account, [] {
      DesktopAgent agent({kAnna.password});
      Application application;
      EXPECT_EQ(application.open(), errAuthorizationSuccess) << application.console.text();
      EXPECT_EQ(application.outputOf("/usr/bin/id", {"-u"}), "0\n");
      EXPECT_EQ(application.end(), errAuthorizationSuccess);
      EXPECT_EQ(application.console.text(), "");
    });
  }
}

TEST_F(AdministratorRights, AreAskedForOnceInWordsThatSayWhatHappens) {
  asAccount(kSam, [] {
    DesktopAgent agent({kAnna.password});
    Application application;
    ASSERT_EQ(application.open(), errAuthorizationSuccess);
    for (int i = 0; i < 10; ++i) {
      EXPECT_EQ(application.open(), errAuthorizationSuccess);
      EXPECT_EQ(application.outputOf("/bin/echo", {"done"}), "done\n");
    }
    EXPECT_THAT(agent.dialogs(),
                ElementsAre("com.quillmark.uninstaller.admin\tUninstall Tessaly is about to move parts of Tessaly that "
                            "belong to the system to your Trash. Authentication is required for this."));
    application.end();
  });
}

TEST_F(AdministratorRights, AreDeniedForAWrongPassword) {
  asAccount(kSam, [] {
    DesktopAgent agent({"wrong"});
    Application application;
    EXPECT_EQ(application.open(), errAuthorizationDenied);
    EXPECT_EQ(application.console.text(),
              "Administrator rights were not granted: name or password were not accepted\n");
    EXPECT_EQ(application.start("/bin/echo", {}), errAuthorizationInvalidRef);
    application.end();
  });
}

TEST_F(AdministratorRights, AreDeniedAfterThreeWrongPasswords) {
  asAccount(kSam, [] {
    DesktopAgent agent({"wrong/wrong/wrong"});
    Application application;
    EXPECT_EQ(application.open(), errAuthorizationDenied);
    EXPECT_THAT(agent.dialogs(), SizeIs(1));
    application.end();
  });
}

TEST_F(AdministratorRights, AreNotGrantedWhenTheDialogIsCancelledAndAskedForAgain) {
  asAccount(kSam, [] {
    DesktopAgent agent({"cancel", kAnna.password});
    Application application;
    EXPECT_EQ(application.open(), errAuthorizationCanceled);
    EXPECT_EQ(application.console.text(), "Administrator rights were not granted: the dialog was dismissed\n");
    EXPECT_EQ(application.open(), errAuthorizationSuccess);
    EXPECT_THAT(agent.dialogs(), SizeIs(2));
    application.end();
  });
}

TEST_F(AdministratorRights, AreNotKeptForTheNextSession) {
  asAccount(kSam, [] {
    DesktopAgent agent({kAnna.password, "cancel"});
    Application application;
    EXPECT_EQ(application.open(), errAuthorizationSuccess);
    EXPECT_EQ(application.end(), errAuthorizationSuccess);
    ASSERT_EQ(application.service.create({}, 0, &application.session), errAuthorizationSuccess);
    EXPECT_EQ(application.open(), errAuthorizationCanceled);
    application.end();
  });
}

TEST_F(AdministratorRights, CannotBeAskedForWithoutAnAgent) {
  asAccount(kSam, [] {
    Application application;
    EXPECT_EQ(application.open(), errAuthorizationInteractionNotAllowed);
    EXPECT_THAT(application.console.text(), HasSubstr("there is nothing here that could ask for a password"));
    application.end();
  });
}

TEST_F(AdministratorRights, AreNotAskedForWhenThatIsNotAllowed) {
  asAccount(kSam, [] {
    DesktopAgent agent({kAnna.password});
    Application application;
    const AuthorizationItems rights = {{.name = "system.privilege.admin", .value = "", .flags = 0}};
    EXPECT_EQ(application.service.copyRights(application.session, rights, {}, kAuthorizationFlagExtendRights),
              errAuthorizationInteractionNotAllowed);
    EXPECT_EQ(application.service.copyRights(application.session, rights, {}, kAuthorizationFlagInteractionAllowed),
              errAuthorizationDenied);
    const AuthorizationItems other = {{.name = "system.something", .value = "", .flags = 0}};
    EXPECT_EQ(application.service.copyRights(application.session, other, {}, 19), errAuthorizationDenied);
    EXPECT_THAT(agent.dialogs(), SizeIs(0));
    application.end();
  });
}

bool echoes(int terminal) {
  termios state{};
  return ::tcgetattr(terminal, &state) != 0 || (state.c_lflag & ECHO) != 0;
}

TEST_F(AdministratorRights, AreAskedForAtTheTerminalWhereThereIsNoDesktop) {
  asAccount(kSam, [] {
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_TRUE(terminal >= 0 && ::grantpt(terminal) == 0 && ::unlockpt(terminal) == 0);
    const pid_t person = ::fork();
    if (person == 0) {
      // Reads what the terminal shows; types anna's place in the list, and her password.
      std::string shown;
      char block[512];
      const auto waitFor = [&](const char* text) {
        while (shown.find(text) == std::string::npos) {
          const ssize_t got = ::read(terminal, block, sizeof block);
          if (got <= 0) ::_exit(1);
          shown.append(block, static_cast<std::size_t>(got));
        }
      };
      waitFor("Choose identity");
      const std::size_t place = shown.find("  anna");
      const std::string choice = place == std::string::npos ? "1\n" : shown.substr(place - 2, 1) + "\n";
      static_cast<void>(!::write(terminal, choice.data(), choice.size()));
      waitFor("Password:");
      // What is typed before the terminal stops echoing is thrown away.
      if (!waitUntil([&] { return !echoes(terminal); })) ::_exit(1);
      const std::string password = std::string(kAnna.password) + "\n";
      static_cast<void>(!::write(terminal, password.data(), password.size()));
      waitFor("AUTHENTICATION COMPLETE");
      ::_exit(0);
    }
    const int own = ::open(::ptsname(terminal), O_RDWR);  // becomes the session's terminal
    ASSERT_GE(own, 0);
    Application application;
    EXPECT_EQ(application.open(), errAuthorizationSuccess) << application.console.text();
    EXPECT_EQ(application.outputOf("/usr/bin/id", {"-u"}), "0\n");
    application.end();
    int status = -1;
    EXPECT_EQ(::waitpid(person, &status, 0), person);
    EXPECT_EQ(status, 0);
    ::signal(SIGHUP, SIG_IGN);
    ::close(own);
    ::close(terminal);
  });
}

// MARK: - Credentials

TEST_F(AdministratorRights, AreGrantedForAnAdministratorsCredentials) {
  struct Case {
    Account person;
    Account administrator;
  };
  for (const Case& each : {Case{kAnna, kAnna}, Case{kAnna, kBea}, Case{kSam, kBea}}) {
    asAccount(each.person, [&] {
      Application application;
      EXPECT_EQ(application.open(each.administrator), errAuthorizationSuccess) << application.console.text();
      EXPECT_EQ(application.outputOf("/usr/bin/id", {"-u"}), "0\n");
      application.end();
    });
  }
}

TEST_F(AdministratorRights, AreDeniedForOtherCredentials) {
  asAccount(kSam, [] {
    Application application;
    EXPECT_EQ(application.open(kAnna.name, "wrong"), errAuthorizationDenied);
    EXPECT_EQ(application.open(kSam), errAuthorizationDenied) << "not an administrator";
    EXPECT_EQ(application.open("nobody-of-this-name", "x"), errAuthorizationDenied);
    EXPECT_EQ(application.open("", ""), errAuthorizationDenied);
    EXPECT_EQ(application.open(kEve), errAuthorizationDenied) << "her account has expired";
    EXPECT_EQ(application.open(std::string(5000, 'x'), "x"), errAuthorizationToolEnvironmentError);
    application.end();
  });
}

TEST_F(AdministratorRights, DoNotShowThePassword) {
  asAccount(kSam, [] {
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    EXPECT_THAT(application.console.text(), ::testing::Not(HasSubstr(kAnna.password)));
    const std::string search = "grep -l -a -s -F \"$1\" /proc/[0-9]*/cmdline /proc/[0-9]*/environ; true";
    EXPECT_EQ(application.outputOf("/bin/bash", {"-c", "read -r x < /dev/null; set -- \"anna's\"' secret'; " + search}),
              "");
    application.end();
  });
}

// MARK: - The system around

TEST_F(AdministratorRights, AreGrantedWhenPolkitHadBeenStopped) {
  for (const pid_t process : processesNamed("polkitd")) ASSERT_EQ(::kill(process, SIGKILL), 0);
  ASSERT_TRUE(waitUntil([] { return processesNamed("polkitd").empty(); }));
  asAccount(kSam, [] {
    Application application;
    EXPECT_EQ(application.open(kAnna), errAuthorizationSuccess) << application.console.text();
    EXPECT_EQ(application.outputOf("/usr/bin/id", {"-u"}), "0\n");
    application.end();
  });
  EXPECT_THAT(processesNamed("polkitd"), SizeIs(1)) << "the message bus has started it again";
}

TEST_F(AdministratorRights, CannotBeHadWithoutTheProgramsForThem) {
  asAccount(kSam, [] {
    KeptConsole console;
    linux_::PrivilegePrograms missing = Application().programs;
    missing.pkexec = "/usr/bin/no-pkexec";
    missing.credentialsAgent = "/usr/bin/no-agent";
    linux_::PolkitAuthorization service(console, missing);
    AuthorizationRef session = nullptr;
    ASSERT_EQ(service.create({}, 0, &session), errAuthorizationSuccess);
    const AuthorizationItems rights = {{.name = "system.privilege.admin", .value = "", .flags = 0}};
    EXPECT_EQ(service.copyRights(session, rights, {}, 19), errAuthorizationToolEnvironmentError);
    EXPECT_THAT(console.text(), HasSubstr("/usr/bin/no-pkexec: No such file or directory"));
    const AuthorizationItems credentials = {{.name = "username", .value = "a", .flags = 0},
                                            {.name = "password", .value = "b", .flags = 0}};
    EXPECT_EQ(service.copyRights(session, rights, credentials, 18), errAuthorizationToolEnvironmentError);
    EXPECT_EQ(service.free(session, 0), errAuthorizationSuccess);
  });
}

// MARK: - Sessions

TEST_F(AdministratorRights, BelongToASessionThatIsThere) {
  asAccount(kSam, [] {
    Application application;
    AuthorizationRef handedDown = application.session;
    EXPECT_EQ(application.service.copyPrivilegedReference(&handedDown, 0), errAuthorizationSuccess);
    EXPECT_EQ(handedDown, nullptr);
    EXPECT_EQ(application.start("/bin/echo", {}), errAuthorizationInvalidRef) << "no rights yet";
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    EXPECT_EQ(application.start("/bin/echo", {}), errAuthorizationSuccess);
    EXPECT_EQ(application.end(), errAuthorizationSuccess);
    EXPECT_EQ(application.end(), errAuthorizationInvalidRef);
    EXPECT_EQ(application.start("/bin/echo", {}), errAuthorizationInvalidRef);
    EXPECT_EQ(application.open(kAnna), errAuthorizationInvalidRef);
  });
}

TEST_F(AdministratorRights, ServeTwoHundredLaunches) {
  asAccount(kSam, [] {
    DesktopAgent agent({kAnna.password});
    Application application;
    ASSERT_EQ(application.open(), errAuthorizationSuccess);
    std::vector<std::shared_ptr<CommunicationsPipe>> pipes;
    for (int i = 0; i < 200; ++i) {
      ASSERT_EQ(application.start("/bin/echo", {std::to_string(i)}), errAuthorizationSuccess);
      pipes.push_back(application.pipe);
    }
    for (int i = 0; i < 200; ++i) {
      EXPECT_EQ(pipes[static_cast<std::size_t>(i)]->readCharacter(), std::to_string(i)[0]);
    }
    EXPECT_THAT(agent.dialogs(), SizeIs(1));
    application.end();
  });
}

TEST_F(AdministratorRights, EndWhenTheHelperIsEnded) {
  const std::string ready = "/run/ready";
  ASSERT_EQ(::mkfifo(ready.c_str(), 0666), 0);
  ASSERT_EQ(::chmod(ready.c_str(), 0666), 0);
  const pid_t killer = ::fork();
  if (killer == 0) {
    const int waiting = ::open(ready.c_str(), O_RDONLY);
    char unused = 0;
    static_cast<void>(!::read(waiting, &unused, 1));
    for (const pid_t helper : processesNamed("tessaly-uninstaller-admin-helper")) ::kill(helper, SIGKILL);
    ::_exit(0);
  }
  asAccount(kSam, [&] {
    DesktopAgent agent({kAnna.password});
    Application application;
    ASSERT_EQ(application.open(), errAuthorizationSuccess);
    std::ofstream(ready) << "x";
    EXPECT_TRUE(waitUntil([&] { return application.start("/bin/true", {}) == errAuthorizationInvalidRef; }));
    EXPECT_EQ(application.open(), errAuthorizationSuccess) << "it can be asked for anew";
    EXPECT_EQ(application.outputOf("/usr/bin/id", {"-u"}), "0\n");
    application.end();
  });
  ::waitpid(killer, nullptr, 0);
  ::unlink(ready.c_str());
}

TEST_F(AdministratorRights, LetARunningToolFinishWhenTheApplicationIsKilled) {
  ASSERT_EQ(::mkfifo("/run/gate", 0600), 0);
  const pid_t person = ::fork();
  if (person == 0) {
    if (::setresgid(kSam.uid, kSam.uid, kSam.uid) != 0 || ::setresuid(kSam.uid, kSam.uid, kSam.uid) != 0) ::_exit(1);
    Application application;
    if (application.open(kAnna) != errAuthorizationSuccess) ::_exit(1);
    application.start("/bin/sh", {"-c", "cat /run/gate > /run/tool-has-finished"});
    ::raise(SIGKILL);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(person, &status, 0), person);
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_FALSE(processesNamed("tessaly-uninstaller-admin-helper").empty()) << "it waits for the tool";
  std::ofstream("/run/gate") << "finished";
  EXPECT_TRUE(nobodyIsLeft());
  EXPECT_EQ(fileText("/run/tool-has-finished"), "finished");
  ::unlink("/run/gate");
  ::unlink("/run/tool-has-finished");
}

// MARK: - Tools

TEST_F(AdministratorRights, GiveTheWholeOutput) {
  asAccount(kSam, [] {
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    EXPECT_THAT(application.outputOf("/usr/bin/head", {"-c", "10000000", "/dev/zero"}), SizeIs(10000000));
    application.end();
  });
}

TEST_F(AdministratorRights, TakeArgumentsUpToTheLimits) {
  asAccount(kSam, [] {
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    const auto echo = [](std::size_t size) { return std::vector<std::string>{"-n", std::string(size, 'x')}; };
    EXPECT_THAT(application.outputOf("/bin/echo", echo(131000)), SizeIs(131000));
    EXPECT_EQ(application.start("/bin/echo", echo(132000)), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(application.outputOf("/bin/echo", std::vector<std::string>(4096, "x")).size(), 2 * 4096U);
    EXPECT_EQ(application.start("/bin/echo", std::vector<std::string>(4097, "x")), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(application.start("/bin/echo", {std::string("a\0b", 3)}), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(application.outputOf("/bin/echo", {"still there"}), "still there\n");
    application.end();
  });
}

TEST_F(AdministratorRights, SayWhyAToolIsNotStarted) {
  asAccount(kSam, [] {
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    EXPECT_EQ(application.start("/usr/bin/no-such-tool", {}), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(application.start("/etc/passwd", {}), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(application.start("/home/sam", {}), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(application.console.text(),
              "/usr/bin/no-such-tool was not started: /usr/bin/no-such-tool: No such file or directory\n"
              "/etc/passwd was not started: /etc/passwd: Permission denied\n"
              "/home/sam was not started: /home/sam: Permission denied\n");
    application.end();
  });
}

TEST_F(AdministratorRights, SayThatAToolFailed) {
  asAccount(kSam, [] {
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    EXPECT_EQ(application.start("/bin/mv", {"-f", "/run/missing", "/run/new"}), errAuthorizationSuccess);
    EXPECT_TRUE(application.console.waitFor(
        "/bin/mv failed with status 1: /bin/mv: cannot stat '/run/missing': No such file or directory\n"))
        << application.console.text();
    EXPECT_EQ(application.start("/bin/sh", {"-c", "kill -KILL $$"}), errAuthorizationSuccess);
    EXPECT_TRUE(application.console.waitFor("/bin/sh was ended by signal 9\n"));
    application.end();
  });
}

TEST_F(AdministratorRights, GiveToolsACleanStart) {
  asAccount(kSam, [] {
    ASSERT_EQ(::setenv("LD_PRELOAD", "/home/sam/evil.so", 1), 0);
    ASSERT_EQ(::setenv("BASH_ENV", "/home/sam/evil.sh", 1), 0);
    ::umask(0);
    ASSERT_EQ(::chdir("/tmp"), 0);
    const rlimit none{0, RLIM_INFINITY};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &none), 0);
    ::signal(SIGTERM, SIG_IGN);
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    EXPECT_EQ(application.outputOf("/usr/bin/env", {}), "PATH=/usr/sbin:/usr/bin:/sbin:/bin\nLC_ALL=C.UTF-8\n");
    EXPECT_EQ(application.outputOf("/bin/sh", {"-c", "pwd; umask; ulimit -f; ulimit -c; id -Gn"}),
              "/\n0022\nunlimited\n0\nroot\n");
    EXPECT_EQ(application.outputOf("/bin/sh", {"-c", "grep SigIgn /proc/$$/status"}), "SigIgn:\t0000000000000000\n");
    EXPECT_EQ(application.outputOf("/bin/ls", {"/proc/self/fd"}), "0\n1\n2\n3\n") << "3 is the folder that is listed";
    application.end();
  });
}

// MARK: - Who may talk

// The application's end of the connection.
int findConnection() {
  for (int fd = 3; fd < 256; ++fd) {
    int type = 0;
    socklen_t size = sizeof type;
    if (::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0) return fd;
  }
  return -1;
}

TEST_F(AdministratorRights, EndWhenAnotherProcessOfThePersonSpeaks) {
  asAccount(kSam, [] {
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    const std::string request = *linux_::encoded(linux_::Launch{1, "/usr/bin/touch", {"/run/evil"}});
    const pid_t thief = ::fork();
    if (thief == 0) ::_exit(::send(findConnection(), request.data(), request.size(), 0) > 0 ? 0 : 1);
    int status = -1;
    ::waitpid(thief, &status, 0);
    EXPECT_EQ(status, 0) << "the thief had the descriptor and has spoken";
    EXPECT_TRUE(waitUntil([&] { return application.start("/bin/true", {}) == errAuthorizationInvalidRef; }));
    EXPECT_FALSE(std::filesystem::exists("/run/evil"));
    application.end();
  });
}

TEST_F(AdministratorRights, EndWhenADescriptorIsSent) {
  asAccount(kSam, [] {
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    char control[CMSG_SPACE(sizeof(int))] = {};
    std::string request = *linux_::encoded(linux_::Launch{1, "/usr/bin/touch", {"/run/evil"}});
    iovec part{request.data(), request.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    const int descriptor = STDERR_FILENO;
    std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    ASSERT_GT(::sendmsg(findConnection(), &message, 0), 0);
    EXPECT_TRUE(waitUntil([&] { return application.start("/bin/true", {}) == errAuthorizationInvalidRef; }));
    EXPECT_FALSE(std::filesystem::exists("/run/evil"));
    application.end();
  });
}

TEST_F(AdministratorRights, EndWhenTheMessageIsMalformed) {
  asAccount(kSam, [] {
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    ASSERT_GT(::send(findConnection(), "\xFF\xFF\xFF\xFF\x02", 5, 0), 0);
    EXPECT_TRUE(waitUntil([&] { return application.start("/bin/true", {}) == errAuthorizationInvalidRef; }));
    application.end();
  });
}

TEST_F(AdministratorRights, KeepTheApplicationsMemoryToItself) {
  asAccount(kSam, [] {
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    struct stat memory {};
    ASSERT_EQ(::stat(("/proc/" + std::to_string(::getpid()) + "/mem").c_str(), &memory), 0);
    EXPECT_EQ(memory.st_uid, 0U);
    application.end();
  });
}

TEST_F(AdministratorRights, AreNotServedToWhoeverStartsTheHelper) {
  asAccount(kSam, [] {
    linux_::ChildProgram helper;
    ASSERT_EQ(helper.start(Application().programs.helper, {}, {}), 0);
    EXPECT_EQ(helper.wait(), 2) << "without root's rights";
  });
  linux_::ChildProgram helper;
  ASSERT_EQ(helper.start(programFolder() + "/tessaly-uninstaller-admin-helper", {}, {}), 0);
  EXPECT_EQ(helper.wait(), 2) << "without pkexec and a connection";
}

// MARK: - The Trash

TEST_F(AdministratorRights, MoveToTheTrashWhatThePersonCanThenSeeRestoreAndDelete) {
  std::filesystem::create_directories("/Applications/Tessaly.app/Contents");
  std::ofstream("/Applications/Tessaly.app/Contents/Info.plist") << "contents";
  asAccount(kSam, [] {
    namespace fs = std::filesystem;
    fs::create_directories("/home/sam/.local/share/Trash/files");
    fs::create_directories("/home/sam/.local/share/Trash/info");
    fs::create_symlink(".local/share/Trash/files", "/home/sam/.Trash");
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    EXPECT_EQ(application.outputOf("/bin/mv", {"-f", "/Applications/Tessaly.app", "/home/sam/.Trash/Tessaly.app"}), "");
    application.end();
    EXPECT_THAT(fileText("/home/sam/.local/share/Trash/info/Tessaly.app.trashinfo"),
                HasSubstr("[Trash Info]\nPath=/Applications/Tessaly.app\nDeletionDate="));
    std::error_code error;
    fs::rename("/home/sam/.Trash/Tessaly.app", "/home/sam/restored", error);
    EXPECT_FALSE(error) << error.message();
    fs::remove_all("/home/sam/restored", error);
    EXPECT_FALSE(error) << error.message();
    fs::remove("/home/sam/.Trash", error);
    fs::remove_all("/home/sam/.local", error);
    EXPECT_FALSE(error) << error.message();
  });
  EXPECT_FALSE(std::filesystem::exists("/Applications/Tessaly.app"));
}

class Machine : public ::testing::Environment {
 public:
  explicit Machine(std::string policyFile) : policyFile_(std::move(policyFile)) {}
  void SetUp() override { takeMachineIntoUse(policyFile_); }

 private:
  std::string policyFile_;
};

}  // namespace
}  // namespace qm::testing

int main(int count, char** arguments) {
  ::testing::InitGoogleTest(&count, arguments);
  if (count != 2) return 2;
  ::testing::AddGlobalTestEnvironment(new qm::testing::Machine(arguments[1]));
  return RUN_ALL_TESTS();
}
