// SPDX-License-Identifier: MIT

// Sessions with administrator rights: what happens to them when something around them ends, and who may use them.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "Platform/linux/privileges/protocol/Messages.h"
#include "tests/contract/system/WaitUntil.h"
#include "tests/privileges/PolkitTest.h"

namespace qm::testing {
namespace {

using namespace platform;  // the names of Authorization Services are long enough as they are
using ::testing::HasSubstr;
using ::testing::SizeIs;

// MARK: - The system around

/// Whether the message bus has noticed that polkit has ended. Until then it would pass calls to the ended process.
bool busHasNoPolkit() {
  return std::system(
             "dbus-send --system --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.NameHasOwner "
             "string:org.freedesktop.PolicyKit1 | grep -q 'boolean false'") == 0;
}

TEST_P(AdministratorRights, AreGrantedWhenPolkitHadBeenStopped) {
  for (const pid_t process : processesNamed("polkitd")) ASSERT_EQ(::kill(process, SIGKILL), 0);
  ASSERT_TRUE(waitUntil([] { return processesNamed("polkitd").empty(); }));
  ASSERT_TRUE(waitUntil(busHasNoPolkit));
  asAccount(GetParam(), [] {
    Application application;
    EXPECT_EQ(application.open(kAnna), errAuthorizationSuccess) << application.console.text();
    EXPECT_EQ(application.outputOf("/usr/bin/id", {"-u"}), "0\n");
    application.end();
  });
  EXPECT_THAT(processesNamed("polkitd"), SizeIs(1)) << "the message bus has started it again";
}

TEST_P(AdministratorRights, CannotBeHadWithoutTheProgramsForThem) {
  asAccount(GetParam(), [] {
    KeptConsole console;
    const linux_::SystemUsers users;
    linux_::PrivilegePrograms missing = Application().programs;
    missing.pkexec = "/usr/bin/no-pkexec";
    missing.credentialsAgent = "/usr/bin/no-agent";
    linux_::PolkitAuthorization service(console, users, missing);
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

TEST_P(AdministratorRights, BelongToASessionThatIsThere) {
  asAccount(GetParam(), [] {
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

TEST_P(AdministratorRights, ServeTwoHundredLaunches) {
  asAccount(GetParam(), [] {
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

// Waits until somebody writes a process id into a pipe of this name, then does its work as root in a process of its
// own.
class Bystander {
 public:
  Bystander(std::string pipe, const std::function<void(pid_t)>& work) : pipe_(std::move(pipe)) {
    EXPECT_EQ(::mkfifo(pipe_.c_str(), 0666), 0);
    EXPECT_EQ(::chmod(pipe_.c_str(), 0666), 0);
    process_ = ::fork();
    if (process_ != 0) return;
    pid_t called = 0;
    std::ifstream(pipe_) >> called;
    work(called);
    ::_exit(0);
  }
  Bystander(const Bystander&) = delete;
  Bystander& operator=(const Bystander&) = delete;
  ~Bystander() {
    ::waitpid(process_, nullptr, 0);
    ::unlink(pipe_.c_str());
  }

 private:
  std::string pipe_;
  pid_t process_ = -1;
};

pid_t parentOf(pid_t process) {
  const std::string stat = fileText("/proc/" + std::to_string(process) + "/stat");
  pid_t parent = 0;
  std::istringstream(stat.substr(stat.rfind(')') + 3)) >> parent;
  return parent;
}

TEST_P(AdministratorRights, EndWhenTheHelperIsEnded) {
  const Bystander killer("/run/ready", [](pid_t /*application*/) {
    for (const pid_t helper : processesNamed("quillmark-admin-helper")) ::kill(helper, SIGKILL);
  });
  asAccount(GetParam(), [&] {
    DesktopAgent agent({kAnna.password});
    Application application;
    ASSERT_EQ(application.open(), errAuthorizationSuccess);
    std::ofstream("/run/ready") << ::getpid() << "\n";
    EXPECT_TRUE(waitUntil([&] { return application.start("/bin/true", {}) == errAuthorizationInvalidRef; }));
    EXPECT_EQ(application.open(), errAuthorizationSuccess) << "it can be asked for anew";
    EXPECT_EQ(application.outputOf("/usr/bin/id", {"-u"}), "0\n");
    application.end();
  });
}

TEST_P(AdministratorRights, LetARunningToolFinishWhenTheHelperIsEnded) {
  ASSERT_EQ(::mkfifo("/run/gate", 0600), 0);
  {
    const Bystander killer("/run/ready", [](pid_t application) {
      for (const pid_t helper : processesNamed("quillmark-admin-helper")) {
        if (parentOf(helper) == application) ::kill(helper, SIGKILL);
      }
      std::ofstream("/run/killed") << "yes\n";
    });
    asAccount(GetParam(), [] {
      Application application;
      ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
      ASSERT_EQ(application.start("/bin/sh", {"-c", "cat /run/gate > /run/tool-has-finished; echo said"}), 0);
      const auto output = application.pipe;
      std::ofstream("/run/ready") << ::getpid() << "\n";
      EXPECT_TRUE(waitUntil([] { return fileText("/run/killed") == "yes\n"; }));
      EXPECT_TRUE(
          waitUntil([&] { return application.start("/bin/true", {"/an/item"}) == errAuthorizationInvalidRef; }));
      EXPECT_TRUE(
          application.console.waitFor("/bin/true was not started: the program with administrator rights has "
                                      "ended; left as it was: /an/item\n"));
      ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess) << "it can be asked for anew";
      ASSERT_EQ(application.start("/bin/sh", {"-c", "echo finished > /run/gate"}), 0);
      EXPECT_EQ(output->readCharacter(), 's') << "the first tool is still connected";
      application.end();
    });
  }
  EXPECT_TRUE(nobodyIsLeft());
  EXPECT_EQ(fileText("/run/tool-has-finished"), "finished\n");
  ::unlink("/run/gate");
  ::unlink("/run/tool-has-finished");
  ::unlink("/run/killed");
}

TEST_P(AdministratorRights, LetARunningToolFinishWhenTheApplicationIsKilled) {
  ASSERT_EQ(::mkfifo("/run/gate", 0600), 0);
  const pid_t person = ::fork();
  if (person == 0) {
    const uid_t uid = GetParam().uid;
    if (::setresgid(uid, uid, uid) != 0 || ::setresuid(uid, uid, uid) != 0) ::_exit(1);
    Application application;
    if (application.open(kAnna) != errAuthorizationSuccess) ::_exit(1);
    application.start("/bin/sh", {"-c", "cat /run/gate > /run/tool-has-finished"});
    ::raise(SIGKILL);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(person, &status, 0), person);
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_FALSE(processesNamed("quillmark-admin-helper").empty()) << "it waits for the tool";
  std::ofstream("/run/gate") << "finished";
  EXPECT_TRUE(nobodyIsLeft());
  EXPECT_EQ(fileText("/run/tool-has-finished"), "finished");
  ::unlink("/run/gate");
  ::unlink("/run/tool-has-finished");
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

TEST_P(AdministratorRights, EndWhenAnotherProcessOfThePersonSpeaks) {
  asAccount(GetParam(), [] {
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

TEST_P(AdministratorRights, EndWhenADescriptorIsSent) {
  asAccount(GetParam(), [] {
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

TEST_P(AdministratorRights, EndWhenTheMessageIsMalformed) {
  asAccount(GetParam(), [] {
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    ASSERT_GT(::send(findConnection(), "\xFF\xFF\xFF\xFF\x02", 5, 0), 0);
    EXPECT_TRUE(waitUntil([&] { return application.start("/bin/true", {}) == errAuthorizationInvalidRef; }));
    application.end();
  });
}

TEST_P(AdministratorRights, KeepTheApplicationsMemoryToItself) {
  asAccount(GetParam(), [] {
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    struct stat memory {};
    ASSERT_EQ(::stat(("/proc/" + std::to_string(::getpid()) + "/mem").c_str(), &memory), 0);
    EXPECT_EQ(memory.st_uid, 0U);
    application.end();
  });
}

TEST_P(AdministratorRights, AreNotServedToWhoeverStartsTheHelper) {
  asAccount(GetParam(), [] {
    linux_::ChildProgram helper;
    ASSERT_EQ(helper.start(Application().programs.helper, {}, {}), 0);
    EXPECT_EQ(helper.wait(), 2) << "without root's rights";
  });
  for (const std::string name : {"tessaly-uninstaller-admin-helper", "quillmark-admin-helper"}) {
    linux_::ChildProgram helper;
    ASSERT_EQ(helper.start(programFolder() + "/" + name, {}, {}), 0);
    EXPECT_EQ(helper.wait(), 2) << name << " without pkexec and a connection";
  }
}

}  // namespace
}  // namespace qm::testing
