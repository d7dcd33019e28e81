// SPDX-License-Identifier: MIT

// The rename of a folder that its owner may not write to, call by call.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "Platform/linux/trash/ReadOnlyFolder.h"
#include "Platform/posix/UniqueFd.h"
#include "tests/contract/trash/RealTrashWorld.h"

namespace qm::testing {
namespace {

const std::string kAbove = "/home/u";
const std::string kLocked = "/home/u/locked";

/// What the renames see and answer.
struct Renames {
  int first = EACCES;
  int second = 0;
  std::vector<mode_t> modes;
};

// Renames `name` for the owner of `item`, with the user's rights.
int rename(World& world, const std::string& name, const linux_::ItemIdentity& item, Renames& renames,
           uid_t owner = World::kUser) {
  int error = -1;
  world.withUsersRights([&] {
    const posix::UniqueFd above(::open(kAbove.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    error = linux_::renameUnlocking(above.get(), name, item, owner, [&] {
      struct stat found {};
      EXPECT_EQ(::stat(kLocked.c_str(), &found), 0);
      renames.modes.push_back(found.st_mode & 07777U);
      return renames.modes.size() == 1 ? renames.first : renames.second;
    });
  });
  return error;
}

linux_::ItemIdentity identityOf(const std::string& path) {
  const auto identity = linux_::itemIdentity(AT_FDCWD, path.c_str());
  EXPECT_TRUE(identity) << path;
  return identity.value_or(linux_::ItemIdentity{});
}

void playWithLocked(mode_t mode, const std::function<void(World&)>& body) {
  World::play([&](World& world) {
    world.makeFolder(kLocked);
    world.setMode(kLocked, mode);
    body(world);
  });
}

void expectTriedOnce(World& world, const std::string& name, const linux_::ItemIdentity& item,
                     uid_t owner = World::kUser) {
  const mode_t mode = world.modeOf(kLocked);
  Renames renames;
  EXPECT_EQ(rename(world, name, item, renames, owner), EACCES);
  EXPECT_EQ(renames.modes, std::vector<mode_t>{mode});
  EXPECT_EQ(world.modeOf(kLocked), mode);
}

TEST(LockedFolder, IsUnlockedForTheRenameOnly) {
  for (const mode_t mode : {0555U, 0500U, 0U, 07555U}) {
    for (const int second : {0, EXDEV}) {
      playWithLocked(mode, [&](World& world) {
        Renames renames;
        renames.second = second;
        EXPECT_EQ(rename(world, "locked", identityOf(kLocked), renames), second);
        EXPECT_EQ(renames.modes, (std::vector<mode_t>{mode, mode | 0200}));
        EXPECT_EQ(world.modeOf(kLocked), mode);
      });
    }
  }
}

TEST(LockedFolder, IsNotUnlockedWhereThatWouldNotHelp) {
  playWithLocked(0555, [](World& world) {
    for (const int error : {0, EPERM, EEXIST}) {
      Renames renames;
      renames.first = error;
      EXPECT_EQ(rename(world, "locked", identityOf(kLocked), renames), error);
      EXPECT_EQ(renames.modes.size(), 1U);
    }
    world.setMode(kAbove, 0555);
    expectTriedOnce(world, "locked", identityOf(kLocked));
    world.setMode(kAbove, 0755);
    world.setMode(kLocked, 0755);
    expectTriedOnce(world, "locked", identityOf(kLocked));
  });
}

TEST(LockedFolder, IsNotUnlockedWhereItIsSomebodyElses) {
  playWithLocked(0555, [](World& world) {
    expectTriedOnce(world, "locked", identityOf(kLocked), World::kStranger);
    world.giveTo(World::kStranger, kLocked);
    expectTriedOnce(world, "locked", identityOf(kLocked), World::kUser);
    expectTriedOnce(world, "locked", identityOf(kLocked), World::kStranger);  // the mode cannot be set
  });
}

TEST(LockedFolder, IsNotUnlockedInPlaceOfAnotherItem) {
  playWithLocked(0555, [](World& world) {
    const linux_::ItemIdentity locked = identityOf(kLocked);
    linux_::ItemIdentity file = locked;
    file.mode = S_IFREG | 0444U;
    expectTriedOnce(world, "locked", file);
    world.makeFolder("/home/u/other");
    linux_::ItemIdentity other = identityOf("/home/u/other");
    other.mode = locked.mode;
    expectTriedOnce(world, "locked", other);
    expectTriedOnce(world, "missing", locked);
    world.makeLink("/home/u/link", "locked");
    expectTriedOnce(world, "link", locked);
  });
}

}  // namespace
}  // namespace qm::testing
