// SPDX-License-Identifier: MIT

// The extent of the rights: as far as the dialog said, and as long as they are needed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cstdlib>

#include <filesystem>
#include <fstream>

#include "Platform/linux/privileges/protocol/Messages.h"
#include "Uninstaller/Product.h"
#include "tests/contract/system/WaitUntil.h"
#include "tests/privileges/PolkitTest.h"

namespace qm::testing {
namespace {

using namespace platform;  // the names of Authorization Services are long enough as they are
using linux_::HelperScope;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

namespace fs = std::filesystem;

const std::string kShell = "/run/setuid-shell";

// MARK: - The uninstaller's

TEST_P(AdministratorRights, OfTheUninstallerStartNoProgram) {
  asAccount(GetParam(), [] {
    Application application(HelperScope::Product);
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    const std::vector<std::vector<std::string>> commands = {
        {"/bin/sh", "-c", "cp /bin/sh " + kShell + "; chmod 4755 " + kShell}, {"/bin/cp", "-f", "/bin/sh", kShell}};
    for (const auto& command : commands) {
      EXPECT_EQ(application.start(command[0], {command.begin() + 1, command.end()}),
                errAuthorizationToolExecuteFailure);
    }
    EXPECT_THAT(application.console.text(),
                HasSubstr("/bin/sh was not started: /bin/sh: only the product's items are moved to your Trash, nothing "
                          "else is done"));
    application.end();
  });
  EXPECT_FALSE(fs::exists(kShell));
}

TEST_P(AdministratorRights, OfTheUninstallerMoveAndRemoveNothingOfOthers) {
  fs::create_directories("/Applications/Other.app");
  asAccount(GetParam(), [] {
    Application application(HelperScope::Product);
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    const std::string trash = std::string("/home/") + GetParam().name + "/.Trash/";
    const auto move = [&](const std::string& from, const std::string& to) {
      return application.start("/bin/mv", {"-f", from, to});
    };
    EXPECT_EQ(move("/Applications/Other.app", trash + "Other.app"), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(move("/Applications/Tessaly.app", "/etc/cron.d/Tessaly.app"), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(application.start("/bin/rm", {"-Rdf", "/Applications/Other.app"}), errAuthorizationToolExecuteFailure);
    application.end();
  });
  EXPECT_TRUE(fs::exists("/Applications/Other.app"));
  fs::remove_all("/Applications/Other.app");
}

// Another product's licence, which the user cannot see, must not count as an empty folder.
TEST_P(AdministratorRights, OfTheUninstallerLeaveWhatThePersonCannotList) {
  fs::create_directories("/Applications/Quillmark/licences");
  std::ofstream("/Applications/Quillmark/licences/key") << "licence";
  ASSERT_EQ(::chmod("/Applications/Quillmark/licences", 0700), 0);
  asAccount(GetParam(), [] {
    Application application(HelperScope::Product);
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    EXPECT_EQ(application.start("/bin/rm", {"-Rdf", "/Applications/Quillmark"}), errAuthorizationSuccess);
    EXPECT_TRUE(application.console.waitFor(
        "/bin/rm failed with status 1: /Applications/Quillmark (key): Directory not empty\n"))
        << application.console.text();
    application.end();
  });
  EXPECT_EQ(fileText("/Applications/Quillmark/licences/key"), "licence");
  fs::remove_all("/Applications/Quillmark");
}

TEST_P(AdministratorRights, AreNotAskedForWhereTheTrashCannotBeUsed) {
  const std::string home = std::string("/home/") + GetParam().name;
  asAccount(GetParam(), [&] {
    fs::create_directories(home + "/.local/share");
    std::ofstream(home + "/.local/share/Trash") << "no folder";
    DesktopAgent agent({kAnna.password});
    Application application(HelperScope::Product);
    ASSERT_EQ(::setenv("HOME", home.c_str(), 1), 0);
    application.service.announce("/bin/mv", {"-f", "/Applications/Tessaly.app", home + "/.Trash/Tessaly.app"});
    EXPECT_EQ(application.open(), errAuthorizationToolEnvironmentError);
    EXPECT_THAT(agent.dialogs(), SizeIs(0));
    EXPECT_EQ(application.console.text(),
              "Administrator rights were not granted: they would not help, because “" + home +
                  "/.local/share/Trash” is not a real folder; left as it was: /Applications/Tessaly.app\n");
    application.end();
  });
  fs::remove_all(home + "/.local");
}

TEST_P(AdministratorRights, AreAskedForWhereTheLinkOfThePersonLeadsToATrash) {
  const std::string home = std::string("/home/") + GetParam().name;
  asAccount(GetParam(), [&] {
    fs::create_directories(home + "/.local/share");
    std::ofstream(home + "/.local/share/Trash") << "no folder";
    for (const std::string folder : {"/data/Trash", "/data/Trash/files", "/data/Trash/info"}) {
      fs::create_directories(home + folder);
      ASSERT_EQ(::chmod((home + folder).c_str(), 0700), 0);
    }
    fs::create_symlink("data/Trash/files", home + "/.Trash");
    DesktopAgent agent({kAnna.password});
    Application application(HelperScope::Product);
    ASSERT_EQ(::setenv("HOME", home.c_str(), 1), 0);
    application.service.announce("/bin/mv", {"-f", "/Applications/Tessaly.app", home + "/.Trash/Tessaly.app"});
    EXPECT_EQ(application.open(), errAuthorizationSuccess) << application.console.text();
    EXPECT_THAT(agent.dialogs(), SizeIs(1));
    application.end();
  });
  for (const std::string path : {"/.local", "/data", "/.Trash"}) fs::remove_all(home + path);
}

TEST_P(AdministratorRights, AreReleasedWhenNothingNeedsThemAnyMore) {
  asAccount(GetParam(), [] {
    for (const HelperScope scope : {HelperScope::Product, HelperScope::AnyTool}) {
      Application application(scope);
      ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
      application.service.releaseRights();
      EXPECT_THAT(processesNamed("tessaly-uninstaller-admin-helper"), SizeIs(0));
      EXPECT_THAT(processesNamed("quillmark-admin-helper"), SizeIs(0));
      EXPECT_EQ(application.start("/bin/true", {}), errAuthorizationInvalidRef);
      EXPECT_EQ(application.open(kAnna), errAuthorizationSuccess) << "it can be asked for anew";
      application.end();
    }
  });
}

TEST_P(AdministratorRights, AreNoneForAnotherUserThanTheOneWhoCalled) {
  asAccount(GetParam(), [] {
    DesktopAgent agent({kAnna.password});
    const Application application(HelperScope::Product);
    linux_::ChildProgram pkexec;
    const std::string other = std::to_string(kBea.uid);
    const std::vector<std::string> arguments = {
        "--disable-internal-agent",  application.programs.helper, "--for", other, "/bin/mv", "-f",
        "/Applications/Tessaly.app", "/home/bea/.Trash/T"};
    ASSERT_EQ(pkexec.start("/usr/bin/pkexec", arguments, {}), 0);
    EXPECT_EQ(pkexec.wait(), 2);
    EXPECT_THAT(agent.dialogs(), SizeIs(1)) << "the password was right";
  });
}

// MARK: - Any tool's

TEST_P(AdministratorRights, ForAnyToolAreAskedForWithItsCommandLine) {
  asAccount(GetParam(), [] {
    DesktopAgent agent({kAnna.password, kAnna.password, "cancel"});
    Application application;
    application.service.announce("/bin/echo", {"one"});
    ASSERT_EQ(application.open(), errAuthorizationSuccess) << application.console.text();
    EXPECT_EQ(application.outputOf("/bin/echo", {"one"}), "one\n");
    EXPECT_EQ(application.outputOf("/bin/echo", {"two"}), "two\n") << "asked for again";
    EXPECT_EQ(application.start("/bin/echo", {"two"}), errAuthorizationCanceled) << "and again";
    const std::string helper = application.programs.helper;
    const auto dialog = [&](const std::string& command) {
      return "com.quillmark.admin\tAn application wants to run as administrator: " + helper + command +
             " (no program after the first stands for any). Authentication is required for this.";
    };
    EXPECT_THAT(agent.dialogs(),
                ElementsAre(dialog(" /bin/echo one"), dialog(" /bin/echo two"), dialog(" /bin/echo two")));
    EXPECT_EQ(application.console.text(), "Administrator rights were not granted: the dialog was dismissed\n");
    application.end();
  });
}

TEST_P(AdministratorRights, ForOneCommandStartNoOther) {
  asAccount(GetParam(), [] {
    DesktopAgent agent({kAnna.password});
    const Application application;
    posix::UniqueFd socket, helpers;
    int ends[2] = {-1, -1};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    socket.reset(ends[0]);
    helpers.reset(ends[1]);
    linux_::ChildProgram pkexec;
    ASSERT_EQ(pkexec.start("/usr/bin/pkexec",
                           {"--disable-internal-agent", application.programs.helper, "/bin/echo", "harmless"},
                           {.input = helpers.get()}),
              0);
    helpers.reset();
    linux_::MessageReader reader;
    const auto next = [&] {
      char block[4096];
      auto message = reader.next();
      for (ssize_t got = 0; !message && (got = ::read(socket.get(), block, sizeof block)) > 0;
           message = reader.next()) {
        reader.append({block, static_cast<std::size_t>(got)});
      }
      return message;
    };
    ASSERT_EQ(next(), linux_::Message(linux_::Hello{}));
    const std::string request = *linux_::encoded(linux_::Launch{1, "/bin/cp", {"-f", "/bin/sh", kShell}});
    ASSERT_GT(::send(socket.get(), request.data(), request.size(), 0), 0);
    const auto answer = next();
    ASSERT_TRUE(answer && std::holds_alternative<linux_::Started>(*answer));
    EXPECT_EQ(std::get<linux_::Started>(*answer).error, EPERM);
    EXPECT_EQ(std::get<linux_::Started>(*answer).reason, "/bin/cp: rights were given for another command");
    EXPECT_EQ(next(), std::nullopt) << "it serves once";
    EXPECT_EQ(pkexec.wait(), 0);
  });
  EXPECT_FALSE(fs::exists(kShell));
}

TEST_P(AdministratorRights, ForOneCommandAreNoneWhereTheDialogCannotShowIt) {
  asAccount(GetParam(), [] {
    DesktopAgent agent({kAnna.password});
    Application application;
    application.service.announce("/bin/echo", {"harmless\nAuthentication is required for nothing."});
    ASSERT_EQ(application.open(), errAuthorizationSuccess) << application.console.text();
    EXPECT_EQ(application.start("/bin/echo", {"harmless\nAuthentication is required for nothing."}),
              errAuthorizationToolExecuteFailure);
    EXPECT_THAT(application.console.text(), HasSubstr("no dialog can show this command"));
    application.end();
  });
}

// MARK: - Root for somebody

class RootForSomebody : public AdministratorRights {
 protected:
  static std::string home() { return std::string("/home/") + GetParam().name; }

  /// The helper as started by a root process for the user.
  static int helperFor(const std::vector<std::string>& command) {
    std::vector<std::string> arguments = {"--for", std::to_string(GetParam().uid)};
    arguments.insert(arguments.end(), command.begin(), command.end());
    linux_::ChildProgram helper;
    EXPECT_EQ(helper.start(programFolder() + "/tessaly-uninstaller-admin-helper", arguments, {}), 0);
    return helper.wait();
  }
  static int trashTheApplication() {
    return helperFor({"/bin/mv", "-f", "/Applications/Tessaly.app", home() + "/.Trash/Tessaly.app"});
  }
};

TEST_P(RootForSomebody, HandsOverWhatComesIntoTheTrash) {
  fs::create_directories("/Applications/Tessaly.app/Contents");
  EXPECT_EQ(trashTheApplication(), 0);
  const std::string trash = home() + "/.local/share/Trash";
  struct stat found {};
  ASSERT_EQ(::stat((trash + "/files/Tessaly.app/Contents").c_str(), &found), 0);
  EXPECT_EQ(found.st_uid, GetParam().uid);
  EXPECT_THAT(fileText(trash + "/info/Tessaly.app.trashinfo"), HasSubstr("Path=/Applications/Tessaly.app\n"));
  fs::remove_all(home() + "/.local");
}

/// A root process that works for one user, whoever came to it through pkexec.
class RootsUsers : public platform::Users {
 public:
  explicit RootsUsers(const Account& person) : person_(person) {}
  unsigned realUserId() const override { return 0; }
  std::string userName() const override { return "root"; }
  std::string homeDirectory() const override { return "/var/root"; }
  std::optional<std::string> homeDirectoryForUser(const std::optional<std::string>&) const override {
    return std::string("/home/") + person_.name;
  }
  std::optional<std::string> consoleUser() const override { return person_.name; }

 private:
  const Account& person_;
};

TEST_P(RootForSomebody, IsStartedAsWellByAProgramThatAnotherStartedThroughPkexec) {
  fs::create_directories("/Applications/Tessaly.app/Contents");
  KeptConsole console;
  const RootsUsers users(GetParam());
  linux_::PolkitAuthorization service(
      console, users,
      linux_::privilegePrograms(kProduct, programFolder() + "/tessaly-uninstaller", HelperScope::Product));
  const platform::ToolCommand command =
      service.commandForRoot("/bin/mv", {"-f", "/Applications/Tessaly.app", home() + "/.Trash/Tessaly.app"});
  std::vector<char*> arguments = {const_cast<char*>(command.tool.c_str())};
  for (const std::string& each : command.arguments) arguments.push_back(const_cast<char*>(each.c_str()));
  arguments.push_back(nullptr);
  std::string caller = "PKEXEC_UID=54321";
  char* environment[] = {caller.data(), nullptr};
  pid_t child = -1;
  ASSERT_EQ(::posix_spawn(&child, command.tool.c_str(), nullptr, nullptr, arguments.data(), environment), 0);
  service.releaseRights();
  EXPECT_FALSE(fs::exists("/Applications/Tessaly.app")) << "it is done once the rights are released";
  int status = -1;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  fs::remove_all(home() + "/.local");
  fs::remove_all(home() + "/.Trash");
}

TEST_P(RootForSomebody, PutsNothingWhereALinkToTheTrashLeads) {
  const std::string planted = "/etc/apt/apt.conf.d";
  fs::create_directories("/Applications/Tessaly.app/Contents");
  fs::create_directories(home() + "/.local/share");
  std::ofstream(home() + "/.local/share/Trash") << "no folder";
  fs::create_symlink(planted, home() + "/.Trash");
  for (const std::string path : {"/.local", "/.local/share", "/.local/share/Trash"}) {
    ASSERT_EQ(::chown((home() + path).c_str(), GetParam().uid, GetParam().uid), 0);
  }
  EXPECT_NE(trashTheApplication(), 0);
  EXPECT_FALSE(fs::exists(planted + "/Tessaly.app"));
  EXPECT_TRUE(fs::exists("/Applications/Tessaly.app/Contents")) << "it stays where nothing can be done";
  for (const std::string path : {"/.local", "/.Trash"}) fs::remove_all(home() + path);
  fs::remove_all("/Applications/Tessaly.app");
}

TEST_P(RootForSomebody, MovesNothingOfAnothersBehindALink) {
  const std::string others = "/home/bea/Library/Caches/com.quillmark.tessaly";
  fs::create_directories(others);
  fs::create_directories(home() + "/Library");
  fs::create_symlink("/home/bea/Library/Caches", home() + "/Library/Caches");
  ASSERT_EQ(::lchown((home() + "/Library/Caches").c_str(), GetParam().uid, GetParam().uid), 0);
  ASSERT_EQ(::chown((home() + "/Library").c_str(), GetParam().uid, GetParam().uid), 0);
  EXPECT_NE(helperFor({"/bin/mv", "-f", home() + "/Library/Caches/com.quillmark.tessaly", home() + "/.Trash/caches"}),
            0);
  EXPECT_TRUE(fs::exists(others));
  for (const std::string& path : {home() + "/Library", home() + "/.local", std::string("/home/bea/Library")}) {
    fs::remove_all(path);
  }
}

INSTANTIATE_TEST_SUITE_P(As, RootForSomebody, ::testing::Values(kSam, kAnna),
                         [](const auto& person) { return std::string(person.param.name); });

// MARK: - Asked to end

TEST_P(AdministratorRights, EndInOrderWhenTheHelperIsAskedTo) {
  ASSERT_EQ(::mkfifo("/run/gate", 0600), 0);
  const pid_t person = ::fork();
  if (person == 0) {
    const uid_t uid = GetParam().uid;
    if (::setresgid(uid, uid, uid) != 0 || ::setresuid(uid, uid, uid) != 0) ::_exit(1);
    Application application;
    if (application.open(kAnna) != errAuthorizationSuccess) ::_exit(1);
    application.start("/bin/sh", {"-c", "cat /run/gate > /run/tool-has-finished"});
    ::_exit(waitUntil([&] { return application.start("/bin/true", {}) == errAuthorizationInvalidRef; }) ? 0 : 2);
  }
  ASSERT_TRUE(waitUntil([] { return fs::exists("/run/tool-has-finished"); }) ||
              waitUntil([] { return processesNamed("quillmark-admin-helper").size() >= 2; }));
  for (const pid_t helper : processesNamed("quillmark-admin-helper")) ::kill(helper, SIGTERM);
  std::ofstream("/run/gate") << "finished";
  int status = -1;
  EXPECT_EQ(::waitpid(person, &status, 0), person);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(nobodyIsLeft());
  EXPECT_EQ(fileText("/run/tool-has-finished"), "finished");
  ::unlink("/run/gate");
  ::unlink("/run/tool-has-finished");
}

}  // namespace
}  // namespace qm::testing
