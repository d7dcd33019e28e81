// SPDX-License-Identifier: MIT

// A Trash that is missing, a Trash without a free name, and items that others move meanwhile.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/posix/TrashName.h"
#include "Platform/posix/rights/RootTrash.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/support/PrivateMachine.h"
#include "tests/unit/macos/TemporaryFolder.h"

namespace qm::posix {
namespace {

using posix::UniqueFd;
using ::testing::HasSubstr;

/// Root, and a person at the console who has no Trash yet.
class MissingTrash : public ::testing::Test {
 protected:
  void play(const std::function<void()>& body) {
    testing::runInPrivateMachine([&] {
      fakes.users.actAsRoot("nobody");
      ASSERT_EQ(::mkdir(home().c_str(), S_IRWXU), 0);
      ASSERT_EQ(::mkdir(roots().c_str(), 0755), 0);
      ASSERT_EQ(::chown(home().c_str(), person()->pw_uid, person()->pw_gid), 0);
      body();
    });
  }
  int open(const std::string& path) { return openTrashOfPerson(fakes.users, path, trash); }

  static const passwd* person() { return ::getpwnam("nobody"); }
  static std::string home() { return testing::machineFolder() + "/home"; }
  static std::string roots() { return testing::machineFolder() + "/roots"; }
  static bool has(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

  qm::testing::FakePlatform fakes;
  HeldTrash trash;
};

TEST_F(MissingTrash, IsMadeAndIsThePersons) {
  play([&] {
    EXPECT_EQ(open(home() + "/.Trash"), 0);
    struct stat made {};
    ASSERT_EQ(::fstat(trash.folder.get(), &made), 0);
    EXPECT_EQ(made.st_uid, person()->pw_uid);
    EXPECT_EQ(made.st_mode, mode_t{S_IFDIR | S_IRWXU});
  });
}

TEST_F(MissingTrash, IsNotMadeWhereThePersonMayNotMakeIt) {
  play([&] {
    EXPECT_EQ(open(roots() + "/.Trash"), EACCES);
    EXPECT_FALSE(has(roots() + "/.Trash"));
  });
}

TEST_F(MissingTrash, IsNotMadeWithoutTheFolderItIsToBeIn) {
  play([&] { EXPECT_EQ(open(home() + "/folder/.Trash"), ENOENT); });
}

TEST_F(MissingTrash, IsNotMadeBehindALinkThatThePersonCouldHavePlanted) {
  play([&] {
    ASSERT_EQ(::symlink(roots().c_str(), (home() + "/way").c_str()), 0);
    ASSERT_EQ(::lchown((home() + "/way").c_str(), person()->pw_uid, person()->pw_gid), 0);
    EXPECT_NE(open(home() + "/way/.Trash"), 0);
    EXPECT_FALSE(has(roots() + "/.Trash"));
  });
}

TEST_F(MissingTrash, IsNotMadeWithoutThePersonsRights) {
  play([&] {
    testing::failSystemCall(SYS_setgroups, EPERM);
    EXPECT_EQ(open(home() + "/.Trash"), EPERM);
    EXPECT_THAT(trash.refusal, HasSubstr("can’t be made with the rights"));
    EXPECT_FALSE(has(home() + "/.Trash"));
  });
}

TEST_F(MissingTrash, IsUsedWhereThePersonMakesItMeanwhile) {
  play([&] {
    const std::string path = home() + "/.Trash";
    testing::afterSystemCall(SYS_setgroups, [&] {
      EXPECT_EQ(::mkdir(path.c_str(), S_IRWXU), 0);
      EXPECT_EQ(::chown(path.c_str(), person()->pw_uid, person()->pw_gid), 0);
    });
    EXPECT_EQ(open(path), 0);
    EXPECT_TRUE(trash.folder);
  });
}

/// A Trash and a folder with the item "a.txt". The status that was checked is that of another item.
class ExchangedItem : public ::testing::Test {
 protected:
  ExchangedItem() {
    disk.addFolder("Trash");
    disk.addFolder("folder");
    disk.addFile("folder/a.txt");
    disk.addFile("checked");
    trash.folder = disk.open("Trash");
    trash.path = disk.at("Trash");
    EXPECT_EQ(::stat(disk.at("checked").c_str(), &checked), 0);
  }

  int move() {
    std::string stored;
    return moveIntoHeldTrash({disk.open("folder"), "a.txt"}, checked, trash, stored);
  }

  qm::testing::TemporaryFolder disk;
  HeldTrash trash;
  struct stat checked {};
};

TEST_F(ExchangedItem, ReplacesNothingOnItsWayBack) {
  testing::inChild([&] {
    testing::afterSystemCall(SYS_renameat2, [&] { disk.addFolder("folder/a.txt"); });
    EXPECT_NE(move(), 0);
    EXPECT_TRUE(std::filesystem::is_directory(disk.at("folder/a.txt")));
    EXPECT_TRUE(std::filesystem::is_regular_file(disk.at("Trash/a.txt")));
  });
}

TEST_F(ExchangedItem, IsNotTakenForMovedWhereItHasVanishedAgain) {
  testing::inChild([&] {
    testing::afterSystemCall(SYS_renameat2, [&] { std::filesystem::remove(disk.at("Trash/a.txt")); });
    EXPECT_EQ(move(), ENOENT);
  });
}

TEST(FullTrash, LeavesTheItemWhereItIs) {
  constexpr unsigned kMostNames = 10000;
  testing::runInPrivateMachine([] {
    const std::string& machine = testing::machineFolder();
    HeldTrash trash;
    trash.path = machine + "/Trash";
    ASSERT_EQ(::mkdir(trash.path.c_str(), S_IRWXU), 0);
    trash.folder.reset(::open(trash.path.c_str(), O_RDONLY | O_CLOEXEC));
    const posix::TrashName names("a", NAME_MAX);
    for (unsigned number = 1; number <= kMostNames; ++number) {
      ASSERT_EQ(::mknodat(trash.folder.get(), names.numbered(number).c_str(), S_IFREG | S_IRUSR, 0), 0);
    }
    ASSERT_EQ(::mknod((machine + "/a").c_str(), S_IFREG | S_IRUSR, 0), 0);
    struct stat item {};
    ASSERT_EQ(::stat((machine + "/a").c_str(), &item), 0);
    std::string stored;
    UniqueFd folder(::open(machine.c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(moveIntoHeldTrash({std::move(folder), "a"}, item, trash, stored), EEXIST);
    EXPECT_EQ(stored, "");
    EXPECT_EQ(::access((machine + "/a").c_str(), F_OK), 0);
  });
}

}  // namespace
}  // namespace qm::posix
