// SPDX-License-Identifier: MIT

// The home trash's own folders: how they are created, who must own them, and what happens when they change.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <thread>

#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/contract/trash/TrashEntries.h"

namespace qm::testing {
namespace {

using Names = std::vector<std::string>;

void makeTrash(World& world) {
  for (const std::string folder : {"/home/u/.local", "/home/u/.local/share", World::kHomeTrash})
    world.makeFolder(folder);
  world.makeFolder(kTrash + "/files");
  world.makeFolder(kTrash + "/info");
}

platform::Status trashFile(World& world, const std::string& name) {
  world.makeFile("/home/u/" + name, name);
  return world.recycle("/home/u", name);
}

void expectStays(World& world, const std::string& name, const platform::Status& status, int code) {
  expectRefused(status);
  EXPECT_EQ(status.code(), code) << status.localizedDescription();
  EXPECT_EQ(world.contentsOf("/home/u/" + name), name);
}

void expectPrivate(World& world, const std::string& path, mode_t mode) {
  EXPECT_EQ(world.modeOf(path), mode) << path;
  EXPECT_EQ(world.ownerOf(path), World::kUser) << path;
}

TEST(TrashFolders, AreMadeForTheUserAloneWhateverTheMask) {
  World::play([](World& world) {
    ::umask(0);
    EXPECT_TRUE(trashFile(world, "a"));
    for (const char* folder : {"/home/u/.local", "/home/u/.local/share", World::kHomeTrash}) {
      expectPrivate(world, folder, 0700);
    }
    expectPrivate(world, kTrash + "/files", 0700);
    expectPrivate(world, kTrash + "/info", 0700);
    expectPrivate(world, kTrash + "/info/a.trashinfo", 0600);
  });
}

TEST(TrashFolders, AreMadeUnderTheProcessesWorkingFolderNever) {
  World::play([](World& world) {
    world.makeFolder("/home/u/here");
    std::filesystem::current_path("/home/u/here");
    EXPECT_TRUE(trashFile(world, "a"));
    EXPECT_EQ(world.namesIn("/home/u/here"), Names{});
    expectInHomeTrash(world, "/home/u/a");
  });
}

TEST(TrashFolders, AreTakenAsTheyAreWhenTheirModesAreLoose) {
  World::play([](World& world) {
    makeTrash(world);
    world.setMode(kTrash, 0777);
    world.setMode(kTrash + "/files", 0777);
    EXPECT_TRUE(trashFile(world, "a"));
    expectInHomeTrash(world, "/home/u/a");
    EXPECT_EQ(world.modeOf(kTrash), 0777U);
    EXPECT_EQ(world.modeOf(kTrash + "/files"), 0777U);
  });
}

TEST(TrashFolders, NeedNotBeReadable) {
  World::play([](World& world) {
    makeTrash(world);
    for (const char* folder : {"/files", "/info", ""}) world.setMode(kTrash + folder, 0300);
    EXPECT_TRUE(trashFile(world, "a"));
    for (const char* folder : {"", "/files", "/info"}) world.setMode(kTrash + folder, 0700);
    expectInHomeTrash(world, "/home/u/a");
  });
}

TEST(TrashFolders, AreCompletedWhenOneIsMissing) {
  World::play([](World& world) {
    makeTrash(world);
    world.removeTree(kTrash + "/info");
    EXPECT_TRUE(trashFile(world, "a"));
    expectInHomeTrash(world, "/home/u/a");
  });
}

TEST(TrashFolders, AreRefusedWhenOneIsALink) {
  World::play([](World& world) {
    makeTrash(world);
    world.makeFolder("/home/u/elsewhere");
    world.makeFile("/home/u/a", "a");
    for (const std::string& folder : {kTrash + "/files", kTrash + "/info", kTrash}) {
      SCOPED_TRACE(folder);
      world.removeTree(folder);
      world.makeLink(folder, "/home/u/elsewhere");
      expectStays(world, "a", world.recycle("/home/u", "a"), ENOTDIR);
      world.removeFile(folder);
    }
    EXPECT_EQ(world.namesIn("/home/u/elsewhere"), Names{});
  });
}

TEST(TrashFolders, AreRefusedWhenOneIsSomebodyElses) {
  World::play([](World& world) {
    makeTrash(world);
    world.makeFile("/home/u/a", "a");
    for (const std::string& folder : {kTrash, kTrash + "/files", kTrash + "/info"}) {
      SCOPED_TRACE(folder);
      world.giveTo(World::kStranger, folder);
      world.setMode(folder, 0777);
      expectStays(world, "a", world.recycle("/home/u", "a"), EPERM);
      world.giveTo(World::kUser, folder);
    }
    expectNothingIn(world, kTrash);
  });
}

TEST(TrashFolders, AreRefusedWhenAFileIsInTheirPlace) {
  World::play([](World& world) {
    world.makeFile("/home/u/.local", "a file");
    expectStays(world, "a", trashFile(world, "a"), ENOTDIR);
    EXPECT_EQ(world.contentsOf("/home/u/.local"), "a file");
  });
}

TEST(TrashFolders, MayLieBehindTheUsersOwnLinkToHisDataFolder) {
  World::play([](World& world) {
    world.makeFolder("/home/u/data");
    world.makeFolder("/home/u/.local");
    world.makeLink("/home/u/.local/share", "../data");
    EXPECT_TRUE(trashFile(world, "a"));
    expectRestorable(world, "/home/u/a", "/home/u/data/Trash");
    expectRefused(world.recycle("/home/u", "data"));
  });
}

TEST(TrashFolders, FailClearlyInAHomeThatMayNotBeWrittenTo) {
  World::play([](World& world) {
    world.makeFolder("/home/u/mine");
    world.makeFile("/home/u/mine/a", "a");
    world.giveTo(0, "/home/u");
    const platform::Status status = world.recycle("/home/u/mine", "a");
    EXPECT_EQ(status.code(), EACCES);
    EXPECT_EQ(status.localizedDescription(),
              "“a” couldn’t be moved to the Trash because you don’t have permission to use the Trash folder "
              "“/home/u/.local”.");
    EXPECT_EQ(world.contentsOf("/home/u/mine/a"), "a");
  });
}

TEST(TrashFolders, FailClearlyWithoutAHome) {
  World::play([](World& world) {
    world.users().setHomeDirectory("/home/gone");
    world.makeFile("/home/u/a", "a");
    const platform::Status status = world.recycle("/home/u", "/home/gone/.Trash", {"a"});
    expectRefused(status);
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
    EXPECT_EQ(world.kindOf("/home/gone"), ItemKind::Nothing);
  });
}

TEST(TrashFolders, DoNotNeedTheHomesTrashLink) {
  World::play([](World& world) {
    makeTrash(world);
    world.makeFolder("/home/u/mine");
    world.makeFile("/home/u/mine/a", "a");
    world.giveTo(0, "/home/u");
    EXPECT_TRUE(world.recycle("/home/u/mine", "a"));
    expectInHomeTrash(world, "/home/u/mine/a");
    EXPECT_EQ(world.kindOf(World::kTrashLink), ItemKind::Nothing);
  });
}

// XDG_DATA_HOME.

TEST(TrashFolders, LieWhereTheEnvironmentSays) {
  World::play([](World& world) {
    world.makeFolder("/data");
    world.useDataHome("/data/of/u");
    EXPECT_TRUE(trashFile(world, "a"));
    expectRestorable(world, "/home/u/a", "/data/of/u/Trash");
    expectPrivate(world, "/data/of", 0700);
    EXPECT_EQ(world.contentsOf(World::kTrashLink), "/data/of/u/Trash/files");
    EXPECT_EQ(world.kindOf("/home/u/.local"), ItemKind::Nothing);
  });
}

TEST(TrashFolders, LieInTheHomeWhenTheEnvironmentsWordIsNotAbsolute) {
  World::play([](World& world) {
    for (const std::string word : {"", "data", "./data", "~/.data"}) {
      world.useDataHome(word);
      EXPECT_TRUE(trashFile(world, "a" + std::to_string(word.size())));
      expectInHomeTrash(world, "/home/u/a" + std::to_string(word.size()));
    }
  });
}

// Changes between two calls.

TEST(TrashFolders, AreMadeAnewWhenTheTrashWasRemovedMeanwhile) {
  World::play([](World& world) {
    EXPECT_TRUE(trashFile(world, "a"));
    world.removeTree(kTrash);
    EXPECT_TRUE(trashFile(world, "b"));
    expectInHomeTrash(world, "/home/u/b");
    EXPECT_EQ(world.namesIn(kTrash + "/files"), Names{"b"});
  });
}

TEST(TrashFolders, AreMadeAnewWhenTheTrashWasMovedAwayMeanwhile) {
  World::play([](World& world) {
    EXPECT_TRUE(trashFile(world, "a"));
    world.rename(kTrash, kTrash + ".old");
    EXPECT_TRUE(trashFile(world, "b"));
    expectInHomeTrash(world, "/home/u/b");
    EXPECT_EQ(world.namesIn(kTrash + ".old/files"), Names{"a"});
  });
}

TEST(TrashFolders, AreMadeAnewWhenOnlyOneWasMovedAwayMeanwhile) {
  World::play([](World& world) {
    EXPECT_TRUE(trashFile(world, "a"));
    world.rename(kTrash + "/files", kTrash + "/files.old");
    EXPECT_TRUE(trashFile(world, "b"));
    EXPECT_EQ(world.namesIn(kTrash + "/files"), Names{"b"});
    EXPECT_EQ(world.namesIn(kTrash + "/files.old"), Names{"a"});
    world.rename(kTrash + "/info", kTrash + "/info.old");
    EXPECT_TRUE(trashFile(world, "c"));
    EXPECT_EQ(world.namesIn(kTrash + "/info"), Names{"c.trashinfo"});
    EXPECT_EQ(world.namesIn(kTrash + "/info.old").size(), 2U);
  });
}

TEST(TrashFolders, AreRefusedWhenALinkTookTheirPlaceMeanwhile) {
  World::play([](World& world) {
    EXPECT_TRUE(trashFile(world, "a"));
    world.rename(kTrash, "/home/u/elsewhere");
    world.makeLink(kTrash, "/home/u/elsewhere");
    expectStays(world, "b", trashFile(world, "b"), ENOTDIR);
    EXPECT_EQ(world.namesIn("/home/u/elsewhere/files"), Names{"a"});
  });
}

TEST(TrashFolders, GetTheirLinkInTheHomeBackWhenItWasRemoved) {
  World::play([](World& world) {
    EXPECT_TRUE(trashFile(world, "a"));
    world.removeFile(World::kTrashLink);
    world.clock().advance(std::chrono::seconds(1));
    EXPECT_TRUE(trashFile(world, "b"));
    EXPECT_EQ(world.kindOf(World::kTrashLink), ItemKind::Link);
  });
}

// Space, descriptors and threads.

TEST(TrashFolders, KeepNoHalfEntryOnAFullVolume) {
  World::play([](World& world) {
    world.mountVolume("/home", "size=256k,mode=0755");
    world.makeFolder("/home/u");
    makeTrash(world);
    world.makeFile("/home/u/a", "a");
    world.makeLink(World::kTrashLink, "there");
    std::error_code ignored;
    for (int i = 0; std::filesystem::space("/home", ignored).available > 0; ++i) {
      const std::string filler = "/home/u/filler" + std::to_string(i);
      world.makeFile(filler, std::string(4096, 'x'));
    }
    const platform::Status status = world.recycle("/home/u", "a");
    expectStays(world, "a", status, ENOSPC);
    EXPECT_EQ(status.localizedDescription(),
              "“a” couldn’t be moved to the Trash because there is no space left on its volume.");
    expectNothingIn(world, kTrash);
  });
}

TEST(TrashFolders, StayOpenOnceHoweverOftenTheyAreUsed) {
  World::play([](World& world) {
    EXPECT_TRUE(trashFile(world, "first"));
    const std::size_t open = world.namesIn("/proc/self/fd").size();
    for (int i = 0; i < 20; ++i) {
      EXPECT_TRUE(trashFile(world, "a"));
      expectRefused(world.recycle("/home/u", "missing"));
      expectRefused(world.recycle("/missing", "a"));
    }
    EXPECT_EQ(world.namesIn("/proc/self/fd").size(), open);
  });
}

TEST(TrashFolders, TakeItemsOfOneNameFromManyThreadsAtOnce) {
  World::play([](World& world) {
    constexpr int threads = 4;
    constexpr int each = 40;
    for (int i = 0; i < threads * each; ++i) {
      world.makeFolder("/home/u/" + std::to_string(i));
      world.makeFile("/home/u/" + std::to_string(i) + "/same", std::to_string(i));
    }
    const auto work = [&](int thread) {
      for (int i = 0; i < each; ++i) {
        const std::string folder = "/home/u/" + std::to_string(thread * each + i);
        EXPECT_TRUE(world.trash().recycle(folder, World::kTrashLink, {"same"}));
      }
    };
    world.withUsersRights([&] {
      std::vector<std::jthread> running;
      running.reserve(threads);
      for (int thread = 0; thread < threads; ++thread) running.emplace_back(work, thread);
    });
    const auto entries = entriesIn(world, kTrash);
    EXPECT_EQ(entries.size(), static_cast<std::size_t>(threads * each));
    for (const TrashEntry& entry : entries) {
      EXPECT_EQ(entry.path, "/home/u/" + world.contentsOf(kTrash + "/files/" + entry.stored) + "/same");
    }
  });
}

}  // namespace
}  // namespace qm::testing
