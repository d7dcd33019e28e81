// SPDX-License-Identifier: MIT

// Somebody replaces an item, or moves it in the Trash, at certain moments of its move; and what prevents a move.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "Platform/linux/rights/PathWalk.h"
#include "tests/privileges/MoveMachine.h"

namespace qm::testing {
namespace {

using Names = std::vector<std::string>;

class SwappedItem : public MoveMachine {
 protected:
  static void rename(const std::string& from, const std::string& to) {
    EXPECT_EQ(::rename(from.c_str(), to.c_str()), 0) << from;
  }
};

struct ChangeInTrash {
  bool isFolder = false;
  const char* newPlace = "";
  int error = 0;
};

TEST_F(SwappedItem, IsHandedOverOnlyWhileItIsInTheTrash) {
  const std::vector<ChangeInTrash> changes = {
      {false, "/.local/share/Trash/files/renamed", ESTALE},
      {false, "/outside", ESTALE},
      {true, "/.local/share/Trash/files/renamed", 0},
      {true, "/outside", ESTALE},
  };
  for (const ChangeInTrash& change : changes) {
    SCOPED_TRACE(std::string(change.newPlace) + (change.isFolder ? ", folder" : ", file"));
    run([&] {
      const std::string item = applications() + "/item";
      change.isFolder ? makeFolder(item) : makeFile(item, "", 0, 04755);
      inChild([&] {
        linux_::RootMove move = moveOf(item);
        watchSystemCalls({SYS_fsync}, [&](const SystemCall& call) {
          if (call.path() == trash() + "/info") rename(files() + "/item", home() + change.newPlace);
          return 0;
        });
        EXPECT_EQ(resultOf(move).error, change.error);
      });
      const bool isHandedOver = change.isFolder && change.error == 0;
      EXPECT_EQ(ownerOf(home() + change.newPlace), isHandedOver ? kPerson : 0U);
      EXPECT_EQ(modeOf(home() + change.newPlace), change.isFolder ? 0755U : 04755U);
    });
  }
}

TEST_F(SwappedItem, IsNotHandedOverInPlaceOfTheItem) {
  run([] {
    makeFile(applications() + "/item", "", 0, 0644);
    makeFile(machineFolder() + "/tool", "", 0, 04755);
    inChild([] {
      linux_::RootMove move = moveOf(applications() + "/item");
      watchSystemCalls({SYS_fsync}, [&](const SystemCall& call) {
        if (call.path() == trash() + "/info") rename(machineFolder() + "/tool", files() + "/item");
        return 0;
      });
      EXPECT_EQ(resultOf(move).error, ESTALE);
    });
    EXPECT_EQ(modeOf(files() + "/item"), 04755U);
  });
}

// MARK: - Across volumes

TEST_F(SwappedItem, IsNotCopiedOnceItIsNotAtItsPlaceAnyMore) {
  run([] {
    mountTmpfs(volume(), "mode=0755");
    makeFile(volume() + "/file", "file");
    makeFolder(volume() + "/folder");
    for (const char* name : {"/file", "/folder"}) {
      linux_::RootMove move = moveOf(volume() + name);
      ASSERT_EQ(move.obstacle().code, 0);
      rename(volume() + name, volume() + name + " moved");
      EXPECT_EQ(resultOf(move).error, ESTALE) << name;
    }
    EXPECT_EQ(namesIn(volume()), (Names{"file moved", "folder moved"}));
    expectEmptyTrash();
  });
}

TEST_F(SwappedItem, IsNotTakenForTheFolderThatIsCopied) {
  run([] {
    const std::string bundle = bundleOnVolume();
    inChild([&] {
      linux_::RootMove move = moveOf(bundle);
      watchSystemCalls({SYS_mkdirat}, [&](const SystemCall& call) {
        if (call.text(1) != "Contents") return 0;
        rename(bundle, volume() + "/moved");
        makeFolder(bundle);
        return 0;
      });
      EXPECT_EQ(resultOf(move).error, ESTALE);
    });
    EXPECT_EQ(namesIn(volume()), (Names{"Tessaly.app", "moved"}));
    EXPECT_EQ(contentsOf(volume() + "/moved/Contents/secret"), "secret");
    expectEmptyTrash();
  });
}

void makeFifo(const std::string& path) { EXPECT_EQ(::mkfifo(path.c_str(), 0644), 0); }

void makeFileOfTime(const std::string& path, const std::string& contents, time_t time) {
  makeFile(path, contents);
  const timespec times[2] = {{time, 0}, {time, 0}};
  EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

// The other item has the file's name only while the copy is made.
TEST_F(SwappedItem, IsNotTakenForTheFileThatIsCopied) {
  constexpr time_t kTime = 1'000'000;
  const std::vector<std::function<void(const std::string&)>> others = {
      makeFifo,
      [](const std::string& path) { makeFileOfTime(path, "longer", kTime); },
      [](const std::string& path) { makeFileOfTime(path, "fake", kTime + 1); },
  };
  for (const auto& makeOther : others) {
    run([&] {
      mountTmpfs(volume(), "mode=0755");
      const std::string file = volume() + "/file";
      makeFileOfTime(file, "file", kTime);
      makeOther(volume() + "/other");
      inChild([&] {
        linux_::RootMove move = moveOf(file);
        int looks = 0;
        watchSystemCalls({SYS_newfstatat, SYS_renameat2}, [&](const SystemCall& call) {
          const bool isLook = call.number == SYS_newfstatat && call.text(1) == "file";
          const bool begins = isLook && ++looks == 2;
          const bool ends = call.number == SYS_renameat2 && call.text(3) == "copy";
          if (begins || ends) {
            EXPECT_EQ(::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, (volume() + "/other").c_str(), RENAME_EXCHANGE), 0);
          }
          return 0;
        });
        EXPECT_EQ(resultOf(move).error, ESTALE);
      });
      EXPECT_EQ(contentsOf(file), "file");
      EXPECT_EQ(namesIn(volume()), (Names{"file", "other"}));
      expectEmptyTrash();
    });
  }
}

void replaceBeforeItIsTaken(const std::string& bundle, int returningFails) {
  watchSystemCalls({SYS_renameat2}, [=](const SystemCall& call) {
    if (call.text(1) == "item") return returningFails;
    if (call.text(3) == "item") {
      EXPECT_EQ(::rename(bundle.c_str(), (bundle + " moved").c_str()), 0);
      makeFolder(bundle);
      makeFile(bundle + "/other", "other");
    }
    return 0;
  });
}

TEST_F(SwappedItem, ReturnsToItsPlaceWhenItWasTakenByMistake) {
  run([] {
    const std::string bundle = bundleOnVolume();
    inChild([&] {
      linux_::RootMove move = moveOf(bundle);
      replaceBeforeItIsTaken(bundle, 0);
      const Result result = resultOf(move);
      EXPECT_EQ(result.error, ESTALE);
      EXPECT_EQ(result.note, "");
    });
    EXPECT_EQ(contentsOf(bundle + "/other"), "other");
    EXPECT_EQ(namesIn(volume()), (Names{"Tessaly.app", "Tessaly.app moved"}));
    expectEmptyTrash();
  });
}

TEST_F(SwappedItem, IsKeptUntilItCanReturnToItsPlace) {
  run([] {
    const std::string bundle = bundleOnVolume();
    inChild([&] {
      linux_::RootMove move = moveOf(bundle);
      replaceBeforeItIsTaken(bundle, EROFS);
      const Result result = resultOf(move);
      EXPECT_EQ(result.error, ESTALE);
      EXPECT_EQ(result.note, "not completely handed over: Read-only file system");
    });
    EXPECT_FALSE(exists(bundle));
    EXPECT_EQ(leftInTrash().size(), 1U);
    EXPECT_EQ(namesIn(files()), Names{});
    mend();
    EXPECT_EQ(contentsOf(bundle + "/other"), "other");
    EXPECT_EQ(namesIn(volume()), (Names{"Tessaly.app", "Tessaly.app moved"}));
  });
}

TEST_F(SwappedItem, MayBeALinkAndIsNotWhatItLeadsTo) {
  run([] {
    mountTmpfs(volume(), "mode=0755");
    makeFile(machineFolder() + "/tool", "tool", 0, 04755);
    makeLink(volume() + "/link", machineFolder() + "/tool");
    makeLink(volume() + "/to nowhere", "/nowhere");
    for (const char* name : {"/link", "/to nowhere"}) {
      const Result result = moved(volume() + name);
      EXPECT_EQ(result.error, 0) << name;
      EXPECT_EQ(result.note, "");
      EXPECT_TRUE(isLink(files() + name));
    }
    EXPECT_EQ(modeOf(machineFolder() + "/tool"), 04755U);
    EXPECT_EQ(namesIn(volume()), Names{});
    expectNoLeftovers();
  });
}

TEST_F(SwappedItem, MayBeAFileThatIsCopied) {
  run([] {
    mountTmpfs(volume(), "mode=0755");
    makeFile(volume() + "/file", "contents", 0, 04640);
    const Result result = moved(volume() + "/file");
    EXPECT_EQ(result.error, 0);
    EXPECT_EQ(result.note, "");
    EXPECT_EQ(contentsOf(files() + "/file"), "contents");
    EXPECT_EQ(modeOf(files() + "/file"), 0640U);
    EXPECT_EQ(namesIn(volume()), Names{});
    expectNoLeftovers();
  });
}

TEST_F(SwappedItem, MayBeAFolderThatIsWrittenToMeanwhile) {
  run([] {
    const std::string bundle = bundleOnVolume();
    inChild([&] {
      linux_::RootMove move = moveOf(bundle);
      watchSystemCalls({SYS_renameat2}, [&](const SystemCall& call) {
        const timespec times[2] = {{1, 0}, {1, 0}};
        return call.text(3) == "copy" ? posix::errorOf(::utimensat(AT_FDCWD, bundle.c_str(), times, 0)) : 0;
      });
      EXPECT_EQ(resultOf(move).error, 0);
    });
    EXPECT_EQ(namesIn(files()), Names{"Tessaly.app"});
  });
}

// MARK: - What prevents a move

class PreventedMove : public MoveMachine {
 protected:
  static int obstacleTo(linux_::PinnedPlace place, linux_::SharedTrashDirectory trash) {
    const std::string path = applications() + "/a";
    return linux_::RootMove(path, std::move(place), std::move(trash), trashUser().identity, "a", "").obstacle().code;
  }
  static linux_::PinnedPlace placeOfItem() {
    auto place = linux_::pinPath(applications() + "/a", linux_::LastLink::Stays);
    EXPECT_TRUE(place);
    return std::move(*place);
  }
};

TEST_F(PreventedMove, HasNoItemOrNoFolder) {
  run([] {
    makeFile(applications() + "/a", "");
    EXPECT_EQ(obstacleTo(placeOfItem(), openedTrash()), 0);
    linux_::PinnedPlace place = placeOfItem();
    place.item.reset();
    EXPECT_EQ(obstacleTo(std::move(place), openedTrash()), EBADF);
    place = placeOfItem();
    place.folder.reset();
    EXPECT_EQ(obstacleTo(std::move(place), openedTrash()), EBADF);
  });
}

TEST_F(PreventedMove, WouldBeDescribedWithoutAPath) {
  run([] {
    makeFile(applications() + "/a", "");
    EXPECT_EQ(obstacleTo(placeOfItem(), trashWith("")), EIO);
    const auto opened = openedTrash();
    linux_::PinnedPlace place = placeOfItem();
    ASSERT_EQ(::mount("", "/proc", "tmpfs", 0, nullptr), 0);
    EXPECT_EQ(obstacleTo(std::move(place), opened), EIO);
    EXPECT_EQ(::umount("/proc"), 0);  // the leak checker needs it
  });
}

TEST_F(PreventedMove, LeavesUnknownWhetherTheUserReachesTheItem) {
  run([] {
    makeFile(applications() + "/a", "");
    inChild([] {
      const auto opened = openedTrash();
      linux_::PinnedPlace place = placeOfItem();
      watchSystemCalls({SYS_newfstatat},
                       [](const SystemCall& call) { return call.text(1) == applications() + "/a" ? ENOMEM : 0; });
      EXPECT_EQ(obstacleTo(std::move(place), opened), EIO);
    });
  });
}

TEST_F(PreventedMove, WouldCopyFromAVolumeOfWhichNothingIsKnown) {
  run([] {
    const std::string bundle = bundleOnVolume();
    inChild([&] {
      linux_::RootMove move = moveOf(bundle);
      EXPECT_EQ(move.obstacle().code, 0);
      failSystemCall(SYS_fstatfs, EIO);
      EXPECT_EQ(move.obstacle().code, ENOTSUP);
    });
  });
}

TEST_F(PreventedMove, IsMendedInTheTrashOfTheHomesVolumeOnly) {
  run([] {
    const linux_::TrashUser user = trashUser();
    EXPECT_TRUE(linux_::isTrashOfHome(*openedTrash(), user));
    EXPECT_FALSE(linux_::isTrashOfHome(*trashWith(trash(), home()), user)) << "it is a volume's own";
    linux_::TrashUser other = user;
    other.home = machineFolder() + "/missing";
    EXPECT_FALSE(linux_::isTrashOfHome(*openedTrash(), other));
    mountTmpfs(volume(), "mode=0755");
    other.home = volume();
    EXPECT_FALSE(linux_::isTrashOfHome(*openedTrash(), other));
    EXPECT_FALSE(linux_::isTrashOfHome(*trashWith(trash(), home()), other));
  });
}

}  // namespace
}  // namespace qm::testing
