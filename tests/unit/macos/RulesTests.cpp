// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "Platform/macos/files/FileRules.h"
#include "Platform/posix/AttributeErrors.h"
#include "Platform/posix/OwnItem.h"
#include "Platform/posix/WholeList.h"
#include "Platform/posix/rights/AccessList.h"

namespace qm::macos {
namespace {

// ---- items

constexpr mode_t kFile = S_IFREG | S_IRUSR | S_IWUSR;

TEST(Clone, IsMadeOfAPlainFile) { EXPECT_EQ(obstacleToCloning(kFile, kHidden), 0); }

TEST(Clone, IsNotMadeOfAFileThatLendsRightsOrCannotBeOpenedOrChanged) {
  EXPECT_EQ(obstacleToCloning(kFile | S_ISUID, 0), EPERM);
  EXPECT_EQ(obstacleToCloning(kFile | S_ISGID, 0), EPERM);
  EXPECT_EQ(obstacleToCloning(S_IFREG | S_IWUSR, 0), EPERM);
  for (const std::uint32_t flag : {kUserImmutable, kUserAppend, kSystemImmutable, kSystemAppend}) {
    EXPECT_EQ(obstacleToCloning(kFile, flag), EPERM) << flag;
  }
}

TEST(FlagsOfACopy, AreThoseThatAnOwnerSets) {
  constexpr std::uint32_t kTracked = 0x40;
  constexpr std::uint32_t kCompressed = 0x20;
  for (const std::uint32_t flag : {kNoDump, kUserImmutable, kUserAppend, kOpaque, kHidden}) {
    EXPECT_EQ(flagsOfCopy(flag | kTracked), flag) << flag;
  }
  EXPECT_EQ(flagsOfCopy(kCompressed | kTracked | kSystemImmutable | kSystemAppend | kRestricted | kNoUnlink), 0U);
}

TEST(FlagsOfAnItem, ProtectItIfTheyForbidToChangeOrRemoveIt) {
  for (const std::uint32_t flag :
       {kUserImmutable, kUserAppend, kSystemImmutable, kSystemAppend, kRestricted, kNoUnlink}) {
    EXPECT_TRUE(isProtectedBy(flag | kHidden)) << flag;
  }
  EXPECT_FALSE(isProtectedBy(kNoDump | kOpaque | kHidden));
  EXPECT_FALSE(isProtectedBy(0));
}

struct stat itemOf(mode_t mode, uid_t owner, nlink_t names) {
  struct stat item {};
  item.st_mode = mode;
  item.st_uid = owner;
  item.st_nlink = names;
  return item;
}

TEST(OwnNewFile, IsAFileOfTheUsersWithoutAnotherName) {
  EXPECT_TRUE(posix::isOwnNewFile(itemOf(kFile, 501, 1), 501));
  EXPECT_FALSE(posix::isOwnNewFile(itemOf(kFile, 502, 1), 501));
  EXPECT_FALSE(posix::isOwnNewFile(itemOf(kFile, 501, 2), 501));
  EXPECT_FALSE(posix::isOwnNewFile(itemOf(S_IFDIR | S_IRWXU, 501, 1), 501));
}

TEST(Lock, IsNotOneOfLinks) {
  EXPECT_EQ(obstacleToLocking(itemOf(S_IFLNK, 501, 1), false), ENOTSUP);
  EXPECT_EQ(obstacleToLocking(itemOf(S_IFLNK, 501, 1), true), ENOTSUP);
}

TEST(Lock, IsNotForRootToChangeOfAFileWithAnotherName) {
  EXPECT_EQ(obstacleToLocking(itemOf(kFile, 0, 2), true), EPERM);
  EXPECT_EQ(obstacleToLocking(itemOf(kFile, 0, 1), true), 0);
  EXPECT_EQ(obstacleToLocking(itemOf(S_IFDIR, 0, 5), true), 0);
  EXPECT_EQ(obstacleToLocking(itemOf(kFile, 501, 2), false), 0);
}

TEST(Change, IsNotForRootToMakeOfAFileWithAnotherName) {
  EXPECT_EQ(obstacleToChanging(itemOf(kFile, 0, 2), true), EPERM);
  EXPECT_EQ(obstacleToChanging(itemOf(S_IFLNK, 0, 2), true), EPERM);
  EXPECT_EQ(obstacleToChanging(itemOf(kFile, 0, 1), true), 0);
  EXPECT_EQ(obstacleToChanging(itemOf(S_IFDIR, 0, 5), true), 0);
  EXPECT_EQ(obstacleToChanging(itemOf(kFile, 501, 2), false), 0);
}

// ---- folders

TEST(FolderThatIsOpenedToNameItemsInIt, MustBeReadableOnlyBeforeVersion13) {
  EXPECT_EQ(lookupMode(false), O_RDONLY);
  EXPECT_EQ(lookupMode(true), kOpenToSearch);
  EXPECT_EQ(kOpenToSearch & (O_ACCMODE | O_CREAT | O_TRUNC), 0);
}

TEST(VolumeOfAFolder, IsTheSystemsWordWhereRootHasMountedItWithOwners) {
  EXPECT_FALSE(hasUntrustedOwner(FolderFacts{.isLocal = true, .ignoresOwners = false, .mountedBy = 0, .owner = 501}));
}

TEST(VolumeOfAFolder, IsSomebodysWordOtherwise) {
  EXPECT_TRUE(hasUntrustedOwner(FolderFacts{.isLocal = false, .ignoresOwners = false, .mountedBy = 0, .owner = 0}));
  EXPECT_TRUE(hasUntrustedOwner(FolderFacts{.isLocal = true, .ignoresOwners = true, .mountedBy = 0, .owner = 0}));
  EXPECT_TRUE(hasUntrustedOwner(FolderFacts{.isLocal = true, .ignoresOwners = false, .mountedBy = 501, .owner = 0}));
  EXPECT_TRUE(hasUntrustedOwner(FolderFacts{.isLocal = true, .ignoresOwners = false, .mountedBy = 0, .owner = 99}));
  EXPECT_TRUE(hasUntrustedOwner(std::nullopt));
}

using posix::AccessEntry;
using posix::anyGrantsWriting;
using posix::grantsWriting;
using posix::grantsWritingWithoutList;
using posix::kAddFile;
using posix::kAddFolder;
using posix::kChangeOwner;
using posix::kDelete;
using posix::kDeleteChild;
using posix::kWriteSecurity;

TEST(AccessEntry, GrantsWritingByAnyRightThatChangesWhatIsInTheFolder) {
  for (const std::uint64_t right : {kAddFile, kDelete, kAddFolder, kDeleteChild, kWriteSecurity, kChangeOwner}) {
    EXPECT_TRUE(grantsWriting(AccessEntry{true, true, right})) << right;
    EXPECT_FALSE(grantsWriting(AccessEntry{true, false, right})) << right;
  }
}

TEST(AccessEntry, GrantsNoWritingByRightsToRead) {
  constexpr std::uint64_t kListAndSearch = (1U << 1U) | (1U << 3U);
  EXPECT_FALSE(grantsWriting(AccessEntry{true, true, kListAndSearch}));
}

TEST(AccessEntry, GrantsWritingWhereTheSystemDoesNotTellIt) { EXPECT_TRUE(grantsWriting(AccessEntry{})); }

/// Reads a list whose entries are these, one after the other. The last error is EINVAL unless reading fails.
bool listGrants(const std::vector<AccessEntry>& entries, int lastError = EINVAL) {
  std::size_t read = 0;
  return anyGrantsWriting([&](bool isFirst, AccessEntry& entry) {
    EXPECT_EQ(isFirst, read == 0);
    if (read == entries.size()) return lastError;
    entry = entries[read++];
    return 0;
  });
}
constexpr AccessEntry kReads{.isKnown = true, .allows = true, .rights = 1U << 1U};
constexpr AccessEntry kWrites{.isKnown = true, .allows = true, .rights = kAddFile};

TEST(AccessList, GrantsWritingIfAnyEntryDoes) {
  EXPECT_TRUE(listGrants({kWrites}));
  EXPECT_TRUE(listGrants({kReads, kReads, kWrites, kReads}));
  EXPECT_TRUE(listGrants({kReads, AccessEntry{}}));
}

TEST(AccessList, GrantsNoWritingIfAllEntriesWereRead) {
  EXPECT_FALSE(listGrants({}));
  EXPECT_FALSE(listGrants({kReads, kReads}));
}

TEST(AccessList, GrantsWritingIfItCannotBeReadToItsEnd) {
  EXPECT_TRUE(listGrants({}, EIO));
  EXPECT_TRUE(listGrants({kReads}, ENOMEM));
}

TEST(AccessList, GrantsNoWritingIfThereIsNone) {
  for (const int error : {ENOENT, ENOTSUP, EOPNOTSUPP}) EXPECT_FALSE(grantsWritingWithoutList(error)) << error;
  for (const int error : {EACCES, EIO, EBADF, ENOMEM}) EXPECT_TRUE(grantsWritingWithoutList(error)) << error;
}

TEST(MountPoints, AreHeldByNoFolderWithoutAPath) { EXPECT_FALSE(holdsAny("", {"/", "/Volumes/disk"})); }

TEST(MountPoints, AreHeldByTheFoldersAboveThem) {
  EXPECT_TRUE(holdsAny("/Volumes", {"/", "/Volumes/disk"}));
  EXPECT_TRUE(holdsAny("/", {"/", "/dev"}));
  EXPECT_FALSE(holdsAny("/Volumes/disk", {"/", "/Volumes/disk"}));
  EXPECT_FALSE(holdsAny("/Volumes/d", {"/Volumes/disk"}));
  EXPECT_FALSE(holdsAny("/", {"/"}));
}

TEST(MountPoints, AreTheSameSeenOnTheVolumeForDataAndFromTheRoot) {
  EXPECT_TRUE(holdsAny("/Applications/a", {"/System/Volumes/Data/Applications/a/disk"}));
  EXPECT_TRUE(holdsAny("/System/Volumes/Data/Applications/a", {"/Applications/a/disk"}));
  EXPECT_FALSE(holdsAny("/Applications/a", {"/System/Volumes/Data"}));
  EXPECT_FALSE(holdsAny("/Applications/a", {"/System/Volumes/Database/Applications/a/disk"}));
}

// ---- lists

/// A system call whose list is longer each time, up to `most` entries.
struct GrowingSystem {
  int there = 3;
  int step = 0;
  int most = 3;
  int calls = 0;

  int list(int* entries, int room) {
    ++calls;
    there = std::min(there + step, most);
    const int count = entries == nullptr ? there : std::min(there, room);
    for (int i = 0; entries != nullptr && i < count; ++i) entries[i] = i;
    return count;
  }
  std::vector<int> all() {
    return posix::wholeList<int>([this](int* entries, int room) { return list(entries, room); });
  }
};

TEST(WholeList, HasAllThatTheSystemLists) { EXPECT_THAT(GrowingSystem().all(), ::testing::ElementsAre(0, 1, 2)); }

TEST(WholeList, IsAskedForAgainUntilItFits) {
  GrowingSystem growing{.there = 3, .step = 40, .most = 100, .calls = 0};
  EXPECT_EQ(growing.all().size(), 100U);
  EXPECT_GT(growing.calls, 2);
}

TEST(WholeList, IsEmptyWhereTheSystemDoesNotListAnything) {
  EXPECT_TRUE(posix::wholeList<int>([](int*, int) { return -1; }).empty());
  EXPECT_TRUE(posix::wholeList<int>([](int* entries, int) { return entries == nullptr ? 5 : -1; }).empty());
}

// ---- attributes

TEST(AttributeOfACopy, StaysBehindWhereItIsRefusedOrHasNoRoom) {
  for (const int error : {EPERM, EACCES, ENOTSUP, ENODATA, ENOSPC, E2BIG}) EXPECT_EQ(posix::unlessOptional(error), 0);
  EXPECT_EQ(posix::unlessOptional(0), 0);
}

TEST(AttributeOfACopy, FailsTheCopyWhereTheDiskDoes) { EXPECT_EQ(posix::unlessOptional(EIO), EIO); }

TEST(AttributeOfACopy, IsNoneOfASourceThatHasVanished) {
  EXPECT_EQ(posix::unlessGone(ENOENT), 0);
  EXPECT_EQ(posix::unlessGone(EACCES), 0);
  EXPECT_EQ(posix::unlessGone(EIO), EIO);
}

TEST(AttributesOfAnItemThatIsOpened, AreCopiedFromItAndItIsClosed) {
  int opened = -1;
  const auto copy = [&](int source) {
    opened = source;
    return ::fcntl(source, F_GETFD) >= 0 ? EROFS : EBADF;
  };
  EXPECT_EQ(posix::copyOfOpened([] { return ::open("/dev/null", O_RDONLY | O_CLOEXEC); }, copy), EROFS);
  EXPECT_EQ(::fcntl(opened, F_GETFD), -1);
}

TEST(AttributesOfAnItemThatIsOpened, AreNoneIfItHasVanishedOrMayNotBeOpened) {
  bool isCopied = false;
  const auto copyAfter = [&](int error) {
    const auto open = [error] {
      errno = error;
      return -1;
    };
    const auto copy = [&](int /*source*/) {
      isCopied = true;
      return 0;
    };
    return posix::copyOfOpened(open, copy);
  };
  EXPECT_EQ(copyAfter(ENOENT), 0);
  EXPECT_EQ(copyAfter(EACCES), 0);
  EXPECT_EQ(copyAfter(EIO), EIO);
  EXPECT_EQ(copyAfter(EMFILE), EMFILE);
  EXPECT_FALSE(isCopied);
}

TEST(PartsOfAttributes, AreAllCopiedEvenIfOneIsRefused) {
  std::string copied;
  const auto part = [&](char name, int error) {
    return [&copied, name, error] {
      copied += name;
      return error;
    };
  };
  EXPECT_EQ(posix::copyAllParts(part('a', EPERM), part('b', 0)), 0);
  EXPECT_EQ(posix::copyAllParts(part('c', EIO), part('d', EROFS)), EIO);
  EXPECT_EQ(posix::copyAllParts(part('e', 0), part('f', EROFS)), EROFS);
  EXPECT_EQ(copied, "abcdef");
}

}  // namespace
}  // namespace qm::macos
