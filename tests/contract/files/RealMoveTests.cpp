// SPDX-License-Identifier: MIT
#include <sys/syscall.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <thread>
#include <vector>

#include "Platform/posix/PosixFileSystem.h"
#include "tests/contract/files/RealFiles.h"

namespace qm::testing {
namespace {

constexpr int kFlagsOfRename = 4;
constexpr int kFlagsOfUnlink = 2;

/// As on a file system without an exclusive rename.
void withoutExclusiveRename() { failSystemCall(SYS_renameat2, EINVAL, kFlagsOfRename); }

TEST(MovingOnDisk, DoesNotTakeASecondNameOfAFileForAFreePlace) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFile(home + "/one", "text");
    ASSERT_EQ(::link((home + "/one").c_str(), (home + "/two").c_str()), 0);
    expectError(files.moveItem(home + "/one", home + "/two"), EEXIST,
                "“one” couldn’t be moved to “home” because an item with the same name already exists.");
    EXPECT_EQ(attributesOf(home + "/one").st_nlink, 2U);
  });
}

TEST(MovingOnDisk, WorksWhereTheFileSystemHasNoExclusiveRename) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFile(home + "/file", "text");
    makeFolders(home + "/folder/inner");
    ASSERT_EQ(::symlink("nowhere", (home + "/link").c_str()), 0);
    ASSERT_EQ(::mkfifo((home + "/fifo").c_str(), 0600), 0);
    inChild([&] {
      withoutExclusiveRename();
      for (const std::string name : {"/file", "/folder", "/link", "/fifo"}) {
        expectDone(files.moveItem(home + name, home + name + " moved"));
        EXPECT_FALSE(isThere(home + name));
        EXPECT_TRUE(isThere(home + name + " moved"));
      }
      EXPECT_EQ(textOf(home + "/file moved"), "text");
      EXPECT_EQ(attributesOf(home + "/file moved").st_nlink, 1U);
      EXPECT_TRUE(isThere(home + "/folder moved/inner"));
    });
  });
}

TEST(MovingOnDisk, NeverReplacesWhereTheFileSystemHasNoExclusiveRename) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    for (const char* name : {"/a", "/b"}) makeFile(home + name, name);
    for (const char* name : {"/c", "/d"}) makeFolders(home + name);
    ASSERT_EQ(::symlink("nowhere", (home + "/link").c_str()), 0);
    ASSERT_EQ(::link((home + "/a").c_str(), (home + "/second name of a").c_str()), 0);
    inChild([&] {
      withoutExclusiveRename();
      for (const std::string to : {"/b", "/c", "/link", "/second name of a", "/a"}) {
        EXPECT_EQ(files.moveItem(home + "/a", home + to).code(), EEXIST) << to;
      }
      for (const std::string to : {"/b", "/d", "/link", "/c"}) {
        EXPECT_EQ(files.moveItem(home + "/c", home + to).code(), EEXIST) << to;
      }
      EXPECT_EQ(files.moveItem(home + "/c", home + "/c/inside").code(), EINVAL);
      EXPECT_EQ(files.moveItem(home + "/none", home + "/new").code(), ENOENT);
    });
    EXPECT_EQ(textOf(home + "/b"), "/b");
    EXPECT_EQ(attributesOf(home + "/a").st_nlink, 2U);
    EXPECT_EQ(countIn(home), 6U);
  });
}

TEST(MovingOnDisk, KnowsAFolderThatWouldGoIntoItselfWhateverMayBeWrittenThere) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    asUser(kUser, kUser, [&] {
      makeFolders(home + "/a/closed", 0555);
      expectError(files.moveItem(home + "/a", home + "/a/closed/b"), EINVAL,
                  "“a” couldn’t be moved to “closed” because a folder can’t be put into itself.");
    });
  });
}

TEST(MovingOnDisk, LeavesNothingUnderTheNewNameWhenItFailsWithoutAnExclusiveRename) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFile(home + "/file", "text");
    makeFolders(home + "/folder");
    inChild([&] {
      withoutExclusiveRename();
      failSystemCall(SYS_linkat, EIO);
      failSystemCall(SYS_renameat, EIO);
      for (const std::string name : {"/file", "/folder"})
        EXPECT_EQ(files.moveItem(home + name, home + "/new").code(), EIO);
    });
    EXPECT_EQ(countIn(home), 2U);
    EXPECT_EQ(textOf(home + "/file"), "text");
  });
}

/// Many try to get one name, over and over.
void expectOneMover() {
  const std::string home = openFolder("home");
  constexpr int movers = 4;
  constexpr int rounds = 50;
  for (int round = 0; round < rounds; ++round) {
    std::atomic<int> moved{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < movers; ++i) {
      const std::string source = home + "/" + std::to_string(i);
      makeFile(source, "x");
      threads.emplace_back([&, source] { moved += files.moveItem(source, home + "/goal").ok() ? 1 : 0; });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(moved, 1);
    EXPECT_EQ(countIn(home), static_cast<std::size_t>(movers));
    EXPECT_EQ(textOf(home + "/goal"), "x");
    expectDone(files.removeItem(home + "/goal"));
  }
}

TEST(MovingOnDisk, OnlyOneOfManyAtOnceGetsAName) { runInPrivateMachine(expectOneMover); }

TEST(MovingOnDisk, OnlyOneOfManyAtOnceGetsANameWithoutAnExclusiveRename) {
  runInPrivateMachine([] {
    withoutExclusiveRename();
    expectOneMover();
  });
}

TEST(MovingOnDisk, TakesEverythingAcrossVolumes) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = machineFolder() + "/volume";
    mountTmpfs(to, "mode=0777");
    makeFolders(from + "/tree/folder", 0500);
    makeFile(from + "/tree/file", "text");
    ASSERT_EQ(::chmod((from + "/tree/file").c_str(), 04711), 0);
    ASSERT_EQ(::mkfifo((from + "/tree/fifo").c_str(), 0600), 0);
    ASSERT_EQ(::link((from + "/tree/file").c_str(), (from + "/tree/second").c_str()), 0);
    expectDone(files.moveItem(from + "/tree", to + "/tree"));
    EXPECT_EQ(countIn(from), 0U);
    EXPECT_EQ(countIn(to), 1U);
    EXPECT_EQ(modeOf(to + "/tree/folder"), 0500U);
    EXPECT_EQ(modeOf(to + "/tree/file"), 04711U);
    EXPECT_TRUE(S_ISFIFO(attributesOf(to + "/tree/fifo").st_mode));
    EXPECT_EQ(attributesOf(to + "/tree/file").st_nlink, 2U);
  });
}

TEST(MovingOnDisk, CopiesAcrossABindMountOfTheSameVolume) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string other = openFolder("other");
    bindMount(other, machineFolder() + "/bound");
    makeFile(from + "/file", "text");
    expectDone(files.moveItem(from + "/file", machineFolder() + "/bound/file"));
    EXPECT_EQ(textOf(other + "/file"), "text");
    EXPECT_FALSE(isThere(from + "/file"));
  });
}

TEST(MovingOnDisk, CopiesNothingOutOfAStickyFolderThatKeepsItsItems) {
  runInPrivateMachine([] {
    const std::string shared = openFolder("shared");
    const std::string volume = machineFolder() + "/volume";
    ASSERT_EQ(::chmod(shared.c_str(), 01777), 0);
    mountTmpfs(volume, "mode=0777");
    makeFile(shared + "/foreign", "kept");
    asUser(kUser, kUser, [&] {
      expectError(files.moveItem(shared + "/foreign", volume + "/foreign"), EPERM,
                  "“foreign” couldn’t be moved to “volume” because you don’t have permission.");
    });
    EXPECT_EQ(textOf(shared + "/foreign"), "kept");
    EXPECT_EQ(countIn(volume), 0U);
  });
}

TEST(MovingOnDisk, CopiesNothingOfATreeInWhichAVolumeIsMounted) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string volume = machineFolder() + "/volume";
    mountTmpfs(volume, "mode=0777");
    makeFolders(from + "/tree");
    mountTmpfs(from + "/tree/mounted");
    EXPECT_EQ(files.moveItem(from + "/tree", volume + "/tree").code(), EBUSY);
    EXPECT_EQ(countIn(volume), 0U);
  });
}

/// Moves "tree" with a file in it to another volume, where something fails: the source is unchanged, and if that can be
/// removed there is no copy.
void expectTreeKept(const std::function<void()>& fail, int code, const std::string& sentence) {
  const std::string from = openFolder("from");
  const std::string volume = machineFolder() + "/volume";
  mountTmpfs(volume, "mode=0777");
  makeFolders(from + "/tree");
  makeFile(from + "/tree/file", "text");
  inChild([&] {
    fail();
    expectError(files.moveItem(from + "/tree", volume + "/tree"), code, sentence);
  });
  EXPECT_EQ(textOf(from + "/tree/file"), "text");
  EXPECT_EQ(countIn(from), 1U);
}

TEST(MovingOnDisk, LeavesTheSourceAndNoCopyWhenTheCopyDoesNotGetToTheDisk) {
  runInPrivateMachine([] {
    expectTreeKept([] { failSystemCall(SYS_syncfs, EIO); }, EIO,
                   "“tree” couldn’t be moved to “volume” (Input/output error).");
    EXPECT_EQ(countIn(machineFolder() + "/volume"), 0U);
  });
}

TEST(MovingOnDisk, SaysThatThereIsNoSpaceWhenTheVolumeTellsThatLate) {
  runInPrivateMachine([] {
    expectTreeKept([] { failSystemCall(SYS_syncfs, ENOSPC); }, ENOSPC,
                   "“tree” couldn’t be moved to “volume” because there isn’t enough space.");
    EXPECT_EQ(countIn(machineFolder() + "/volume"), 0U);
  });
}

TEST(MovingOnDisk, PutsTheSourceBackWhenNothingOfItCanBeRemovedAfterAll) {
  runInPrivateMachine([] {
    expectTreeKept([] { failSystemCall(SYS_unlinkat, EIO); }, EIO,
                   "“file” couldn’t be moved to “volume” (Input/output error).");
  });
}

/// The volume is flushed right after the copy got its name, and before the source is removed.
TEST(MovingOnDisk, LeavesTheSourceAndNoCopyWhenTheSourceCannotBeSetAside) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string volume = machineFolder() + "/volume";
    mountTmpfs(volume, "mode=0777");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/file", "text");
    inChild([&] {
      afterSystemCall(SYS_syncfs, [&] { makeReadOnly(from); });
      bindMount(from, from);
      expectError(files.moveItem(from + "/tree", volume + "/tree"), EROFS,
                  "“tree” couldn’t be moved to “volume” because the volume is read-only.");
    });
    EXPECT_EQ(textOf(from + "/tree/file"), "text");
    EXPECT_EQ(countIn(volume), 0U);
  });
}

TEST(MovingOnDisk, RemovesNothingThatTookTheNameOfTheSourceMeanwhile) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string volume = machineFolder() + "/volume";
    mountTmpfs(volume, "mode=0777");
    makeFile(from + "/file", "old");
    makeFile(from + "/new", "new");
    inChild([&] {
      afterSystemCall(SYS_syncfs,
                      [&] { EXPECT_EQ(std::rename((from + "/new").c_str(), (from + "/file").c_str()), 0); });
      expectError(files.moveItem(from + "/file", volume + "/file"), ESTALE,
                  "“file” couldn’t be moved to “volume” because it was changed meanwhile.");
    });
    EXPECT_EQ(textOf(from + "/file"), "new");
    EXPECT_EQ(countIn(from), 1U);
    EXPECT_EQ(countIn(volume), 0U);
  });
}

TEST(MovingOnDisk, KeepsTheSourceWhenTheCopyWasTakenAwayMeanwhile) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string volume = machineFolder() + "/volume";
    mountTmpfs(volume, "mode=0777");
    makeFile(from + "/file", "text");
    inChild([&] {
      afterSystemCall(SYS_syncfs, [&] {
        EXPECT_EQ(::unlink((volume + "/file").c_str()), 0);
        makeFile(volume + "/file", "somebody else's");
      });
      EXPECT_EQ(files.moveItem(from + "/file", volume + "/file").code(), ESTALE);
    });
    EXPECT_EQ(textOf(from + "/file"), "text");
    EXPECT_EQ(textOf(volume + "/file"), "somebody else's");
  });
}

/// The first that is removed is a file, the second the folder that it was in.
TEST(MovingOnDisk, KeepsTheCompleteCopyAndNamesTheRestWhenTheRemovalFailsMidway) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string volume = machineFolder() + "/volume";
    mountTmpfs(volume, "mode=0777");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/file", "text");
    inChild([&] {
      failSystemCall(SYS_unlinkat, EIO, kFlagsOfUnlink);
      const auto status = files.moveItem(from + "/tree", volume + "/tree");
      EXPECT_EQ(status.code(), EIO);
      const std::string rest = std::filesystem::directory_iterator(from)->path().filename();
      EXPECT_EQ(status.localizedDescription(), "“" + rest + "” couldn’t be moved to “volume” (Input/output error).");
      EXPECT_TRUE(rest.starts_with(".incomplete-")) << rest;
    });
    EXPECT_EQ(countIn(from), 1U);
    EXPECT_EQ(textOf(volume + "/tree/file"), "text");
    EXPECT_EQ(countIn(volume), 1U);
  });
}

/// A copy to a folder in which one may create items but which one may not list.
TEST(MovingOnDisk, WaitsForTheDiskAlsoWhereTheNewFolderMayNotBeRead) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string volume = machineFolder() + "/volume";
    mountTmpfs(volume, "mode=0733");
    asUser(kUser, kUser, [&] {
      makeFile(from + "/file", "text");
      expectDone(files.moveItem(from + "/file", volume + "/file"));
    });
    EXPECT_EQ(textOf(volume + "/file"), "text");
    EXPECT_EQ(countIn(from), 0U);
  });
}

TEST(MovingOnDisk, LeavesAVolumeWhereItIsMounted) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    mountTmpfs(home + "/volume");
    expectError(files.moveItem(home + "/volume", home + "/new"), EBUSY,
                "“volume” couldn’t be moved to “home” because it is in use or holds another volume.");
  });
}

TEST(MovingOnDisk, SaysWhy) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFile(home + "/a\nb");
    makeFile(home + "/file");
    makeFolders(home + "/folder");
    expectError(files.moveItem(home + "/none", home + "/new"), ENOENT,
                "“none” couldn’t be moved to “home” because it doesn’t exist.");
    expectError(files.moveItem(home + "/none", home + "/nowhere/new"), ENOENT,
                "“none” couldn’t be moved to “nowhere” because it doesn’t exist.");
    expectError(files.moveItem(home + "/a\nb", home + "/none/new"), ENOENT,
                "“a?b” couldn’t be moved to “none” because the folder doesn’t exist.");
    expectError(files.moveItem(home + "/folder", home + "/folder/a"), EINVAL,
                "“folder” couldn’t be moved to “folder” because a folder can’t be put into itself.");
    expectError(files.copyItem(home + "/folder", home + "/folder/a"), EINVAL,
                "“folder” couldn’t be copied to “folder” because a folder can’t be put into itself.");
    expectError(files.moveItem("", home + "/a"), EINVAL,
                "“” couldn’t be moved to “home” because its path can’t be used.");
    expectError(files.moveItem(home + "/file", "relative"), EINVAL,
                "“file” couldn’t be moved to “” because the path there can’t be used.");
    expectError(files.moveItem(home + "/file", home + "/" + std::string(300, 'n')), ENAMETOOLONG,
                "“file” couldn’t be moved to “home” because the name or path there is too long.");
    expectError(files.removeItem(home + "/file/"), 0, "");
    expectError(files.removeItem("/"), EINVAL, "“/” couldn’t be removed because its path can’t be used.");
    expectError(files.removeItem(home + "/folder/."), EINVAL,
                "“.” couldn’t be removed because its path can’t be used.");
    expectError(files.writeFileAtomically(home + "/folder", ""), EISDIR,
                "“folder” couldn’t be saved because it is a folder.");
    makeFile(home + "/taken");
    expectError(files.createDirectory(home + "/taken"), EEXIST,
                "“taken” couldn’t be created because an item with the same name already exists.");
  });
}

}  // namespace
}  // namespace qm::testing
