// SPDX-License-Identifier: MIT
#include "Platform/macos/MacServices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <functional>

#include "Platform/macos/SystemCalls.h"
#include "Platform/macos/files/FileRules.h"
#include "Platform/posix/rights/Writers.h"
#include "tests/contract/files/RealFiles.h"
#include "tests/contract/files/plain/FakeFlags.h"
#include "tests/fakes/FakeUsers.h"

namespace qm::macos {

using testing::plain::itemFlags;

std::uint32_t flagsIn(const struct stat& item) { return itemFlags.ofItems[item.st_ino]; }

int changeFlags(int item, std::uint32_t wanted) {
  itemFlags.changes.emplace_back("open");
  if (itemFlags.error == 0) itemFlags.ofItems[posix::statusOf(item)->st_ino] = wanted;
  return itemFlags.error;
}

int changeFlagsByName(const posix::Place& place, std::uint32_t wanted) {
  itemFlags.changes.emplace_back("name");
  if (itemFlags.error == 0) itemFlags.ofItems[posix::statusIn(place.folder.get(), place.name.c_str())->st_ino] = wanted;
  return itemFlags.error;
}

}  // namespace qm::macos

namespace qm::testing {
namespace {

using macos::kHidden;
using macos::kUserImmutable;
using plain::itemFlags;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A folder that anybody may write to, with "file" and "link".
class MacItemLocksTest : public ::testing::Test {
 protected:
  void inFolder(const std::function<void()>& body) {
    runInPrivateMachine([&] {
      folder = openFolder("folder");
      makeFile(at("file"), "text");
      ASSERT_EQ(::symlink("file", at("link").c_str()), 0);
      body();
    });
  }
  void asPerson(const std::function<void()>& body) {
    inFolder([&] {
      ASSERT_EQ(::lchown(at("file").c_str(), kUser, kUser), 0);
      asUser(kUser, kUser, body);
    });
  }
  /// Root itself is at the console, so that it may use its own rights in the folder.
  void asRoot(const std::function<void()>& body) {
    users.actAsRoot("root");
    inFolder(body);
  }

  std::string at(const std::string& name) const { return folder + "/" + name; }
  std::uint32_t& flagsOf(const std::string& name) const { return itemFlags.ofItems[attributesOf(at(name)).st_ino]; }
  int lock(const std::string& name) { return locks.setImmutable(at(name), true).code(); }

  std::string folder;
  Calls calls;
  FakeUsers users{calls};
  const std::unique_ptr<platform::ItemLocks> made = macos::makeItemLocks(users);
  platform::ItemLocks& locks = *made;
};

TEST_F(MacItemLocksTest, LocksAndUnlocksTheOpenItemAndKeepsItsOtherFlags) {
  asPerson([&] {
    flagsOf("file") = kHidden;
    EXPECT_EQ(locks.isImmutable(at("file")), false);
    EXPECT_EQ(lock("file"), 0);
    EXPECT_EQ(flagsOf("file"), kHidden | kUserImmutable);
    EXPECT_EQ(locks.isImmutable(at("file")), true);
    expectDone(locks.setImmutable(at("file"), false));
    EXPECT_EQ(flagsOf("file"), kHidden);
    EXPECT_THAT(itemFlags.changes, ElementsAre("open", "open"));
  });
}

TEST_F(MacItemLocksTest, ChangesNothingOfAnItemThatIsAsItShouldBe) {
  asRoot([&] {
    ASSERT_EQ(::link(at("file").c_str(), at("other").c_str()), 0);
    flagsOf("file") = kUserImmutable;
    EXPECT_EQ(lock("file"), 0);
    expectDone(locks.setImmutable(at("link"), false));
    EXPECT_THAT(itemFlags.changes, IsEmpty());
  });
}

TEST_F(MacItemLocksTest, LocksNoLink) {
  asPerson([&] {
    flagsOf("link") = kUserImmutable;
    EXPECT_EQ(locks.isImmutable(at("link")), false);
    EXPECT_EQ(lock("link"), ENOTSUP);
    EXPECT_THAT(itemFlags.changes, IsEmpty());
  });
}

TEST_F(MacItemLocksTest, SaysWhyAnItemCannotBeFoundOrChanged) {
  asPerson([&] {
    EXPECT_EQ(lock("missing"), ENOENT);
    EXPECT_EQ(locks.isImmutable(at("missing")), std::nullopt);
    EXPECT_EQ(lock("file/in it"), ENOTDIR);
    itemFlags.error = EROFS;
    EXPECT_EQ(lock("file"), EROFS);
  });
}

TEST_F(MacItemLocksTest, ChangesAnItemThatMayNotBeReadByItsName) {
  asPerson([&] {
    ASSERT_EQ(::chmod(at("file").c_str(), 0), 0);
    EXPECT_EQ(locks.isImmutable(at("file")), false);
    EXPECT_EQ(lock("file"), 0);
    EXPECT_THAT(itemFlags.changes, ElementsAre("name"));
  });
}

TEST_F(MacItemLocksTest, ChangesASocketByItsNameButNotAsRoot) {
  const auto makeSocket = [&] { ASSERT_EQ(::mknod(at("socket").c_str(), S_IFSOCK | 0600, 0), 0); };
  asPerson([&] {
    makeSocket();
    EXPECT_EQ(lock("socket"), 0);
    EXPECT_THAT(itemFlags.changes, ElementsAre("name"));
  });
  asRoot([&] {
    makeSocket();
    EXPECT_EQ(lock("socket"), EOPNOTSUPP);
    EXPECT_THAT(itemFlags.changes, IsEmpty());
  });
}

TEST_F(MacItemLocksTest, ChangesTheOpenItemAsRoot) {
  asRoot([&] {
    EXPECT_EQ(lock("file"), 0);
    EXPECT_THAT(itemFlags.changes, ElementsAre("open"));
  });
}

TEST_F(MacItemLocksTest, ChangesNothingAsRootOfAFileWithAnotherName) {
  asRoot([&] {
    ASSERT_EQ(::link(at("file").c_str(), at("other").c_str()), 0);
    EXPECT_EQ(lock("file"), EPERM);
    EXPECT_THAT(itemFlags.changes, IsEmpty());
  });
}

TEST_F(MacItemLocksTest, ChangesNothingAsRootWhereThereIsNobodyWithWhoseRightsToDoIt) {
  asRoot([&] {
    users.actAsRoot(std::nullopt);
    EXPECT_EQ(lock("file"), EPERM);
    EXPECT_THAT(itemFlags.changes, IsEmpty());
  });
}

TEST_F(MacItemLocksTest, FollowsNoLinkAsRootThatAnybodyCouldHavePlanted) {
  asRoot([&] {
    ASSERT_EQ(::symlink("/etc", at("way").c_str()), 0);
    ASSERT_EQ(::lchown(at("way").c_str(), kUser, kUser), 0);
    EXPECT_EQ(lock("way/hostname"), ELOOP);
    EXPECT_THAT(itemFlags.changes, IsEmpty());
  });
}

}  // namespace
}  // namespace qm::testing
