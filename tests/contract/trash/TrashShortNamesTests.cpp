// SPDX-License-Identifier: MIT

// A volume whose names are shorter than those of the others. No such file system can be mounted everywhere, so the
// answer of the system is replaced in this program.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/statvfs.h>

#include <optional>

#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/contract/trash/TrashEntries.h"

namespace {

std::optional<unsigned long> nameLimit;  // 0 is no answer

}  // namespace

/// Instead of the C library's, which it calls.
int fstatvfs(int file, struct statvfs* found) noexcept {
  static const auto original = reinterpret_cast<decltype(&fstatvfs)>(::dlsym(RTLD_NEXT, "fstatvfs"));
  const int result = original(file, found);
  found->f_namemax = nameLimit.value_or(found->f_namemax);
  return result;
}

namespace qm::testing {
namespace {

/// The name in the Trash of a file whose own name has this many characters.
std::string storedName(World& world, std::size_t length) {
  const std::string path = "/home/u/" + std::string(length, 'x');
  world.makeFile(path, "a");
  EXPECT_TRUE(world.recycle("/home/u", std::string(length, 'x')));
  return expectInHomeTrash(world, path);
}

TEST(TrashOfShortNames, LeavesRoomForTheDescriptionOfEachItem) {
  World::play([](World& world) {
    nameLimit = 143;
    EXPECT_EQ(storedName(world, 133), std::string(133, 'x'));
    EXPECT_EQ(storedName(world, 134), std::string(131, 'x') + " 2") << "shortened to a name that is taken";
    EXPECT_EQ(storedName(world, 143), std::string(131, 'x') + " 3");
  });
}

TEST(TrashOfShortNames, IsNotPresumedWhereTheSystemDoesNotSay) {
  World::play([](World& world) {
    nameLimit = 0;
    EXPECT_EQ(storedName(world, 245), std::string(245, 'x'));
    EXPECT_EQ(storedName(world, 246), std::string(243, 'x') + " 2");
  });
}

}  // namespace
}  // namespace qm::testing
