// SPDX-License-Identifier: MIT

// Sessions with administrator rights. A script takes pkexec's place and starts the helper of tests, see
// HelperDouble.cpp.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/linux/privileges/ConsoleText.h"
#include "Platform/linux/privileges/PolkitAuthorization.h"
#include "Platform/posix/process/Descriptors.h"
#include "tests/contract/system/WaitUntil.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/privileges/BlockedThread.h"
#include "tests/privileges/Scripts.h"

namespace qm::testing {
namespace {

using namespace platform;  // the names of Authorization Services are long enough as they are
using linux_::HelperScope;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr AuthorizationFlags kExtend = kAuthorizationFlagExtendRights;
constexpr AuthorizationFlags kAsk = kAuthorizationFlagExtendRights | kAuthorizationFlagInteractionAllowed;
const AuthorizationItems kAdministrator = {{.name = "system.privilege.admin", .value = "", .flags = 0}};
const std::string kRefused = "Administrator rights were not granted: the dialog was dismissed";

bool isMemoryKept() { return ::prctl(PR_GET_DUMPABLE) == 0; }

class SessionOfPolkit : public ::testing::Test {
 protected:
  explicit SessionOfPolkit(HelperScope scope = HelperScope::Product)
      : service(*fakes.platform.console, *fakes.platform.users, scripts.programs(scope)) {
    ::prctl(PR_SET_DUMPABLE, 1);
    fakes.users.setHomeDirectory(scripts.at("home"));
    grant();
    session = create();
  }
  // Nothing may run on in the folder.
  void TearDown() override { service.releaseRights(); }

  AuthorizationRef create() {
    AuthorizationRef created = nullptr;
    EXPECT_EQ(service.create({}, 0, &created), errAuthorizationSuccess);
    return created;
  }
  void grant() const { scripts.write("pkexec", "exec " + Scripts::helperDouble()); }
  void refuse() const { scripts.write("pkexec", "exit 126"); }

  AuthorizationStatus open(AuthorizationRef which) { return service.copyRights(which, kAdministrator, {}, kAsk); }
  AuthorizationStatus open() { return open(session); }

  AuthorizationStatus start(const std::string& tool, const std::vector<std::string>& arguments = {}) {
    pipe.reset();
    return service.executeWithPrivileges(session, tool, 0, arguments, &pipe);
  }
  /// The tool's output: its command line, see HelperDouble.cpp.
  std::string outputOf(const std::string& tool, const std::vector<std::string>& arguments = {}) {
    EXPECT_EQ(start(tool, arguments), errAuthorizationSuccess);
    std::string output;
    for (int character = 0; pipe && (character = pipe->readCharacter()) >= 0;) output += static_cast<char>(character);
    return output;
  }
  std::vector<std::string> lines() const { return fakes.console.lines(); }
  /// The dialogs that were opened, each with the command that it shows.
  std::vector<std::string> dialogs() const {
    const std::string begin = "--disable-internal-agent " + scripts.at("helper");
    std::vector<std::string> found;
    std::ifstream runs(scripts.at("pkexec.runs"));
    for (std::string line; std::getline(runs, line);) {
      EXPECT_TRUE(line.starts_with(begin)) << line;
      found.push_back(line.substr(begin.size()));
    }
    return found;
  }

  FakePlatform fakes;
  Scripts scripts;
  linux_::PolkitAuthorization service;
  AuthorizationRef session = nullptr;
  std::shared_ptr<CommunicationsPipe> pipe;
};

class SessionForOneCommand : public SessionOfPolkit {
 protected:
  SessionForOneCommand() : SessionOfPolkit(HelperScope::AnyTool) {}
};

// MARK: - Requests

TEST_F(SessionOfPolkit, AnswersARequestByWhatItAsksFor) {
  struct Case {
    AuthorizationItems rights;
    AuthorizationItems environment;
    AuthorizationFlags flags;
    AuthorizationStatus status;
  };
  const AuthorizationItem user = {.name = "username", .value = "anna", .flags = 0};
  const AuthorizationItem password = {.name = "password", .value = "x", .flags = 0};
  const AuthorizationItem other = {.name = "system.other", .value = "", .flags = 0};
  const std::vector<Case> cases = {
      {{}, {}, 0, errAuthorizationSuccess},
      {{other}, {}, kAsk, errAuthorizationDenied},
      {{kAdministrator[0], other}, {}, kAsk, errAuthorizationDenied},
      {kAdministrator, {}, 0, errAuthorizationDenied},
      {kAdministrator, {}, kAuthorizationFlagInteractionAllowed, errAuthorizationDenied},
      {kAdministrator, {}, kExtend, errAuthorizationInteractionNotAllowed},
      {kAdministrator, {user}, kExtend, errAuthorizationInteractionNotAllowed},
      {kAdministrator, {password}, kExtend, errAuthorizationInteractionNotAllowed},
      {kAdministrator, {user, password}, kExtend, errAuthorizationToolEnvironmentError},  // there is no agent
  };
  for (const Case& each : cases) {
    EXPECT_EQ(service.copyRights(session, each.rights, each.environment, each.flags), each.status);
  }
  EXPECT_THAT(dialogs(), IsEmpty());
  EXPECT_THAT(lines(),
              ElementsAre("Administrator rights were not granted: " + scripts.at("agent") + " could not be used"));
  EXPECT_FALSE(isMemoryKept());
}

TEST_F(SessionOfPolkit, IsNeverOneThatThereIsNot) {
  const AuthorizationRef second = create();
  EXPECT_NE(session, nullptr);
  EXPECT_NE(session, second);
  EXPECT_EQ(service.free(session, 0), errAuthorizationSuccess);
  EXPECT_NE(create(), session) << "no handle is used again";
  EXPECT_EQ(open(), errAuthorizationInvalidRef);
  EXPECT_EQ(start("/tool"), errAuthorizationInvalidRef);
  EXPECT_EQ(service.free(session, 0), errAuthorizationInvalidRef);
  AuthorizationRef handedDown = session;
  EXPECT_EQ(service.copyPrivilegedReference(&handedDown, 0), errAuthorizationSuccess);
  EXPECT_EQ(handedDown, nullptr);
}

TEST_F(SessionOfPolkit, AsksOnceAndStartsToolsFromThenOn) {
  EXPECT_EQ(start("/tool"), errAuthorizationInvalidRef) << "no rights yet";
  for (int i = 0; i < 3; ++i) EXPECT_EQ(open(), errAuthorizationSuccess);
  EXPECT_EQ(outputOf("/tool", {"one", "two"}), "/tool|one|two");
  EXPECT_EQ(outputOf("/x"), "/x");
  EXPECT_THAT(dialogs(), ElementsAre(""));
  EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(SessionOfPolkit, GivesAnyOutputWhole) {
  ASSERT_EQ(open(), errAuthorizationSuccess);
  const std::string bytes = "\xFF\x01" + std::string(10000, 'x') + "\xFF";
  EXPECT_EQ(outputOf("", {bytes}), "|" + bytes);
  EXPECT_EQ(pipe->readCharacter(), -1);
  EXPECT_EQ(pipe->readCharacter(), -1);
  EXPECT_EQ(outputOf("a"), "a");
  EXPECT_EQ(outputOf(""), "");
  EXPECT_EQ(service.executeWithPrivileges(session, "/tool", 0, {}, nullptr), errAuthorizationSuccess);
}

TEST_F(SessionOfPolkit, GivesNoOutputOfAToolThatIsNotStarted) {
  ASSERT_EQ(open(), errAuthorizationSuccess);
  EXPECT_EQ(start("/refused", {"/an/item"}), errAuthorizationToolExecuteFailure);
  EXPECT_EQ(pipe, nullptr);
  EXPECT_THAT(lines(), ElementsAre("/refused was not started: it is not for you; left as it was: /an/item"));
}

TEST_F(SessionOfPolkit, SaysWhatIsLeftWhenItsHelperHasEnded) {
  ASSERT_EQ(open(), errAuthorizationSuccess);
  EXPECT_EQ(start("/leave", {"-f", "/an\nitem"}), errAuthorizationInvalidRef);
  EXPECT_EQ(pipe, nullptr);
  EXPECT_EQ(start("/tool"), errAuthorizationInvalidRef);
  EXPECT_THAT(lines(), ElementsAre("/leave was not started: the program with administrator rights has ended; left as "
                                   "it was: /an item",
                                   "/tool was not started: the program with administrator rights has ended"));
  EXPECT_EQ(open(), errAuthorizationSuccess) << "it can be asked for anew";
  EXPECT_THAT(dialogs(), ElementsAre("", ""));
  EXPECT_EQ(outputOf("/tool"), "/tool");
}

TEST_F(SessionOfPolkit, SaysWhatIsLeftWhenItIsRefused) {
  refuse();
  service.announce("/bin/rm", {"-Rdf", "/an/item"});
  EXPECT_EQ(open(), errAuthorizationCanceled);
  EXPECT_EQ(open(), errAuthorizationCanceled) << "for nothing in particular";
  service.announce("/bin/tool", {});
  EXPECT_EQ(open(), errAuthorizationCanceled);
  EXPECT_THAT(lines(), ElementsAre(kRefused + "; left as it was: /an/item", kRefused, kRefused));
  EXPECT_THAT(dialogs(), ElementsAre("", "", ""));
}

// MARK: - Memory

TEST_F(SessionOfPolkit, KeepsTheMemoryToItselfAsLongAsItHasRights) {
  EXPECT_FALSE(isMemoryKept());
  ASSERT_EQ(open(), errAuthorizationSuccess);
  EXPECT_TRUE(isMemoryKept());
  const AuthorizationRef second = create();
  EXPECT_TRUE(isMemoryKept());
  refuse();
  EXPECT_EQ(open(second), errAuthorizationCanceled);
  EXPECT_TRUE(isMemoryKept()) << "the first has its rights";
  EXPECT_EQ(service.free(second, 0), errAuthorizationSuccess);
  EXPECT_TRUE(isMemoryKept());
  EXPECT_EQ(service.free(session, 0), errAuthorizationSuccess);
  EXPECT_FALSE(isMemoryKept());
}

TEST_F(SessionOfPolkit, ReleasesItsRightsOnceItsHelperHasEnded) {
  std::ofstream(scripts.at("ended")) << "";
  const AuthorizationRef second = create();
  ASSERT_EQ(open(), errAuthorizationSuccess);
  ASSERT_EQ(open(second), errAuthorizationSuccess);
  service.releaseRights();
  EXPECT_EQ(scripts.text("ended"), "ended");
  EXPECT_FALSE(isMemoryKept());
  EXPECT_EQ(start("/tool"), errAuthorizationInvalidRef);
  ASSERT_EQ(open(), errAuthorizationSuccess);
  service.releaseRights();
  ::prctl(PR_SET_DUMPABLE, 0);
  service.releaseRights();
  EXPECT_TRUE(isMemoryKept()) << "there was nothing to release";
}

TEST_F(SessionOfPolkit, WaitsAsRootForTheHelpersThatWereStartedInPlaceOfTools) {
  std::filesystem::copy("/bin/cat", scripts.at("helper"), std::filesystem::copy_options::overwrite_existing);
  posix::Pipe input = posix::makePipe();
  linux_::ChildProgram helper;
  ASSERT_EQ(helper.start(scripts.at("helper"), {}, {.input = input.reading.get()}), 0);
  service.releaseRights();  // does not wait
  fakes.users.actAsRoot("u");
  std::future<void> released = std::async(std::launch::async, [this] { service.releaseRights(); });
  EXPECT_TRUE(waitForThreadIn(SYS_waitid));
  EXPECT_NE(released.wait_for(std::chrono::seconds(0)), std::future_status::ready);
  input.writing.reset();
  released.get();
  EXPECT_EQ(helper.wait(), 0);
}

// MARK: - Rights for one command

TEST_F(SessionForOneCommand, ShowsItAndStartsItOnce) {
  service.announce("/bin/echo", {"one"});
  ASSERT_EQ(open(), errAuthorizationSuccess);
  EXPECT_EQ(outputOf("/bin/echo", {"one"}), "/bin/echo|one");
  EXPECT_EQ(outputOf("/bin/echo", {"one"}), "/bin/echo|one") << "asked for again";
  refuse();
  EXPECT_EQ(start("/bin/echo", {"one", "/an/item"}), errAuthorizationCanceled);
  EXPECT_THAT(dialogs(), ElementsAre(" /bin/echo one", " /bin/echo one", " /bin/echo one /an/item"));
  EXPECT_THAT(lines(), ElementsAre(kRefused + "; left as it was: /an/item"));
}

TEST_F(SessionForOneCommand, IsForNoOther) {
  service.announce("/bin/echo", {"one"});
  ASSERT_EQ(open(), errAuthorizationSuccess);
  EXPECT_EQ(outputOf("/bin/echo", {"two"}), "/bin/echo|two");
  EXPECT_EQ(outputOf("/bin/echo", {"one"}), "/bin/echo|one") << "the first ones are used up";
  EXPECT_THAT(dialogs(), ElementsAre(" /bin/echo one", " /bin/echo two", " /bin/echo one"));
}

TEST_F(SessionForOneCommand, AsksAgainWhenItsHelperHasEnded) {
  scripts.write("pkexec", "cat hello >&0");
  service.announce("/bin/echo", {"one"});
  ASSERT_EQ(open(), errAuthorizationSuccess);
  EXPECT_TRUE(waitUntil([this] { return service.copyRights(session, kAdministrator, {}, 0) != 0; }));
  grant();
  EXPECT_EQ(outputOf("/bin/echo", {"one"}), "/bin/echo|one");
  EXPECT_THAT(dialogs(), ElementsAre(" /bin/echo one", " /bin/echo one"));
}

TEST_F(SessionForOneCommand, IsForAllIfNoneWasAnnounced) {
  ASSERT_EQ(open(), errAuthorizationSuccess);
  for (const std::string tool : {"/one", "/two", "/one"}) EXPECT_EQ(outputOf(tool), tool);
  EXPECT_THAT(dialogs(), ElementsAre(""));
}

TEST_F(SessionForOneCommand, IsForAllWithCredentials) {
  scripts.write("agent", "head -c 14 > received\ncat ready\ncat > /dev/null");
  const AuthorizationItems credentials = {{.name = "username", .value = "anna", .flags = 0},
                                          {.name = "password", .value = "it", .flags = 0}};
  service.announce("/bin/echo", {"one"});
  ASSERT_EQ(service.copyRights(session, kAdministrator, credentials, kExtend), errAuthorizationSuccess);
  for (const std::string tool : {"/one", "/two", "/one"}) EXPECT_EQ(outputOf(tool), tool);
  EXPECT_THAT(dialogs(), ElementsAre(""));
  EXPECT_EQ(scripts.text("received"), std::string("\4\0\0\0anna\2\0\0\0it", 14));
}

// MARK: - What a command becomes

TEST_F(SessionOfPolkit, RemovesTheFolderThatIsExpectedToBeHollowOnlyIfItIs) {
  struct Case {
    std::string expected, tool;
    std::vector<std::string> arguments;
    bool isChanged;
  };
  const std::vector<Case> cases = {
      {"/a", "/bin/rm", {"-Rdf", "/a"}, true},
      {"/a", "/bin/rm", {"-Rdf", "/b"}, false},
      {"/a", "/bin/rm", {"/a", "/b"}, false},
      {"/a", "/bin/mv", {"-f", "/a"}, false},
      {"/a", "/bin/rm", {}, false},
      {"", "/bin/rm", {"-Rdf", ""}, false},
      {"", "/bin/rm", {"-Rdf", "/a"}, false},
      {"/a", "/usr/bin/touch", {"/a"}, false},
      {"", "/bin/rm", {}, false},
  };
  ASSERT_EQ(open(), errAuthorizationSuccess);
  for (const Case& each : cases) {
    service.expectHollowFolder(each.expected);
    const std::vector<std::string> meant =
        each.isChanged ? std::vector<std::string>{"--if-hollow", each.expected} : each.arguments;
    std::string output = each.tool;
    for (const std::string& argument : meant) output += "|" + argument;
    EXPECT_EQ(outputOf(each.tool, each.arguments), output);
    const ToolCommand asRoot = service.commandForRoot(each.tool, each.arguments);
    ASSERT_GE(asRoot.arguments.size(), meant.size());
    EXPECT_TRUE(std::equal(meant.rbegin(), meant.rend(), asRoot.arguments.rbegin()));
  }
}

TEST_F(SessionForOneCommand, ShowsWhatACommandBecomes) {
  service.expectHollowFolder("/a");
  service.announce("/bin/rm", {"-Rdf", "/a"});
  ASSERT_EQ(open(), errAuthorizationSuccess);
  EXPECT_EQ(outputOf("/bin/rm", {"-Rdf", "/a"}), "/bin/rm|--if-hollow|/a");
  EXPECT_THAT(dialogs(), ElementsAre(" /bin/rm --if-hollow /a"));
}

TEST_F(SessionOfPolkit, HasTheHelperDoTheFileWorkOfRoot) {
  const passwd* nobody = ::getpwnam("nobody");
  ASSERT_NE(nobody, nullptr);
  const std::string uid = std::to_string(nobody->pw_uid);
  struct Case {
    std::optional<std::string> consoleUser;
    std::string uid;
  };
  for (const Case& each : {Case{"nobody", uid}, Case{"no-user-of-this-name", "0"}, Case{std::nullopt, "0"}}) {
    fakes.users.actAsRoot(each.consoleUser);
    for (const std::string tool : {"/bin/mv", "/bin/cp", "/bin/rm", "/bin/mkdir", "/usr/bin/touch"}) {
      const ToolCommand command = service.commandForRoot(tool, {"-f", "/a"});
      EXPECT_EQ(command.tool, "/usr/bin/env");
      EXPECT_THAT(command.arguments,
                  ElementsAre("-u", "PKEXEC_UID", scripts.at("helper"), "--for", each.uid, tool, "-f", "/a"));
    }
  }
  const ToolCommand other = service.commandForRoot("/usr/bin/killall", {"-9", "name"});
  EXPECT_EQ(other.tool, "/usr/bin/killall");
  EXPECT_THAT(other.arguments, ElementsAre("-9", "name"));
}

// MARK: - The Trash

class SessionWithoutATrash : public SessionOfPolkit {
 protected:
  SessionWithoutATrash() {
    std::filesystem::create_directories(home + "/.local/share");
    std::ofstream(home + "/.local/share/Trash") << "no folder";
  }
  const std::string home = scripts.at("home");
};

TEST_F(SessionWithoutATrash, IsNotAskedForWhereItWouldNotHelp) {
  service.announce("/bin/mv", {"-f", "/an/item", home + "/.Trash/item"});
  EXPECT_EQ(open(), errAuthorizationToolEnvironmentError);
  EXPECT_THAT(dialogs(), IsEmpty());
  EXPECT_THAT(lines(), ElementsAre("Administrator rights were not granted: they would not help, because “" + home +
                                   "/.local/share/Trash” is not a real folder; left as it was: /an/item"));
  EXPECT_FALSE(isMemoryKept());
}

TEST_F(SessionWithoutATrash, IsAskedForWhateverElseIsDone) {
  const std::string trashed = home + "/.Trash/item";
  const std::vector<std::vector<std::string>> commands = {
      {"/bin/cp", "-f", "/an/item", trashed},
      {"/bin/mv", "/an/item", trashed},
      {"/bin/mv", "-f", "-f", "/an/item", trashed},
      {"/bin/mv", "-f", trashed, "/an/item"},
      {"/bin/mv", "-f", "/an/item", home + "/.Trash2/item"},
      {"/tool"},
  };
  for (const auto& command : commands) {
    service.announce(command.front(), {command.begin() + 1, command.end()});
    EXPECT_EQ(open(), errAuthorizationSuccess) << ::testing::PrintToString(command);
    service.releaseRights();
  }
  EXPECT_THAT(dialogs(), ::testing::SizeIs(commands.size()));
}

TEST_F(SessionWithoutATrash, IsAskedForWhereALinkLeadsToOne) {
  for (const std::string folder : {"/data/Trash", "/data/Trash/files", "/data/Trash/info"}) {
    std::filesystem::create_directories(home + folder);
    std::filesystem::permissions(home + folder, std::filesystem::perms::owner_all);
  }
  std::filesystem::create_symlink("data/Trash/files", home + "/.Trash");
  service.announce("/bin/mv", {"-f", "/an/item", home + "/.Trash/item"});
  EXPECT_EQ(open(), errAuthorizationSuccess);
}

TEST_F(SessionOfPolkit, IsAskedForWhereTheFolderOfTheTrashIsALink) {
  const std::string home = scripts.at("home");
  std::filesystem::create_directories(home + "/elsewhere/share");
  std::filesystem::create_symlink("elsewhere", home + "/.local");
  service.announce("/bin/mv", {"-f", "/an/item", home + "/.Trash/item"});
  EXPECT_EQ(open(), errAuthorizationSuccess);
}

// MARK: - Names and texts

TEST(PrivilegePrograms, AreThoseOfTheProductAndOfTheScope) {
  const ProductIdentity product = {
      .helper = "/its/helper", .toolHelper = "/its/tool-helper", .credentialsAgent = "/its/agent"};
  const linux_::PrivilegePrograms own = linux_::privilegePrograms(product, "/usr/bin/program");
  EXPECT_EQ(own.scope, HelperScope::Product);
  EXPECT_EQ(own.helper, "/its/helper");
  EXPECT_EQ(own.credentialsAgent, "/its/agent");
  EXPECT_EQ(own.pkexec, "/usr/bin/pkexec");
  EXPECT_EQ(own.terminalAgent, "/usr/bin/pkttyagent");
  const linux_::PrivilegePrograms others = linux_::privilegePrograms(product, "/usr/bin/program", HelperScope::AnyTool);
  EXPECT_EQ(others.scope, HelperScope::AnyTool);
  EXPECT_EQ(others.helper, "/its/tool-helper");
}

TEST(ConsoleText, NamesTheFirstPathOfACommand) {
  EXPECT_EQ(linux_::leftAsItWas({}), "");
  EXPECT_EQ(linux_::leftAsItWas({"-f", "relative"}), "");
  EXPECT_EQ(linux_::leftAsItWas({"-f", "/a", "/b"}), "; left as it was: /a");
  EXPECT_EQ(linux_::inOneLine("a\nb\tc"), "a b c");
}

}  // namespace
}  // namespace qm::testing
