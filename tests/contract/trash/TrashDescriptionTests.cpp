// SPDX-License-Identifier: MIT

// Descriptions in the Trash, whoever has written them.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/linux/trash/TrashInfo.h"
#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/contract/trash/TrashEntries.h"

namespace qm::testing {
namespace {

using namespace std::string_literals;

using linux_::parsedTrashInfo;
using platform::MissingFolders;
using platform::TrashedItem;

std::string pathIn(const std::string& text) {
  const auto description = parsedTrashInfo(text);
  return description ? description->path : "nothing";
}

std::string dateIn(const std::string& text) {
  const auto description = parsedTrashInfo("[Trash Info]\nPath=/a\n" + text);
  return description ? description->deletionDate : "nothing";
}

// A Trash with the item "a" that came from /home/u/a.
void makeTrashWithItem(World& world) {
  world.makeFile("/home/u/a", "a");
  EXPECT_TRUE(world.recycle("/home/u", "a"));
}

void describe(World& world, const std::string& stored, const std::string& text) {
  world.makeFile(kTrash + "/info/" + stored + ".trashinfo", text);
}

void describePath(World& world, const std::string& stored, const std::string& path) {
  describe(world, stored, "[Trash Info]\nPath=" + path + "\nDeletionDate=2024-02-29T23:05:07\n");
}

std::size_t countFrom(World& world, const std::string& origin) { return world.itemsFrom(origin).size(); }

TEST(TrashDescription, IsReadAsItIsWritten) {
  std::string path = "/home/u/%41 [a]=b\n\t";
  for (int byte = 1; byte < 256; ++byte) path += static_cast<char>(byte);
  const auto description = parsedTrashInfo(linux_::trashInfoText(path, "2024-02-29T23:05:07"));
  ASSERT_TRUE(description);
  EXPECT_EQ(description->path, path);
  EXPECT_EQ(description->deletionDate, "2024-02-29T23:05:07");
}

TEST(TrashDescription, IsReadAsOtherProgramsWriteIt) {
  EXPECT_EQ(pathIn("[Trash Info]\nPath = /a b\nDeletionDate=2024-02-29T23:05:07"), "/a b");
  EXPECT_EQ(pathIn("[Trash Info]\n# a remark\n\nDeletionDate=x\nX-Other=1\nPath=/\xc3\xa9\n"), "/\xc3\xa9");
  EXPECT_EQ(pathIn("[Trash Info]\nPath=/first\nPath=/second\n"), "/first");
  EXPECT_EQ(pathIn("[Trash Info]\nPath=/100%\n"), "/100%");
  EXPECT_EQ(pathIn("[Trash Info]\nPath=/%ff%zz\n"), "/\xff%zz");
  EXPECT_EQ(pathIn("[Trash Info]\nPath=/a..b/..c/d..\n"), "/a..b/..c/d..");
}

TEST(TrashDescription, IsNoneWithoutAPathThatKeepsTheRules) {
  for (const char* text :
       {"", "Path=/a\n", "[Other]\nPath=/a\n", "\n[Trash Info]\nPath=/a\n", "[Trash Info]", "[Trash Info]\nPath=\n",
        "[Trash Info]\nDeletionDate=2024-02-29T23:05:07\n", "[Trash Info]\n[Other]\nPath=/a\n",
        "[Trash Info]\nPath=/a/../b\n", "[Trash Info]\nPath=..\n", "[Trash Info]\nPath=../a\n",
        "[Trash Info]\nPath=/a/%2e%2E\n", "[Trash Info]\nPath=/a%00b\n", "[Trash Info]\npath=/a\n"}) {
    EXPECT_EQ(pathIn(text), "nothing") << text;
  }
  EXPECT_EQ(pathIn("[Trash Info]\nPath=/a\nX=\0\n"s), "nothing");
}

TEST(TrashDescription, HasNoDateThatIsNone) {
  EXPECT_EQ(dateIn("DeletionDate=2024-02-29T23:05:07\n"), "2024-02-29T23:05:07");
  EXPECT_EQ(dateIn(""), "");
  for (const char* date :
       {"2024-02-29", "yesterday", "2024-02-29T23:05:07Z", "2024-02-29 23:05:07", "-024-02-29T23:05:07"}) {
    EXPECT_EQ(dateIn(std::string("DeletionDate=") + date), "") << date;
  }
}

TEST(DescribedItems, OfOtherProgramsAreFoundAndComeBack) {
  World::play([](World& world) {
    makeTrashWithItem(world);
    world.makeFile(kTrash + "/files/x.2", "x");
    describe(world, "x.2", "[Trash Info]\nPath=/home/u/x\n");
    const std::vector<TrashedItem> items = world.itemsFrom("/home/u/x");
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].deletionDate, "");
    EXPECT_TRUE(world.putBackNewest("/home/u/x"));
    EXPECT_EQ(world.contentsOf("/home/u/x"), "x");
    EXPECT_EQ(world.kindOf(kTrash + "/info/x.2.trashinfo"), ItemKind::Nothing);
  });
}

TEST(DescribedItems, WithARelativePathInTheHomeTrashCameFromBesideTheTrash) {
  World::play([](World& world) {
    makeTrashWithItem(world);
    world.makeFile(kTrash + "/files/x", "x");
    describePath(world, "x", "folder/x");
    EXPECT_EQ(countFrom(world, "/home/u/.local/share/folder/x"), 1U);
    EXPECT_EQ(countFrom(world, "/folder/x"), 0U);
  });
}

TEST(DescribedItems, WithAnAbsolutePathInAVolumesTrashAreNotBelieved) {
  World::play([](World& world) {
    world.makeVolume("/volumes/stick");
    world.makeFile("/volumes/stick/a", "a");
    EXPECT_TRUE(world.recycle("/volumes/stick", "a"));
    world.makeFile("/volumes/stick/.Trash-501/files/b", "b");
    world.makeFile("/volumes/stick/.Trash-501/info/b.trashinfo", "[Trash Info]\nPath=/volumes/stick/b\n");
    EXPECT_EQ(countFrom(world, "/volumes/stick/a"), 1U);
    EXPECT_EQ(countFrom(world, "/volumes/stick/b"), 0U);
    EXPECT_EQ(countFrom(world, "/volumes/stick/volumes/stick/b"), 0U);
  });
}

TEST(DescribedItems, AreThoseOfNamesOnly) {
  World::play([](World& world) {
    makeTrashWithItem(world);
    for (const char* stored : {"", ".", ".."}) describePath(world, stored, "/home/u/x");
    world.makeFile(kTrash + "/info/x.txt", "[Trash Info]\nPath=/home/u/x\n");
    world.makeFile(kTrash + "/files/x", "x");
    describePath(world, "gone", "/home/u/x");
    EXPECT_EQ(countFrom(world, "/home/u/x"), 0U);
    EXPECT_EQ(countFrom(world, "/home/u/a"), 1U);
  });
}

TEST(DescribedItems, HaveNamesUpToTheLongest) {
  World::play([](World& world) {
    makeTrashWithItem(world);
    const std::string longest(245, 'n');
    world.makeFile(kTrash + "/files/" + longest, "x");
    describePath(world, longest, "/home/u/" + std::string(255, 'o'));
    ASSERT_EQ(countFrom(world, "/home/u/" + std::string(255, 'o')), 1U);
    EXPECT_TRUE(world.putBackNewest("/home/u/" + std::string(255, 'o')));
    EXPECT_EQ(world.contentsOf("/home/u/" + std::string(255, 'o')), "x");
  });
}

TEST(DescribedItems, WithATooLongNameStayInTheTrash) {
  World::play([](World& world) {
    makeTrashWithItem(world);
    const std::string origin = "/home/u/" + std::string(256, 'o');
    describe(world, "b", "[Trash Info]\nPath=" + origin + "\n");
    world.makeFile(kTrash + "/files/b", "b");
    ASSERT_EQ(countFrom(world, origin), 1U);
    expectRefused(world.putBackNewest(origin));
    EXPECT_EQ(world.contentsOf(kTrash + "/files/b"), "b");
  });
}

TEST(DescribedItems, HaveNamesThatAreNoText) {
  World::play([](World& world) {
    const std::string name = "\xff\xfe \n%";
    world.makeFile("/home/u/" + name, "x");
    EXPECT_TRUE(world.recycle("/home/u", name));
    EXPECT_TRUE(world.putBackNewest("/home/u/" + name));
    EXPECT_EQ(world.contentsOf("/home/u/" + name), "x");
  });
}

// None of it blocks, is read without an end, or hides the others.
TEST(DescribedItems, ArePassedOverWhereTheDescriptionIsNoSmallFile) {
  World::play([](World& world) {
    makeTrashWithItem(world);
    const std::string info = kTrash + "/info/";
    for (const char* stored : {"fifo", "link", "folder", "huge", "closed"})
      world.makeFile(kTrash + "/files/" + stored, "x");
    EXPECT_EQ(::mkfifo((info + "fifo.trashinfo").c_str(), 0666), 0);
    world.makeFile("/home/u/text", "[Trash Info]\nPath=/home/u/x\n");
    world.makeLink(info + "link.trashinfo", "/home/u/text");
    world.makeFolder(info + "folder.trashinfo");
    describe(world, "huge", "[Trash Info]\nPath=/home/u/x\n" + std::string(40'000, '#'));
    describePath(world, "closed", "/home/u/x");
    world.setMode(info + "closed.trashinfo", 0);
    EXPECT_EQ(countFrom(world, "/home/u/x"), 0U);
    EXPECT_EQ(countFrom(world, "/home/u/a"), 1U);
    world.actAsRoot("u");
    EXPECT_EQ(countFrom(world, "/home/u/x"), 0U);
    EXPECT_EQ(countFrom(world, "/home/u/a"), 1U);
  });
}

TEST(DescribedItems, OfAnEndlessFileCostNothing) {
  World::play([](World& world) {
    makeTrashWithItem(world);
    world.makeFile(kTrash + "/files/x", "x");
    describePath(world, "x", "/home/u/x");
    EXPECT_EQ(::truncate((kTrash + "/info/x.trashinfo").c_str(), off_t{1} << 40U), 0);
    EXPECT_EQ(countFrom(world, "/home/u/x"), 0U);
  });
}

TEST(DescribedItems, ThatChangedSinceTheyWereFoundStay) {
  World::play([](World& world) {
    makeTrashWithItem(world);
    const TrashedItem item = world.itemsFrom("/home/u/a").at(0);
    for (const char* text : {"[Trash Info]\nPath=/home/u/b\nDeletionDate=2024-02-29T23:05:07\n",
                             "[Trash Info]\nPath=/home/u/a\nDeletionDate=2025-02-28T23:05:07\n", "nothing"}) {
      describe(world, "a", text);
      const platform::Status status = world.putBack(item, World::kTrashLink, MissingFolders::Fail);
      EXPECT_EQ(status.code(), ENOENT);
      EXPECT_EQ(status.localizedDescription(), "“a” couldn’t be put back because it is not in the Trash any more.");
    }
    EXPECT_EQ(world.contentsOf(kTrash + "/files/a"), "a");
  });
}

// Whoever may write in a user's Trash can claim any origin; root looks for items of its own list, and puts none of them
// elsewhere.
TEST(DescribedItems, AreFoundByTheirWholePathOnly) {
  World::play([](World& world) {
    makeTrashWithItem(world);
    world.actAsRoot("u");
    int number = 0;
    for (const char* path : {"/etc//x", "//etc/x", "/etc/x/", "/etc/./x", "/etc/x/.", "etc/x", "/ETC/x", "/etc/x%0a"}) {
      const std::string stored = "x" + std::to_string(++number);
      world.makeFile(kTrash + "/files/" + stored, "x");
      describePath(world, stored, path);
    }
    EXPECT_EQ(countFrom(world, "/etc/x"), 0U);
  });
}

}  // namespace
}  // namespace qm::testing
