// SPDX-License-Identifier: MIT
#include <sys/syscall.h>
#include <sys/sysmacros.h>

#include <thread>
#include <utility>

#include "Platform/posix/PosixFileSystem.h"
#include "tests/contract/files/RealFiles.h"

namespace qm::testing {
namespace {

constexpr gid_t kOtherGroup = 2000;

TEST(WritingOnDisk, GivesNewFilesTheDefaultModeAndKeepsThatOfOldOnes) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    ::umask(027);
    expectDone(files.writeFileAtomically(home + "/new", "text"));
    EXPECT_EQ(modeOf(home + "/new"), 0640U);
    makeFile(home + "/old");
    ASSERT_EQ(::chown((home + "/old").c_str(), kUser, kUser), 0);
    ASSERT_EQ(::chmod((home + "/old").c_str(), 04606), 0);
    expectDone(files.writeFileAtomically(home + "/old", "text"));
    EXPECT_EQ(modeOf(home + "/old"), 0606U);
    EXPECT_EQ(attributesOf(home + "/old").st_uid, kUser);
  });
}

TEST(WritingOnDisk, GivesNewFilesEveryRightThatTheMaskLeaves) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    ::umask(0);
    expectDone(files.writeFileAtomically(home + "/new", "text"));
    EXPECT_EQ(modeOf(home + "/new"), 0666U);
  });
}

/// A file that belongs to root and to `group`.
void makeRootsFile(const std::string& path, gid_t group, mode_t mode) {
  makeFile(path);
  ASSERT_EQ(::chown(path.c_str(), 0, group), 0);
  ASSERT_EQ(::chmod(path.c_str(), mode), 0);
}

TEST(WritingOnDisk, LetsOnlyTheOwnerIntoTheNewFileUntilItHasTheGroupOfTheOldOne) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    ::umask(0);
    makeRootsFile(home + "/old", kOtherGroup, 0666);
    inChild([&] {
      afterSystemCall(SYS_write, [&] {
        for (const auto& entry : std::filesystem::directory_iterator(home)) {
          const bool isNew = entry.path().filename() != "old";
          EXPECT_EQ(modeOf(entry.path()), isNew ? 0600U : 0666U);
        }
      });
      expectDone(files.writeFileAtomically(home + "/old", "text"));
    });
    EXPECT_EQ(modeOf(home + "/old"), 0666U);
    EXPECT_EQ(attributesOf(home + "/old").st_gid, kOtherGroup);
  });
}

// The user may not give the file to root, but to a group that the user is a member of.
TEST(WritingOnDisk, KeepsTheGroupOfAFileWhoseOwnerCannotBeKept) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    ASSERT_EQ(::chown(home.c_str(), 0, kOtherGroup), 0);
    ASSERT_EQ(::chmod(home.c_str(), 02777), 0);  // new files belong to the folder's group
    makeRootsFile(home + "/old", kUser, 0640);
    asUser(kUser, kUser, [&] { expectDone(files.writeFileAtomically(home + "/old", "text")); });
    EXPECT_EQ(attributesOf(home + "/old").st_uid, kUser);
    EXPECT_EQ(attributesOf(home + "/old").st_gid, kUser);
    EXPECT_EQ(modeOf(home + "/old"), 0640U);
  });
}

// Members of the new group were others before, and the other way round.
TEST(WritingOnDisk, GivesNobodyMoreRightsWhereTheGroupOfTheOldFileCannotBeKept) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    for (const auto& [before, after] :
         {std::pair<mode_t, mode_t>{0640, 0600}, {0604, 0600}, {0660, 0600}, {0664, 0644}, {0644, 0644}}) {
      makeRootsFile(home + "/old", kOtherGroup, before);
      asUser(kUser, kUser, [&] { expectDone(files.writeFileAtomically(home + "/old", "text")); });
      EXPECT_EQ(attributesOf(home + "/old").st_gid, kUser);
      EXPECT_EQ(modeOf(home + "/old"), after) << std::oct << before;
      ASSERT_EQ(::unlink((home + "/old").c_str()), 0);
    }
  });
}

TEST(WritingOnDisk, RemovesItsTemporaryFileWhenTheDiskFails) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFile(home + "/file", "old");
    for (const long call : {SYS_close, SYS_renameat}) {
      inChild([&] {
        failSystemCall(call, EIO);
        expectError(files.writeFileAtomically(home + "/file", "new"), EIO,
                    "“file” couldn’t be saved (Input/output error).");
      });
    }
    EXPECT_EQ(textOf(home + "/file"), "old");
    EXPECT_EQ(countIn(home), 1U);
  });
}

TEST(WritingOnDisk, DoesNotWaitForTheDisk) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFile(home + "/file", "old");
    inChild([&] {
      for (const long call : {SYS_fsync, SYS_fdatasync, SYS_syncfs, SYS_sync}) failSystemCall(call, EIO);
      expectDone(files.writeFileAtomically(home + "/file", "new"));
    });
    EXPECT_EQ(textOf(home + "/file"), "new");
  });
}

TEST(WritingOnDisk, RemovesNothingThatTookThePlaceOfItsTemporaryFile) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    const std::string theirs = openFolder("theirs") + "/file";
    makeFile(theirs, "kept");
    const auto swap = [&] {
      const std::string hidden = std::filesystem::directory_iterator(home)->path();
      EXPECT_EQ(std::rename(theirs.c_str(), hidden.c_str()), 0);
    };
    inChild([&] {
      failSystemCall(SYS_renameat, EIO);
      afterSystemCall(SYS_write, swap);
      EXPECT_EQ(files.writeFileAtomically(home + "/file", "new").code(), EIO);
    });
    EXPECT_EQ(textOf(std::filesystem::directory_iterator(home)->path()), "kept");
  });
}

TEST(WritingOnDisk, ReadersSeeTheOldContentsOrTheNew) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    const std::string even(100'000, 'e');
    const std::string odd(50'000, 'o');
    makeFile(home + "/file", even);
    std::thread writer([&] {
      for (int i = 0; i < 200; ++i) expectDone(files.writeFileAtomically(home + "/file", i % 2 == 0 ? odd : even));
    });
    for (int i = 0; i < 200; ++i) {
      const std::string seen = textOf(home + "/file");
      EXPECT_TRUE(seen == even || seen == odd) << seen.size();
    }
    writer.join();
    EXPECT_EQ(countIn(home), 1U);
  });
}

TEST(WritingOnDisk, NamesAFileInOneLineThatSteersNoTerminal) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFolders(home + "/a\n\x1b[2J\u009b\x9b é");
    expectError(files.writeFileAtomically(home + "/a\n\x1b[2J\u009b\x9b é", "text"), EISDIR,
                "“a??[2J?? é” couldn’t be saved because it is a folder.");
  });
}

TEST(LinkingOnDisk, SaysWhyAFileGotNoSecondName) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFile(home + "/a");
    expectError(files.linkItem(home + "/a", home + "/a"), EEXIST,
                "“a” couldn’t be linked to “home” because an item with the same name already exists.");
    expectError(files.linkItem(home + "/a", home + "/none/b"), ENOENT,
                "“a” couldn’t be linked to “none” because the folder doesn’t exist.");
  });
}

TEST(WritingOnDisk, ReplacesAFifoWithoutWaitingForAReader) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    ASSERT_EQ(::mkfifo((home + "/fifo").c_str(), 0600), 0);
    EXPECT_EQ(files.openForWriting(home + "/fifo"), nullptr);
    expectDone(files.writeFileAtomically(home + "/fifo", "text"));
    EXPECT_EQ(textOf(home + "/fifo"), "text");
  });
}

TEST(OpeningOnDisk, TakesNoFifoThatSomebodyReadsAndNoDevice) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    ASSERT_EQ(::mkfifo((home + "/fifo").c_str(), 0600), 0);
    const int reader = ::open((home + "/fifo").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    EXPECT_EQ(files.openForWriting(home + "/fifo"), nullptr);
    ::close(reader);
    EXPECT_EQ(files.openForWriting("/dev/null"), nullptr);
  });
}

TEST(OpeningOnDisk, ClosesTheFileWithItsLastOwnerAndKeepsItFromChildren) {
  runInPrivateMachine([] {
    const std::string path = openFolder("home") + "/file";
    makeFile(path, "text");
    const int next = ::dup(0);
    ::close(next);
    auto file = files.openForWriting(path);
    ASSERT_NE(file, nullptr);
    EXPECT_NE(::fcntl(next, F_GETFD) & FD_CLOEXEC, 0);
    file.reset();
    EXPECT_EQ(::fcntl(next, F_GETFD), -1);
    EXPECT_EQ(errno, EBADF);
  });
}

TEST(LookingOnDisk, CallsAFileExecutableForRootOnlyWithSomeRight) {
  runInPrivateMachine([] {
    const std::string path = openFolder("home") + "/tool";
    makeFile(path);
    EXPECT_FALSE(files.isExecutableFile(path));
    ASSERT_EQ(::chmod(path.c_str(), 0001), 0);
    EXPECT_TRUE(files.isExecutableFile(path));
    asUser(kUser, kUser, [&] {
      EXPECT_TRUE(files.isExecutableFile(path));
      EXPECT_EQ(::seteuid(kUser), 0);
    });
    ASSERT_EQ(::chmod(path.c_str(), 0700), 0);
    asUser(kUser, kUser, [&] { EXPECT_FALSE(files.isExecutableFile(path)); });
  });
}

TEST(LookingOnDisk, TellsDatesBelowASecondAndBefore1970) {
  runInPrivateMachine([] {
    const std::string path = openFolder("home") + "/file";
    makeFile(path);
    const timespec times[2] = {{-100, 250'000'000}, {-100, 250'000'000}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    EXPECT_EQ(files.attributesOfItem(path)->modificationDate.time_since_epoch(),
              std::chrono::milliseconds(-100'000 + 250));
    EXPECT_EQ(files.attributesOfItem("/dev/null")->type, platform::FileType::Other);
  });
}

TEST(LookingOnDisk, TakesATrailingSlashForTheItemItself) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFolders(home + "/folder");
    makeFile(home + "/folder/file", "kept");
    ASSERT_EQ(::symlink("folder", (home + "/link").c_str()), 0);
    EXPECT_EQ(files.attributesOfItem(home + "/link/")->type, platform::FileType::SymbolicLink);
    EXPECT_EQ(files.destinationOfSymbolicLink(home + "/link//"), "folder");
    expectDone(files.removeItem(home + "/link/"));
    EXPECT_EQ(textOf(home + "/folder/file"), "kept");
  });
}

}  // namespace
}  // namespace qm::testing
