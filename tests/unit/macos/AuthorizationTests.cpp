// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Platform/macos/MacServices.h"
#include "Platform/macos/SystemCalls.h"
#include "Platform/posix/process/NoPipeMeanwhile.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/unit/macos/TemporaryFolder.h"

namespace qm::macos {
namespace {

using platform::AuthorizationFlags;
using platform::AuthorizationItems;
using platform::AuthorizationStatus;

/// What the fake calls of the system have received.
struct Asked {
  int dialogs = 0;
  std::vector<std::string> started;
  std::vector<AuthorizationFlags> freed;  // with which options
  std::FILE* output = nullptr;            // of the tools that are started
  bool pipesWaited = false;               // no pipe could be made while a tool was started
  bool readBeforeTheEnd = false;          // the output had been read when a session was freed
  bool canExecute = true;                 // the system has the call that starts tools
  bool hasParent = false;                 // a parent has handed down a session
  AuthorizationStatus ofParent = 0;       // the status of asking for that session
  std::function<void()> whileStarting;    // is done while the system starts a tool
};
Asked asked;
std::mutex pipes;

/// Always the same handle, because the system, too, may give out a handle again after it was freed.
platform::AuthorizationRef systemsSession() { return reinterpret_cast<platform::AuthorizationRef>(&asked); }

}  // namespace

AuthorizationStatus createSession(const AuthorizationItems&, AuthorizationFlags, platform::AuthorizationRef* session) {
  *session = systemsSession();
  return 0;
}
AuthorizationStatus copySessionRights(platform::AuthorizationRef session, const AuthorizationItems&,
                                      const AuthorizationItems&, AuthorizationFlags) {
  EXPECT_EQ(session, systemsSession());
  ++asked.dialogs;
  return 0;
}
AuthorizationStatus freeSession(platform::AuthorizationRef session, AuthorizationFlags flags) {
  EXPECT_EQ(session, systemsSession());
  asked.freed.push_back(flags);
  if (asked.output != nullptr) asked.readBeforeTheEnd = std::feof(asked.output) != 0;
  return 0;
}
AuthorizationStatus copySessionOfParent(platform::AuthorizationRef* session, AuthorizationFlags) {
  *session = asked.hasParent ? systemsSession() : nullptr;
  return asked.ofParent;
}
bool canExecute() { return asked.canExecute; }
AuthorizationStatus executeWithRights(platform::AuthorizationRef, const std::string& tool, AuthorizationFlags,
                                      const std::vector<std::string>& arguments, std::FILE** output) {
  asked.started = {tool};
  asked.started.insert(asked.started.end(), arguments.begin(), arguments.end());
  *output = asked.output;
  std::thread([] { asked.pipesWaited = !std::unique_lock(pipes, std::try_to_lock).owns_lock(); }).join();
  if (asked.whileStarting) asked.whileStarting();
  return 0;
}

}  // namespace qm::macos

std::unique_lock<std::mutex> qm::posix::noPipeMeanwhile() { return std::unique_lock(macos::pipes); }

namespace qm::macos {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class MacAuthorizationTest : public ::testing::Test {
 protected:
  MacAuthorizationTest() {
    asked = {};
    disk.addFolder("Quillmark");
    EXPECT_EQ(service.create({}, 0, &session), platform::errAuthorizationSuccess);
  }

  /// Requests rights as the maker's class does: first the tool is announced, then a session is created.
  AuthorizationStatus askForRights(const std::string& tool, const std::vector<std::string>& arguments) {
    service.announce(tool, arguments);
    platform::AuthorizationRef own = nullptr;
    const AuthorizationStatus status = service.create({}, 0, &own);
    return status != 0 ? status : service.copyRights(own, {}, {}, 0);
  }
  AuthorizationStatus start(const std::string& tool, const std::vector<std::string>& arguments) {
    return service.executeWithPrivileges(session, tool, 0, arguments, &pipe);
  }
  /// Starts a tool with an output of its own, and returns the descriptor of the output.
  int startWithOutput() {
    asked.output = std::fopen("/dev/null", "re");
    EXPECT_EQ(start("/bin/mv", {"-f", "/a", "/b"}), platform::errAuthorizationSuccess);
    return ::fileno(asked.output);
  }

  qm::testing::TemporaryFolder disk;
  qm::testing::FakePlatform fakes;
  const std::unique_ptr<platform::AuthorizationServices> made = makeAuthorization(*fakes.platform.console);
  platform::AuthorizationServices& service = *made;
  platform::AuthorizationRef session = nullptr;
  std::shared_ptr<platform::CommunicationsPipe> pipe;  // of the tool that was started last
  const std::string folder = disk.at("Quillmark");
};

TEST_F(MacAuthorizationTest, StartsAToolAsItIsAskedTo) {
  EXPECT_EQ(askForRights("/bin/mv", {"-f", "/a", "/b"}), platform::errAuthorizationSuccess);
  EXPECT_EQ(start("/bin/mv", {"-f", "/a", "/b"}), platform::errAuthorizationSuccess);
  EXPECT_EQ(asked.dialogs, 1);
  EXPECT_THAT(asked.started, ElementsAre("/bin/mv", "-f", "/a", "/b"));
}

TEST_F(MacAuthorizationTest, RemovesFromAnEmptyFolderOnlyWhatWasFoundInIt) {
  disk.addFile("Quillmark/.DS_Store");
  service.expectHollowFolder(folder);
  EXPECT_EQ(start("/bin/rm", {"-Rdf", folder}), platform::errAuthorizationSuccess);
  EXPECT_THAT(asked.started, ElementsAre("/bin/rm", "-df", folder + "/.DS_Store", folder));
}

TEST_F(MacAuthorizationTest, AsksNobodyForTheRightToRemoveAFolderThatIsNotShownToBeEmpty) {
  disk.addFile("Quillmark/letter.txt");
  service.expectHollowFolder(folder);
  EXPECT_EQ(askForRights("/bin/rm", {"-Rdf", folder}), platform::errAuthorizationDenied);
  EXPECT_EQ(asked.dialogs, 0);
  EXPECT_EQ(start("/bin/rm", {"-Rdf", folder}), platform::errAuthorizationDenied);
  EXPECT_THAT(asked.started, IsEmpty());
  EXPECT_THAT(fakes.console.lines().back(), HasSubstr(folder + " stays"));
}

TEST_F(MacAuthorizationTest, MakesNoSessionForAToolThatIsNotToBeStarted) {
  disk.addFile("Quillmark/letter.txt");
  service.expectHollowFolder(folder);
  service.announce("/bin/rm", {"-Rdf", folder});
  platform::AuthorizationRef none = session;
  EXPECT_EQ(service.create({}, 0, &none), platform::errAuthorizationDenied);
  EXPECT_EQ(none, nullptr);
}

TEST_F(MacAuthorizationTest, LetsNoPipeBeMadeWhileTheSystemStartsATool) {
  EXPECT_EQ(start("/bin/mv", {"-f", "/a", "/b"}), platform::errAuthorizationSuccess);
  EXPECT_TRUE(asked.pipesWaited);
}

TEST_F(MacAuthorizationTest, AsksAgainForTheNextTool) {
  disk.addFile("Quillmark/letter.txt");
  service.expectHollowFolder(folder);
  EXPECT_EQ(askForRights("/bin/rm", {"-Rdf", folder}), platform::errAuthorizationDenied);
  EXPECT_EQ(askForRights("/bin/mv", {"-f", "/a", "/b"}), platform::errAuthorizationSuccess);
}

TEST_F(MacAuthorizationTest, RemovesNothingElseUntilTheEmptyFolderIsRemoved) {
  service.expectHollowFolder(folder);
  const std::vector<std::vector<std::string>> others = {
      {"-Rdf", "/other"}, {"-Rdf", folder + "/"}, {"-Rdf", disk.path() + "/./Quillmark"}, {folder, "/other"}, {}};
  for (const auto& arguments : others) {
    EXPECT_EQ(askForRights("/bin/rm", arguments), platform::errAuthorizationDenied);
    EXPECT_EQ(start("/bin/rm", arguments), platform::errAuthorizationDenied);
    EXPECT_EQ(service.commandForRoot("/bin/rm", arguments).tool, "/usr/bin/false");
    EXPECT_THAT(fakes.console.lines().back(), HasSubstr("may remove nothing but the empty folder " + folder));
  }
  EXPECT_EQ(asked.dialogs, 0);
  EXPECT_THAT(asked.started, IsEmpty());
}

TEST_F(MacAuthorizationTest, StartsOtherToolsWhileAnEmptyFolderIsToBeRemoved) {
  service.expectHollowFolder(folder);
  EXPECT_EQ(start("/bin/mv", {"-f", "/a", "/b"}), platform::errAuthorizationSuccess);
  EXPECT_THAT(asked.started, ElementsAre("/bin/mv", "-f", "/a", "/b"));
}

TEST_F(MacAuthorizationTest, RemovesOtherThingsOnceNoEmptyFolderIsMeantAnyMore) {
  disk.addFile("Quillmark/letter.txt");
  service.expectHollowFolder(folder);
  service.expectHollowFolder("");
  EXPECT_EQ(start("/bin/rm", {"-Rdf", folder}), platform::errAuthorizationSuccess);
  EXPECT_THAT(asked.started, ElementsAre("/bin/rm", "-Rdf", folder));
}

TEST_F(MacAuthorizationTest, AsksForNoPasswordWhereTheSystemCannotStartTools) {
  asked.canExecute = false;
  EXPECT_EQ(askForRights("/bin/mv", {"-f", "/a", "/b"}), platform::errAuthorizationToolExecuteFailure);
  EXPECT_EQ(asked.dialogs, 0);
}

TEST_F(MacAuthorizationTest, StartsNothingWhereTheSystemCannotStartTools) {
  asked.canExecute = false;
  EXPECT_EQ(start("/bin/mv", {"-f", "/a", "/b"}), platform::errAuthorizationToolExecuteFailure);
  EXPECT_THAT(asked.started, IsEmpty());
}

TEST_F(MacAuthorizationTest, HoldsNoRightsAnyMoreOnceTheyAreReleased) {
  service.releaseRights();
  EXPECT_THAT(asked.freed, ElementsAre(8));  // the rights are destroyed
  EXPECT_EQ(start("/bin/mv", {"-f", "/a", "/b"}), platform::errAuthorizationInvalidRef);
  EXPECT_EQ(service.copyRights(session, {}, {}, 0), platform::errAuthorizationInvalidRef);
  EXPECT_EQ(asked.dialogs, 0);
  EXPECT_THAT(asked.started, IsEmpty());
}

TEST_F(MacAuthorizationTest, WaitsForItsToolsBeforeItReleasesRights) {
  disk.addFile("output");
  asked.output = std::fopen(disk.at("output").c_str(), "re");
  EXPECT_EQ(start("/bin/mv", {"-f", "/a", "/b"}), platform::errAuthorizationSuccess);
  service.releaseRights();
  EXPECT_TRUE(asked.readBeforeTheEnd);
}

TEST_F(MacAuthorizationTest, ReleasesNoRightsWhileTheSystemStartsATool) {
  std::atomic<bool> isReleasing = false;
  std::thread releasing;
  asked.whileStarting = [&] {
    releasing = std::thread([&] {
      isReleasing = true;
      isReleasing.notify_one();
      service.releaseRights();
    });
    isReleasing.wait(false);
    constexpr int kChances = 1000;
    for (int i = 0; i < kChances && asked.freed.empty(); ++i) std::this_thread::yield();
    EXPECT_THAT(asked.freed, IsEmpty());
  };
  EXPECT_EQ(start("/bin/mv", {"-f", "/a", "/b"}), platform::errAuthorizationSuccess);
  releasing.join();
  EXPECT_THAT(asked.freed, ElementsAre(8));
}

TEST_F(MacAuthorizationTest, ForgetsTheOutputOfAToolThatHasEnded) {
  const int first = startWithOutput();
  EXPECT_EQ(pipe->readCharacter(), -1);
  const int second = startWithOutput();
  EXPECT_EQ(::fcntl(first, F_GETFD), -1);
  EXPECT_NE(::fcntl(second, F_GETFD), -1);
}

TEST_F(MacAuthorizationTest, ReturnsNoOutputWhereTheSystemHasNone) {
  EXPECT_EQ(start("/bin/mv", {"-f", "/a", "/b"}), platform::errAuthorizationSuccess);
  EXPECT_EQ(pipe, nullptr);
}

TEST_F(MacAuthorizationTest, KeepsOutputThatItsCallerDoesNotWantUntilTheToolHasEnded) {
  disk.addFile("output");
  asked.output = std::fopen(disk.at("output").c_str(), "re");
  EXPECT_EQ(service.executeWithPrivileges(session, "/bin/mv", 0, {"-f", "/a", "/b"}, nullptr),
            platform::errAuthorizationSuccess);
  service.releaseRights();
  EXPECT_TRUE(asked.readBeforeTheEnd);
}

TEST_F(MacAuthorizationTest, GivesNoHandleOutAgain) {
  constexpr std::size_t kSessions = 100;
  std::set<platform::AuthorizationRef> handles = {session};
  for (std::size_t i = 1; i < kSessions; ++i) {
    EXPECT_EQ(service.free(session, 0), platform::errAuthorizationSuccess);
    EXPECT_EQ(service.create({}, 0, &session), platform::errAuthorizationSuccess);
    handles.insert(session);
  }
  EXPECT_EQ(handles.size(), kSessions);
}

/// A session that a parent with administrator rights has handed down.
class SessionOfAParent : public MacAuthorizationTest {
 protected:
  AuthorizationStatus take() { return service.copyPrivilegedReference(&session, 0); }
};

TEST_F(SessionOfAParent, StartsToolsWithoutADialog) {
  asked.hasParent = true;
  EXPECT_EQ(take(), platform::errAuthorizationSuccess);
  EXPECT_EQ(start("/bin/mv", {"-f", "/a", "/b"}), platform::errAuthorizationSuccess);
  EXPECT_EQ(asked.dialogs, 0);
}

TEST_F(SessionOfAParent, LeavesTheParentItsRights) {
  EXPECT_EQ(service.free(session, 0), platform::errAuthorizationSuccess);
  asked.freed.clear();
  asked.hasParent = true;
  EXPECT_EQ(take(), platform::errAuthorizationSuccess);
  service.releaseRights();
  EXPECT_THAT(asked.freed, ElementsAre(0));  // they are not destroyed
  EXPECT_EQ(start("/bin/mv", {"-f", "/a", "/b"}), platform::errAuthorizationInvalidRef);
}

TEST_F(SessionOfAParent, IsNoneWhereTheParentHasNone) {
  EXPECT_EQ(take(), platform::errAuthorizationSuccess);
  EXPECT_EQ(session, nullptr);
}

TEST_F(SessionOfAParent, IsNoneWhereTheSystemRefusesIt) {
  asked.hasParent = true;
  asked.ofParent = platform::errAuthorizationDenied;
  EXPECT_EQ(take(), platform::errAuthorizationDenied);
  EXPECT_EQ(session, nullptr);
}

TEST_F(MacAuthorizationTest, NeverFreesASessionOfTheSystemsTwice) {
  service.releaseRights();
  platform::AuthorizationRef next = nullptr;
  EXPECT_EQ(service.create({}, 0, &next), platform::errAuthorizationSuccess);
  EXPECT_EQ(service.free(session, 0), platform::errAuthorizationSuccess);
  EXPECT_THAT(asked.freed, ElementsAre(8));
  EXPECT_EQ(service.copyRights(next, {}, {}, 0), platform::errAuthorizationSuccess);
  EXPECT_EQ(service.free(next, 0), platform::errAuthorizationSuccess);
  EXPECT_THAT(asked.freed, ElementsAre(8, 0));
  EXPECT_EQ(service.free(next, 0), platform::errAuthorizationInvalidRef);
}

TEST_F(MacAuthorizationTest, StartsNothingForRootWhereOthersCouldLeadTheWay) {
  ::chmod(disk.path().c_str(), 0777);
  const std::string led = disk.at("Quillmark/item");
  EXPECT_EQ(service.commandForRoot("/bin/mv", {"-f", led, "/root/item"}).tool, "/usr/bin/false");
  EXPECT_THAT(fakes.console.lines().back(), HasSubstr(led));
}

TEST_F(MacAuthorizationTest, StartsNothingForRootWhereTheItemWouldGoIntoAFolderThatOthersWriteTo) {
  disk.addFolder("Quillmark/open");
  ::chmod(disk.at("Quillmark/open").c_str(), 0777);
  for (const char* const tool : {"/bin/cp", "/bin/mv"}) {
    EXPECT_EQ(service.commandForRoot(tool, {"-f", "/usr/share", disk.at("Quillmark/open")}).tool, "/usr/bin/false");
    EXPECT_THAT(fakes.console.lines().back(), HasSubstr(disk.at("Quillmark/open")));
  }
}

TEST_F(MacAuthorizationTest, StartsAToolForRootThatReplacesAFile) {
  const auto command = service.commandForRoot("/bin/cp", {"-f", "/etc/passwd", "/etc/hostname"});
  EXPECT_EQ(command.tool, "/bin/cp");
  EXPECT_THAT(command.arguments, ElementsAre("-f", "/etc/passwd", "/etc/hostname"));
}

/// A folder of the system's that everybody may write to, and one that only root may.
const std::string kOpenFolder = std::filesystem::canonical("/tmp");
constexpr const char* kRootsFolder = "/usr/share/misc";

TEST_F(MacAuthorizationTest, StartsNothingForRootThatGoesIntoAFolderInWhichOthersWrite) {
  const std::vector<std::pair<std::string, std::vector<std::string>>> commands = {
      {"/bin/cp", {"-Rp", kOpenFolder, "/usr/quillmark"}},
      {"/usr/bin/ditto", {kOpenFolder, "/usr/quillmark"}},
      {"/usr/bin/ditto", {kRootsFolder, kOpenFolder}},
      {"/bin/rm", {"-Rdf", kOpenFolder}},
      {"/bin/rm", {"-fr", "/usr/quillmark", kOpenFolder}},
      {"/bin/mv", {"-f", kOpenFolder, "/dev/quillmark"}},  // to another volume
  };
  for (const auto& [tool, arguments] : commands) {
    ASSERT_EQ(service.commandForRoot(tool, arguments).tool, "/usr/bin/false") << tool;
    EXPECT_EQ(fakes.console.lines().back(),
              tool + " is not started as root: others than root can change what is in " + kOpenFolder + ".");
  }
}

TEST_F(MacAuthorizationTest, StartsAToolForRootThatGoesIntoNoFolder) {
  EXPECT_EQ(service.commandForRoot("/bin/rm", {"-df", kOpenFolder}).tool, "/bin/rm");
  EXPECT_EQ(service.commandForRoot("/usr/bin/touch", {kOpenFolder}).tool, "/usr/bin/touch");
  EXPECT_EQ(service.commandForRoot("/bin/cp", {"-f", "/usr/bin/true", "/usr"}).tool, "/bin/cp");
}

TEST_F(MacAuthorizationTest, StartsAToolForRootThatGoesIntoAFolderOfRoots) {
  EXPECT_EQ(service.commandForRoot("/bin/cp", {"-Rp", kRootsFolder, "/usr/quillmark"}).tool, "/bin/cp");
  EXPECT_EQ(service.commandForRoot("/bin/mv", {"-f", kRootsFolder, "/dev/quillmark"}).tool, "/bin/mv");
  EXPECT_EQ(service.commandForRoot("/bin/rm", {"-Rdf", kRootsFolder}).tool, "/bin/rm");
}

TEST_F(MacAuthorizationTest, StartsNothingForRootOnAPathThatDependsOnTheFolderItIsStartedIn) {
  EXPECT_EQ(service.commandForRoot("/bin/rm", {"-Rdf", "share/item"}).tool, "/usr/bin/false");
  EXPECT_EQ(service.commandForRoot("/bin/rm", {"-Rdf", "item"}).tool, "/usr/bin/false");
}

TEST_F(MacAuthorizationTest, StartsAToolForRootThatIsGivenNames) {
  EXPECT_EQ(service.commandForRoot("/usr/bin/killall", {"-u", "sam", "Tessaly"}).tool, "/usr/bin/killall");
}

TEST_F(MacAuthorizationTest, StartsAToolForRootWhereOnlyRootLeadsTheWay) {
  const auto command = service.commandForRoot("/bin/mkdir", {"-p", "/usr/share/quillmark"});
  EXPECT_EQ(command.tool, "/bin/mkdir");
  EXPECT_THAT(command.arguments, ElementsAre("-p", "/usr/share/quillmark"));
}

}  // namespace
}  // namespace qm::macos
