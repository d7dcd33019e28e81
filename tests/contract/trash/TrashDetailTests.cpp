// SPDX-License-Identifier: MIT

// Single items that root takes for the user at the console, names that are none, and what is flushed afterwards.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/contract/trash/TrashEntries.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using namespace std::string_literals;

using Names = std::vector<std::string>;

const std::string kRoots = "/Roots";

void playWithRootsFolder(const std::function<void(World&)>& body) {
  World::play([&](World& world) {
    world.actAsRoot("u");
    world.makeRootsFolder(kRoots);
    body(world);
  });
}

void makeFileOfRoot(World& world, const std::string& path, mode_t mode = 0644) {
  world.makeFile(path, "root's");
  world.giveTo(0, path);
  world.setMode(path, mode);
}

TEST(TrashDetails, NamesLeadNowhereElse) {
  World::play([](World& world) {
    world.makeFolder("/home/u/folder");
    world.makeFile("/home/u/folder/b", "b");
    world.makeFile("/home/u/a", "a");
    for (const std::string& name : {""s, "."s, ".."s, "folder/b"s, "/home/u/a"s, "a\0b"s}) {
      const platform::Status status = world.recycle("/home/u", name);
      EXPECT_EQ(status.code(), EINVAL);
      EXPECT_NE(status.localizedDescription().find("that is not the name of an item"), std::string::npos);
    }
    for (const std::string name : {"...", "..a", "a."}) {
      world.makeFile("/home/u/" + name, "");
      EXPECT_TRUE(world.recycle("/home/u", name));
      expectInHomeTrash(world, "/home/u/" + name);
    }
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
  });
}

TEST(TrashDetails, ItemsOfTheTopFolderAreDescribedWithOneSlash) {
  World::play([](World& world) {
    world.actAsRoot("u");
    makeFileOfRoot(world, "/a");
    EXPECT_TRUE(world.recycle("/", "a"));
    expectInHomeTrash(world, "/a");
  });
}

TEST(TrashDetails, LinksOfRootsAreTakenAndNotWhatTheyLeadTo) {
  playWithRootsFolder([](World& world) {
    makeFileOfRoot(world, "/etc/tool", 04755);
    for (const auto& [name, target] : {std::pair<std::string, std::string>{"link", "/etc/tool"}, {"lost", "/lost"}}) {
      world.makeLink(kRoots + "/" + name, target);
      world.giveTo(0, kRoots + "/" + name);
      EXPECT_TRUE(world.recycle(kRoots, name));
      EXPECT_EQ(world.contentsOf(kTrash + "/files/" + name), target);
    }
    EXPECT_EQ(world.modeOf("/etc/tool"), 04755U);
  });
}

TEST(TrashDetails, UsersRightsAreTakenAgainAfterRootsWereUsed) {
  playWithRootsFolder([](World& world) {
    makeFileOfRoot(world, kRoots + "/a");
    world.makeFile(kRoots + "/b", "b");
    world.setMode(kRoots, 0700);
    EXPECT_TRUE(world.recycle(kRoots, World::kTrashLink, {"a", "b"}));
    EXPECT_EQ(world.recycledTo, (Names{kTrash + "/files/a", kTrash + "/files/b"}));
    for (const char* name : {"/info/a.trashinfo", "/info/b.trashinfo"}) {
      EXPECT_EQ(world.ownerOf(kTrash + name), World::kUser) << name;
    }
  });
}

TEST(TrashDetails, AnItemGetsTheFirstFreeName) {
  World::play([](World& world) {
    Names expected{kTrash + "/files/a"};
    for (const char* name : {"/a 2", "/a 4"}) {
      world.makeFile("/home/u/a", "a");
      EXPECT_TRUE(world.recycle("/home/u", "a"));
      EXPECT_EQ(world.recycledTo, expected);
      world.makeFile(kTrash + "/files/a 3", "another program's");
      expected = {kTrash + "/files" + name};
    }
    world.makeFile("/home/u/a", "a");
    EXPECT_TRUE(world.recycle("/home/u", "a"));
    EXPECT_EQ(world.recycledTo, expected);
  });
}

TEST(TrashDetails, RootsItemGetsTheFirstFreeName) {
  playWithRootsFolder([](World& world) {
    world.makeFile("/home/u/a", "a");
    EXPECT_TRUE(world.recycle("/home/u", "a"));
    makeFileOfRoot(world, kRoots + "/a");
    EXPECT_TRUE(world.recycle(kRoots, "a"));
    EXPECT_EQ(world.recycledTo, Names{kTrash + "/files/a 2"});
    EXPECT_EQ(world.contentsOf(kTrash + "/files/a 2"), "root's");
  });
}

TEST(TrashDetails, NothingIsToldOfWhereAUsersLinkLeadsThatTheUserCouldNotSee) {
  World::play([](World& world) {
    world.makeFolder("/home/u/closed");
    world.makeFile("/home/u/closed/item", "item");
    world.makeLink("/home/u/link", "/home/u/closed");
    world.actAsRoot("u");
    world.setMode("/home/u/closed", 0);
    for (const char* name : {"item", "missing"}) {
      EXPECT_EQ(world.recycle("/home/u/link", name).code(), EACCES) << name;
    }
    world.setMode("/home/u/closed", 0700);
    EXPECT_EQ(world.contentsOf("/home/u/closed/item"), "item");
  });
}

TEST(TrashDetails, RootsItemStaysWhereSomethingPreventsItsMove) {
  playWithRootsFolder([](World& world) {
    makeFileOfRoot(world, kRoots + "/a", 04755);
    ASSERT_EQ(::link((kRoots + "/a").c_str(), (kRoots + "/b").c_str()), 0);
    const platform::Status status = world.recycle(kRoots, "a");
    EXPECT_EQ(status.code(), EMLINK);
    EXPECT_NE(status.localizedDescription().find("other names, under which it would be changed"), std::string::npos)
        << status.localizedDescription();
    EXPECT_EQ(world.namesIn(kRoots), (Names{"a", "b"}));
    expectNothingIn(world, kTrash);
  });
}

TEST(TrashDetails, RootsItemStaysWhereItsMoveFails) {
  playWithRootsFolder([](World& world) {
    makeFileOfRoot(world, kRoots + "/a");
    makeFileOfRoot(world, kRoots + "/b");
    EXPECT_TRUE(world.recycle(kRoots, "b"));
    inChild([&] {
      failSystemCall(SYS_mkdirat, EIO);
      const platform::Status status = world.recycle(kRoots, "a");
      EXPECT_EQ(status.code(), EIO);
      EXPECT_EQ(world.recycledTo, Names{});
    });
    EXPECT_EQ(world.contentsOf(kRoots + "/a"), "root's");
    EXPECT_EQ(world.namesIn(kTrash + "/info"), Names{"b.trashinfo"});
  });
}

// Root's rights do not help in a folder that is full or read-only.
TEST(TrashDetails, OnlyARefusalIsAReasonForRootsRights) {
  playWithRootsFolder([](World& world) {
    world.makeFile("/home/u/a", "a");
    EXPECT_TRUE(world.recycle("/home/u", "a"));
    world.makeFile("/home/u/b", "b");
    inChild([&] {
      failSystemCallOnce(SYS_renameat2, 1, EIO);
      EXPECT_EQ(world.recycle("/home/u", "b").code(), EIO);
    });
    EXPECT_EQ(world.contentsOf("/home/u/b"), "b");
    for (const int refusal : {EACCES, EPERM}) {
      inChild([&] {
        failSystemCallOnce(SYS_renameat2, 1, refusal);
        world.makeFile("/home/u/c", "c");
        EXPECT_TRUE(world.recycle("/home/u", "c")) << refusal;
      });
    }
  });
}

TEST(TrashDetails, RootsItemStaysWhereItCannotBeOpened) {
  playWithRootsFolder([](World& world) {
    makeFileOfRoot(world, kRoots + "/a");
    inChild([&] {
      watchSystemCalls({SYS_openat}, [](const SystemCall& call) { return call.text(1) == "a" ? EMFILE : 0; });
      EXPECT_EQ(world.recycle(kRoots, "a").code(), EMFILE);
    });
    EXPECT_EQ(world.contentsOf(kRoots + "/a"), "root's");
  });
}

// Another program may take each name just before it is used.
TEST(TrashDetails, NamesAreTriedSixtyFourTimes) {
  World::play([](World& world) {
    world.makeFile("/home/u/a", "a");
    world.makeFile("/home/u/b", "b");
    EXPECT_TRUE(world.recycle("/home/u", "b"));
    inChild([&] {
      std::atomic<int> tried{0};
      watchSystemCalls({SYS_openat}, [&](const SystemCall& call) {
        const std::string name = call.text(1);
        if (!name.ends_with(".trashinfo")) return 0;
        ++tried;
        World::makePlainFile(kTrash + "/info/" + name, "another's");
        return 0;
      });
      EXPECT_EQ(world.recycle("/home/u", "a").code(), EEXIST);
      EXPECT_EQ(tried, 64);
    });
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
    EXPECT_EQ(world.namesIn(kTrash + "/files"), Names{"b"});
    EXPECT_EQ(world.namesIn(kTrash + "/info").size(), 65U);
  });
}

// An orphaned item, or an orphaned description, also makes a name taken.
TEST(TrashDetails, NamesAreFoundBehindAnyNumberOfTakenOnes) {
  for (const auto& [folder, suffix] : {std::pair<std::string, std::string>{"/files/", ""}, {"/info/", ".trashinfo"}}) {
    World::play([&, folder = folder, suffix = suffix](World& world) {
      world.makeFile("/home/u/b", "b");
      EXPECT_TRUE(world.recycle("/home/u", "b"));
      world.makeFile(kTrash + folder + "a" + suffix, "");
      for (int number = 2; number <= 100; ++number) {
        world.makeFile(kTrash + folder + "a " + std::to_string(number) + suffix, "");
      }
      world.makeFile("/home/u/a", "a");
      EXPECT_TRUE(world.recycle("/home/u", "a"));
      EXPECT_EQ(world.recycledTo, Names{kTrash + "/files/a 101"});
    });
  }
}

// MARK: - Flushing

void makeTrashDurable(World& world) {
  world.withUsersRights([&] { world.trash().makeDurable(); });
}

// Whether anything is flushed after the Trash's folder of descriptions was changed like this.
bool isFlushedAfter(World& world, const std::function<void()>& change) {
  world.makeFile("/home/u/a", "a");
  EXPECT_TRUE(world.recycle("/home/u", "a"));
  change();
  std::atomic<bool> seen{false};
  ::alarm(20);  // opening a pipe can wait for ever
  watchSystemCalls({SYS_syncfs, SYS_sync}, [&](const SystemCall&) {
    seen = true;
    return 0;
  });
  makeTrashDurable(world);
  return seen;
}

TEST(TrashDetails, NothingIsFlushedInPlaceOfATrashThatIsNotThereAnyMore) {
  const std::string info = kTrash + "/info";
  const std::vector<std::function<void(World&)>> changes = {
      [](World&) {},
      [](World& world) { world.makeFolder(kTrash + "/info"); },
      [](World& world) { world.makeLink(kTrash + "/info", "info.old"); },
      [](World&) { EXPECT_EQ(::mkfifo((kTrash + "/info").c_str(), 0644), 0); },
      [](World& world) { world.makeFile(kTrash + "/info", ""); },
  };
  for (const auto& change : changes) {
    World::play([&](World& world) {
      EXPECT_FALSE(isFlushedAfter(world, [&] {
        world.rename(info, info + ".old");
        change(world);
      }));
    });
  }
  World::play([](World& world) { EXPECT_TRUE(isFlushedAfter(world, [] {})); });
}

}  // namespace
}  // namespace qm::testing
