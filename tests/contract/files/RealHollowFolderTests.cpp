// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <linux/fs.h>

#include <atomic>
#include <cstdio>
#include <functional>
#include <thread>
#include <utility>

#include "Platform/posix/FileMessages.h"
#include "Platform/posix/HollowFolder.h"
#include "Platform/posix/PosixFileSystem.h"
#include "Platform/posix/UniqueFd.h"
#include "tests/contract/files/RealFiles.h"

namespace qm::testing {
namespace {

platform::Status removeHollow(const std::string& path) {
  return files.removeHollowFolder(path, {".DS_Store", "Icon\r"});
}

/// Removes `folder`/name through an open folder.
posix::FileError removeIn(const std::string& folder, const std::string& name) {
  const posix::UniqueFd parent(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  return posix::removeHollowFolder(parent.get(), name, [](const std::string& each) { return each == ".DS_Store"; });
}

TEST(RemovingAHollowFolderOnDisk, NamesWhatIsInTheWay) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFolders(home + "/tree/deep");
    makeFile(home + "/tree/.DS_Store");
    makeFile(home + "/tree/deep/Other.app");
    expectError(removeHollow(home + "/tree"), ENOTEMPTY, "“tree” couldn’t be removed because “Other.app” is in it.");
    EXPECT_TRUE(isThere(home + "/tree/.DS_Store"));
    const posix::FileError error = removeIn(home, "tree");
    EXPECT_EQ(error.item, "Other.app");
    EXPECT_EQ(error.side, posix::FileError::Side::InTheWay);
  });
}

TEST(RemovingAHollowFolderOnDisk, SaysThatSomethingCameMeanwhile) {
  expectError(posix::statusOf(posix::FileAction::Remove, {ENOTEMPTY, "sub"}, "/home/tree"), ENOTEMPTY,
              "“sub” couldn’t be removed because something was put into it meanwhile.");
}

TEST(RemovingAHollowFolderOnDisk, NamesTheFolderThatCannotBeRead) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFolders(home + "/tree/secret/licence", 0755);
    ASSERT_EQ(::chmod((home + "/tree/secret").c_str(), 0700), 0);
    ASSERT_EQ(::chown((home + "/tree").c_str(), kUser, kUser), 0);
    asUser(kUser, kUser, [&] {
      expectError(removeHollow(home + "/tree"), EACCES,
                  "“secret” couldn’t be removed because you don’t have permission.");
    });
    EXPECT_TRUE(isThere(home + "/tree/secret/licence"));
  });
}

TEST(RemovingAHollowFolderOnDisk, RemovesNothingWithAVolumeOrABindMountBelow) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFolders(home + "/tree/a b");
    makeFile(home + "/tree/.DS_Store");
    mountTmpfs(home + "/tree/a b/volume");
    makeFolders(home + "/bound");
    makeFile(home + "/bound/.DS_Store");
    bindMount(openFolder("other"), home + "/bound/folder");
    for (const std::string name : {"tree", "bound"}) {
      expectError(removeHollow(home + "/" + name), EBUSY,
                  "“" + name + "” couldn’t be removed because it is in use or holds another volume.");
      EXPECT_TRUE(isThere(home + "/" + name + "/.DS_Store"));
    }
  });
}

TEST(RemovingAHollowFolderOnDisk, RemovesNothingWithSomebodyElsesItemInAStickyFolderBelow) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFolders(home + "/tree");
    makeFile(home + "/tree/.DS_Store");
    makeFolders(home + "/tree/shared", 01777);
    makeFile(home + "/tree/shared/.DS_Store");
    ASSERT_EQ(::chown((home + "/tree").c_str(), kUser, kUser), 0);
    asUser(kUser, kUser, [&] {
      expectError(removeHollow(home + "/tree"), EPERM,
                  "“.DS_Store” couldn’t be removed because you don’t have permission.");
    });
    EXPECT_TRUE(isThere(home + "/tree/.DS_Store"));
    EXPECT_TRUE(isThere(home + "/tree/shared/.DS_Store"));
  });
}

/// Somebody who works in the tree while it is removed: `act` at the n-th look at an item that is not a folder. Each is
/// examined once before anything is removed, and once more then.
class Neighbour {
 public:
  Neighbour(int look, std::function<void()> act) : look_(look), act_(std::move(act)) {}

  posix::FileError removeIn(const std::string& folder, const std::string& name) {
    const posix::UniqueFd parent(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    return posix::removeHollowFolder(parent.get(), name, [this](const std::string& each) {
      if (--look_ == 0) act_();
      return each == ".DS_Store";
    });
  }

 private:
  int look_;
  std::function<void()> act_;
};

constexpr int kWhileItLooks = 1;
constexpr int kWhileItRemoves = 2;

/// Has a neighbour act in "tree", which holds "sub/.DS_Store", and expects the removal to stop at `item`.
void expectStop(int look, const std::function<void(const std::string& tree)>& act, int code, const std::string& item) {
  const std::string home = openFolder("home");
  makeFolders(home + "/tree/sub");
  makeFile(home + "/tree/sub/.DS_Store");
  Neighbour neighbour(look, [&] { act(home + "/tree"); });
  const posix::FileError error = neighbour.removeIn(home, "tree");
  EXPECT_EQ(error.code, code);
  EXPECT_EQ(error.item, item);
  EXPECT_TRUE(isThere(home + "/tree"));
}

TEST(RemovingAHollowFolderOnDisk, KeepsAFileThatCameAfterTheLook) {
  runInPrivateMachine([] {
    expectStop(
        kWhileItLooks, [](const std::string& tree) { makeFile(tree + "/late", "kept"); }, ENOTEMPTY, "late");
    EXPECT_EQ(textOf(machineFolder() + "/home/tree/late"), "kept");
  });
}

TEST(RemovingAHollowFolderOnDisk, KeepsAFileThatComesWhileItRemoves) {
  runInPrivateMachine([] {
    expectStop(
        kWhileItRemoves, [](const std::string& tree) { makeFile(tree + "/late", "kept"); }, ENOTEMPTY, "tree");
    EXPECT_EQ(textOf(machineFolder() + "/home/tree/late"), "kept");
  });
}

TEST(RemovingAHollowFolderOnDisk, KeepsAFolderThatIsInstalledAfterTheLookAndStillEmpty) {
  runInPrivateMachine([] {
    const auto install = [](const std::string& tree) { makeFolders(tree + "/Other.app/Contents"); };
    expectStop(kWhileItLooks, install, ENOTEMPTY, "Other.app");
    EXPECT_TRUE(isThere(machineFolder() + "/home/tree/Other.app/Contents"));
  });
}

TEST(RemovingAHollowFolderOnDisk, EntersNoFolderThatTookTheNameOfOneItLookedAt) {
  runInPrivateMachine([] {
    const std::string others = openFolder("others");
    makeFile(others + "/.DS_Store", "kept");
    const auto swap = [&](const std::string& tree) {
      ASSERT_EQ(std::rename((tree + "/sub").c_str(), (machineFolder() + "/away").c_str()), 0);
      ASSERT_EQ(std::rename(others.c_str(), (tree + "/sub").c_str()), 0);
    };
    expectStop(kWhileItLooks, swap, ENOTEMPTY, "sub");
    EXPECT_EQ(textOf(machineFolder() + "/home/tree/sub/.DS_Store"), "kept");
  });
}

TEST(RemovingAHollowFolderOnDisk, FollowsNoLinkThatTookTheNameOfAFolder) {
  runInPrivateMachine([] {
    const std::string outside = openFolder("outside");
    makeFile(outside + "/.DS_Store", "kept");
    const auto swap = [&](const std::string& tree) {
      ASSERT_EQ(std::rename((tree + "/sub").c_str(), (machineFolder() + "/away").c_str()), 0);
      ASSERT_EQ(::symlink(outside.c_str(), (tree + "/sub").c_str()), 0);
    };
    expectStop(kWhileItLooks, swap, ENOTEMPTY, "sub");
    EXPECT_EQ(textOf(outside + "/.DS_Store"), "kept");
    EXPECT_TRUE(isThere(machineFolder() + "/home/tree/sub"));
  });
}

TEST(RemovingAHollowFolderOnDisk, KeepsAFolderThatTookTheNameOfAnExpendableFile) {
  runInPrivateMachine([] {
    const auto swap = [](const std::string& tree) {
      ASSERT_EQ(::unlink((tree + "/sub/.DS_Store").c_str()), 0);
      makeFolders(tree + "/sub/.DS_Store");
      makeFile(tree + "/sub/.DS_Store/file", "kept");
    };
    expectStop(kWhileItRemoves, swap, EISDIR, ".DS_Store");
    EXPECT_EQ(textOf(machineFolder() + "/home/tree/sub/.DS_Store/file"), "kept");
  });
}

TEST(RemovingAHollowFolderOnDisk, DoesNotCrossIntoAVolumeThatIsMountedAfterTheLook) {
  runInPrivateMachine([] {
    const auto mount = [](const std::string& tree) {
      mountTmpfs(tree + "/sub");
      makeFile(tree + "/sub/.DS_Store", "kept");
    };
    expectStop(kWhileItLooks, mount, EBUSY, "tree");
    EXPECT_EQ(textOf(machineFolder() + "/home/tree/sub/.DS_Store"), "kept");
  });
}

TEST(RemovingAHollowFolderOnDisk, IsDoneWithWhatVanishesMeanwhile) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFolders(home + "/tree/sub");
    makeFile(home + "/tree/sub/.DS_Store");
    Neighbour neighbour(kWhileItRemoves, [&] { EXPECT_EQ(::unlink((home + "/tree/sub/.DS_Store").c_str()), 0); });
    EXPECT_FALSE(neighbour.removeIn(home, "tree"));
    EXPECT_FALSE(isThere(home + "/tree"));
  });
}

TEST(RemovingAHollowFolderOnDisk, RemovesNothingButHollowFoldersWhileTheyAreSwapped) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    const std::string full = openFolder("full");
    makeFile(full + "/.DS_Store", "kept");
    makeFile(full + "/file", "kept");
    std::atomic<bool> ended{false};
    std::thread swapper([&] {
      while (!ended) {
        ::renameat2(AT_FDCWD, (home + "/tree/sub").c_str(), AT_FDCWD, full.c_str(), RENAME_EXCHANGE);
      }
    });
    for (int round = 0; round < 400; ++round) {
      std::error_code ignored;
      std::filesystem::create_directories(home + "/tree/sub", ignored);
      // The result does not matter while it is disturbed.
      static_cast<void>(removeHollow(home + "/tree"));
    }
    ended = true;
    swapper.join();
    const std::string now = isThere(full + "/file") ? full : home + "/tree/sub";
    EXPECT_EQ(textOf(now + "/file"), "kept");
    EXPECT_EQ(textOf(now + "/.DS_Store"), "kept");
  });
}

}  // namespace
}  // namespace qm::testing
