// SPDX-License-Identifier: MIT

// What root may do on a system that cannot open sockets, and whose modes do not show access lists.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>

#include "Platform/posix/rights/HeldPlace.h"
#include "Platform/posix/rights/PathWalk.h"
#include "Platform/posix/rights/PathWriters.h"
#include "Platform/posix/rights/RootTrash.h"
#include "Platform/posix/rights/Writers.h"
#include "tests/contract/files/RealFiles.h"
#include "tests/contract/files/plain/PlainFileCalls.h"
#include "tests/contract/files/plain/PlainRights.h"
#include "tests/fakes/FakePlatform.h"

namespace qm::testing {
namespace {

using posix::LastLink;
using posix::UniqueFd;
using posix::Writers;

/// A folder of root's with a socket and an item that cannot be opened.
class ItemsThatCannotBeOpened : public ::testing::Test {
 protected:
  void play(const std::function<void()>& body) {
    runInPrivateMachine([&] {
      makeFolders(folder());
      ASSERT_EQ(::mknod((folder() + "/socket").c_str(), S_IFSOCK | S_IRUSR, 0), 0);
      makeFile(folder() + "/" + plain::kUnopenable);
      body();
    });
  }

  static std::string folder() { return machineFolder() + "/folder"; }
};

TEST_F(ItemsThatCannotBeOpened, AreHeldByNameIfTheyAreSockets) {
  play([] {
    posix::HeldItem held;
    EXPECT_EQ(posix::holdItem(folder() + "/socket", held), 0);
    EXPECT_EQ(held.openError, 0);
    EXPECT_FALSE(held.item);
    EXPECT_TRUE(S_ISSOCK(held.status.st_mode));
    EXPECT_EQ(held.status.st_ino, attributesOf(folder() + "/socket").st_ino);
  });
}

TEST_F(ItemsThatCannotBeOpened, AreNotHeldIfTheyAreAnythingElse) {
  play([] {
    posix::HeldItem held;
    EXPECT_EQ(posix::holdItem(folder() + "/" + plain::kUnopenable, held), EOPNOTSUPP);
    asUser(kUser, kUser, [] {
      posix::HeldItem own;
      EXPECT_EQ(posix::holdItem(folder() + "/" + plain::kUnopenable, own), 0);
      EXPECT_EQ(own.openError, EOPNOTSUPP);
    });
  });
}

TEST_F(ItemsThatCannotBeOpened, AreTheEndOfAPathIfTheyAreSockets) {
  play([] {
    const auto place = posix::pinPath(folder() + "/socket", LastLink::Stays);
    ASSERT_TRUE(place);
    EXPECT_TRUE(place->exists());
    EXPECT_FALSE(place->item);
    EXPECT_EQ(place->itemStatus.st_ino, attributesOf(folder() + "/socket").st_ino);
  });
}

TEST_F(ItemsThatCannotBeOpened, EndAWalkIfTheyAreAnythingElse) {
  play([] {
    const auto place = posix::pinPath(folder() + "/" + plain::kUnopenable, LastLink::Stays);
    ASSERT_FALSE(place);
    EXPECT_EQ(place.problem().error, EOPNOTSUPP);
  });
}

TEST_F(ItemsThatCannotBeOpened, LeadNowhere) {
  play([] { EXPECT_FALSE(posix::pinPath(folder() + "/socket/file", LastLink::Stays)); });
}

/// A folder of root's that only root may write to according to its mode. An access list grants others more.
class FolderWithAnAccessList : public ::testing::Test {
 protected:
  void play(const std::function<void()>& body, mode_t mode = 0755) {
    runInPrivateMachine([&] {
      makeFolders(folder() + "/below", 0755);
      makeFolders(folder(), mode);
      body();
    });
  }

  static std::string folder() { return machineFolder() + "/folder"; }
  static UniqueFd opened() { return UniqueFd(::open(folder().c_str(), O_RDONLY | O_CLOEXEC)); }
  static void giveList(const std::string& path = folder()) { plain::giveListThatGrantsWriting(path); }

  /// Who can replace an item of this owner in the folder.
  static Writers writersOfItemOf(uid_t owner) {
    struct stat item {};
    item.st_mode = S_IFREG | S_IRUSR;
    item.st_uid = owner;
    return posix::writersOfEntry(opened().get(), attributesOf(folder()), item);
  }
};

TEST_F(FolderWithAnAccessList, IsOneThatAnybodyCanChange) {
  play([] {
    EXPECT_TRUE(writersOfItemOf(0).none());
    EXPECT_TRUE(posix::onlyRootWrites(opened().get()));
    giveList();
    EXPECT_TRUE(writersOfItemOf(0).anybody);
    EXPECT_FALSE(posix::onlyRootWrites(opened().get()));
  });
}

TEST_F(FolderWithAnAccessList, ProtectsNobodysItemsIfItIsSticky) {
  play(
      [] {
        EXPECT_TRUE(writersOfItemOf(kUser).only(kUser));
        giveList();
        EXPECT_TRUE(writersOfItemOf(kUser).anybody);
      },
      01777);
}

TEST_F(FolderWithAnAccessList, MakesATreeOneThatOthersCanChange) {
  play([] {
    EXPECT_TRUE(posix::onlyRootWritesTree(opened().get()));
    giveList(folder() + "/below");
    EXPECT_FALSE(posix::onlyRootWritesTree(opened().get()));
  });
}

TEST_F(FolderWithAnAccessList, MakesAPathOneThatAnybodyCanRedirect) {
  play([] {
    giveList(folder() + "/below");
    // In a user namespace the system's own folders are not root's.
    ASSERT_EQ(::chroot(machineFolder().c_str()), 0);
    EXPECT_TRUE(posix::writersOfPath("/folder/below").none());
    EXPECT_TRUE(posix::writersOfPath("/folder/below/item").anybody);
    EXPECT_TRUE(posix::writersOfPath("/folder/below/new/item").anybody);
  });
}

TEST_F(FolderWithAnAccessList, IsNotUsedAsATrash) {
  play([] {
    FakePlatform fakes;
    fakes.users.actAsRoot("root");
    posix::HeldTrash trash;
    EXPECT_EQ(posix::openTrashOfPerson(fakes.users, folder(), trash), 0);
    giveList();
    EXPECT_EQ(posix::openTrashOfPerson(fakes.users, folder(), trash), EPERM);
    EXPECT_THAT(trash.refusal, ::testing::HasSubstr("can change the Trash"));
  });
}

}  // namespace
}  // namespace qm::testing
