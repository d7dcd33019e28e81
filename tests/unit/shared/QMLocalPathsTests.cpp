#include "Shared/QMLocalPaths.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/PlatformTest.h"

namespace qm::testing {
namespace {

using platform::DomainMask;
using platform::StandardDirectory;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Values;
using ::testing::ValuesIn;

using Text = std::optional<std::string>;

// A null pointer is no path, and no class method needs an object.

template <class Path>
concept IsAPathForTheGuard = requires(Path path) {
  QMLocalPaths::isPathSystemDirectory(path);
};
template <class Path>
concept IsAPathForTheExactGuard = requires(Path path) {
  QMLocalPaths::isPathSystemDirectory(path, ExactMatch::Yes);
};
template <class Path>
concept IsAPathOnAVolume = requires(Path path) {
  QMLocalPaths::isPathOnTimeMachineVolume(path);
};

static_assert(IsAPathForTheGuard<const char*> && IsAPathForTheGuard<std::string> &&
              IsAPathForTheGuard<std::nullopt_t> && !IsAPathForTheGuard<std::nullptr_t>);
static_assert(IsAPathForTheExactGuard<const char*> && IsAPathForTheExactGuard<Text> &&
              !IsAPathForTheExactGuard<std::nullptr_t>);
static_assert(IsAPathOnAVolume<const char*> && IsAPathOnAVolume<Text> && !IsAPathOnAVolume<std::nullptr_t>);
static_assert(!std::is_default_constructible_v<QMLocalPaths>);

/// Searches and home folders asked for, in order.
std::vector<std::string> lookups(const FakePlatform& fakes) {
  std::vector<std::string> asked = fakes.calls.everything();
  std::erase_if(asked, [](const std::string& call) {
    return !call.starts_with("standardDirectories.") && !call.starts_with("users.home");
  });
  return asked;
}

void becomeRootForAnna(FakePlatform& fakes) {
  fakes.users.addUser("anna", "/Users/anna");
  fakes.actAsRoot("anna");
}

// MARK: - The table of folders

/// A way to ask for a folder, and where it is for the person whose home is at "~".
struct Location {
  std::string name;
  std::function<Text()> ask;
  std::string place;  ///< below the home folder with "~"
  Text search;        ///< of which folder in which domain; nil when nothing is searched
};

void PrintTo(const Location& location, std::ostream* stream) { *stream << location.name; }

std::function<Text()> of(Text (*method)(UserDomain), UserDomain user) {
  return [method, user] { return method(user); };
}

std::vector<Location> locations() {
  using Paths = QMLocalPaths;
  constexpr auto yes = UserDomain::Yes;
  constexpr auto no = UserDomain::No;
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
  EXPECT_EQ(QMLocalPaths::documentDirectory(UserDomain::No), std::nullopt);
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
  EXPECT_EQ(QMLocalPaths::libraryDirectory(UserDomain::Yes), "/var/root/Library");
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
  EXPECT_EQ(QMLocalPaths::libraryDirectory(UserDomain::Yes), "/Users/anna/Library");
  fakes.users.addUser("bert", "/Users/bert");
  fakes.users.setConsoleUser("bert");
  EXPECT_EQ(QMLocalPaths::libraryDirectory(UserDomain::Yes), "/Users/bert/Library");
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
        const bool isRight = QMLocalPaths::prefsDirectory(UserDomain::Yes) == "/Users/anna/Library/Preferences" &&
                             QMLocalPaths::isPathSystemDirectory("/Users/anna", ExactMatch::Yes);
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
  EXPECT_EQ(QMLocalPaths::prefsDirectory(UserDomain::Yes), "/home/u/Library/Preferences");
  EXPECT_EQ(QMLocalPaths::logDirectory(UserDomain::Yes), "/home/u/Library/Logs");
}

// MARK: - The guard

/// A protected folder, with where the fixture puts it for the user "u" and for root with anna.
struct ProtectedFolder {
  std::string name;
  std::string ofUser;
  std::string ofAnna;
};

void PrintTo(const ProtectedFolder& folder, std::ostream* stream) { *stream << folder.name; }

/// Every standard folder has a place of its own here, so that only its own row can protect it.
class Guard : public PlatformTest {
 protected:
  Guard() {
    for (const auto directory :
         {StandardDirectory::Application, StandardDirectory::AdminApplication, StandardDirectory::Library,
          StandardDirectory::Documentation, StandardDirectory::Document, StandardDirectory::Desktop,
          StandardDirectory::Caches, StandardDirectory::ApplicationSupport}) {
      const std::string number = std::to_string(static_cast<unsigned>(directory));
      fakes.standardDirectories.set(directory, DomainMask::User, {"/var/root/U" + number + "x"});
      fakes.standardDirectories.set(directory, DomainMask::Local, {"/L" + number + "x"});
      fakes.standardDirectories.set(directory, DomainMask::System, {"/S" + number + "x"});
    }
  }

  static bool exact(const Text& path) { return QMLocalPaths::isPathSystemDirectory(path, ExactMatch::Yes); }
  static bool loose(const Text& path) { return QMLocalPaths::isPathSystemDirectory(path, ExactMatch::No); }
};

class ProtectedRow : public Guard, public ::testing::WithParamInterface<ProtectedFolder> {};

std::vector<ProtectedFolder> protectedFolders() {
  return {
      {"ApplicationYes", "/var/root/U1x", "/Users/anna/U1x"},
      {"ApplicationNo", "/L1x", "/L1x"},
      {"AdminApplicationYes", "/var/root/U4x", "/Users/anna/U4x"},
      {"AdminApplicationNo", "/L4x", "/L4x"},
      {"DocumentYes", "/var/root/U9x", "/Users/anna/U9x"},
      {"DocumentNo", "/L9x", "/L9x"},
      {"LibraryYes", "/var/root/U5x", "/Users/anna/U5x"},
      {"LibraryNo", "/L5x", "/L5x"},
      {"PrefsYes", "/var/root/U5x/Preferences", "/Users/anna/U5x/Preferences"},
      {"PrefsNo", "/L5x/Preferences", "/L5x/Preferences"},
      {"CacheYes", "/var/root/U13x", "/Users/anna/U13x"},
      {"CacheNo", "/L13x", "/L13x"},
      {"AppSupportYes", "/var/root/U14x", "/Users/anna/U14x"},
      {"AppSupportNo", "/L14x", "/L14x"},
      {"Desktop", "/var/root/U12x", "/Users/anna/U12x"},
      {"User", "/home/u", "/Users/anna"},
      {"SystemLibrary", "/S5x", "/S5x"},
      {"LocalDocumentation", "/L8x", "/L8x"},
      {"UsersShared", "/Users/Shared", "/Users/Shared"},
      {"Volumes", "/Volumes", "/Volumes"},
  };
}

TEST_P(ProtectedRow, IsProtectedInBothModes) {
  EXPECT_TRUE(exact(GetParam().ofUser));
  EXPECT_TRUE(loose(GetParam().ofUser));
  EXPECT_TRUE(QMLocalPaths::isPathSystemDirectory(GetParam().ofUser));
}

TEST_P(ProtectedRow, IsTheConsoleUsersForRoot) {
  becomeRootForAnna(fakes);
  EXPECT_TRUE(exact(GetParam().ofAnna));
  EXPECT_TRUE(loose(GetParam().ofAnna));
}

TEST_P(ProtectedRow, IsNotProtectedExactlyWithASlashAndNothingInItIs) {
  const std::string folder = GetParam().ofUser;
  EXPECT_FALSE(exact(folder + "/"));
  EXPECT_FALSE(exact(folder + "/Tessaly.app"));
  EXPECT_FALSE(exact(folder + "x"));
  EXPECT_FALSE(exact(folder.substr(0, folder.size() - 1)));
}

TEST_P(ProtectedRow, IsComparedLetterByLetter) {
  std::string other = GetParam().ofUser;
  std::transform(other.begin(), other.end(), other.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  });
  EXPECT_EQ(exact(other), other == GetParam().ofUser);
}

/// Two slashes at the end are what the cut takes away.
TEST_P(ProtectedRow, IsProtectedWithTwoSlashes) { EXPECT_TRUE(exact(GetParam().ofUser + "//")); }

TEST_P(ProtectedRow, MatchesNothingWhenItsOwnLookupFailsAndStandsWhenAnyOtherDoes) {
  fakes.calls.clear();
  EXPECT_FALSE(exact("/nothing/of/these"));
  const std::size_t calls = fakes.calls.callCount();
  EXPECT_EQ(calls, 17U);
  const bool isSearched = GetParam().name != "User" && GetParam().name != "UsersShared" && GetParam().name != "Volumes";
  std::size_t missed = 0;
  for (std::size_t number = 1; number <= calls; ++number) {
    fakes.calls.clear();
    fakes.calls.failCallNumber(number);
    missed += exact(GetParam().ofUser) ? 0U : 1U;
  }
  EXPECT_EQ(missed, isSearched ? 1U : 0U);
}

INSTANTIATE_TEST_SUITE_P(EachFolder, ProtectedRow, ValuesIn(protectedFolders()),
                         [](const auto& instance) { return instance.param.name; });

TEST_F(Guard, LooksUpTheFoldersInTheirOrderTheUsersBeforeTheLocal) {
  EXPECT_FALSE(exact("/nothing/of/these"));
  std::vector<std::string> expected;
  for (const char* search : {"1, 1", "1, 2", "4, 1", "4, 2", "9, 1", "9, 2", "5, 1", "5, 2", "5, 1", "5, 2", "13, 1",
                             "13, 2", "14, 1", "14, 2", "12, 1", "", "5, 8", "8, 2"}) {
    expected.push_back(*search == '\0' ? "users.homeDirectory()"
                                       : "standardDirectories.search(" + std::string(search) + ")");
  }
  EXPECT_EQ(lookups(fakes), expected);
}

TEST_F(Guard, LooksUpNothingMoreAfterAMatch) {
  EXPECT_TRUE(exact("/L1x"));
  EXPECT_THAT(lookups(fakes), ElementsAre("standardDirectories.search(1, 1)", "standardDirectories.search(1, 2)"));
}

TEST_F(Guard, LooksUpNothingForTheRootAndForShortPaths) {
  EXPECT_TRUE(exact("/"));
  EXPECT_FALSE(loose("/a"));
  EXPECT_FALSE(loose(std::nullopt));
  EXPECT_THAT(lookups(fakes), IsEmpty());
}

TEST_F(Guard, ProtectsTheRootInBothModes) {
  EXPECT_TRUE(exact("/"));
  EXPECT_TRUE(loose("/"));
  EXPECT_TRUE(QMLocalPaths::isPathSystemDirectory("/"));
}

TEST_F(Guard, DoesNotProtectPathsUnderThreeCharactersEvenOnTheList) {
  fakes.standardDirectories.set(StandardDirectory::Application, DomainMask::Local, {"/a"});
  for (const char* path : {"", "a", "/a", "//", "ab", "/\u00e9"}) {
    EXPECT_FALSE(exact(path)) << path;
    EXPECT_FALSE(loose(path)) << path;
  }
}

TEST_F(Guard, CountsCharactersAsUtf16Units) {
  fakes.standardDirectories.set(StandardDirectory::Application, DomainMask::Local, {"/\u00e9"});
  EXPECT_FALSE(exact("/\u00e9"));  // two units, three bytes
  fakes.standardDirectories.set(StandardDirectory::Application, DomainMask::Local, {"/\U0001F600"});
  EXPECT_TRUE(exact("/\U0001F600"));  // three units, two characters
}

TEST_F(Guard, ProtectsAFolderOfThreeCharacters) {
  fakes.standardDirectories.set(StandardDirectory::Application, DomainMask::Local, {"/ab"});
  EXPECT_TRUE(exact("/ab"));
  EXPECT_FALSE(exact("/ac"));
}

TEST_F(Guard, CutsTheUnitBeforeATrailingSlashAsWell) {
  EXPECT_TRUE(exact("/L1x\u00e9/"));
  EXPECT_TRUE(exact("/L1xy/"));
  EXPECT_TRUE(exact("/Volumesx/"));
  EXPECT_FALSE(exact("/L1xyz/"));
  // Half of a character outside the basic plane stays.
  EXPECT_FALSE(exact("/L1x\U0001F600/"));
  // A byte that is no UTF-8 is one character.
  EXPECT_TRUE(exact("/L1x\x80/"));
  EXPECT_FALSE(exact("/L1x\x80\x80/"));
}

TEST_F(Guard, SurvivesAPathOfSlashes) {
  for (const char* path : {"///", "////", "a//"}) {
    EXPECT_FALSE(exact(path)) << path;
    EXPECT_FALSE(loose(path)) << path;
  }
}

TEST_F(Guard, DoesNotProtectNil) {
  EXPECT_FALSE(exact(std::nullopt));
  EXPECT_FALSE(loose(std::nullopt));
  EXPECT_FALSE(QMLocalPaths::isPathSystemDirectory(std::nullopt));
}

TEST_F(Guard, ProtectsOnlyTheMachinesFoldersForRootWhenNobodyIsThere) {
  fakes.actAsRoot(std::nullopt);
  EXPECT_TRUE(exact("/L5x"));
  EXPECT_TRUE(exact("/Volumes"));
  EXPECT_FALSE(exact("/var/root/U5x"));
  EXPECT_FALSE(exact("/home/u"));
  EXPECT_FALSE(exact("/Users/anna"));
}

/// A path, and whether it is protected loosely and exactly on the Mac's layout.
struct GuardCase {
  std::string path;
  bool loose;
  bool exact;
};

void PrintTo(const GuardCase& one, std::ostream* stream) { *stream << one.path; }

class GuardedPath : public PlatformTest, public ::testing::WithParamInterface<GuardCase> {};

TEST_P(GuardedPath, IsProtectedOrNotInEachMode) {
  EXPECT_EQ(QMLocalPaths::isPathSystemDirectory(GetParam().path, ExactMatch::No), GetParam().loose);
  EXPECT_EQ(QMLocalPaths::isPathSystemDirectory(GetParam().path), GetParam().loose);
  EXPECT_EQ(QMLocalPaths::isPathSystemDirectory(GetParam().path, ExactMatch::Yes), GetParam().exact);
}

INSTANTIATE_TEST_SUITE_P(
    OnTheMacsLayout, GuardedPath,
    Values(GuardCase{"/Applications", true, true}, GuardCase{"/Applications/", false, false},
           GuardCase{"/Applications/Tessaly.app", false, false}, GuardCase{"/applications", false, false},
           GuardCase{"/Applications/Utilities", true, true}, GuardCase{"/Library", true, true},
           GuardCase{"/home/u/Library/Preferences", true, true}, GuardCase{"/home/u/Documents", true, true},
           GuardCase{"/home/u/Documents/letter.txt", false, false}, GuardCase{"/home/u", true, true},
           GuardCase{"/home", false, false}, GuardCase{"/home/u/.Trash", false, false},
           GuardCase{"/Users/Shared", true, true}, GuardCase{"/Users", false, false},
           GuardCase{"/Volumes/Disk", false, false}, GuardCase{"/usr", true, false}, GuardCase{"/usr/", false, false},
           GuardCase{"/usr/bin", true, false}, GuardCase{"/usr/bin/", true, false}, GuardCase{"/usrlocal", true, false},
           GuardCase{"/USR/bin", false, false}, GuardCase{"/us", false, false}, GuardCase{"/var", true, false},
           GuardCase{"/var/", false, false}, GuardCase{"/variety", true, false}, GuardCase{"/private/var", true, false},
           GuardCase{"/private/var/folders", true, false}, GuardCase{"/private/var/", false, false},
           GuardCase{"/private/varx", true, false}, GuardCase{"/private", false, false},
           GuardCase{"/private/tmp", false, false}, GuardCase{"/System", true, false},
           GuardCase{"/System/", false, false}, GuardCase{"/System/Library", true, true},
           GuardCase{"/System/Library/Fonts", true, false}, GuardCase{"/Systemic", true, false},
           GuardCase{"/system", false, false}, GuardCase{"usr/bin", false, false}, GuardCase{"/x/usr", false, false},
           GuardCase{"/bin", false, false}));

// MARK: - Backup volumes

class BackupVolume : public ::testing::TestWithParam<std::pair<std::string, bool>> {};

TEST_P(BackupVolume, IsToldByAComponentOfItsExactNameBelowVolumes) {
  EXPECT_EQ(QMLocalPaths::isPathOnTimeMachineVolume(GetParam().first), GetParam().second) << GetParam().first;
}

INSTANTIATE_TEST_SUITE_P(
    EachPath, BackupVolume,
    Values(std::pair{"/Volumes/Backup Disk/Backups.backupdb/mac/Latest", true},
           std::pair{"/Volumes/Disk/Backups.backupdb", true}, std::pair{"/Volumes/Disk/Backups.backupdb/", true},
           std::pair{"/Volumes/Disk/a/b/Backups.backupdb/c", true}, std::pair{"/Volumes/Backups.backupdb", true},
           std::pair{"/Volumes//Backups.backupdb", true}, std::pair{"/Backups.backupdb", false},
           std::pair{"/Volumes", false}, std::pair{"/Volumes/", false}, std::pair{"", false},
           std::pair{"/volumes/Disk/Backups.backupdb", false}, std::pair{"/VolumesX/Backups.backupdb", false},
           std::pair{"//Volumes/Disk/Backups.backupdb", false}, std::pair{"/x/Volumes/Backups.backupdb", false},
           std::pair{"/Volumes/Disk/Backups.backupdb.old", false}, std::pair{"/Volumes/Disk/xBackups.backupdb", false},
           std::pair{"/Volumes/Disk/backups.backupdb", false}, std::pair{"/Volumes/Disk/Backups.backupdb ", false}));

TEST(BackupVolumeOfNil, IsNone) { EXPECT_FALSE(QMLocalPaths::isPathOnTimeMachineVolume(std::nullopt)); }

}  // namespace
}  // namespace qm::testing
