// SPDX-License-Identifier: MIT
#include "Platform/macos/files/RootTrash.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "tests/unit/macos/TemporaryFolder.h"

namespace qm::macos {
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

  int move(const std::string& name, int item) { return moveIntoHeldTrash(folder.get(), name, item, trash, stored); }

  qm::testing::TemporaryFolder disk;
  HeldTrash trash;
  posix::UniqueFd folder;
  std::string stored;
};

TEST_F(RootTrash, GetsAnItemUnderItsOwnName) {
  const auto item = disk.open("folder/a.txt");
  EXPECT_EQ(move("a.txt", item.get()), 0);
  EXPECT_EQ(stored, disk.at("Trash/a.txt"));
  EXPECT_TRUE(disk.has("Trash/a.txt"));
  EXPECT_FALSE(disk.has("folder/a.txt"));
}

TEST_F(RootTrash, OverwritesNothing) {
  disk.addFile("Trash/a.txt");
  disk.addFolder("Trash/a 2.txt");
  const auto item = disk.open("folder/a.txt");
  EXPECT_EQ(move("a.txt", item.get()), 0);
  EXPECT_EQ(stored, disk.at("Trash/a 3.txt"));
  EXPECT_TRUE(std::filesystem::is_directory(disk.at("Trash/a 2.txt")));
}

TEST_F(RootTrash, GivesBackWhatWasPutInThePlaceOfTheItem) {
  const auto item = disk.open("folder/a.txt");
  std::filesystem::rename(disk.at("folder/a.txt"), disk.at("elsewhere"));
  disk.addFile("folder/a.txt");
  EXPECT_EQ(move("a.txt", item.get()), ESTALE);
  EXPECT_TRUE(disk.has("folder/a.txt"));
  EXPECT_FALSE(disk.has("Trash/a.txt"));
}

TEST_F(RootTrash, FollowsTheItemsFolderWhereverItsPathLeads) {
  const auto item = disk.open("folder/a.txt");
  std::filesystem::rename(disk.at("folder"), disk.at("moved"));
  disk.addFolder("folder");
  disk.addFile("folder/a.txt");
  EXPECT_EQ(move("a.txt", item.get()), 0);
  EXPECT_TRUE(disk.has("folder/a.txt"));
  EXPECT_FALSE(disk.has("moved/a.txt"));
}

}  // namespace
}  // namespace qm::macos
