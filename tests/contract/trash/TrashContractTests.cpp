// SPDX-License-Identifier: MIT

// The behaviour of every Trash: the same cases on each of them.

#include <gtest/gtest.h>

#include "TrashWorlds.h"
#include "tests/contract/trash/TrashEntries.h"

namespace qm::testing {
namespace {

using Names = std::vector<std::string>;

void makeHomeTrash(TrashWorld& world) {
  for (const auto& folder : {"/home/u/.local", "/home/u/.local/share", TrashWorld::kHomeTrash})
    world.makeFolder(folder);
  world.makeFolder(kFiles);
  world.makeFolder(kInfo);
}

/// Trashes a file of this name in the home and returns its name in the Trash.
std::string storedNameOf(TrashWorld& world, const std::string& name) {
  world.makeFile("/home/u/" + name, "of " + name);
  const platform::Status status = world.recycle("/home/u", name);
  EXPECT_TRUE(status.ok()) << status.localizedDescription();
  EXPECT_EQ(world.kindOf("/home/u/" + name), ItemKind::Nothing);
  std::string stored = expectInHomeTrash(world, "/home/u/" + name);
  EXPECT_EQ(world.contentsOf(kFiles + "/" + stored), "of " + name);
  return stored;
}

template <class World>
class TrashContract : public ::testing::Test {};

TYPED_TEST_SUITE(TrashContract, TrashWorlds, TrashWorldNames);

// The item arrives whole.

TYPED_TEST(TrashContract, MovesAFileWithItsContents) {
  TypeParam::play([](TrashWorld& world) {
    EXPECT_EQ(storedNameOf(world, "notes.txt"), "notes.txt");
    EXPECT_EQ(world.namesIn(kFiles), Names{"notes.txt"});
    EXPECT_EQ(world.namesIn(kInfo), Names{"notes.txt.trashinfo"});
  });
}

TYPED_TEST(TrashContract, MovesAFolderWithAllThatIsInIt) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFolder("/home/u/Stuff");
    world.makeFolder("/home/u/Stuff/inner");
    world.makeFile("/home/u/Stuff/inner/a", "deep");
    EXPECT_TRUE(world.recycle("/home/u", "Stuff"));
    EXPECT_EQ(world.kindOf("/home/u/Stuff"), ItemKind::Nothing);
    EXPECT_EQ(expectInHomeTrash(world, "/home/u/Stuff"), "Stuff");
    EXPECT_EQ(world.contentsOf(kFiles + "/Stuff/inner/a"), "deep");
  });
}

TYPED_TEST(TrashContract, TellsWhereEachItemWentAsFarAsTheyWent) {
  TypeParam::play([](TrashWorld& world) {
    for (const char* name : {"a.txt", "b"}) world.makeFile(std::string("/home/u/") + name, "first");
    EXPECT_TRUE(world.recycle("/home/u", TrashWorld::kTrashLink, {"a.txt", "b"}));
    EXPECT_EQ(world.recycledTo, (Names{kFiles + "/a.txt", kFiles + "/b"}));
    world.makeFile("/home/u/a.txt", "second");
    EXPECT_FALSE(world.recycle("/home/u", TrashWorld::kTrashLink, {"a.txt", "none"}));
    EXPECT_EQ(world.recycledTo, Names{kFiles + "/a 2.txt"});
    EXPECT_FALSE(world.recycle("/home/u", "none"));
    EXPECT_EQ(world.recycledTo, Names{});
  });
}

TYPED_TEST(TrashContract, TellsWhereAnItemOfAnotherVolumeWent) {
  TypeParam::play([](TrashWorld& world) {
    world.makeVolume("/Volumes");
    world.makeFile("/Volumes/a", "a");
    EXPECT_TRUE(world.recycle("/Volumes", "a"));
    EXPECT_EQ(world.recycledTo, Names{"/Volumes/.Trash-501/files/a"});
  });
}

TYPED_TEST(TrashContract, MovesAnEmptyFolder) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFolder("/home/u/Empty.app");
    EXPECT_TRUE(world.recycle("/home/u", "Empty.app"));
    EXPECT_EQ(expectInHomeTrash(world, "/home/u/Empty.app"), "Empty.app");
    EXPECT_EQ(world.kindOf(kFiles + "/Empty.app"), ItemKind::Folder);
  });
}

TYPED_TEST(TrashContract, MovesALinkAndNotItsTarget) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFile("/home/u/target", "stays");
    world.makeLink("/home/u/link", "target");
    EXPECT_TRUE(world.recycle("/home/u", "link"));
    EXPECT_EQ(world.contentsOf("/home/u/target"), "stays");
    EXPECT_EQ(world.kindOf("/home/u/link"), ItemKind::Nothing);
    EXPECT_EQ(expectInHomeTrash(world, "/home/u/link"), "link");
    EXPECT_EQ(world.kindOf(kFiles + "/link"), ItemKind::Link);
    EXPECT_EQ(world.contentsOf(kFiles + "/link"), "target");
  });
}

TYPED_TEST(TrashContract, MovesALinkToAFolderAsTheLink) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFolder("/home/u/folder");
    world.makeFile("/home/u/folder/a", "stays");
    world.makeLink("/home/u/link", "/home/u/folder");
    EXPECT_TRUE(world.recycle("/home/u", "link"));
    EXPECT_EQ(world.contentsOf("/home/u/folder/a"), "stays");
    EXPECT_EQ(world.kindOf(kFiles + "/link"), ItemKind::Link);
    EXPECT_EQ(expectInHomeTrash(world, "/home/u/link"), "link");
  });
}

TYPED_TEST(TrashContract, MovesADanglingLink) {
  TypeParam::play([](TrashWorld& world) {
    world.makeLink("/home/u/dangling", "/nowhere/at/all");
    EXPECT_TRUE(world.recycle("/home/u", "dangling"));
    EXPECT_EQ(world.kindOf("/home/u/dangling"), ItemKind::Nothing);
    EXPECT_EQ(world.contentsOf(kFiles + "/dangling"), "/nowhere/at/all");
    EXPECT_EQ(expectInHomeTrash(world, "/home/u/dangling"), "dangling");
  });
}

TYPED_TEST(TrashContract, MovesAnItemFromOutsideTheHomeOnTheSameVolume) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFolder("/Applications");
    world.makeFile("/Applications/Tessaly.app", "app");
    EXPECT_TRUE(world.recycle("/Applications", "Tessaly.app"));
    EXPECT_EQ(expectInHomeTrash(world, "/Applications/Tessaly.app"), "Tessaly.app");
  });
}

// The description has its origin.

TYPED_TEST(TrashContract, RecordsThePathAndTheLocalDate) {
  TypeParam::play([](TrashWorld& world) {
    storedNameOf(world, "a b.txt");
    EXPECT_EQ(world.contentsOf(kInfo + "/a b.txt.trashinfo"),
              "[Trash Info]\nPath=/home/u/a%20b.txt\nDeletionDate=2024-02-29T23:05:07\n");
  });
}

TYPED_TEST(TrashContract, RestoresNamesOfAnyBytes) {
  TypeParam::play([](TrashWorld& world) {
    const Names names = {
        "two words", "100%",        "50%20off",          "line\nend",  "tab\there",   "#hash?query=1&x;y", "-rf",
        ".hidden",   "Ünïcödé.txt", "\xff\xfe raw \x80", "\"quoted\"", "back\\slash", "[Trash Info]",      "~",
        "a..b",      "...",         "日本語.app"};
    for (const std::string& name : names) EXPECT_EQ(storedNameOf(world, name), name);
    EXPECT_EQ(entriesIn(world, TrashWorld::kHomeTrash).size(), names.size());
  });
}

TYPED_TEST(TrashContract, RestoresFromAFolderWithAnOddName) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFolder("/home/u/odd %41\nfolder");
    world.makeFile("/home/u/odd %41\nfolder/a", "x");
    EXPECT_TRUE(world.recycle("/home/u/odd %41\nfolder", "a"));
    EXPECT_EQ(expectInHomeTrash(world, "/home/u/odd %41\nfolder/a"), "a");
  });
}

TYPED_TEST(TrashContract, RecordsTheRealFolderBehindALink) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFolder("/home/u/real");
    world.makeFile("/home/u/real/a", "x");
    world.makeLink("/home/u/shortcut", "real");
    EXPECT_TRUE(world.recycle("/home/u/shortcut", "a"));
    EXPECT_EQ(world.kindOf("/home/u/real/a"), ItemKind::Nothing);
    EXPECT_EQ(expectInHomeTrash(world, "/home/u/real/a"), "a");
  });
}

TYPED_TEST(TrashContract, RecordsATidyPathHoweverTheFolderIsSpelled) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFolder("/home/u/d");
    for (const std::string folder :
         {"/home//u", "/home/u/", "/home/u/.", "/home/./u", "/home/u/../u", "/home/u/d/.."}) {
      SCOPED_TRACE(folder);
      world.makeFile("/home/u/a", "x");
      EXPECT_TRUE(world.recycle(folder, "a"));
    }
    for (const TrashEntry& entry : entriesIn(world, TrashWorld::kHomeTrash)) EXPECT_EQ(entry.path, "/home/u/a");
    EXPECT_EQ(world.namesIn(kInfo).size(), 6U);
  });
}

// Clashes.

TYPED_TEST(TrashContract, KeepsBothWhenNamesClash) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFolder("/home/u/one");
    world.makeFolder("/home/u/two");
    world.makeFile("/home/u/one/a.txt", "first");
    world.makeFile("/home/u/two/a.txt", "second");
    EXPECT_TRUE(world.recycle("/home/u/one", "a.txt"));
    EXPECT_TRUE(world.recycle("/home/u/two", "a.txt"));
    const std::string first = expectInHomeTrash(world, "/home/u/one/a.txt");
    const std::string second = expectInHomeTrash(world, "/home/u/two/a.txt");
    EXPECT_EQ(world.contentsOf(kFiles + "/" + first), "first");
    EXPECT_EQ(world.contentsOf(kFiles + "/" + second), "second");
  });
}

TYPED_TEST(TrashContract, DoesNotOverwriteAFileWhoseDescriptionIsGone) {
  TypeParam::play([](TrashWorld& world) {
    makeHomeTrash(world);
    world.makeFile(kFiles + "/a.txt", "orphan");
    EXPECT_NE(storedNameOf(world, "a.txt"), "a.txt");
    EXPECT_EQ(world.contentsOf(kFiles + "/a.txt"), "orphan");
    EXPECT_EQ(world.namesIn(kInfo).size(), 1U);
  });
}

TYPED_TEST(TrashContract, DoesNotOverwriteAnEmptyFolderWhoseDescriptionIsGone) {
  TypeParam::play([](TrashWorld& world) {
    makeHomeTrash(world);
    world.makeFolder(kFiles + "/Stuff");
    world.makeFolder("/home/u/Stuff");
    world.makeFile("/home/u/Stuff/a", "x");
    EXPECT_TRUE(world.recycle("/home/u", "Stuff"));
    EXPECT_NE(expectInHomeTrash(world, "/home/u/Stuff"), "Stuff");
    EXPECT_EQ(world.namesIn(kFiles + "/Stuff"), Names{});
  });
}

TYPED_TEST(TrashContract, DoesNotOverwriteADescriptionWhoseFileIsGone) {
  TypeParam::play([](TrashWorld& world) {
    makeHomeTrash(world);
    const std::string text = "[Trash Info]\nPath=/elsewhere\nDeletionDate=2001-01-01T00:00:00\n";
    world.makeFile(kInfo + "/a.txt.trashinfo", text);
    EXPECT_NE(storedNameOf(world, "a.txt"), "a.txt");
    EXPECT_EQ(world.contentsOf(kInfo + "/a.txt.trashinfo"), text);
  });
}

TYPED_TEST(TrashContract, DoesNotMoveAFileIntoAFolderOfItsName) {
  TypeParam::play([](TrashWorld& world) {
    makeHomeTrash(world);
    world.makeFolder(kFiles + "/thing");
    storedNameOf(world, "thing");
    EXPECT_EQ(world.namesIn(kFiles + "/thing"), Names{});
  });
}

TYPED_TEST(TrashContract, DoesNotReplaceADanglingLinkInTheTrash) {
  TypeParam::play([](TrashWorld& world) {
    makeHomeTrash(world);
    world.makeLink(kFiles + "/a", "/nowhere");
    EXPECT_NE(storedNameOf(world, "a"), "a");
    EXPECT_EQ(world.contentsOf(kFiles + "/a"), "/nowhere");
  });
}

TYPED_TEST(TrashContract, DoesNotWriteThroughALinkAmongTheDescriptions) {
  TypeParam::play([](TrashWorld& world) {
    makeHomeTrash(world);
    world.makeLink(kInfo + "/a.trashinfo", "/home/u/written");
    world.makeFile("/home/u/a", "x");
    EXPECT_TRUE(world.recycle("/home/u", "a"));
    EXPECT_EQ(world.kindOf("/home/u/written"), ItemKind::Nothing);
    EXPECT_EQ(world.contentsOf(kInfo + "/a.trashinfo"), "/home/u/written");
    EXPECT_EQ(world.kindOf(kFiles + "/a"), ItemKind::Nothing);
  });
}

TYPED_TEST(TrashContract, SettlesTwoHundredClashesOfOneName) {
  TypeParam::play([](TrashWorld& world) {
    for (int i = 0; i < 200; ++i) {
      const std::string folder = "/home/u/" + std::to_string(i);
      world.makeFolder(folder);
      world.makeFile(folder + "/same.txt", std::to_string(i));
      ASSERT_TRUE(world.recycle(folder, "same.txt"));
    }
    const auto entries = entriesIn(world, TrashWorld::kHomeTrash);
    ASSERT_EQ(entries.size(), 200U);
    for (const TrashEntry& entry : entries) {
      EXPECT_EQ(entry.path, "/home/u/" + world.contentsOf(kFiles + ("/" + entry.stored)) + "/same.txt");
    }
  });
}

// Long names.

TYPED_TEST(TrashContract, TakesNamesUpToTheLongest) {
  TypeParam::play([](TrashWorld& world) {
    for (const std::size_t length : {244U, 245U, 246U, 250U, 255U}) {
      const std::string stored = storedNameOf(world, std::string(length - 4, 'n') + ".txt");
      EXPECT_LE(stored.size(), 245U);
      EXPECT_TRUE(stored.ends_with(".txt")) << stored;
    }
  });
}

TYPED_TEST(TrashContract, SettlesAClashOfLongNames) {
  TypeParam::play([](TrashWorld& world) {
    const std::string name(255, 'x');
    storedNameOf(world, name);
    world.makeFile("/home/u/" + name, "again");
    EXPECT_TRUE(world.recycle("/home/u", name));
    const auto entries = entriesIn(world, TrashWorld::kHomeTrash);
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_NE(entries[0].stored, entries[1].stored);
    EXPECT_EQ(entries[0].path, entries[1].path);
  });
}

// Several items in one call.

TYPED_TEST(TrashContract, MovesAllTheItemsNamed) {
  TypeParam::play([](TrashWorld& world) {
    for (const char* name : {"a", "b", "c", "stays"}) world.makeFile(std::string("/home/u/") + name, name);
    EXPECT_TRUE(world.recycle("/home/u", TrashWorld::kTrashLink, {"a", "b", "c"}));
    EXPECT_EQ(world.namesIn(kFiles), (Names{"a", "b", "c"}));
    EXPECT_EQ(world.contentsOf("/home/u/stays"), "stays");
  });
}

TYPED_TEST(TrashContract, StopsAtTheFirstItemThatFails) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFile("/home/u/a", "a");
    world.makeFile("/home/u/c", "c");
    expectRefused(world.recycle("/home/u", TrashWorld::kTrashLink, {"a", "missing", "c"}));
    expectInHomeTrash(world, "/home/u/a");
    EXPECT_EQ(world.contentsOf("/home/u/c"), "c");
    EXPECT_EQ(world.namesIn(kInfo).size(), 1U);
  });
}

TYPED_TEST(TrashContract, HasNothingToDoWithoutNames) {
  TypeParam::play([](TrashWorld& world) { EXPECT_TRUE(world.recycle("/home/u", TrashWorld::kTrashLink, {})); });
}

// An item that is refused stays where it was.

TYPED_TEST(TrashContract, MovesNothingWithoutATrashFolderToSpeakOf) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFile("/home/u/a", "a");
    expectRefused(world.recycle("/home/u", std::nullopt, {"a"}));
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
    EXPECT_EQ(world.kindOf(TrashWorld::kHomeTrash), ItemKind::Nothing);
  });
}

TYPED_TEST(TrashContract, RefusesAnItemThatIsNotThere) {
  TypeParam::play([](TrashWorld& world) {
    expectRefused(world.recycle("/home/u", "missing"));
    expectNothingIn(world, TrashWorld::kHomeTrash);
  });
}

TYPED_TEST(TrashContract, RefusesNamesThatAreNotOneComponent) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFolder("/home/u/d");
    world.makeFile("/home/u/d/a", "a");
    for (const std::string& name : {std::string(), std::string("."), std::string(".."), std::string("d/a"),
                                    std::string("/home/u/d/a"), std::string("d/"), std::string("d\0x", 3)}) {
      SCOPED_TRACE(name);
      expectRefused(world.recycle("/home/u", name));
    }
    EXPECT_EQ(world.contentsOf("/home/u/d/a"), "a");
    expectNothingIn(world, TrashWorld::kHomeTrash);
  });
}

TYPED_TEST(TrashContract, RefusesAFolderThatIsMissingRelativeOrNone) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFile("/home/u/a", "a");
    world.makeFile("/home/u/file", "f");
    for (const std::string& folder : {std::string(), std::string("home/u"), std::string("."), std::string("/missing"),
                                      std::string("/home/u/file"), std::string("/home/u\0/", 9)}) {
      SCOPED_TRACE(folder);
      expectRefused(world.recycle(folder, "a"));
    }
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
  });
}

TYPED_TEST(TrashContract, RefusesAFolderBehindACircleOfLinks) {
  TypeParam::play([](TrashWorld& world) {
    world.makeLink("/home/u/one", "two");
    world.makeLink("/home/u/two", "one");
    expectRefused(world.recycle("/home/u/one", "a"));
    EXPECT_TRUE(world.recycle("/home/u", "one"));
    expectInHomeTrash(world, "/home/u/one");
  });
}

TYPED_TEST(TrashContract, RefusesWhatIsAlreadyInTheTrash) {
  TypeParam::play([](TrashWorld& world) {
    storedNameOf(world, "a");
    expectRefused(world.recycle(kFiles, "a"));
    expectRefused(world.recycle(kInfo, "a.trashinfo"));
    EXPECT_EQ(world.contentsOf(kFiles + "/a"), "of a");
    expectInHomeTrash(world, "/home/u/a");
  });
}

TYPED_TEST(TrashContract, RefusesWhatIsAlreadyInTheTrashByItsLink) {
  TypeParam::play([](TrashWorld& world) {
    storedNameOf(world, "a");
    expectRefused(world.recycle(TrashWorld::kTrashLink, "a"));
    EXPECT_EQ(world.contentsOf(kFiles + "/a"), "of a");
  });
}

TYPED_TEST(TrashContract, RefusesTheTrashItselfAndWhatHoldsIt) {
  TypeParam::play([](TrashWorld& world) {
    makeHomeTrash(world);
    expectRefused(world.recycle("/home/u/.local/share", "Trash"));
    expectRefused(world.recycle(TrashWorld::kHomeTrash, "files"));
    expectRefused(world.recycle(TrashWorld::kHomeTrash, "info"));
    expectRefused(world.recycle("/home/u", ".local"));
    expectRefused(world.recycle("/home", "u"));
    expectRefused(world.recycle("/home/u", ".Trash"));
    expectNothingIn(world, TrashWorld::kHomeTrash);
  });
}

TYPED_TEST(TrashContract, TakesAnItemWhoseNameOnlyBeginsLikeTheTrash) {
  TypeParam::play([](TrashWorld& world) {
    makeHomeTrash(world);
    world.makeFolder("/home/u/.local/share/Trash2");
    world.makeFile("/home/u/.local/share/Trash2/a", "a");
    EXPECT_TRUE(world.recycle("/home/u/.local/share/Trash2", "a"));
    EXPECT_TRUE(world.recycle("/home/u/.local/share", "Trash2"));
    expectInHomeTrash(world, "/home/u/.local/share/Trash2/a");
    expectInHomeTrash(world, "/home/u/.local/share/Trash2");
  });
}

// ~/.Trash.

TYPED_TEST(TrashContract, MakesTheTrashFolderOfTheHomeALinkToTheTrash) {
  TypeParam::play([](TrashWorld& world) {
    storedNameOf(world, "a");
    EXPECT_EQ(world.kindOf(TrashWorld::kTrashLink), ItemKind::Link);
    EXPECT_EQ(world.contentsOf(TrashWorld::kTrashLink), ".local/share/Trash/files");
    EXPECT_EQ(world.contentsOf(std::string(TrashWorld::kTrashLink) + "/a"), "of a");
  });
}

TYPED_TEST(TrashContract, LeavesAnExistingTrashFolderOfTheHomeAlone) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFolder(TrashWorld::kTrashLink);
    world.makeFile(std::string(TrashWorld::kTrashLink) + "/old", "old");
    storedNameOf(world, "a");
    EXPECT_EQ(world.kindOf(TrashWorld::kTrashLink), ItemKind::Folder);
    EXPECT_EQ(world.namesIn(TrashWorld::kTrashLink), Names{"old"});
  });
}

TYPED_TEST(TrashContract, LeavesAnExistingLinkAtTheTrashFolderOfTheHomeAlone) {
  TypeParam::play([](TrashWorld& world) {
    world.makeLink(TrashWorld::kTrashLink, "/nowhere");
    storedNameOf(world, "a");
    EXPECT_EQ(world.contentsOf(TrashWorld::kTrashLink), "/nowhere");
    EXPECT_EQ(world.kindOf("/nowhere"), ItemKind::Nothing);
  });
}

// Other volumes.

TYPED_TEST(TrashContract, KeepsAnItemOfAnotherVolumeOnThatVolume) {
  TypeParam::play([](TrashWorld& world) {
    world.makeVolume("/Volumes");
    world.makeFolder("/Volumes/a folder");
    world.makeFile("/Volumes/a folder/a b", "x");
    EXPECT_TRUE(world.recycle("/Volumes/a folder", "a b"));
    EXPECT_EQ(expectRestorable(world, "/Volumes/a folder/a b", "/Volumes/.Trash-501", "/Volumes"), "a b");
    EXPECT_EQ(world.contentsOf("/Volumes/.Trash-501/info/a b.trashinfo"),
              "[Trash Info]\nPath=a%20folder/a%20b\nDeletionDate=2024-02-29T23:05:07\n");
    expectNothingIn(world, TrashWorld::kHomeTrash);
  });
}

TYPED_TEST(TrashContract, TakesAnItemAtTheTopOfAVolume) {
  TypeParam::play([](TrashWorld& world) {
    world.makeVolume("/Volumes");
    world.makeFile("/Volumes/a", "x");
    EXPECT_TRUE(world.recycle("/Volumes", "a"));
    EXPECT_EQ(expectRestorable(world, "/Volumes/a", "/Volumes/.Trash-501", "/Volumes"), "a");
  });
}

TYPED_TEST(TrashContract, SettlesAClashInAVolumesTrash) {
  TypeParam::play([](TrashWorld& world) {
    world.makeVolume("/Volumes");
    for (const char* contents : {"first", "second"}) {
      world.makeFile("/Volumes/a.txt", contents);
      EXPECT_TRUE(world.recycle("/Volumes", "a.txt"));
    }
    EXPECT_EQ(entriesIn(world, "/Volumes/.Trash-501", "/Volumes").size(), 2U);
  });
}

TYPED_TEST(TrashContract, RefusesWhatIsAlreadyInAVolumesTrash) {
  TypeParam::play([](TrashWorld& world) {
    world.makeVolume("/Volumes");
    world.makeFile("/Volumes/a", "x");
    EXPECT_TRUE(world.recycle("/Volumes", "a"));
    expectRefused(world.recycle("/Volumes/.Trash-501/files", "a"));
    expectRefused(world.recycle("/Volumes", ".Trash-501"));
    expectRestorable(world, "/Volumes/a", "/Volumes/.Trash-501", "/Volumes");
  });
}

// Root.

TYPED_TEST(TrashContract, GoesToTheConsoleUsersTrashAsRoot) {
  TypeParam::play([](TrashWorld& world) {
    world.actAsRoot("u");
    EXPECT_EQ(storedNameOf(world, "a"), "a");
    EXPECT_EQ(world.kindOf(TrashWorld::kTrashLink), ItemKind::Link);
  });
}

TYPED_TEST(TrashContract, MovesNothingAsRootWithNobodyAtTheConsole) {
  TypeParam::play([](TrashWorld& world) {
    world.makeFile("/home/u/a", "a");
    for (const std::optional<std::string>& nobody :
         {std::optional<std::string>(), std::optional<std::string>("loginwindow")}) {
      world.actAsRoot(nobody);
      expectRefused(world.recycle("/home/u", "a"));
    }
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
    EXPECT_EQ(world.kindOf(TrashWorld::kHomeTrash), ItemKind::Nothing);
  });
}

}  // namespace
}  // namespace qm::testing
