// SPDX-License-Identifier: MIT

// The folder that an item is taken from: which paths lead to it, with whose rights, and what is reported.

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>

#include "Platform/linux/trash/SourceFolder.h"
#include "Platform/linux/trash/TrashProblem.h"
#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using namespace std::string_literals;

using linux_::openFolderAsUser;
using linux_::openSourceFolder;
using linux_::TrashUser;

TrashUser ordinaryUser() {
  return {{World::kUser, World::kUser, {World::kUser}}, World::kHome, std::nullopt, false, ""};
}

TrashUser userOfRootsProcess() {
  TrashUser user = ordinaryUser();
  user.forAnother = true;
  return user;
}

std::string pathOf(const linux_::TrashAnswer<linux_::SourceFolder>& folder) {
  return folder ? folder->path : "none: " + folder.problem().because;
}

int codeOf(const linux_::TrashAnswer<linux_::SourceFolder>& folder) { return folder ? 0 : folder.problem().code; }

TEST(SourceFolders, HaveOnePathWhateverTheirPathIsWritten) {
  World::play([](World& world) {
    world.makeFolder("/home/u/folder");
    for (const char* path : {"/home/u/folder", "/home//u/folder", "//home/u/folder", "/home/./u/folder",
                             "/home/u/../u/folder", "/home/u/folder/", "/home/u/folder/.", "/home/u/folder/inner/.."}) {
      if (path == "/home/u/folder/inner/.."s) world.makeFolder("/home/u/folder/inner");
      for (const TrashUser& user : {ordinaryUser(), userOfRootsProcess()}) {
        EXPECT_EQ(pathOf(openSourceFolder(path, user)), "/home/u/folder") << path;
        EXPECT_EQ(pathOf(openFolderAsUser(path, user)), "/home/u/folder") << path;
      }
    }
    EXPECT_EQ(pathOf(openSourceFolder("/", ordinaryUser())), "/");
    world.makeFolder("/home/u/.hidden");
    world.makeFolder("/home/u/.hidden/..folder.");
    EXPECT_EQ(pathOf(openSourceFolder("/home/u/.hidden/..folder.", ordinaryUser())), "/home/u/.hidden/..folder.");
  });
}

TEST(SourceFolders, HaveAPathFromTheRoot) {
  World::play([](World&) {
    for (const std::string& path : {""s, "home/u"s, "./home"s, "/home\0/u"s}) {
      EXPECT_EQ(codeOf(openSourceFolder(path, ordinaryUser())), EINVAL);
      EXPECT_EQ(codeOf(openFolderAsUser(path, userOfRootsProcess())), EINVAL);
    }
  });
}

TEST(SourceFolders, AreUsedWithRootsRightsOnlyByAPathThatNoUserCouldHaveLed) {
  World::play([](World& world) {
    world.makeFolder("/home/u/folder");
    world.makeLink("/home/u/link", "folder");
    world.makeLink("/entry", "/home/u/folder");
    world.giveTo(0, "/entry");
    const auto hasRootsRights = [](const std::string& path, const TrashUser& user) {
      const auto folder = openSourceFolder(path, user);
      EXPECT_EQ(pathOf(folder), "/home/u/folder") << path;
      return folder && folder->withRootRights;
    };
    EXPECT_TRUE(hasRootsRights("/home/u/folder", userOfRootsProcess()));
    EXPECT_TRUE(hasRootsRights("/entry", userOfRootsProcess()));
    EXPECT_FALSE(hasRootsRights("/home/u/link", userOfRootsProcess()));
    EXPECT_FALSE(hasRootsRights("/home/u/folder", ordinaryUser()));
    EXPECT_FALSE(hasRootsRights("/home/u/link", ordinaryUser()));
    EXPECT_FALSE(openFolderAsUser("/home/u/folder", userOfRootsProcess())->withRootRights);
  });
}

TEST(SourceFolders, AreReachedWhereTheSystemHasNoRulesForOpening) {
  for (const int error : {ENOSYS, EPERM}) {
    World::play([&](World& world) {
      world.makeFolder("/home/u/folder");
      world.makeLink("/home/u/link", "folder");
      inChild([&] {
        failSystemCall(SYS_openat2, error);
        for (const TrashUser& user : {ordinaryUser(), userOfRootsProcess()}) {
          for (const char* path : {"/home/u/folder", "/home/u/link"}) {
            EXPECT_EQ(pathOf(openSourceFolder(path, user)), "/home/u/folder") << path << error;
          }
        }
      });
    });
  }
}

TEST(SourceFolders, AreNotTriedInAnotherWayAfterAnotherError) {
  World::play([](World& world) {
    world.makeFolder("/home/u/folder");
    inChild([] {
      failSystemCall(SYS_openat2, EMFILE);
      for (const TrashUser& user : {ordinaryUser(), userOfRootsProcess()}) {
        EXPECT_EQ(codeOf(openSourceFolder("/home/u/folder", user)), EMFILE);
      }
    });
  });
}

TEST(SourceFolders, AreRefusedWhereTheyCannotBeTold) {
  World::play([](World& world) {
    world.makeFolder("/home/u/folder");
    inChild([] {
      failSystemCall(SYS_statx, EIO);
      EXPECT_EQ(codeOf(openSourceFolder("/home/u/folder", ordinaryUser())), EIO);
    });
    ASSERT_EQ(::mount("", "/proc", "tmpfs", 0, nullptr), 0) << errno;
    EXPECT_EQ(codeOf(openSourceFolder("/home/u/folder", ordinaryUser())), 0) << "this is its path";
    EXPECT_EQ(codeOf(openSourceFolder("/home/u//folder", ordinaryUser())), ENAMETOOLONG);
    EXPECT_EQ(::umount("/proc"), 0) << errno;  // the leak checker needs it
  });
}

TEST(SourceFolders, AreOpenedOnlyWithRightsThatCanBeTaken) {
  World::play([](World&) {
    inChild([] {
      failSystemCall(SYS_setgroups, EAGAIN);
      EXPECT_EQ(codeOf(openFolderAsUser("/home/u", userOfRootsProcess())), EPERM);
      EXPECT_EQ(codeOf(openFolderAsUser("/home/u", ordinaryUser())), 0);
    });
  });
}

// MARK: - The words

TEST(TrashProblems, HaveWordsForTheirSubject) {
  EXPECT_EQ(linux_::itemProblem(ENOENT).because, "it doesn’t exist");
  EXPECT_EQ(linux_::folderProblem(ENOENT).because, "its folder doesn’t exist");
  EXPECT_EQ(linux_::trashFolderProblem(EACCES, "/a").because, "you don’t have permission to use the Trash folder “/a”");
  EXPECT_EQ(linux_::trashFolderProblem(ENOSPC, "/a").because, linux_::itemProblem(ENOSPC).because);
  EXPECT_EQ(linux_::itemProblem(EIO).because, "of a system error (Input/output error)");
  for (const int code : {ENOENT, EACCES, ENOSPC, EIO}) {
    EXPECT_EQ(linux_::itemProblem(code).code, code);
    EXPECT_EQ(linux_::trashFolderProblem(code, "/a").code, code);
  }
}

TEST(TrashProblems, SayWhatCouldNotBeDone) {
  const linux_::TrashProblem problem{ENOSPC, "of the moon"};
  const auto expectFailure = [](const platform::Status& status, const std::string& words) {
    EXPECT_EQ(status.code(), ENOSPC);
    EXPECT_EQ(status.localizedDescription(), words);
  };
  expectFailure(linux_::trashFailure("a", problem), "“a” couldn’t be moved to the Trash because of the moon.");
  expectFailure(linux_::lookFailure("a", problem), "“a” couldn’t be looked for in the Trash because of the moon.");
  expectFailure(linux_::putBackFailure("a", problem), "“a” couldn’t be put back because of the moon.");
}

}  // namespace
}  // namespace qm::testing
