// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <functional>

#include "Platform/macos/files/FileRules.h"
#include "Platform/macos/files/TrashParts.h"
#include "tests/contract/files/RealFiles.h"
#include "tests/contract/files/plain/FakeFlags.h"
#include "tests/contract/files/plain/PlainFileCalls.h"

namespace qm::testing {
namespace {

void inFolder(const std::function<void(const std::string&)>& body) {
  runInPrivateMachine([&] {
    const std::string folder = openFolder("folder");
    makeFile(folder + "/file");
    asUser(kUser, kUser, [&] { body(folder); });
  });
}

TEST(RefusedItem, HasItsOwnFlagsAndThoseOfItsFolder) {
  inFolder([](const std::string& folder) {
    plain::itemFlags.ofItems[attributesOf(folder + "/file").st_ino] = macos::kUserImmutable;
    plain::itemFlags.ofItems[attributesOf(folder).st_ino] = macos::kRestricted;
    const auto item = macos::refusedItemAt(folder + "/file");
    EXPECT_EQ(item.path, folder + "/file");
    EXPECT_EQ(item.flags, macos::kUserImmutable);
    EXPECT_EQ(item.folderFlags, macos::kRestricted);
    EXPECT_EQ(item.obstacle, 0);
  });
}

TEST(RefusedItem, HasNoFlagsIfItIsGone) {
  inFolder([](const std::string& folder) {
    const auto item = macos::refusedItemAt(folder + "/gone");
    EXPECT_EQ(item.flags, std::nullopt);
    EXPECT_EQ(item.folderFlags, 0U);
    EXPECT_EQ(item.obstacle, ENOENT);
  });
}

TEST(RefusedItem, HasAnObstacleIfPermissionsAStickyFolderOrAListKeepIt) {
  runInPrivateMachine([] {
    const std::string closed = openFolder("closed");
    const std::string sticky = openFolder("sticky");
    makeFile(closed + "/file");
    makeFile(sticky + "/file");
    makeFile(openFolder("listed") + "/" + plain::kDenied);
    ASSERT_EQ(::chmod(closed.c_str(), 0755), 0);
    ASSERT_EQ(::chmod(sticky.c_str(), 01777), 0);
    asUser(kUser, kUser, [&] {
      EXPECT_EQ(macos::refusedItemAt(closed + "/file").obstacle, EACCES);
      EXPECT_EQ(macos::refusedItemAt(sticky + "/file").obstacle, EPERM);
      EXPECT_EQ(macos::refusedItemAt(machineFolder() + "/listed/" + plain::kDenied).obstacle, EPERM);
    });
  });
}

TEST(RefusedItem, HasNoObstacleIfNothingShowsOne) {
  inFolder([](const std::string& folder) {
    EXPECT_EQ(macos::refusedItemAt(folder + "/missing/file").obstacle, 0);
    EXPECT_EQ(macos::refusedItemAt(folder + "/missing/file").folderFlags, std::nullopt);
  });
}

}  // namespace
}  // namespace qm::testing
