// SPDX-License-Identifier: MIT

// As root for the user at the console: what root may do for that user, and what the user's links may not make it do.

#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/contract/trash/TrashEntries.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using Names = std::vector<std::string>;

void playAsRoot(const std::function<void(World&)>& body) {
  World::play([&](World& world) {
    world.actAsRoot("u");
    body(world);
  });
}

void makeRootsFile(World& world, const std::string& path) {
  world.makeFile(path, "root's");
  world.giveTo(0, path);
  world.setMode(path, 0600);
}

void expectRootsFileStays(World& world, const std::string& path, const platform::Status& status) {
  expectRefused(status);
  EXPECT_EQ(world.contentsOf(path), "root's");
  expectNothingIn(world, kTrash);
}

TEST(TrashAsRoot, MakesEverythingTheConsoleUsersOwn) {
  playAsRoot([](World& world) {
    world.makeFile("/home/u/a", "a");
    EXPECT_TRUE(world.recycle("/home/u", "a"));
    expectInHomeTrash(world, "/home/u/a");
    for (const std::string path : {"/home/u/.local", "/home/u/.local/share", World::kHomeTrash, World::kTrashLink}) {
      EXPECT_EQ(world.ownerOf(path), World::kUser) << path;
    }
    EXPECT_EQ(world.ownerOf(kTrash + "/files"), World::kUser);
    EXPECT_EQ(world.ownerOf(kTrash + "/info"), World::kUser);
    EXPECT_EQ(world.ownerOf(kTrash + "/info/a.trashinfo"), World::kUser);
    EXPECT_EQ(world.modeOf(kTrash + "/info/a.trashinfo"), 0600U);
    EXPECT_EQ(world.modeOf(kTrash), 0700U);
    EXPECT_EQ(world.kindOf("/root/.local"), ItemKind::Nothing);
  });
}

TEST(TrashAsRoot, TakesWhatOnlyRootMayTakeAndHandsItOver) {
  playAsRoot([](World& world) {
    world.makeRootsFolder("/Applications");
    world.makeRootsFolder("/Applications/Tessaly.app");
    makeRootsFile(world, "/Applications/Tessaly.app/binary");
    makeRootsFile(world, "/Applications/Tessaly.app/launcher");
    world.setMode("/Applications/Tessaly.app/launcher", 04755);
    EXPECT_TRUE(world.recycle("/Applications", "Tessaly.app"));
    expectInHomeTrash(world, "/Applications/Tessaly.app");
    EXPECT_EQ(world.recycledTo, std::vector<std::string>{kTrash + "/files/Tessaly.app"});
    EXPECT_EQ(world.ownerOf(kTrash + "/files/Tessaly.app"), World::kUser) << "the person can empty the Trash";
    EXPECT_EQ(world.ownerOf(kTrash + "/files/Tessaly.app/binary"), 0U);
    EXPECT_EQ(world.modeOf(kTrash + "/files/Tessaly.app/launcher"), 0755U) << "it lends nobody's rights";
    EXPECT_EQ(world.modeOf(kTrash + "/files/Tessaly.app"), 0755U);
    EXPECT_EQ(world.ownerOf(kTrash + "/info/Tessaly.app.trashinfo"), World::kUser);
  });
}

TEST(TrashAsRoot, TakesFromAFolderThatTheUserMayNotEnter) {
  playAsRoot([](World& world) {
    world.makeRootsFolder("/private");
    makeRootsFile(world, "/private/a");
    world.setMode("/private", 0700);
    EXPECT_TRUE(world.recycle("/private", "a"));
    expectInHomeTrash(world, "/private/a");
  });
}

TEST(TrashAsRoot, FollowsLinksThatOnlyRootCanMake) {
  playAsRoot([](World& world) {
    world.makeRootsFolder("/Applications");
    makeRootsFile(world, "/Applications/a");
    world.makeLink("/Programs", "Applications");
    world.giveTo(0, "/Programs");
    EXPECT_TRUE(world.recycle("/Programs", "a"));
    expectInHomeTrash(world, "/Applications/a");
  });
}

TEST(TrashAsRoot, DoesNotFollowTheUsersLinkToWhatIsRoots) {
  playAsRoot([](World& world) {
    world.makeRootsFolder("/etc/secrets");
    makeRootsFile(world, "/etc/secrets/a");
    world.makeLink("/home/u/Library", "/etc");
    expectRootsFileStays(world, "/etc/secrets/a", world.recycle("/home/u/Library/secrets", "a"));
  });
}

TEST(TrashAsRoot, DoesNotFollowARootsLinkInAFolderOfTheUsers) {
  playAsRoot([](World& world) {
    makeRootsFile(world, "/etc/a");
    world.makeLink("/home/u/link", "/etc");
    world.giveTo(0, "/home/u/link");
    expectRootsFileStays(world, "/etc/a", world.recycle("/home/u/link", "a"));
  });
}

TEST(TrashAsRoot, DoesNotFollowARootsLinkWhereAGroupOrEverybodyMayWrite) {
  playAsRoot([](World& world) {
    makeRootsFile(world, "/etc/a");
    world.makeRootsFolder("/shared");
    world.makeLink("/shared/link", "/etc");
    world.giveTo(0, "/shared/link");
    for (const mode_t mode : {0775U, 0757U, 0777U}) {
      SCOPED_TRACE(mode);
      world.setMode("/shared", mode);
      expectRootsFileStays(world, "/etc/a", world.recycle("/shared/link", "a"));
    }
    world.setMode("/shared", 0755);
    EXPECT_TRUE(world.recycle("/shared/link", "a"));
    expectInHomeTrash(world, "/etc/a");
  });
}

TEST(TrashAsRoot, EndsInARingOfRootsLinks) {
  playAsRoot([](World& world) {
    world.makeLink("/one", "/two");
    world.makeLink("/two", "/one");
    for (const std::string link : {"/one", "/two"}) world.giveTo(0, link);
    const platform::Status status = world.recycle("/one", "a");
    expectRefused(status);
    EXPECT_EQ(status.localizedDescription(),
              "“a” couldn’t be moved to the Trash because the links to its folder lead in a circle.");
  });
}

// Longer than what is asked for at first, and than twice as much.
TEST(TrashAsRoot, HasAllGroupsOfAUserWithHundredsOfThem) {
  playAsRoot([](World& world) {
    constexpr gid_t first = 1001;
    constexpr gid_t last = 1300;
    std::string groups = world.contentsOf("/etc/group");
    for (gid_t group = first; group <= last; ++group) {
      groups += "g" + std::to_string(group) + ":x:" + std::to_string(group) + ":u\n";
    }
    World::makePlainFile("/etc/group", groups);
    for (const gid_t group : {first, last}) {
      const std::string folder = "/of-" + std::to_string(group);
      world.makeFolder(folder);
      world.makeFile(folder + "/a", "a");
      ASSERT_EQ(::chown(folder.c_str(), World::kStranger, group), 0);
      world.setMode(folder, 0770);
      world.makeLink(World::kHome + folder, folder);  // only the user's own rights lead through it
      EXPECT_TRUE(world.recycle(World::kHome + folder, "a")) << group;
      expectInHomeTrash(world, folder + "/a");
    }
  });
}

TEST(TrashAsRoot, DoesNotFollowAStrangersLinkInAFolderForEverybody) {
  playAsRoot([](World& world) {
    makeRootsFile(world, "/etc/a");
    world.makeLink("/tmp/link", "/etc");
    world.giveTo(World::kStranger, "/tmp/link");
    expectRootsFileStays(world, "/etc/a", world.recycle("/tmp/link", "a"));
  });
}

TEST(TrashAsRoot, DoesNotFollowTheUsersLinkBehindRootsLink) {
  playAsRoot([](World& world) {
    makeRootsFile(world, "/etc/a");
    world.makeLink("/home/u/link", "/etc");
    world.makeLink("/entry", "/home/u/link");
    world.giveTo(0, "/entry");
    expectRootsFileStays(world, "/etc/a", world.recycle("/entry", "a"));
  });
}

TEST(TrashAsRoot, FollowsTheUsersLinkToWhatIsHisOwn) {
  playAsRoot([](World& world) {
    world.makeFolder("/home/u/Caches");
    world.makeFile("/home/u/Caches/a", "a");
    world.makeLink("/home/u/Library", "Caches");
    EXPECT_TRUE(world.recycle("/home/u/Library", "a"));
    expectInHomeTrash(world, "/home/u/Caches/a");
  });
}

TEST(TrashAsRoot, FollowsLinksTheSameWayOnAnOldKernel) {
  playAsRoot([](World& world) {
    world.makeRootsFolder("/Applications");
    makeRootsFile(world, "/Applications/a");
    makeRootsFile(world, "/Applications/b");
    world.makeLink("/Programs", "./../Applications/.");
    world.giveTo(0, "/Programs");
    world.makeLink("/home/u/link", "/Applications");
    failSystemCall(SYS_openat2, ENOSYS);
    EXPECT_TRUE(world.recycle("/Programs/", "a"));
    expectInHomeTrash(world, "/Applications/a");
    expectRefused(world.recycle("/home/u/link", "b"));
    expectRefused(world.recycle("/Applications/missing", "b"));
    expectRefused(world.recycle("/etc/passwd", "b"));
    EXPECT_EQ(world.contentsOf("/Applications/b"), "root's");
  });
}

TEST(TrashAsRoot, DoesNotFollowLinksOnTheWayToTheHomeTrash) {
  playAsRoot([](World& world) {
    world.makeFolder("/home/u/elsewhere");
    world.makeFile("/home/u/a", "a");
    world.makeLink("/home/u/.local", "/etc");
    expectRefused(world.recycle("/home/u", "a"));
    world.removeFile("/home/u/.local");
    world.makeFolder("/home/u/.local");
    world.makeLink("/home/u/.local/share", "/home/u/elsewhere");
    expectRefused(world.recycle("/home/u", "a"));
    world.removeFile("/home/u/.local/share");
    world.makeFolder("/home/u/.local/share");
    world.makeLink(kTrash, "/home/u/elsewhere");
    expectRefused(world.recycle("/home/u", "a"));
    EXPECT_EQ(world.namesIn("/home/u/elsewhere"), Names{});
    EXPECT_EQ(world.kindOf("/etc/share"), ItemKind::Nothing);
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
  });
}

TEST(TrashAsRoot, RefusesATrashOfSomebodyElse) {
  playAsRoot([](World& world) {
    world.makeFolder("/home/u/.local");
    world.makeFolder("/home/u/.local/share");
    world.makeRootsFolder(kTrash);
    world.makeFile("/home/u/a", "a");
    const platform::Status status = world.recycle("/home/u", "a");
    EXPECT_EQ(status.code(), EPERM);
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
    EXPECT_EQ(world.namesIn(kTrash), Names{});
  });
}

TEST(TrashAsRoot, PaysNoHeedToItsOwnEnvironment) {
  playAsRoot([](World& world) {
    world.useDataHome("/root/data");
    world.makeFile("/home/u/a", "a");
    EXPECT_TRUE(world.recycle("/home/u", "a"));
    expectInHomeTrash(world, "/home/u/a");
    EXPECT_EQ(world.kindOf("/root/data"), ItemKind::Nothing);
  });
}

TEST(TrashAsRoot, MakesTheUsersTrashOnAVolumeThatIsRootsAlone) {
  playAsRoot([](World& world) {
    world.makeVolume("/home/u");
    world.makeRootsFolder("/Applications");
    makeRootsFile(world, "/Applications/a");
    EXPECT_TRUE(world.recycle("/Applications", "a"));
    expectRestorable(world, "/Applications/a", "/.Trash-501", "/");
    EXPECT_EQ(world.ownerOf("/.Trash-501"), World::kUser);
    EXPECT_EQ(world.modeOf("/.Trash-501"), 0700U);
    EXPECT_EQ(world.ownerOf("/.Trash-501/files"), World::kUser);
  });
}

TEST(TrashAsRoot, RecordsAPathRelativeToTheTopOfItsVolume) {
  playAsRoot([](World& world) {
    world.makeVolume(kStick);
    world.makeRootsFolder(kStick + "/folder");
    makeRootsFile(world, kStick + "/folder/a");
    EXPECT_TRUE(world.recycle(kStick + "/folder", "a"));
    expectRestorable(world, kStick + "/folder/a", kStick + "/.Trash-501", kStick);
  });
}

TEST(TrashAsRoot, MakesNoTrashOnAStrangersVolume) {
  playAsRoot([](World& world) {
    world.mountVolume("/volumes/stick", "mode=0755,uid=502");
    makeRootsFile(world, "/volumes/stick/a");
    expectRefused(world.recycle("/volumes/stick", "a"));
    EXPECT_EQ(world.namesIn("/volumes/stick"), Names{"a"});
  });
}

TEST(TrashAsRoot, RefusesAForeignOrLinkedTrashOnAVolume) {
  playAsRoot([](World& world) {
    world.makeVolume("/volumes/stick");
    makeRootsFile(world, "/volumes/stick/a");
    world.makeLink("/volumes/stick/.Trash-501", "/etc");
    expectRefused(world.recycle("/volumes/stick", "a"));
    world.removeFile("/volumes/stick/.Trash-501");
    world.makeRootsFolder("/volumes/stick/.Trash-501");
    expectRefused(world.recycle("/volumes/stick", "a"));
    EXPECT_EQ(world.namesIn("/volumes/stick"), (Names{".Trash-501", "a"}));
    EXPECT_EQ(world.kindOf("/etc/files"), ItemKind::Nothing);
  });
}

TEST(TrashAsRoot, UsesRootsOwnTrashWhenRootIsAtTheConsole) {
  World::play([](World& world) {
    world.actAsRoot("root");
    world.makeFile("/home/u/a", "a");
    EXPECT_TRUE(world.recycle("/home/u", "/root/.Trash", {"a"}));
    expectRestorable(world, "/home/u/a", "/root/.local/share/Trash");
  });
}

TEST(TrashAsRoot, FollowsLinksOfRootsAndNobodyElsesToItsOwnTrash) {
  World::play([](World& world) {
    world.actAsRoot("root");
    world.makeFolder("/home/u/folder");
    world.makeFile("/home/u/folder/theirs", "theirs");
    world.makeLink("/home/u/link", "/home/u/folder");
    const platform::Status refused = world.recycle("/home/u/link", "theirs");
    expectRefused(refused);
    EXPECT_EQ(refused.localizedDescription(),
              "“theirs” couldn’t be moved to the Trash because a link that is not root’s leads to its folder.");
    EXPECT_EQ(world.contentsOf("/home/u/folder/theirs"), "theirs");
    world.makeRootsFolder("/folder");
    makeRootsFile(world, "/folder/a");
    world.makeLink("/entry", "folder");
    world.giveTo(0, "/entry");
    EXPECT_TRUE(world.recycle("/entry", "a"));
    EXPECT_EQ(world.kindOf("/folder/a"), ItemKind::Nothing);
  });
}

TEST(TrashAsRoot, MovesNothingForAnAccountThatTheSystemDoesNotKnow) {
  World::play([](World& world) {
    world.actAsRoot("nosuchperson");
    world.makeFile("/home/u/a", "a");
    expectRefused(world.recycle("/home/u", "a"));
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
  });
}

TEST(TrashAsRoot, MovesNothingForAnAccountWithoutAHome) {
  World::play([](World& world) {
    world.actAsRoot("homeless");
    world.makeFile("/home/u/a", "a");
    expectRefused(world.recycle("/home/u", "/home/homeless/.Trash", {"a"}));
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
    EXPECT_EQ(world.kindOf("/home/homeless"), ItemKind::Nothing);
  });
}

TEST(TrashAsRoot, GoesWithThePersonAtTheConsole) {
  playAsRoot([](World& world) {
    world.makeFolder("/home/stranger");
    world.giveTo(World::kStranger, "/home/stranger");
    world.makeFile("/home/u/a", "a");
    world.makeFile("/home/u/b", "b");
    EXPECT_TRUE(world.recycle("/home/u", "a"));
    world.actAsRoot("stranger");
    EXPECT_TRUE(world.recycle("/home/u", "/home/stranger/.Trash", {"b"}));
    expectInHomeTrash(world, "/home/u/a");
    expectRestorable(world, "/home/u/b", "/home/stranger/.local/share/Trash");
    EXPECT_EQ(world.ownerOf("/home/stranger/.local/share/Trash/info/b.trashinfo"), World::kStranger);
  });
}

TEST(TrashAsRoot, HasRootsRightsBackAfterwards) {
  playAsRoot([](World& world) {
    const auto groups = ::getgroups(0, nullptr);
    world.makeFile("/home/u/a", "a");
    EXPECT_TRUE(world.recycle("/home/u", "a"));
    expectRefused(world.recycle("/home/u", "missing"));
    EXPECT_EQ(::setfsuid(~0U), 0);
    EXPECT_EQ(::setfsgid(~0U), 0);
    EXPECT_EQ(::getgroups(0, nullptr), groups);
    world.makeRootsFolder("/private");
    world.setMode("/private", 0);
    EXPECT_EQ(::access("/private", W_OK | X_OK), 0);
  });
}

TEST(TrashAsRoot, WorksOnlyWithRightsThatItCanTake) {
  playAsRoot([](World& world) {
    world.makeFile("/home/u/a", "a");
    failSystemCall(SYS_setgroups, EPERM);
    const platform::Status status = world.recycle("/home/u", "a");
    EXPECT_EQ(status.code(), EPERM);
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
    EXPECT_EQ(world.kindOf("/home/u/.local"), ItemKind::Nothing);
  });
}

TEST(TrashAsAnOrdinaryProcess, WorksWithoutAnyOfRootsRights) {
  World::play([](World& world) {
    world.makeFile("/home/u/a", "a");
    asUser(World::kUser, World::kUser,
           [&] { EXPECT_TRUE(world.trash().recycle("/home/u", World::kTrashLink, {"a"})); });
    expectInHomeTrash(world, "/home/u/a");
    EXPECT_EQ(world.ownerOf(kTrash), World::kUser);
  });
}

}  // namespace
}  // namespace qm::testing
