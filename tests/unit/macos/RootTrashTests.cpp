// SPDX-License-Identifier: MIT
#include "Platform/posix/rights/RootTrash.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>

#include "tests/fakes/FakePlatform.h"
#include "tests/unit/macos/TemporaryFolder.h"

namespace qm::posix {
namespace {

/// A Trash and a folder with an item, on one volume.
class RootTrash : public ::testing::Test {
 protected:
  RootTrash() {
    disk.addFolder("Trash");
    disk.addFolder("folder");
    disk.addFile("folder/a.txt");
    trash.folder = disk.open("Trash");
    trash.path = disk.at("Trash");
    folder = disk.open("folder");
  }

  int move(const std::string& name, const posix::UniqueFd& item) {
    struct stat status {};
    EXPECT_EQ(::fstat(item.get(), &status), 0);
    return move(name, status);
  }
  int move(const std::string& name, const struct stat& item) {
    return moveIntoHeldTrash({posix::duplicate(folder), name}, item, trash, stored);
  }

  qm::testing::TemporaryFolder disk;
  HeldTrash trash;
  posix::UniqueFd folder;
  std::string stored;
};

TEST_F(RootTrash, GetsAnItemUnderItsOwnName) {
  const auto item = disk.open("folder/a.txt");
  EXPECT_EQ(move("a.txt", item), 0);
  EXPECT_EQ(stored, disk.at("Trash/a.txt"));
  EXPECT_TRUE(disk.has("Trash/a.txt"));
  EXPECT_FALSE(disk.has("folder/a.txt"));
}

TEST_F(RootTrash, OverwritesNothing) {
  disk.addFile("Trash/a.txt");
  disk.addFolder("Trash/a 2.txt");
  const auto item = disk.open("folder/a.txt");
  EXPECT_EQ(move("a.txt", item), 0);
  EXPECT_EQ(stored, disk.at("Trash/a 3.txt"));
  EXPECT_TRUE(std::filesystem::is_directory(disk.at("Trash/a 2.txt")));
}

TEST_F(RootTrash, GivesBackWhatWasPutInThePlaceOfTheItem) {
  const auto item = disk.open("folder/a.txt");
  std::filesystem::rename(disk.at("folder/a.txt"), disk.at("elsewhere"));
  disk.addFile("folder/a.txt");
  EXPECT_EQ(move("a.txt", item), ESTALE);
  EXPECT_TRUE(disk.has("folder/a.txt"));
  EXPECT_FALSE(disk.has("Trash/a.txt"));
}

TEST_F(RootTrash, FollowsTheItemsFolderWhereverItsPathLeads) {
  const auto item = disk.open("folder/a.txt");
  std::filesystem::rename(disk.at("folder"), disk.at("moved"));
  disk.addFolder("folder");
  disk.addFile("folder/a.txt");
  EXPECT_EQ(move("a.txt", item), 0);
  EXPECT_TRUE(disk.has("folder/a.txt"));
  EXPECT_FALSE(disk.has("moved/a.txt"));
}

TEST_F(RootTrash, GetsASocketThatNobodyCanOpen) {
  EXPECT_EQ(::mknod(disk.at("folder/socket").c_str(), S_IFSOCK | S_IRUSR, 0), 0);
  struct stat socket {};
  EXPECT_EQ(::lstat(disk.at("folder/socket").c_str(), &socket), 0);
  EXPECT_EQ(move("socket", socket), 0);
  EXPECT_TRUE(disk.has("Trash/socket"));
}

/// The Trash of the user who runs the test, as root opens it.
class TrashOfPerson : public RootTrash {
 protected:
  TrashOfPerson() { fakes.users.actAsRoot(::getpwuid(::geteuid())->pw_name); }
  int open() { return openTrashOfPerson(fakes.users, disk.at("Trash"), trash); }

  qm::testing::FakePlatform fakes;
};

TEST_F(TrashOfPerson, IsUsedWhereItIsThePersonsAlone) { EXPECT_EQ(open(), 0); }

TEST_F(TrashOfPerson, IsNotUsedWhereAGroupCanChangeIt) {
  ::chmod(disk.at("Trash").c_str(), 0720);
  EXPECT_EQ(open(), EPERM);
  EXPECT_THAT(trash.refusal, ::testing::HasSubstr("can change the Trash"));
}

TEST_F(TrashOfPerson, IsNotUsedWhereALinkIsInItsPlace) {
  std::filesystem::remove(disk.at("Trash"));
  std::filesystem::create_directory_symlink(disk.at("folder"), disk.at("Trash"));
  EXPECT_THAT(open(), ::testing::AnyOf(ELOOP, ENOTDIR));
}

TEST_F(TrashOfPerson, IsNobodysWhereNobodyIsThere) {
  fakes.users.actAsRoot(std::nullopt);
  EXPECT_EQ(open(), ENOENT);
}

}  // namespace
}  // namespace qm::posix
