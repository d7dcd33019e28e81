// SPDX-License-Identifier: MIT
#include <atomic>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "tests/unit/shared/LocalPathsTest.h"

namespace qm::testing {
namespace {

using platform::DomainMask;
using platform::StandardDirectory;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::ValuesIn;

static_assert(!std::is_default_constructible_v<QMLocalPaths>, "its operations belong to the class");
static_assert(!std::is_copy_constructible_v<QMLocalPaths> && !std::is_copy_assignable_v<QMLocalPaths>);

using Text = std::optional<std::string>;

// MARK: - The table of folders

/// A way to request a folder, and its location for the user whose home is at "~".
struct Location {
  std::string name;
  std::function<Text()> ask;
  std::string place;  ///< below the home folder with "~"
  Text search;        ///< of which folder in which domain; null if nothing is searched
};

void PrintTo(const Location& location, std::ostream* stream) { *stream << location.name; }

std::function<Text()> of(Text (*method)(QMLocalPaths::UserDomain), QMLocalPaths::UserDomain user) {
  return [method, user] { return method(user); };
}

std::vector<Location> locations() {
  using Paths = QMLocalPaths;
  constexpr auto yes = QMLocalPaths::UserDomain::Yes;
  constexpr auto no = QMLocalPaths::UserDomain::No;
  return {
      {"applicationDirectoryYes", of(Paths::applicationDirectory, yes), "~/Applications", "1, 1"},
      {"applicationDirectoryNo", of(Paths::applicationDirectory, no), "/Applications", "1, 2"},
      {"adminApplicationDirectoryYes", of(Paths::adminApplicationDirectory, yes), "~/Applications/Utilities", "4, 1"},
      {"adminApplicationDirectoryNo", of(Paths::adminApplicationDirectory, no), "/Applications/Utilities", "4, 2"},
      {"libraryDirectoryYes", of(Paths::libraryDirectory, yes), "~/Library", "5, 1"},
      {"libraryDirectoryNo", of(Paths::libraryDirectory, no), "/Library", "5, 2"},
      {"prefsDirectoryYes", of(Paths::prefsDirectory, yes), "~/Library/Preferences", "5, 1"},
      {"prefsDirectoryNo", of(Paths::prefsDirectory, no), "/Library/Preferences", "5, 2"},
      {"documentDirectoryYes", of(Paths::documentDirectory, yes), "~/Documents", "9, 1"},
      {"documentDirectoryNo", of(Paths::documentDirectory, no), "/Common Documents", "9, 2"},
      {"cacheDirectoryYes", of(Paths::cacheDirectory, yes), "~/Library/Caches", "13, 1"},
      {"cacheDirectoryNo", of(Paths::cacheDirectory, no), "/Library/Caches", "13, 2"},
      {"appSupportDirectoryYes", of(Paths::appSupportDirectory, yes), "~/Library/Application Support", "14, 1"},
      {"appSupportDirectoryNo", of(Paths::appSupportDirectory, no), "/Library/Application Support", "14, 2"},
      {"logDirectoryYes", of(Paths::logDirectory, yes), "~/Library/Logs", "5, 1"},
      {"logDirectoryNo", of(Paths::logDirectory, no), "/Library/Logs", "5, 2"},
      {"desktopDirectory", Paths::desktopDirectory, "~/Desktop", "12, 1"},
      {"localDocumentationDirectory", Paths::localDocumentationDirectory, "/Library/Documentation", "8, 2"},
      {"systemLibraryDirectory", Paths::systemLibraryDirectory, "/System/Library", "5, 8"},
      {"trashDirectory", Paths::trashDirectory, "~/.Trash", std::nullopt},
      {"movieDirectory", Paths::movieDirectory, "~/Movies", std::nullopt},
      {"userDirectory", Paths::userDirectory, "~", std::nullopt},
  };
}

class StandardLocation : public PlatformTest, public ::testing::WithParamInterface<Location> {
 protected:
  StandardLocation() {
    fakes.standardDirectories.set(StandardDirectory::Document, DomainMask::Local, {"/Common Documents"});
  }

  bool isTheUsers() const { return GetParam().place.starts_with('~'); }
  std::string placeWithHome(const std::string& home) const {
    return isTheUsers() ? home + GetParam().place.substr(1) : GetParam().place;
  }
};

TEST_P(StandardLocation, LiesInTheHomeFolderOrBelowTheRootForAnOrdinaryUser) {
  EXPECT_EQ(GetParam().ask(), placeWithHome("/home/u"));
}

TEST_P(StandardLocation, IsTheProcessUsersWhoeverIsAtTheConsole) {
  fakes.users.addUser("anna", "/Users/anna");
  fakes.users.setConsoleUser("anna", 502);
  EXPECT_EQ(GetParam().ask(), placeWithHome("/home/u"));
}

TEST_P(StandardLocation, LiesInTheConsoleUsersHomeForRoot) {
  becomeRootForAnna(fakes);
  EXPECT_EQ(GetParam().ask(), placeWithHome("/Users/anna"));
}

TEST_P(StandardLocation, IsNilOfTheUserDomainWhenRootHasNobodyAtTheConsole) {
  fakes.actAsRoot(std::nullopt);
  EXPECT_EQ(GetParam().ask(), isTheUsers() ? std::nullopt : Text(GetParam().place));
}

TEST_P(StandardLocation, IsNilOfTheUserDomainForRootAtTheLoginWindow) {
  fakes.users.addUser("loginwindow", "/nowhere");
  fakes.actAsRoot("loginwindow");
  EXPECT_EQ(GetParam().ask(), isTheUsers() ? std::nullopt : Text(GetParam().place));
}

TEST_P(StandardLocation, ComesFromOneSearchForItsFolderInItsDomainOrFromNone) {
  GetParam().ask();
  std::vector<std::string> searches = lookups(fakes);
  std::erase(searches, "users.homeDirectory()");
  if (GetParam().search) {
    EXPECT_THAT(searches, ElementsAre("standardDirectories.search(" + *GetParam().search + ")"));
  } else {
    EXPECT_THAT(searches, IsEmpty());
  }
}

TEST_P(StandardLocation, IsNilWhenTheSearchFindsNothing) {
  fakes.calls.failAlways("standardDirectories.search");
  EXPECT_EQ(GetParam().ask(), GetParam().search ? std::nullopt : Text(placeWithHome("/home/u")));
  becomeRootForAnna(fakes);
  EXPECT_EQ(GetParam().ask(), GetParam().search ? std::nullopt : Text(placeWithHome("/Users/anna")));
}

TEST_P(StandardLocation, IsNilOrUnchangedWhicheverCallFails) {
  becomeRootForAnna(fakes);
  fakes.calls.clear();
  const Text good = GetParam().ask();
  const std::size_t calls = fakes.calls.callCount();
  EXPECT_GE(calls, 1U);
  for (std::size_t number = 1; number <= calls; ++number) {
    fakes.calls.clear();
    fakes.calls.failCallNumber(number);
    EXPECT_EQ(GetParam().ask(), std::nullopt) << "call " << number;
  }
  fakes.calls.failCallNumber(0);
  EXPECT_EQ(GetParam().ask(), good);
}

INSTANTIATE_TEST_SUITE_P(EachMethod, StandardLocation, ValuesIn(locations()),
                         [](const auto& instance) { return instance.param.name; });

// MARK: - The search

class PathForDirectory : public PlatformTest {
 protected:
  /// What a folder of root's user domain becomes for the console user anna.
  Text movedToAnna(const std::string& path) {
    becomeRootForAnna(fakes);
    fakes.standardDirectories.set(StandardDirectory::Library, DomainMask::User, {path});
    return QMLocalPaths::pathForDirectory(StandardDirectory::Library, DomainMask::User);
  }
};

TEST_F(PathForDirectory, AnswersTheFirstFolderFound) {
  fakes.standardDirectories.set(StandardDirectory::Caches, DomainMask::Local, {"/One", "/Two"});
  EXPECT_EQ(QMLocalPaths::pathForDirectory(StandardDirectory::Caches, DomainMask::Local), "/One");
  fakes.standardDirectories.set(StandardDirectory::Caches, DomainMask::User, {"/var/root/One", "/var/root/Two"});
  EXPECT_EQ(QMLocalPaths::pathForDirectory(StandardDirectory::Caches, DomainMask::User), "/var/root/One");
  becomeRootForAnna(fakes);
  EXPECT_EQ(QMLocalPaths::pathForDirectory(StandardDirectory::Caches, DomainMask::User), "/Users/anna/One");
}

TEST_F(PathForDirectory, AnswersNilWhenADomainHasNoSuchFolder) {
  EXPECT_EQ(QMLocalPaths::pathForDirectory(StandardDirectory::Desktop, DomainMask::Local), std::nullopt);
  EXPECT_EQ(QMLocalPaths::documentDirectory(QMLocalPaths::UserDomain::No), std::nullopt);
}

TEST_F(PathForDirectory, DropsRootsHomeWhole) {
  EXPECT_EQ(movedToAnna("/var/root/Library"), "/Users/anna/Library");
  EXPECT_EQ(movedToAnna("/var/root/a/b c"), "/Users/anna/a/b c");
  EXPECT_EQ(movedToAnna("/var/root"), "/Users/anna");
  EXPECT_EQ(movedToAnna("/var/rootless/Library"), "/Users/anna/less/Library");
}

TEST_F(PathForDirectory, KeepsTheLastLetterOfRootsPrivateHome) {
  EXPECT_EQ(movedToAnna("/private/var/root/Library"), "/Users/anna/t/Library");
  EXPECT_EQ(movedToAnna("/private/var/root"), "/Users/anna/t");
}

TEST_F(PathForDirectory, DropsThePrivateHomeFromWhatTheOtherLeaves) {
  EXPECT_EQ(movedToAnna("/var/root/private/var/root/Library"), "/Users/anna/t/Library");
}

TEST_F(PathForDirectory, DropsEachPrefixOnceAndInOneOrder) {
  EXPECT_EQ(movedToAnna("/var/root/var/root/Library"), "/Users/anna/var/root/Library");
  EXPECT_EQ(movedToAnna("/private/var/root/var/root/Library"), "/Users/anna/t/var/root/Library");
}

TEST_F(PathForDirectory, AppendsAFolderElsewhereWhole) {
  EXPECT_EQ(movedToAnna("/X/Library"), "/Users/anna/X/Library");
  EXPECT_EQ(movedToAnna("/Var/Root/Library"), "/Users/anna/Var/Root/Library");
  EXPECT_EQ(movedToAnna("/private/var/roo"), "/Users/anna/private/var/roo");
}

TEST_F(PathForDirectory, LeavesOtherDomainsAloneForRoot) {
  becomeRootForAnna(fakes);
  for (const DomainMask domain : {DomainMask::Local, DomainMask::System}) {
    fakes.standardDirectories.set(StandardDirectory::Library, domain, {"/var/root/Library"});
    EXPECT_EQ(QMLocalPaths::pathForDirectory(StandardDirectory::Library, domain), "/var/root/Library");
  }
}

TEST_F(PathForDirectory, LeavesSeveralDomainsAtOnceAloneForRoot) {
  becomeRootForAnna(fakes);
  EXPECT_EQ(QMLocalPaths::pathForDirectory(StandardDirectory::Library, DomainMask::User | DomainMask::Local),
            "/var/root/Library");
}

TEST_F(PathForDirectory, LeavesRootsFoldersAloneForAnOrdinaryUser) {
  fakes.standardDirectories.set(StandardDirectory::Library, DomainMask::User, {"/var/root/Library"});
  EXPECT_EQ(QMLocalPaths::libraryDirectory(QMLocalPaths::UserDomain::Yes), "/var/root/Library");
}

// MARK: - The user

class LocalUser : public PlatformTest {};

TEST_F(LocalUser, IsTheProcessUserWhoeverIsAtTheConsole) {
  fakes.users.setConsoleUser("anna");
  EXPECT_EQ(QMLocalPaths::username(), "u");
  EXPECT_EQ(QMLocalPaths::userDirectory(), "/home/u");
  EXPECT_EQ(QMLocalPaths::currentConsoleUser(), "anna");
}

TEST_F(LocalUser, IsTheConsoleUserForRoot) {
  becomeRootForAnna(fakes);
  EXPECT_EQ(QMLocalPaths::username(), "anna");
  EXPECT_EQ(QMLocalPaths::userDirectory(), "/Users/anna");
  EXPECT_EQ(QMLocalPaths::currentConsoleUser(), "anna");
}

TEST_F(LocalUser, IsNilForRootAtTheLoginWindow) {
  fakes.actAsRoot("loginwindow");
  EXPECT_EQ(QMLocalPaths::currentConsoleUser(), std::nullopt);
  EXPECT_EQ(QMLocalPaths::username(), std::nullopt);
  EXPECT_EQ(QMLocalPaths::userDirectory(), std::nullopt);
}

TEST_F(LocalUser, IsNilForRootWhenNobodyIsThere) {
  fakes.actAsRoot(std::nullopt);
  EXPECT_EQ(QMLocalPaths::currentConsoleUser(), std::nullopt);
  EXPECT_EQ(QMLocalPaths::username(), std::nullopt);
  EXPECT_EQ(QMLocalPaths::userDirectory(), std::nullopt);
}

TEST_F(LocalUser, HasNoHomeForRootWhenTheSystemDoesNotKnowTheName) {
  fakes.actAsRoot("stranger");
  EXPECT_EQ(QMLocalPaths::username(), "stranger");
  EXPECT_EQ(QMLocalPaths::userDirectory(), std::nullopt);
  EXPECT_EQ(QMLocalPaths::trashDirectory(), std::nullopt);
  EXPECT_EQ(QMLocalPaths::movieDirectory(), std::nullopt);
}

TEST_F(LocalUser, KnowsTheLoginWindowByItsExactName) {
  for (const char* name : {"Loginwindow", "loginwindow ", "loginwindow2"}) {
    fakes.users.setConsoleUser(name);
    EXPECT_EQ(QMLocalPaths::currentConsoleUser(), name);
  }
}

TEST_F(LocalUser, IsNobodyForAnOrdinaryProcessOnlyAtTheConsole) {
  fakes.users.setConsoleUser("loginwindow");
  EXPECT_EQ(QMLocalPaths::currentConsoleUser(), std::nullopt);
  EXPECT_EQ(QMLocalPaths::username(), "u");
}

TEST_F(LocalUser, IsLookedUpAfreshByEachCall) {
  becomeRootForAnna(fakes);
  EXPECT_EQ(QMLocalPaths::libraryDirectory(QMLocalPaths::UserDomain::Yes), "/Users/anna/Library");
  fakes.users.addUser("bert", "/Users/bert");
  fakes.users.setConsoleUser("bert");
  EXPECT_EQ(QMLocalPaths::libraryDirectory(QMLocalPaths::UserDomain::Yes), "/Users/bert/Library");
  EXPECT_EQ(QMLocalPaths::username(), "bert");
}

TEST_F(LocalUser, HasTrashAndMoviesInTheHomeWhateverTheSearchSays) {
  fakes.calls.failAlways("standardDirectories.search");
  EXPECT_EQ(QMLocalPaths::trashDirectory(), "/home/u/.Trash");
  EXPECT_EQ(QMLocalPaths::movieDirectory(), "/home/u/Movies");
}

TEST_F(LocalUser, MayBeAskedForByManyThreads) {
  becomeRootForAnna(fakes);
  std::vector<std::thread> threads;
  std::atomic<int> right{0};
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([&right] {
      for (int round = 0; round < 50; ++round) {
        const bool isRight =
            QMLocalPaths::prefsDirectory(QMLocalPaths::UserDomain::Yes) == "/Users/anna/Library/Preferences" &&
            QMLocalPaths::isPathSystemDirectory("/Users/anna", QMLocalPaths::ExactMatch::Yes);
        right += isRight ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, 200);
}

// MARK: - Temporary names

class TemporaryName : public PlatformTest {};

TEST_F(TemporaryName, IsAFreshOneInTheTemporaryFolderAndMakesNoFile) {
  const std::vector<std::string> before = fakes.disk.tree();
  EXPECT_EQ(QMLocalPaths::tempDirectory(), "/tmp");
  EXPECT_EQ(QMLocalPaths::uuid(), "unique-1");
  EXPECT_EQ(QMLocalPaths::tempFile(), "/tmp/unique-2");
  EXPECT_EQ(QMLocalPaths::tempFile(), "/tmp/unique-3");
  EXPECT_EQ(fakes.disk.tree(), before);
}

TEST_F(TemporaryName, IsJoinedWithExactlyOneSlash) {
  fakes.standardDirectories.setTemporaryDirectory("/var/folders/x/");
  EXPECT_EQ(QMLocalPaths::tempFile(), "/var/folders/x/unique-1");
}

TEST_F(TemporaryName, HasNoConsoleUsersSide) {
  becomeRootForAnna(fakes);
  EXPECT_EQ(QMLocalPaths::tempFile(), "/tmp/unique-1");
}

TEST_F(LocalUser, HasPathsJoinedWithExactlyOneSlash) {
  fakes.standardDirectories.set(StandardDirectory::Library, DomainMask::User, {"/home/u/Library/"});
  EXPECT_EQ(QMLocalPaths::prefsDirectory(QMLocalPaths::UserDomain::Yes), "/home/u/Library/Preferences");
  EXPECT_EQ(QMLocalPaths::logDirectory(QMLocalPaths::UserDomain::Yes), "/home/u/Library/Logs");
}

}  // namespace
}  // namespace qm::testing
