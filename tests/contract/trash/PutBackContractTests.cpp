// SPDX-License-Identifier: MIT

// Putting items back from the Trash: the same cases on each of them.

#include <gtest/gtest.h>

#include <cerrno>

#include "TrashWorlds.h"
#include "tests/contract/trash/TrashEntries.h"

namespace qm::testing {
namespace {

using platform::MissingFolders;
using platform::TrashedItem;
using Names = std::vector<std::string>;

void trashFile(TrashWorld& world, const std::string& name, const std::string& contents) {
  world.makeFile("/home/u/" + name, contents);
  EXPECT_TRUE(world.recycle("/home/u", name));
}

template <class World>
class PutBackContract : public ::testing::Test {};

TYPED_TEST_SUITE(PutBackContract, TrashWorlds, TrashWorldNames);

// What is there.

TYPED_TEST(PutBackContract, ItemIsFoundByWhereItCameFrom) {
  TypeParam::play([](TrashWorld& world) {
    trashFile(world, "100% é.txt", "a");
    trashFile(world, "other.txt", "b");
    const std::vector<TrashedItem> items = world.itemsFrom("/home/u/100% é.txt");
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].path, kFiles + "/100% é.txt");
    EXPECT_EQ(items[0].origin, "/home/u/100% é.txt");
    EXPECT_EQ(items[0].deletionDate, "2024-02-29T23:05:07");
  });
}

TYPED_TEST(PutBackContract, ItemsFromOnePlaceComeNewestFirst) {
  TypeParam::play([](TrashWorld& world) {
    for (const char* contents : {"first", "second"}) trashFile(world, "a.txt", contents);
    world.waitAMinute();
    trashFile(world, "a.txt", "third");
    Names contents;
    for (const TrashedItem& item : world.itemsFrom("/home/u/a.txt")) contents.push_back(world.contentsOf(item.path));
    EXPECT_EQ(contents, (Names{"third", "second", "first"}));
  });
}

TYPED_TEST(PutBackContract, NothingIsFoundWhereNoTrashIs) {
  TypeParam::play([](TrashWorld& world) {
    EXPECT_TRUE(world.itemsFrom("/home/u/a").empty());
    EXPECT_TRUE(world.itemsFrom("/nowhere/at/all").empty());
    EXPECT_EQ(world.namesIn("/home/u"), Names{}) << "looking makes nothing";
  });
}

TYPED_TEST(PutBackContract, ItemIsFoundWhenItsFolderIsGone) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFolder("/home/u/Folder");
    world.makeFile("/home/u/Folder/a", "a");
    EXPECT_TRUE(world.recycle("/home/u/Folder", "a"));
    EXPECT_TRUE(world.recycle("/home/u", "Folder"));
    EXPECT_EQ(world.itemsFrom("/home/u/Folder/a").size(), 1U);
  });
}

TYPED_TEST(PutBackContract, ItemIsFoundThroughALinkToItsFolder) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFolder("/home/u/Folder");
    world.makeLink("/home/u/link", "Folder");
    world.makeFile("/home/u/Folder/a", "a");
    EXPECT_TRUE(world.recycle("/home/u/link", "a"));
    const std::vector<TrashedItem> items = world.itemsFrom("/home/u/link/a");
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].origin, "/home/u/Folder/a");
  });
}

TYPED_TEST(PutBackContract, ItemOfAnotherVolumeIsFoundInItsTrash) {
  TypeParam::play([](TrashWorld& world) {
    world.makeVolume("/volumes/stick");
    world.makeFile("/volumes/stick/a", "a");
    EXPECT_TRUE(world.recycle("/volumes/stick", "a"));
    const std::vector<TrashedItem> items = world.itemsFrom("/volumes/stick/a");
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].path, "/volumes/stick/.Trash-501/files/a");
    EXPECT_EQ(items[0].origin, "/volumes/stick/a");
    EXPECT_TRUE(world.putBackNewest("/volumes/stick/a"));
    EXPECT_EQ(world.contentsOf("/volumes/stick/a"), "a");
    expectNothingIn(world, "/volumes/stick/.Trash-501");
  });
}

TYPED_TEST(PutBackContract, WhatIsDeletedFromTheTrashIsNotFound) {
  TypeParam::play([](TrashWorld& world) {
    trashFile(world, "a", "a");
    const std::vector<TrashedItem> items = world.itemsFrom("/home/u/a");
    ASSERT_EQ(items.size(), 1U);
    world.removeFile(kFiles + "/a");
    EXPECT_TRUE(world.itemsFrom("/home/u/a").empty());
    expectRefused(world.putBack(items[0], TrashWorld::kTrashLink, MissingFolders::Fail));
    EXPECT_EQ(world.kindOf("/home/u/a"), ItemKind::Nothing);
  });
}

TYPED_TEST(PutBackContract, NobodysTrashHoldsNothing) {
  TypeParam::play([](TrashWorld& world) {
    trashFile(world, "a", "a");
    const TrashedItem item = world.itemsFrom("/home/u/a").at(0);
    const platform::TrashedItems found = world.itemsFrom("/home/u/a", std::nullopt);
    EXPECT_FALSE(found.status);
    EXPECT_TRUE(found.items.empty());
    expectRefused(world.putBack(item, std::nullopt, MissingFolders::Fail));
    world.actAsRoot(std::nullopt);
    EXPECT_FALSE(world.itemsFrom("/home/u/a", TrashWorld::kTrashLink).status);
    expectRefused(world.putBack(item, TrashWorld::kTrashLink, MissingFolders::Fail));
    EXPECT_EQ(world.contentsOf(kFiles + "/a"), "a");
  });
}

TYPED_TEST(PutBackContract, WhatNamesNoItemIsNotLookedFor) {
  TypeParam::play([](TrashWorld& world) {
    for (const char* path : {"", "/", "relative", "/home/u/..", "/home/u/."}) {
      EXPECT_FALSE(world.itemsFrom(path, TrashWorld::kTrashLink).status) << path;
    }
  });
}

// Putting back.

TYPED_TEST(PutBackContract, ItemComesBackWithAllThatIsInItAndLeavesNoDescription) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFolder("/home/u/Stuff");
    world.makeFolder("/home/u/Stuff/inner");
    world.makeFile("/home/u/Stuff/inner/a", "deep");
    EXPECT_TRUE(world.recycle("/home/u", "Stuff"));
    EXPECT_TRUE(world.putBackNewest("/home/u/Stuff"));
    EXPECT_EQ(world.contentsOf("/home/u/Stuff/inner/a"), "deep");
    expectNothingIn(world, TrashWorld::kHomeTrash);
  });
}

TYPED_TEST(PutBackContract, ItemWithAnotherNameInTheTrashComesBackUnderItsOwn) {
  TypeParam::play([](TrashWorld& world) {
    for (const char* contents : {"first", "second"}) trashFile(world, "a.txt", contents);
    EXPECT_TRUE(world.putBackNewest("/home/u/a.txt"));
    EXPECT_EQ(world.contentsOf("/home/u/a.txt"), "second");
    EXPECT_EQ(world.namesIn(kFiles), Names{"a.txt"});
    EXPECT_EQ(expectInHomeTrash(world, "/home/u/a.txt"), "a.txt");
  });
}

TYPED_TEST(PutBackContract, LinkComesBackAsTheLink) {
  TypeParam::play([](TrashWorld& world) {
    world.makeLink("/home/u/link", "/nowhere/at/all");
    EXPECT_TRUE(world.recycle("/home/u", "link"));
    EXPECT_TRUE(world.putBackNewest("/home/u/link"));
    EXPECT_EQ(world.contentsOf("/home/u/link"), "/nowhere/at/all");
  });
}

TYPED_TEST(PutBackContract, NothingThatIsThereNowIsReplaced) {
  TypeParam::play([](TrashWorld& world) {
    for (const char* name : {"file", "folder", "link"}) trashFile(world, name, "old");
    world.makeFile("/home/u/file", "new");
    world.makeFolder("/home/u/folder");
    world.makeLink("/home/u/link", "/nowhere/at/all");
    for (const std::string name : {"file", "folder", "link"}) {
      const platform::Status status = world.putBackNewest("/home/u/" + name);
      expectRefused(status);
      EXPECT_EQ(status.code(), EEXIST) << name;
      EXPECT_EQ(world.contentsOf(kFiles + "/" + name), "old");
      expectInHomeTrash(world, "/home/u/" + name);
    }
    EXPECT_EQ(world.contentsOf("/home/u/file"), "new");
    EXPECT_EQ(world.namesIn("/home/u/folder"), Names{});
    EXPECT_EQ(world.contentsOf("/home/u/link"), "/nowhere/at/all");
  });
}

void trashFromAFolderThatGoes(TrashWorld& world) {
  for (const char* folder : {"/home/u/Maker", "/home/u/Maker/Product"}) world.makeFolder(folder);
  world.makeFile("/home/u/Maker/Product/a", "a");
  EXPECT_TRUE(world.recycle("/home/u/Maker/Product", "a"));
  EXPECT_TRUE(world.recycle("/home/u", "Maker"));
}

TYPED_TEST(PutBackContract, MissingFoldersAreAReasonToLeaveItInTheTrash) {
  TypeParam::play([](TrashWorld& world) {
    trashFromAFolderThatGoes(world);
    const platform::Status status = world.putBackNewest("/home/u/Maker/Product/a");
    expectRefused(status);
    EXPECT_EQ(status.code(), ENOENT);
    EXPECT_EQ(world.kindOf("/home/u/Maker"), ItemKind::Nothing);
    EXPECT_EQ(world.contentsOf(kFiles + "/a"), "a");
    expectInHomeTrash(world, "/home/u/Maker/Product/a");
  });
}

TYPED_TEST(PutBackContract, MissingFoldersAreMadeForThoseWhoWantThem) {
  TypeParam::play([](TrashWorld& world) {
    trashFromAFolderThatGoes(world);
    EXPECT_TRUE(world.putBackNewest("/home/u/Maker/Product/a", MissingFolders::AreMade));
    EXPECT_EQ(world.contentsOf("/home/u/Maker/Product/a"), "a");
    EXPECT_EQ(world.namesIn(kFiles), Names{"Maker"});
  });
}

TYPED_TEST(PutBackContract, FileInTheWayOfItsFolderIsAReason) {
  TypeParam::play([](TrashWorld& world) {
    trashFromAFolderThatGoes(world);
    world.makeFile("/home/u/Maker", "now a file");
    expectRefused(world.putBackNewest("/home/u/Maker/Product/a", MissingFolders::AreMade));
    EXPECT_EQ(world.contentsOf("/home/u/Maker"), "now a file");
    expectInHomeTrash(world, "/home/u/Maker/Product/a");
  });
}

TYPED_TEST(PutBackContract, ItemComesBackOnlyOnce) {
  TypeParam::play([](TrashWorld& world) {
    trashFile(world, "a", "a");
    const TrashedItem item = world.itemsFrom("/home/u/a").at(0);
    EXPECT_TRUE(world.putBack(item, TrashWorld::kTrashLink, MissingFolders::Fail));
    expectRefused(world.putBack(item, TrashWorld::kTrashLink, MissingFolders::Fail));
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
  });
}

TYPED_TEST(PutBackContract, AnotherItemThatGotItsNameInTheTrashStays) {
  TypeParam::play([](TrashWorld& world) {
    trashFile(world, "a", "old");
    const TrashedItem item = world.itemsFrom("/home/u/a").at(0);
    EXPECT_TRUE(world.putBack(item, TrashWorld::kTrashLink, MissingFolders::Fail));
    world.waitAMinute();
    EXPECT_TRUE(world.recycle("/home/u", "a"));
    expectRefused(world.putBack(item, TrashWorld::kTrashLink, MissingFolders::Fail));
    EXPECT_EQ(world.contentsOf(kFiles + "/a"), "old");
  });
}

TYPED_TEST(PutBackContract, NothingComesFromElsewhereThanTheTrash) {
  TypeParam::play([](TrashWorld& world) {
    trashFile(world, "a", "a");
    world.makeFolder("/home/u/elsewhere");
    world.makeFile("/home/u/elsewhere/a", "another");
    TrashedItem item = world.itemsFrom("/home/u/a").at(0);
    for (const char* path : {"/home/u/elsewhere/a", "a", "", "/home/u/.local/share/Trash/info/a.trashinfo"}) {
      item.path = path;
      expectRefused(world.putBack(item, TrashWorld::kTrashLink, MissingFolders::Fail));
    }
    EXPECT_EQ(world.kindOf("/home/u/a"), ItemKind::Nothing);
    EXPECT_EQ(world.contentsOf("/home/u/elsewhere/a"), "another");
  });
}

TYPED_TEST(PutBackContract, RootPutsBackForThePersonAtTheConsole) {
  TypeParam::play([](TrashWorld& world) {
    world.actAsRoot("u");
    trashFile(world, "a", "a");
    EXPECT_TRUE(world.putBackNewest("/home/u/a"));
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
    expectNothingIn(world, TrashWorld::kHomeTrash);
  });
}

}  // namespace
}  // namespace qm::testing
