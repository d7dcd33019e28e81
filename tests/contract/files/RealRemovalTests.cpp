// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/syscall.h>

#include <atomic>
#include <cstdio>
#include <thread>

#include "Platform/posix/PosixFileSystem.h"
#include "tests/contract/files/RealFiles.h"

namespace qm::testing {
namespace {

/// Creates `levels` nested folders of the same name and returns the deepest.
int descendByMaking(const std::string& top, const std::string& name, int levels) {
  int folder = ::open(top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  for (int level = 0; level < levels; ++level) {
    EXPECT_EQ(::mkdirat(folder, name.c_str(), 0755), 0);
    const int below = ::openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ::close(folder);
    folder = below;
  }
  return folder;
}

void limitDescriptors(rlim_t count) {
  const rlimit limit{count, count};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
}

TEST(RemovingOnDisk, RemovesATreeOfTenThousandLevelsWithFewDescriptorsAndLittleStack) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    const int deepest = descendByMaking(home, "a folder with a name", 10'000);
    ASSERT_GE(deepest, 0);
    EXPECT_EQ(::mkdirat(deepest, "last", 0700), 0);
    ::close(deepest);
    limitDescriptors(64);
    std::thread worker([&] { expectDone(files.removeItem(home + "/a folder with a name")); });
    worker.join();
    EXPECT_EQ(countIn(home), 0U);
  });
}

TEST(RemovingOnDisk, RemovesTwoHundredThousandEntries) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFolders(home + "/wide");
    const int folder = ::open((home + "/wide").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (int i = 0; i < 200'000; ++i) ASSERT_EQ(::mknodat(folder, std::to_string(i).c_str(), S_IFREG | 0600, 0), 0);
    ::close(folder);
    EXPECT_EQ(files.contentsOfDirectory(home + "/wide")->size(), 200'000U);
    expectDone(files.removeItem(home + "/wide"));
    EXPECT_EQ(countIn(home), 0U);
  });
}

TEST(RemovingOnDisk, NamesTheFolderThatCannotBeRead) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    asUser(kUser, kUser, [&] {
      makeFolders(home + "/tree/secret");
      makeFile(home + "/tree/secret/file");
      ASSERT_EQ(::chmod((home + "/tree/secret").c_str(), 0), 0);
      expectError(files.removeItem(home + "/tree"), EACCES,
                  "“secret” couldn’t be removed because you don’t have permission.");
    });
    EXPECT_TRUE(isThere(home + "/tree/secret/file"));
  });
}

TEST(RemovingOnDisk, RemovesNothingOfATreeInWhichAVolumeIsMounted) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFolders(home + "/tree/a b");
    makeFile(home + "/tree/first");
    mountTmpfs(home + "/tree/a b/volume");
    makeFile(home + "/tree/a b/volume/file", "kept");
    expectError(files.removeItem(home + "/tree"), EBUSY,
                "“tree” couldn’t be removed because it is in use or holds another volume.");
    EXPECT_TRUE(isThere(home + "/tree/first"));
    EXPECT_EQ(textOf(home + "/tree/a b/volume/file"), "kept");
  });
}

TEST(RemovingOnDisk, DoesNotCrossIntoAFolderShownThereByABindMount) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    const std::string other = openFolder("other");
    makeFile(other + "/file", "kept");
    makeFolders(home + "/tree");
    bindMount(other, home + "/tree/bound");
    EXPECT_EQ(files.removeItem(home + "/tree").code(), EBUSY);
    EXPECT_EQ(files.removeItem(home + "/tree/bound").code(), EBUSY);
    EXPECT_EQ(textOf(other + "/file"), "kept");
  });
}

TEST(RemovingOnDisk, RespectsStickyFoldersBeforeAnythingIsRemoved) {
  runInPrivateMachine([] {
    const std::string shared = openFolder("shared");
    ASSERT_EQ(::chmod(shared.c_str(), 01777), 0);
    makeFolders(shared + "/foreign", 0777);
    makeFile(shared + "/foreign/file", "kept");
    asUser(kUser, kUser, [&] {
      EXPECT_EQ(files.removeItem(shared + "/foreign").code(), EPERM);
      EXPECT_EQ(textOf(shared + "/foreign/file"), "kept");
      makeFolders(shared + "/own/folder");
      expectDone(files.removeItem(shared + "/own"));
    });
    EXPECT_EQ(countIn(shared), 1U);
  });
}

TEST(RemovingOnDisk, RemovesFifosSocketsAndDevicesWithoutOpeningThem) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFolders(home + "/tree");
    ASSERT_EQ(::mkfifo((home + "/tree/fifo").c_str(), 0600), 0);
    ASSERT_EQ(::mknod((home + "/tree/socket").c_str(), S_IFSOCK | 0600, 0), 0);
    expectDone(files.removeItem(home + "/tree"));
    EXPECT_EQ(countIn(home), 0U);
  });
}

TEST(RemovingOnDisk, NeverLeavesTheTreeWhileFoldersAreSwappedForLinks) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    const std::string outside = openFolder("outside");
    for (int i = 0; i < 50; ++i) makeFile(outside + "/" + std::to_string(i), "kept");
    std::atomic<bool> ended{false};
    makeFolders(home + "/tree/victim");
    makeFolders(home + "/spare");
    ASSERT_EQ(::symlink(outside.c_str(), (home + "/spare/link").c_str()), 0);
    std::thread swapper([&] {
      while (!ended) {
        ::renameat2(AT_FDCWD, (home + "/tree/victim").c_str(), AT_FDCWD, (home + "/spare/link").c_str(),
                    RENAME_EXCHANGE);
      }
    });
    for (int round = 0; round < 400; ++round) {
      // The result does not matter while it is disturbed; nothing outside is touched.
      static_cast<void>(files.removeItem(home + "/tree"));
      std::error_code ignored;
      std::filesystem::create_directories(home + "/tree/victim", ignored);
      if (!isThere(home + "/spare/link")) {
        EXPECT_EQ(::symlink(outside.c_str(), (home + "/spare/link").c_str()), 0);
      }
    }
    ended = true;
    swapper.join();
    EXPECT_EQ(countIn(outside), 50U);
  });
}

TEST(RemovingOnDisk, IsDoneWithAFolderThatVanishesOnceItWasListed) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFolders(home + "/tree/folder");
    inChild([&] {
      afterSystemCall(SYS_getdents64, [&] { EXPECT_EQ(::rmdir((home + "/tree/folder").c_str()), 0); });
      expectDone(files.removeItem(home + "/tree"));
    });
    EXPECT_EQ(countIn(home), 0U);
  });
}

TEST(RemovingOnDisk, StopsWhenAFolderWasCarriedAwayFromUnderIt) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    const std::string outside = openFolder("outside");
    makeFile(outside + "/file", "kept");
    const int deepest = descendByMaking(home, "d", 200);
    ::close(deepest);
    std::atomic<bool> ended{false};
    // The middle of the tree is moved elsewhere and back: on the way up, ".." must not be trusted.
    std::string middle = home;
    for (int level = 0; level < 100; ++level) middle += "/d";
    std::thread mover([&] {
      while (!ended) {
        static_cast<void>(std::rename(middle.c_str(), (outside + "/carried").c_str()));
        static_cast<void>(std::rename((outside + "/carried").c_str(), middle.c_str()));
      }
    });
    static_cast<void>(files.removeItem(home + "/d"));
    ended = true;
    mover.join();
    EXPECT_EQ(textOf(outside + "/file"), "kept");
  });
}

}  // namespace
}  // namespace qm::testing
