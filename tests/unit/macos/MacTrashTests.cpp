// SPDX-License-Identifier: MIT
#include "Platform/macos/MacServices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/macos/files/TrashParts.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/unit/macos/FakeTrashCalls.h"
#include "tests/unit/macos/TemporaryFolder.h"

namespace qm::macos {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// The Trash of an ordinary user, with an item "a.txt" in "folder".
class MacTrashTest : public ::testing::Test {
 protected:
  MacTrashTest() {
    madeUp = {};
    disk.addFolder("folder");
    disk.addFolder("Trash");
    disk.addFile("folder/a.txt");
    madeUp.trash = disk.at("Trash");
    madeUp.volume = disk.at("Volume");
  }

  platform::Recycled recycle(const std::string& name) {
    return trash.recycleItems(disk.at("folder"), disk.at("Trash"), {name});
  }

  /// Gives an item in a Trash its note.
  void note(const std::string& item, const std::string& origin) {
    madeUp.notes[numberOf(disk.open(item).get())] = noteText({origin, "2024-02-29T23:05:07"});
  }

  platform::TrashedItem inTrash(const std::string& path) const { return {disk.at(path), disk.at("folder/a.txt"), ""}; }
  platform::Status putBack(const platform::TrashedItem& item,
                           platform::MissingFolders missing = platform::MissingFolders::Fail) {
    return trash.putBack(item, disk.at("Trash"), missing);
  }
  /// From now on the services act as root, which works for the user who runs the test.
  void actAsRoot() { fakes.users.actAsRoot(::getpwuid(::geteuid())->pw_name); }

  qm::testing::TemporaryFolder disk;
  qm::testing::FakePlatform fakes;
  const std::unique_ptr<platform::Trash> made = makeTrash(fakes.users, fakes.clock, fakes.console, "com.example");
  platform::Trash& trash = *made;
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

TEST_F(MacTrashTest, TakesAnItemOnAVolumeWithoutNotes) {
  madeUp.noteError = ENOTSUP;
  const auto recycled = recycle("a.txt");
  EXPECT_TRUE(recycled.status);
  EXPECT_THAT(recycled.paths, ElementsAre(disk.at("Trash/a.txt")));
  EXPECT_THAT(trash.itemsFrom(disk.at("folder/a.txt"), disk.at("Trash")).items, IsEmpty());
}

TEST_F(MacTrashTest, TakesNoNoteBackThatItHasNotWritten) {
  madeUp.noteError = ENOTSUP;
  madeUp.trash.clear();
  madeUp.answer.domain = "NSCocoaErrorDomain";
  madeUp.answer.code = 640;  // no space
  EXPECT_FALSE(recycle("a.txt").status);
  EXPECT_EQ(madeUp.notesRemoved, 0);
}

TEST_F(MacTrashTest, NeverAsksTheFrameworksAboutAPathThatIsNoText) {
  disk.addFile("folder/\xff");
  const auto recycled = recycle("\xff");
  EXPECT_EQ(recycled.status.code(), EILSEQ);
  EXPECT_THAT(madeUp.asked, IsEmpty());
  EXPECT_THAT(madeUp.notes, IsEmpty());
  EXPECT_TRUE(disk.has("folder/\xff"));
}

TEST_F(MacTrashTest, FindsAnItemInTheTrashOfItsVolumeAndPutsItBack) {
  disk.addFolder("Volume/.Trashes/501");
  madeUp.trash = disk.at("Volume/.Trashes/501");
  EXPECT_TRUE(recycle("a.txt").status);
  std::filesystem::remove(disk.at("folder"));
  const auto found = trash.itemsFrom(disk.at("folder/a.txt"), disk.at("Trash"));
  ASSERT_EQ(found.items.size(), 1U);
  EXPECT_EQ(found.items.front().path, disk.at("Volume/.Trashes/501/a.txt"));
  EXPECT_TRUE(putBack(found.items.front(), platform::MissingFolders::AreMade));
  EXPECT_TRUE(disk.has("folder/a.txt"));
}

TEST_F(MacTrashTest, FindsTheVolumeOfAPathByTheFirstFolderThatIsStillThere) {
  disk.addFolder("Volume/.Trashes/501");
  disk.addFile("Volume/.Trashes/501/a.txt");
  const std::string origin = disk.at("folder/gone/too/a.txt");
  note("Volume/.Trashes/501/a.txt", origin);
  EXPECT_EQ(trash.itemsFrom(origin, disk.at("Trash")).items.size(), 1U);
}

TEST_F(MacTrashTest, LooksInItsOwnTrashAloneWhereTheVolumeOfAPathIsUnknown) {
  disk.addFolder("Volume/.Trashes/501");
  disk.addFile("Volume/.Trashes/501/a.txt");
  disk.addFile("Trash/a.txt");
  const std::string origin = disk.at("folder/a.txt/b.txt");  // "a.txt" is no folder
  note("Volume/.Trashes/501/a.txt", origin);
  note("Trash/a.txt", origin);
  const auto found = trash.itemsFrom(origin, disk.at("Trash"));
  ASSERT_EQ(found.items.size(), 1U);
  EXPECT_EQ(found.items.front().path, disk.at("Trash/a.txt"));
}

TEST_F(MacTrashTest, LooksAsRootInNoTrashOfAVolume) {
  actAsRoot();
  disk.addFolder("Volume/.Trashes/0");
  disk.addFile("Volume/.Trashes/0/a.txt");
  note("Volume/.Trashes/0/a.txt", disk.at("folder/a.txt"));
  EXPECT_THAT(trash.itemsFrom(disk.at("folder/a.txt"), disk.at("Trash")).items, IsEmpty());
  std::filesystem::remove(disk.at("folder/a.txt"));
  EXPECT_EQ(putBack(inTrash("Volume/.Trashes/0/a.txt")).code(), EINVAL);
}

TEST_F(MacTrashTest, TakesNoOtherUsersTrashOfTheVolumeForItsOwn) {
  disk.addFolder("Volume/.Trashes/502");
  disk.addFile("Volume/.Trashes/502/a.txt");
  EXPECT_EQ(putBack(inTrash("Volume/.Trashes/502/a.txt")).code(), EINVAL);
}

TEST_F(MacTrashTest, PutsNothingBackButWhatIsDirectlyInTheTrash) {
  disk.addFolder("Trash/folder");
  disk.addFile("Trash/folder/a.txt");
  std::filesystem::remove(disk.at("folder/a.txt"));
  for (const char* const path : {"Trash", "Trash/", "Trash/.", "Trash/..", "Trash/folder/a.txt", "folder/a.txt"}) {
    EXPECT_EQ(putBack(inTrash(path)).code(), EINVAL) << path;
  }
  EXPECT_TRUE(disk.has("Trash/folder/a.txt"));
}

TEST_F(MacTrashTest, PutsNothingBackInThePlaceOfAnotherItem) {
  disk.addFile("Trash/a.txt");
  EXPECT_EQ(putBack(inTrash("Trash/a.txt")).code(), EEXIST);
  EXPECT_TRUE(disk.has("Trash/a.txt"));
}

TEST_F(MacTrashTest, SaysThatATrashCannotBeRead) {
  disk.addFile("file");
  const auto found = trash.itemsFrom(disk.at("folder/a.txt"), disk.at("file"));
  EXPECT_EQ(found.status.code(), ENOTDIR);
  EXPECT_THAT(found.items, IsEmpty());
}

TEST_F(MacTrashTest, WritesOutEachVolumeThatHasChangedOnce) {
  disk.addFile("folder/b.txt");
  EXPECT_TRUE(recycle("a.txt").status);
  EXPECT_TRUE(recycle("b.txt").status);
  trash.makeDurable();
  EXPECT_THAT(madeUp.writtenOut, ElementsAre(disk.at("Volume")));
  trash.makeDurable();
  EXPECT_EQ(madeUp.writtenOut.size(), 1U);
}

TEST_F(MacTrashTest, SaysThatChangesMayNotBeOnTheDisk) {
  EXPECT_TRUE(recycle("a.txt").status);
  madeUp.writeOutError = EIO;
  trash.makeDurable();
  ASSERT_EQ(fakes.console.lines().size(), 1U);
  EXPECT_THAT(fakes.console.lines().front(), HasSubstr("not be on the disk yet: " + disk.at("Volume") + ": "));
}

TEST_F(MacTrashTest, NotesNothingWithoutAProduct) {
  const auto nameless = makeTrash(fakes.users, fakes.clock, fakes.console, "");
  EXPECT_TRUE(nameless->recycleItems(disk.at("folder"), disk.at("Trash"), {"a.txt"}).status);
  EXPECT_THAT(madeUp.notes, IsEmpty());
  EXPECT_THAT(nameless->itemsFrom(disk.at("folder/a.txt"), disk.at("Trash")).items, IsEmpty());
  EXPECT_TRUE(nameless->putBack(inTrash("Trash/a.txt"), disk.at("Trash"), platform::MissingFolders::Fail));
}

TEST_F(MacTrashTest, MovesAFileWithAnotherNameWithItsNote) {
  std::filesystem::create_hard_link(disk.at("folder/a.txt"), disk.at("other"));
  EXPECT_TRUE(recycle("a.txt").status);
  EXPECT_EQ(madeUp.notes.size(), 1U);
}

TEST_F(MacTrashTest, NotesNothingAsRootOnAFileWithAnotherName) {
  actAsRoot();
  std::filesystem::create_hard_link(disk.at("folder/a.txt"), disk.at("other"));
  EXPECT_TRUE(recycle("a.txt").status);
  EXPECT_TRUE(disk.has("Trash/a.txt"));
  EXPECT_THAT(madeUp.notes, IsEmpty());
}

TEST_F(MacTrashTest, NotesAsRootWhereAFolderCameFrom) {
  actAsRoot();
  disk.addFolder("folder/inner/innermost");
  EXPECT_TRUE(recycle("inner").status);
  EXPECT_EQ(madeUp.notes.size(), 1U);
}

TEST_F(MacTrashTest, MovesNothingWhereNobodyIsLoggedIn) {
  EXPECT_EQ(trash.recycleItems(disk.at("folder"), std::nullopt, {"a.txt"}).status.code(), ENOENT);
  EXPECT_TRUE(disk.has("folder/a.txt"));
}

TEST_F(MacTrashTest, MovesAsRootIntoThePersonsTrashWithoutTheFrameworks) {
  actAsRoot();
  disk.addFile("Trash/a.txt");
  const auto recycled = recycle("a.txt");
  EXPECT_TRUE(recycled.status);
  EXPECT_THAT(recycled.paths, ElementsAre(disk.at("Trash/a 2.txt")));
  EXPECT_THAT(madeUp.asked, IsEmpty());
  EXPECT_EQ(trash.itemsFrom(disk.at("folder/a.txt"), disk.at("Trash")).items.size(), 1U);
}

TEST_F(MacTrashTest, NeverPutsItemsAsRootIntoATrashThatOthersCanChange) {
  actAsRoot();
  ::chmod(disk.at("Trash").c_str(), 0770);
  const auto recycled = recycle("a.txt");
  EXPECT_EQ(recycled.status.code(), EPERM);
  EXPECT_THAT(recycled.status.localizedDescription(), HasSubstr("can change the Trash"));
  EXPECT_TRUE(disk.has("folder/a.txt"));
}

TEST_F(MacTrashTest, SaysAsRootThatTheTrashCannotBeUsed) {
  actAsRoot();
  std::filesystem::remove_all(disk.at("Trash"));
  disk.addFile("Trash");
  const auto recycled = recycle("a.txt");
  EXPECT_EQ(recycled.status.code(), ENOTDIR);
  EXPECT_THAT(recycled.status.localizedDescription(), HasSubstr("“" + disk.at("Trash") + "” is not a real folder"));
  EXPECT_TRUE(disk.has("folder/a.txt"));
}

TEST_F(MacTrashTest, SaysAsRootThatAnItemIsMissing) {
  actAsRoot();
  EXPECT_EQ(recycle("missing").status.code(), ENOENT);
}

}  // namespace
}  // namespace qm::macos
