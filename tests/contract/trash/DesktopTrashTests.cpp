// SPDX-License-Identifier: MIT

// The Trash that the link in a home leads to, and when the home trash is used instead.

#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <cerrno>

#include "Platform/linux/trash/DesktopTrash.h"
#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using linux_::MissingTrash;
using linux_::openLinkedTrash;
using linux_::openShownTrash;

const std::string kData = "/home/u/data";
const std::string kLinked = kData + "/Trash";

linux_::TrashUser userAtTheConsole() {
  return {{World::kUser, World::kUser, {World::kUser}}, World::kHome, std::nullopt, true, ""};
}

void makeTrashAt(World& world, const std::string& trash) {
  for (const char* folder : {"", "/files", "/info"}) world.makeFolder(trash + folder);
}

// A home with the home trash, and with a link to another Trash.
void playWithLink(const std::function<void(World&)>& body) {
  World::play([&](World& world) {
    for (const char* folder : {"/home/u/.local", "/home/u/.local/share"}) world.makeFolder(folder);
    world.makeFolder(kData);
    makeTrashAt(world, World::kHomeTrash);
    makeTrashAt(world, kLinked);
    world.makeLink(World::kTrashLink, kLinked + "/files");
    body(world);
  });
}

std::string shownTrash() {
  const auto trash = openShownTrash(userAtTheConsole(), MissingTrash::StaysMissing);
  return trash ? (*trash)->path : trash.problem().because;
}

void leadTo(World& world, const std::string& target) {
  world.removeFile(World::kTrashLink);
  world.makeLink(World::kTrashLink, target);
}

TEST(DesktopTrash, IsWhereTheLinkLeads) {
  playWithLink([](World& world) {
    EXPECT_EQ(shownTrash(), kLinked);
    for (const char* folder : {"/files", "/info", ""}) world.setMode(kLinked + folder, 0300);
    EXPECT_EQ(shownTrash(), kLinked) << "it need not be readable";
  });
}

TEST(DesktopTrash, IsTheHomeTrashWhereTheLinkLeadsToNoTrashOfTheUsers) {
  const std::vector<std::function<void(World&)>> changes = {
      [](World& world) { world.giveTo(World::kStranger, kLinked); },
      [](World& world) { world.giveTo(World::kStranger, kLinked + "/files"); },
      [](World& world) { world.giveTo(World::kStranger, kLinked + "/info"); },
      [](World& world) { world.removeTree(kLinked + "/info"); },
      [](World& world) { world.removeTree(kLinked + "/files"); },
      [](World& world) {
        world.removeTree(kLinked + "/info");
        world.makeFile(kLinked + "/info", "");
      },
      [](World& world) {
        world.removeTree(kLinked + "/info");
        world.makeLink(kLinked + "/info", "files");
      },
      [](World& world) { leadTo(world, kLinked + "/info"); },
      [](World& world) { leadTo(world, kLinked); },
      [](World& world) {
        world.makeFolder(kLinked + "/other");
        leadTo(world, kLinked + "/other");
      },
      [](World& world) { leadTo(world, World::kTrashLink); },
      [](World& world) { world.removeFile(World::kTrashLink); },
  };
  for (std::size_t i = 0; i < changes.size(); ++i) {
    SCOPED_TRACE(i);
    playWithLink([&](World& world) {
      changes[i](world);
      EXPECT_EQ(shownTrash(), World::kHomeTrash);
      EXPECT_FALSE(openLinkedTrash(userAtTheConsole()));
    });
  }
}

// Such a volume may claim any owners.
TEST(DesktopTrash, IsTheHomeTrashWhereTheLinkLeadsToAnotherVolume) {
  playWithLink([](World& world) {
    world.makeVolume(kStick);
    makeTrashAt(world, kStick + "/Trash");
    leadTo(world, kStick + "/Trash/files");
    EXPECT_EQ(shownTrash(), World::kHomeTrash);
    const linux_::OpenedTrash linked = openLinkedTrash(userAtTheConsole());
    EXPECT_EQ(linked ? 0 : linked.problem().code, ENOTDIR);
  });
}

TEST(DesktopTrash, IsNotMadeWhereItIsToStayMissing) {
  playWithLink([](World& world) {
    world.removeFile(World::kTrashLink);
    world.removeTree(World::kHomeTrash);
    EXPECT_FALSE(openShownTrash(userAtTheConsole(), MissingTrash::StaysMissing));
    EXPECT_EQ(world.kindOf(World::kHomeTrash), ItemKind::Nothing);
    EXPECT_TRUE(openShownTrash(userAtTheConsole(), MissingTrash::IsMade));
    EXPECT_EQ(world.kindOf(World::kHomeTrash), ItemKind::Folder);
    EXPECT_EQ(world.ownerOf(World::kHomeTrash), World::kUser);
  });
}

TEST(DesktopTrash, IsOpenedOnlyWithRightsThatCanBeTaken) {
  playWithLink([](World&) {
    inChild([] {
      failSystemCall(SYS_setgroups, EAGAIN);
      const linux_::OpenedTrash trash = openShownTrash(userAtTheConsole(), MissingTrash::StaysMissing);
      EXPECT_EQ(trash ? 0 : trash.problem().code, EPERM);
    });
  });
}

TEST(DesktopTrash, ReportsWhatFails) {
  playWithLink([](World& world) {
    struct Failing {
      long call;
      int nth;
    };
    for (const Failing& failing : {Failing{SYS_statx, 1}, {SYS_openat, 1}, {SYS_openat, 2}}) {
      inChild([&] {
        failSystemCallOnce(failing.call, failing.nth, EMFILE);
        const linux_::OpenedTrash linked = openLinkedTrash(userAtTheConsole());
        // Without the folder above, that has no parent either.
        const int expected = failing.call == SYS_openat && failing.nth == 1 ? EBADF : EMFILE;
        EXPECT_EQ(linked ? 0 : linked.problem().code, expected) << failing.nth;
      });
    }
    world.removeFile(World::kTrashLink);
    EXPECT_EQ(openLinkedTrash(userAtTheConsole()).problem().code, ENOENT);
  });
}

}  // namespace
}  // namespace qm::testing
