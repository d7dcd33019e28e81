// SPDX-License-Identifier: MIT

// Places on a system that reads links by their name.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <functional>

#include "Platform/posix/OwnItem.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/TrashName.h"
#include "Platform/posix/rights/HeldPlace.h"
#include "Platform/posix/rights/PathWriters.h"
#include "tests/contract/files/RealFiles.h"
#include "tests/contract/files/plain/PlainRights.h"

namespace qm::testing {
namespace {

using posix::UniqueFd;

UniqueFd opened(const std::string& folder) {
  return UniqueFd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

TEST(HeldPlace, OfTheRootIsTheRootItself) {
  for (const char* const path : {"/", "//"}) {
    posix::Place place;
    EXPECT_EQ(posix::openHeldPlaceOrRoot(path, place), 0);
    EXPECT_EQ(place.name, ".");
    const auto found = posix::statusIn(place.folder.get(), place.name.c_str());
    EXPECT_TRUE(found && posix::isSameItem(*found, attributesOf("/")));
  }
}

TEST(HeldPlace, OfAnyOtherItemIsItsFolderAndName) {
  posix::Place place;
  EXPECT_EQ(posix::openHeldPlaceOrRoot("/usr/bin/", place), 0);
  EXPECT_EQ(place.name, "bin");
  const auto found = posix::statusOf(place.folder.get());
  EXPECT_TRUE(found && posix::isSameItem(*found, attributesOf("/usr")));
  EXPECT_EQ(posix::openHeldPlaceOrRoot("/missing/bin", place), ENOENT);
  EXPECT_EQ(posix::openHeldPlaceOrRoot("", place), EINVAL);
}

TEST(HeldPlace, IsTheNearestThatThereIs) {
  posix::Place place;
  const auto isIn = [&](const char* folder) {
    const auto found = posix::statusOf(place.folder.get());
    return found && posix::isSameItem(*found, attributesOf(folder));
  };
  EXPECT_EQ(posix::openNearestHeldPlace("/usr/missing/folder/item", place), 0);
  EXPECT_TRUE(isIn("/usr"));
  EXPECT_EQ(posix::openNearestHeldPlace("/missing/folder/item", place), 0);
  EXPECT_TRUE(isIn("/"));
  EXPECT_EQ(posix::openNearestHeldPlace("relative/item", place), EINVAL);
  EXPECT_EQ(posix::openNearestHeldPlace("/etc/passwd/item", place), ENOTDIR);
}

TEST(PathWithoutLinks, KeepsOnlyTheLinkAtItsEnd) {
  runInPrivateMachine([] {
    const std::string folder = openFolder("folder");
    makeFolders(folder + "/real");
    ASSERT_EQ(::symlink("real", (folder + "/way").c_str()), 0);
    asUser(kUser, kUser, [&] {
      EXPECT_EQ(posix::pathWithoutLinks(folder + "/way/item"), folder + "/real/item");
      EXPECT_EQ(posix::pathWithoutLinks(folder + "/way"), folder + "/way");
      EXPECT_EQ(posix::pathWithoutLinks(folder + "/missing/item"), folder + "/missing/item");
    });
  });
}

TEST(FreeName, IsTheFirstThatNothingHas) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/a.txt", "moved");
    makeFile(to + "/a.txt");
    makeFile(to + "/a 2.txt");
    const UniqueFd source = opened(from);
    const UniqueFd goal = opened(to);
    std::string name;
    EXPECT_EQ(posix::renameToFreeName({source.get(), "a.txt"}, goal.get(), name, 2), EEXIST);
    EXPECT_EQ(textOf(from + "/a.txt"), "moved");
    EXPECT_EQ(posix::renameToFreeName({source.get(), "a.txt"}, goal.get(), name, 3), 0);
    EXPECT_EQ(name, "a 3.txt");
    EXPECT_EQ(textOf(to + "/a 3.txt"), "moved");
    EXPECT_EQ(posix::renameToFreeName({source.get(), "a.txt"}, goal.get(), name), ENOENT);
  });
}

TEST(HeldItem, IsFoundEvenIfItCannotBeOpened) {
  runInPrivateMachine([] {
    const std::string folder = openFolder("folder");
    makeFile(folder + "/secret");
    ASSERT_EQ(::chmod((folder + "/secret").c_str(), 0), 0);
    asUser(kUser, kUser, [&] {
      posix::HeldItem secret;
      EXPECT_EQ(posix::holdItem(folder + "/secret", secret), 0);
      EXPECT_EQ(secret.openError, EACCES);
      EXPECT_EQ(secret.errorUnlessFound(), 0);
      posix::HeldItem missing;
      EXPECT_EQ(posix::holdItem(folder + "/missing", missing), 0);
      EXPECT_EQ(missing.errorUnlessFound(), ENOENT);
    });
  });
}

/// In a private machine, with a link "way" to "one" in a folder.
void withLink(const std::function<void(const std::string& path, int folder, int link)>& body) {
  runInPrivateMachine([&] {
    const std::string path = openFolder("folder");
    ASSERT_EQ(::symlink("one", (path + "/way").c_str()), 0);
    const UniqueFd folder = opened(path);
    const UniqueFd link(posix::openItself(folder.get(), "way"));
    ASSERT_TRUE(link);
    body(path, folder.get(), link.get());
  });
}

TEST(TextOfALink, IsReadByItsName) {
  withLink([](const std::string&, int folder, int link) {
    EXPECT_EQ(posix::readOwnLinkText(link, folder, "way"), "one");
    EXPECT_EQ(posix::readOwnLinkText(link, folder, "missing"), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
  });
}

TEST(TextOfALink, DoesNotCountIfAnotherLinkHasTheName) {
  withLink([](const std::string& path, int folder, int link) {
    ASSERT_EQ(::symlink("two", (path + "/other").c_str()), 0);
    ASSERT_EQ(::rename((path + "/other").c_str(), (path + "/way").c_str()), 0);
    EXPECT_EQ(posix::readOwnLinkText(link, folder, "way"), std::nullopt);
    EXPECT_EQ(errno, ESTALE);
  });
}

TEST(TextOfALink, DoesNotCountIfTheNameIsTakenWhileItIsRead) {
  withLink([](const std::string& path, int folder, int link) {
    ASSERT_EQ(::symlink("two", (path + "/other").c_str()), 0);
    EXPECT_TRUE(inChild([&] {
      afterSystemCall(SYS_readlinkat, [&] { ::rename((path + "/other").c_str(), (path + "/way").c_str()); });
      EXPECT_EQ(posix::readOwnLinkText(link, folder, "way"), std::nullopt);
      EXPECT_EQ(errno, ESTALE);
    }));
  });
}

TEST(FolderOfRoots, IsOnlyRootsIfNobodyElseCanWriteAnywhereBelow) {
  runInPrivateMachine([] {
    const std::string folder = machineFolder() + "/folder";
    makeFolders(folder + "/inner");
    makeFile(folder + "/inner/file");
    EXPECT_FALSE(posix::othersWriteBelow(folder));
    EXPECT_FALSE(posix::othersWriteBelow(folder + "/inner/file"));
    EXPECT_FALSE(posix::othersWriteBelow(folder + "/missing"));
    plain::giveListThatGrantsWriting(folder + "/inner");
    EXPECT_TRUE(posix::othersWriteBelow(folder));
  });
  runInPrivateMachine([] {
    const std::string folder = machineFolder() + "/folder";
    makeFolders(folder + "/inner", 0777);
    EXPECT_TRUE(posix::othersWriteBelow(folder));
    ASSERT_EQ(::chmod((folder + "/inner").c_str(), 0755), 0);
    ASSERT_EQ(::chown((folder + "/inner").c_str(), kUser, kUser), 0);
    EXPECT_TRUE(posix::othersWriteBelow(folder));
    ASSERT_EQ(::chmod(folder.c_str(), 0700), 0);
    asUser(kUser, kUser, [&] { EXPECT_TRUE(posix::othersWriteBelow(folder)); });
  });
}

}  // namespace
}  // namespace qm::testing
