// SPDX-License-Identifier: MIT
#include "Platform/macos/files/MacTrash.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <map>
#include <utility>

#include "Platform/macos/files/TrashCalls.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/unit/macos/TemporaryFolder.h"

namespace qm::macos {
namespace {

using Number = std::pair<dev_t, ino_t>;

/// The system's call, and the notes that items bear.
struct MadeUp {
  TrashAnswer answer;
  std::string trash;  // where an item is moved to by the call; "" where it fails
  std::vector<std::string> asked;
  std::map<Number, std::string> notes;
};
MadeUp madeUp;

Number numberOf(int item) {
  struct stat found {};
  EXPECT_EQ(::fstat(item, &found), 0);
  return {found.st_dev, found.st_ino};
}

}  // namespace

TrashAnswer trashItem(const std::string& path) {
  madeUp.asked.push_back(path);
  if (madeUp.trash.empty()) return madeUp.answer;
  const std::string stored = madeUp.trash / std::filesystem::path(path).filename();
  std::filesystem::rename(path, stored);
  TrashAnswer done;
  done.done = true;
  done.path = stored;
  return done;
}

TrashNotes::TrashNotes(std::string_view product) : attribute_(product) {}
int TrashNotes::write(int item, const TrashNote& note) const {
  madeUp.notes[numberOf(item)] = noteText(note);
  return 0;
}
std::optional<TrashNote> TrashNotes::read(int item) const {
  const auto found = madeUp.notes.find(numberOf(item));
  return found == madeUp.notes.end() ? std::nullopt : parsedNote(found->second);
}
void TrashNotes::remove(int item) const { madeUp.notes.erase(numberOf(item)); }

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// An ordinary user's, with an item "a.txt" in "folder" and a Trash.
class MacTrashTest : public ::testing::Test {
 protected:
  MacTrashTest() {
    madeUp = {};
    disk.addFolder("folder");
    disk.addFolder("Trash");
    disk.addFile("folder/a.txt");
    madeUp.trash = disk.at("Trash");
  }

  platform::Recycled recycle(const std::string& name) {
    return trash.recycleItems(disk.at("folder"), disk.at("Trash"), {name});
  }

  qm::testing::TemporaryFolder disk;
  qm::testing::FakePlatform fakes;
  MacTrash trash{fakes.users, fakes.clock, "com.example"};
};

TEST_F(MacTrashTest, TakesAnItemAndFindsItByWhereItCameFrom) {
  const auto recycled = recycle("a.txt");
  EXPECT_TRUE(recycled.status);
  EXPECT_THAT(recycled.paths, ElementsAre(disk.at("Trash/a.txt")));
  const auto found = trash.itemsFrom(disk.at("folder/a.txt"), disk.at("Trash"));
  ASSERT_EQ(found.items.size(), 1U);
  EXPECT_EQ(found.items.front().path, disk.at("Trash/a.txt"));
  EXPECT_EQ(found.items.front().deletionDate, "2024-02-29T23:05:07");
}

TEST_F(MacTrashTest, PutsAnItemBackWithoutItsNote) {
  EXPECT_TRUE(recycle("a.txt").status);
  const auto found = trash.itemsFrom(disk.at("folder/a.txt"), disk.at("Trash"));
  ASSERT_EQ(found.items.size(), 1U);
  EXPECT_TRUE(trash.putBack(found.items.front(), disk.at("Trash"), platform::MissingFolders::Fail));
  EXPECT_TRUE(disk.has("folder/a.txt"));
  EXPECT_THAT(madeUp.notes, IsEmpty());
}

TEST_F(MacTrashTest, LeavesTheNoteForWhoeverMovesTheItemWithAdministratorRights) {
  madeUp.trash.clear();
  madeUp.answer.domain = "NSCocoaErrorDomain";
  madeUp.answer.code = 513;  // no permission
  EXPECT_FALSE(recycle("a.txt").status);
  std::filesystem::rename(disk.at("folder/a.txt"), disk.at("Trash/a.txt"));
  EXPECT_EQ(trash.itemsFrom(disk.at("folder/a.txt"), disk.at("Trash")).items.size(), 1U);
}

TEST_F(MacTrashTest, TakesTheNoteBackWhereTheItemStays) {
  madeUp.trash.clear();
  madeUp.answer.domain = "NSCocoaErrorDomain";
  madeUp.answer.code = 640;  // no space
  EXPECT_EQ(recycle("a.txt").status.code(), ENOSPC);
  EXPECT_THAT(madeUp.notes, IsEmpty());
}

TEST_F(MacTrashTest, NeverAsksTheFrameworksAboutAPathThatIsNoText) {
  disk.addFile("folder/\xff");
  const auto recycled = recycle("\xff");
  EXPECT_EQ(recycled.status.code(), EILSEQ);
  EXPECT_THAT(madeUp.asked, IsEmpty());
  EXPECT_THAT(madeUp.notes, IsEmpty());
  EXPECT_TRUE(disk.has("folder/\xff"));
}

}  // namespace
}  // namespace qm::macos
