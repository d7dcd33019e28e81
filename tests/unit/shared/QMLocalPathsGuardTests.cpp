// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/unit/shared/LocalPathsTest.h"

namespace qm::testing {
namespace {

using platform::DomainMask;
using platform::StandardDirectory;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Values;
using ::testing::ValuesIn;

using Text = std::optional<std::string>;

// A null pointer is not a path, and there are no objects of the class.

template <class Path>
concept IsAPathForTheGuard = requires(Path path) {
  QMLocalPaths::isPathSystemDirectory(path);
};
template <class Path>
concept IsAPathForTheExactGuard = requires(Path path) {
  QMLocalPaths::isPathSystemDirectory(path, QMLocalPaths::ExactMatch::Yes);
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

// MARK: - The guard

/// A protected folder, with its location in the fixture for the user "u" and for root with anna.
struct ProtectedFolder {
  std::string name;
  std::string ofUser;
  std::string ofAnna;
};

void PrintTo(const ProtectedFolder& folder, std::ostream* stream) { *stream << folder.name; }

/// Every standard folder has a location of its own here, so that only its own row can protect it.
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

  static bool exact(const Text& path) {
    return QMLocalPaths::isPathSystemDirectory(path, QMLocalPaths::ExactMatch::Yes);
  }
  static bool loose(const Text& path) {
    return QMLocalPaths::isPathSystemDirectory(path, QMLocalPaths::ExactMatch::No);
  }
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

/// The cut removes two slashes at the end.
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
  // A byte outside valid UTF-8 is one character.
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
  EXPECT_EQ(QMLocalPaths::isPathSystemDirectory(GetParam().path, QMLocalPaths::ExactMatch::No), GetParam().loose);
  EXPECT_EQ(QMLocalPaths::isPathSystemDirectory(GetParam().path), GetParam().loose);
  EXPECT_EQ(QMLocalPaths::isPathSystemDirectory(GetParam().path, QMLocalPaths::ExactMatch::Yes), GetParam().exact);
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
