// SPDX-License-Identifier: MIT
#include <sys/syscall.h>
#include <sys/xattr.h>

#include <functional>
#include <limits>

#include "Platform/posix/Move.h"
#include "Platform/posix/TreeCounter.h"
#include "tests/contract/files/Meddler.h"
#include "tests/contract/files/RealFiles.h"

/// Changes to an item while it is copied, at the worst moment.
namespace qm::testing {
namespace {

namespace fs = std::filesystem;

TEST(CopyingWhatChanges, EndsWhereTheFileWasCutOff) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/file", std::string(16'000'000, 'x'));
    Meddler meddler({}, afterTheFirst([&] { fs::resize_file(from + "/file", 6'000'000); }));
    EXPECT_EQ(posix::copyTree(from + "/file", to + "/copy", meddler).code, 0);
    EXPECT_EQ(attributesOf(to + "/copy").st_size, 6'000'000);
    EXPECT_LT(attributesOf(to + "/copy").st_blocks * 512, 6'100'000) << "nothing stays set aside";
    EXPECT_TRUE(textOf(to + "/copy") == std::string(6'000'000, 'x'));
  });
}

TEST(CopyingWhatChanges, EndsWhereAFileWithHolesWasCutOff) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/file", std::string(12'000'000, 'x'));
    fs::resize_file(from + "/file", 32'000'000);
    Meddler meddler({}, [&](std::uint64_t count) {
      if (count > 0) fs::resize_file(from + "/file", 6'000'000);
      return 0;
    });
    EXPECT_EQ(posix::copyTree(from + "/file", to + "/copy", meddler).code, 0);
    EXPECT_EQ(attributesOf(to + "/copy").st_size, 6'000'000);
    EXPECT_LT(attributesOf(to + "/copy").st_blocks * 512, 6'100'000) << "nothing stays set aside";
    EXPECT_TRUE(textOf(to + "/copy") == std::string(6'000'000, 'x'));
  });
}

TEST(CopyingWhatChanges, HasAFileAsItWasWhenItsTurnCame) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/file", std::string(9'000'000, 'x'));
    Meddler meddler({}, afterTheFirst([&] { fs::resize_file(from + "/file", 90'000'000); }));
    EXPECT_EQ(posix::copyTree(from + "/file", to + "/copy", meddler).code, 0);
    EXPECT_TRUE(textOf(to + "/copy") == std::string(9'000'000, 'x'));
    // Its end may have become a hole or data since.
    makeFile(from + "/sparse", std::string(100'000, 'x'));
    fs::resize_file(from + "/sparse", 9'000'000);
    Meddler other({}, afterTheFirst([&] { fs::resize_file(from + "/sparse", 90'000'000); }));
    EXPECT_EQ(posix::copyTree(from + "/sparse", to + "/sparse", other).code, 0);
    EXPECT_EQ(attributesOf(to + "/sparse").st_size, 9'000'000);
  });
}

TEST(CopyingWhatChanges, FinishesAFileWhoseNameHasGone) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/file", std::string(9'000'000, 'x'));
    Meddler meddler({}, afterTheFirst([&] { fs::remove(from + "/file"); }));
    EXPECT_EQ(posix::copyTree(from + "/file", to + "/copy", meddler).code, 0);
    EXPECT_TRUE(textOf(to + "/copy") == std::string(9'000'000, 'x'));
  });
}

TEST(CopyingWhatChanges, FailsWhenTheItemItselfIsGoneBeforeItsTurn) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/file", "text");
    Meddler meddler(at("/", [&] { fs::remove(from + "/file"); }));
    EXPECT_EQ(posix::copyTree(from + "/file", to + "/copy", meddler).code, ENOENT);
    EXPECT_EQ(countIn(to), 0U);
  });
}

TEST(CopyingWhatChanges, LeavesOutWhatHasVanishedFromATree) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    for (const char* folder : {"/tree/a", "/tree/b"}) {
      makeFolders(from + folder);
      makeFile(from + folder + "/file", "text");
    }
    makeFile(from + "/tree/file", "text");
    std::string kept;
    // At the turn of the first entry, all the others are removed.
    Meddler meddler([&](const std::string& path) {
      if (path == "/" || !kept.empty()) return 0;
      kept = path.substr(1);
      for (const auto& entry : fs::directory_iterator(from + "/tree")) {
        if (entry.path().filename() != kept) fs::remove_all(entry.path());
      }
      return 0;
    });
    EXPECT_EQ(posix::copyTree(from + "/tree", to + "/copy", meddler).code, 0);
    ASSERT_EQ(countIn(to + "/copy"), 1U);
    EXPECT_TRUE(isThere(to + "/copy/" + kept));
  });
}

TEST(CopyingWhatChanges, LeavesOutAFileThatVanishesAtItsTurn) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    for (const char* name : {"/tree/a", "/tree/b"}) makeFile(from + name, "text");
    Meddler meddler(at("/a", [&] { fs::remove(from + "/tree/a"); }));
    EXPECT_EQ(posix::copyTree(from + "/tree", to + "/copy", meddler).code, 0);
    EXPECT_EQ(countIn(to + "/copy"), 1U);
    EXPECT_EQ(textOf(to + "/copy/b"), "text");
  });
}

TEST(CopyingWhatChanges, CopiesWhatAFileHasBecome) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    for (const char* name : {"/tree/link", "/tree/fifo"}) makeFile(from + name, "text");
    const auto become = [&](const std::string& path) {
      if (path == "/link") {
        fs::remove(from + "/tree/link");
        fs::create_symlink("nowhere", from + "/tree/link");
      } else if (path == "/fifo") {
        fs::remove(from + "/tree/fifo");
        EXPECT_EQ(::mkfifo((from + "/tree/fifo").c_str(), 0600), 0);
      }
      return 0;
    };
    Meddler meddler(become);
    EXPECT_EQ(posix::copyTree(from + "/tree", to + "/copy", meddler).code, 0);
    EXPECT_EQ(fs::read_symlink(to + "/copy/link"), "nowhere");
    EXPECT_TRUE(S_ISFIFO(attributesOf(to + "/copy/fifo").st_mode));
  });
}

TEST(CopyingWhatChanges, CanBeGivenUpAfterItsLastByte) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/file", "text");
    Meddler meddler({}, [](std::uint64_t count) { return count == 0 ? ECANCELED : 0; });
    EXPECT_EQ(posix::copyTree(from + "/file", to + "/copy", meddler).code, ECANCELED);
    EXPECT_EQ(meddler.bytes, 4U);
    EXPECT_EQ(countIn(to), 0U);
  });
}

/// An errno that an earlier call has left does not matter to a call that succeeded.
TEST(CopyingWhatChanges, EndsWhereAFileWasCutOffAlsoAfterAnInterruption) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/file", std::string(1'000'000, 'a'));
    inChild([&] {
      for (const long call : {SYS_ioctl, SYS_copy_file_range}) failSystemCall(call, ENOTSUP);
      Meddler meddler({}, afterTheFirst([&] {
                        fs::resize_file(from + "/file", 500'000);
                        errno = EINTR;
                      }));
      EXPECT_EQ(posix::copyTree(from + "/file", to + "/copy", meddler).code, 0);
      EXPECT_EQ(fs::file_size(to + "/copy"), 500'000U);
    });
  });
}

TEST(CopyingWhatChanges, FailsWhenAFileHasBecomeAFolder) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/a", "text");
    const auto become = [](const std::string& path) {
      fs::remove(path);
      fs::create_directory(path);
    };
    Meddler inTree(at("/a", [&] { become(from + "/tree/a"); }));
    const auto error = posix::copyTree(from + "/tree", to + "/copy", inTree);
    EXPECT_EQ(error.code, ESTALE);
    EXPECT_EQ(error.item, "a");
    makeFile(from + "/alone", "text");
    Meddler alone(at("/", [&] { become(from + "/alone"); }));
    EXPECT_EQ(posix::copyTree(from + "/alone", to + "/copy", alone).code, ESTALE);
    EXPECT_EQ(countIn(to), 0U);
  });
}

TEST(CopyingWhatChanges, LeavesAloneWhatHasTakenTheNewNameMeanwhile) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/a", "text");
    for (const char* source : {"/tree", "/tree/a"}) {
      Meddler meddler(at("/", [&] { makeFile(to + "/copy", "theirs"); }));
      EXPECT_EQ(posix::copyTree(from + source, to + "/copy", meddler).code, EEXIST);
      EXPECT_EQ(textOf(to + "/copy"), "theirs");
      EXPECT_EQ(countIn(to), 1U);
      fs::remove(to + "/copy");
    }
  });
}

TEST(CopyingWhatChanges, FailsWhenTheFolderOfTheCopyIsRemoved) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/a", "text");
    Meddler meddler(at("/a", [&] { fs::remove_all(to); }));
    EXPECT_EQ(posix::copyTree(from + "/tree", to + "/copy", meddler).code, ESTALE);
    EXPECT_EQ(textOf(from + "/tree/a"), "text");
  });
}

/// Whatever others may do with it in the end, nobody but its owner can access a part of it.
TEST(CopyingWhatChanges, HasNoRightsForOthersWhileItGrows) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/file", "text");
    for (const mode_t mode : {0777U, 0700U}) {
      ASSERT_EQ(::chmod((from + "/tree").c_str(), mode), 0);
      ASSERT_EQ(::chmod((from + "/tree/file").c_str(), mode), 0);
      for (const auto& [source, hidden] : {std::pair("/tree", 0700U), std::pair("/tree/file", 0600U)}) {
        int looks = 0;
        const auto look = [&, wanted = hidden] {
          EXPECT_EQ(countIn(to), 1U);
          for (const auto& entry : fs::directory_iterator(to)) EXPECT_EQ(modeOf(entry.path().string()), wanted);
          ++looks;
          return 0;
        };
        Meddler meddler([&](const std::string& path) { return path == "/" ? 0 : look(); },
                        [&](std::uint64_t count) { return count == 0 ? 0 : look(); });
        EXPECT_EQ(posix::copyTree(from + source, to + "/copy", meddler).code, 0);
        EXPECT_EQ(looks, hidden == 0700U ? 2 : 1);
        EXPECT_EQ(modeOf(to + "/copy"), mode);
        fs::remove_all(to + "/copy");
      }
    }
  });
}

TEST(CopyingWhatChanges, EndsWhereverTheObserverWantsItTo) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree/folder");
    makeFile(from + "/tree/folder/small", "text");
    makeFile(from + "/tree/folder/big", std::string(5'000'000, 'b'));
    makeFile(from + "/tree/folder/sparse", "text");
    fs::resize_file(from + "/tree/folder/sparse", 50'000'000);
    ASSERT_EQ(::link((from + "/tree/folder/small").c_str(), (from + "/tree/folder/same").c_str()), 0);
    int steps = 0;
    const auto stopAt = [&](int wanted) {
      steps = 0;
      const auto count = [&steps, wanted] { return ++steps == wanted ? ECANCELED : 0; };
      Meddler meddler([=](const std::string&) { return count(); }, [=](std::uint64_t) { return count(); });
      return posix::copyTree(from + "/tree", to + "/copy", meddler).code;
    };
    ASSERT_EQ(stopAt(0), 0);
    fs::rename(to + "/copy", from + "/whole");
    const int all = steps;
    ASSERT_GT(all, 10);
    for (int step = 1; step <= all; ++step) {
      EXPECT_EQ(stopAt(step), ECANCELED) << step;
      EXPECT_EQ(steps, step) << "nobody is asked again";
      EXPECT_EQ(countIn(to), 0U) << step;
    }
  });
}

// MARK: - What the observer and the counting hear

TEST(CountingATree, AgreesWithWhatIsCopied) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    makeFolders(from + "/tree/folder");
    makeFile(from + "/tree/small", "text");
    makeFile(from + "/tree/big", std::string(5'000'000, 'b'));
    makeFile(from + "/tree/sparse", std::string(100'000, 's'));
    fs::resize_file(from + "/tree/sparse", 50'000'000);
    ASSERT_EQ(::link((from + "/tree/small").c_str(), (from + "/tree/folder/same").c_str()), 0);
    ASSERT_EQ(::symlink("small", (from + "/tree/link").c_str()), 0);
    ASSERT_EQ(::mkfifo((from + "/tree/fifo").c_str(), 0600), 0);
    Meddler observer({});
    EXPECT_EQ(posix::copyTree(from + "/tree", openFolder("to") + "/copy", observer).code, 0);
    posix::TreeCounter counter;
    counter.count(from + "/tree");
    EXPECT_TRUE(counter.isFinished());
    EXPECT_EQ(counter.objects(), 8U);
    EXPECT_EQ(counter.objects(), observer.items);
    EXPECT_EQ(counter.bytes(), 55'000'008U);
    EXPECT_EQ(counter.bytes(), observer.bytes);
  });
}

TEST(CountingATree, NeverCountsBeyondTheGreatestNumber) {
  runInPrivateMachine([] {
    const std::string volume = machineFolder() + "/volume";
    mountTmpfs(volume);
    makeFolders(volume + "/tree");
    for (const char* name : {"/tree/a", "/tree/b", "/tree/c"}) {
      makeFile(volume + name);
      fs::resize_file(volume + name, std::numeric_limits<off_t>::max());
    }
    posix::TreeCounter counter;
    counter.count(volume + "/tree");
    EXPECT_EQ(counter.bytes(), std::numeric_limits<std::uint64_t>::max());
  });
}

TEST(CountingATree, CountsLoneItemsAndNothingWhereNothingIs) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    makeFile(from + "/file", "text");
    ASSERT_EQ(::symlink("file", (from + "/link").c_str()), 0);
    const auto counted = [](const std::string& path) {
      posix::TreeCounter counter;
      counter.count(path);
      return std::pair(counter.objects(), counter.bytes());
    };
    EXPECT_EQ(counted(from + "/file"), std::pair(std::uint64_t{1}, std::uint64_t{4}));
    EXPECT_EQ(counted(from + "/link"), std::pair(std::uint64_t{1}, std::uint64_t{0}));
    EXPECT_EQ(counted(from + "/none"), std::pair(std::uint64_t{0}, std::uint64_t{0}));
    EXPECT_EQ(counted("relative"), std::pair(std::uint64_t{0}, std::uint64_t{0}));
  });
}

TEST(CountingATree, EndsOnceItIsUnwanted) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    makeFolders(from + "/tree");
    for (int file = 0; file < 10; ++file) makeFile(from + "/tree/" + std::to_string(file), "text");
    posix::TreeCounter counter;
    int asked = 0;
    counter.count(from + "/tree", [&] { return ++asked == 3; });
    EXPECT_TRUE(counter.isFinished());
    EXPECT_EQ(counter.objects(), 3U);
    EXPECT_EQ(counter.bytes(), 8U);
    EXPECT_EQ(asked, 3);
  });
}

TEST(CountingATree, LeavesOutWhatItMayNotSeeAndEndsWhenItIsTold) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    makeFolders(from + "/tree/folder");
    makeFile(from + "/tree/folder/file", "text");
    asUser(1000, 1000, [&] {
      ASSERT_TRUE(isThere(from + "/tree"));
      posix::TreeCounter stopped;
      stopped.stop();
      stopped.count(from + "/tree");
      EXPECT_TRUE(stopped.isFinished());
      EXPECT_EQ(stopped.objects(), 1U);
    });
    ASSERT_EQ(::chmod((from + "/tree/folder").c_str(), 0700), 0);
    asUser(1000, 1000, [&] {
      posix::TreeCounter counter;
      counter.count(from + "/tree");
      EXPECT_EQ(counter.objects(), 2U);
      EXPECT_EQ(counter.bytes(), 0U);
    });
  });
}

// MARK: - What each file costs, and what it gets

TEST(CopyingFilesOfATree, KeepsModesWhateverTheProcessMasks) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    for (const mode_t mode : {0666U, 0444U, 0400U, 0000U, 0777U, 0640U, 04755U}) {
      const std::string path = from + "/tree/" + std::to_string(mode);
      makeFile(path, "text");
      ASSERT_EQ(::chmod(path.c_str(), mode), 0);
    }
    for (const mode_t mask : {0U, 022U, 0777U}) {
      inChild([&] {
        ::umask(mask);
        Meddler observer({});
        EXPECT_EQ(posix::copyTree(from + "/tree", to + "/" + std::to_string(mask), observer).code, 0);
      });
      for (const mode_t mode : {0666U, 0444U, 0400U, 0000U, 0777U, 0640U, 04755U}) {
        EXPECT_EQ(modeOf(to + "/" + std::to_string(mask) + "/" + std::to_string(mode)), mode) << mask;
      }
    }
  });
}

TEST(CopyingFilesOfATree, KeepsAttributesOfFilesThatTheirOwnerMayNotWrite) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    asUser(1000, 1000, [&] {
      makeFolders(from + "/tree");
      makeFile(from + "/tree/file", "text");
      const bool kept = ::setxattr((from + "/tree/file").c_str(), "user.note", "n", 1, 0) == 0;
      ASSERT_EQ(::chmod((from + "/tree/file").c_str(), 0444), 0);
      Meddler observer({});
      EXPECT_EQ(posix::copyTree(from + "/tree", to + "/copy", observer).code, 0);
      char value = 0;
      EXPECT_EQ(::getxattr((to + "/copy/file").c_str(), "user.note", &value, 1), kept ? 1 : -1);
      EXPECT_EQ(modeOf(to + "/copy/file"), 0444U);
    });
  });
}

/// The system call filter returns success without sharing anything: a file that is empty then was not copied as well.
TEST(CopyingFilesOfATree, CopiesNothingThatTheFileSystemShares) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/file", std::string(100'000, 'x'));
    inChild([&] {
      failSystemCall(SYS_ioctl, 0);
      Meddler observer({});
      EXPECT_EQ(posix::copyTree(from + "/file", to + "/copy", observer).code, 0);
      EXPECT_EQ(observer.bytes, 100'000U);
    });
    EXPECT_EQ(attributesOf(to + "/copy").st_size, 0);
  });
}

TEST(CopyingFilesOfATree, CopiesWhereNoSpaceCanBeSetAside) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/file", std::string(9'000'000, 'x'));
    for (const int error : {EOPNOTSUPP, ENOSYS, ENOSPC}) {
      const std::string copy = to + "/" + std::to_string(error);
      inChild([&] {
        failSystemCall(SYS_fallocate, error);
        Meddler observer({});
        EXPECT_EQ(posix::copyTree(from + "/file", copy, observer).code, 0);
      });
      EXPECT_TRUE(textOf(copy) == std::string(9'000'000, 'x')) << error;
    }
  });
}

TEST(CopyingFilesOfATree, CopiesWhatCannotBeShared) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    for (const char* name : {"/tree/a", "/tree/b"}) makeFile(from + name, std::string(100'000, 'x'));
    for (const int error : {ENOTTY, EXDEV, EOPNOTSUPP, ETXTBSY, ENOSPC}) {
      const std::string copy = to + "/" + std::to_string(error);
      inChild([&] {
        failSystemCall(SYS_ioctl, error);
        Meddler observer({});
        EXPECT_EQ(posix::copyTree(from + "/tree", copy, observer).code, 0);
        EXPECT_EQ(observer.bytes, 200'000U);
      });
      for (const char* name : {"/a", "/b"}) EXPECT_TRUE(textOf(copy + name) == std::string(100'000, 'x')) << error;
    }
  });
}

}  // namespace
}  // namespace qm::testing
