// SPDX-License-Identifier: MIT

// As root for the user at the console: what root puts back with its own rights, and what it refuses.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/contract/trash/TrashEntries.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using Names = std::vector<std::string>;
using platform::MissingFolders;

const std::string kTrashFiles = kTrash + "/files/";
const std::string kApplications = "/Applications";
const std::string kProductPath = "/Applications/Tessaly.app";

void makeRootsFile(World& world, const std::string& path, const std::string& contents, mode_t mode = 0644) {
  world.makeFile(path, contents);
  world.giveTo(0, path);
  world.setMode(path, mode);
}

// A root-owned product in a root-owned folder, now in the Trash of the user at the console.
void playWithProduct(const std::function<void(World&)>& body) {
  World::play([&](World& world) {
    world.actAsRoot("u");
    world.makeRootsFolder(kApplications);
    world.makeRootsFolder(kProductPath);
    makeRootsFile(world, kProductPath + "/binary", "binary", 0755);
    makeRootsFile(world, kProductPath + "/secret", "secret", 0600);
    ASSERT_TRUE(world.recycle(kApplications, "Tessaly.app"));
    body(world);
  });
}

// The same from a root-owned volume without that Trash, as after a move with administrator rights.
void playWithProductOfVolume(const std::function<void(World&)>& body) {
  playWithProduct([&](World& world) {
    ASSERT_EQ(::rmdir(kApplications.c_str()), 0);
    world.mountVolume(kApplications, "mode=0755");
    body(world);
  });
}

void expectProduct(World& world) {
  EXPECT_EQ(world.contentsOf(kProductPath + "/binary"), "binary");
  EXPECT_EQ(world.contentsOf(kProductPath + "/secret"), "secret");
  EXPECT_EQ(world.modeOf(kProductPath + "/secret"), 0600U);
  EXPECT_EQ(world.ownerOf(kProductPath + "/binary"), 0U) << "owners are those of the Trash";
  EXPECT_EQ(world.ownerOf(kProductPath), World::kUser);
  EXPECT_EQ(world.namesIn(kApplications), Names{"Tessaly.app"}) << "nothing else is left";
}

void expectIsBack(World& world) {
  EXPECT_TRUE(world.putBackNewest(kProductPath));
  expectProduct(world);
  expectNothingIn(world, kTrash);
  EXPECT_EQ(world.namesIn(kTrash), (Names{"files", "info"}));
}

void expectStays(World& world, int code, const std::string& because) {
  const platform::Status status = world.putBackNewest(kProductPath);
  EXPECT_EQ(status.code(), code);
  EXPECT_EQ(status.localizedDescription(), "“Tessaly.app” couldn’t be put back because " + because + ".");
  EXPECT_EQ(world.kindOf(kProductPath), ItemKind::Nothing);
  EXPECT_EQ(world.namesIn(kApplications), Names{});
  EXPECT_EQ(world.itemsFrom(kProductPath).size(), 1U);
  EXPECT_EQ(world.namesIn(kTrash), (Names{"files", "info"}));
}

// What the user can do in their own Trash.
void changeProduct(const std::function<void(const std::string& product)>& change) {
  change(kTrashFiles + "Tessaly.app");
}

TEST(PutBackByRoot, ReturnsToAFolderOfRoots) { playWithProduct(expectIsBack); }

TEST(PutBackByRoot, ReturnsToAnotherVolume) { playWithProductOfVolume(expectIsBack); }

TEST(PutBackByRoot, ReturnsAFileToAnotherVolume) {
  playWithProductOfVolume([](World& world) {
    makeRootsFile(world, kTrashFiles + "file", "contents", 04755);
    world.makeFile(kTrash + "/info/file.trashinfo", "[Trash Info]\nPath=/Applications/file\n");
    EXPECT_TRUE(world.putBackNewest("/Applications/file"));
    EXPECT_EQ(world.contentsOf("/Applications/file"), "contents");
    EXPECT_EQ(world.modeOf("/Applications/file"), 0755U);
    EXPECT_EQ(world.ownerOf("/Applications/file"), 0U);
  });
}

TEST(PutBackByRoot, ReturnsFromTheTrashOfRootsVolume) {
  World::play([](World& world) {
    world.makeVolume("/home/u");
    world.actAsRoot("u");
    world.makeRootsFolder(kApplications);
    makeRootsFile(world, kProductPath, "product");
    EXPECT_TRUE(world.recycle(kApplications, "Tessaly.app"));
    EXPECT_EQ(world.itemsFrom(kProductPath).at(0).path, "/.Trash-501/files/Tessaly.app");
    EXPECT_TRUE(world.putBackNewest(kProductPath));
    EXPECT_EQ(world.contentsOf(kProductPath), "product");
    expectNothingIn(world, "/.Trash-501");
  });
}

TEST(PutBackByRoot, ReplacesNothing) {
  for (const auto& play : {playWithProduct, playWithProductOfVolume}) {
    play([](World& world) {
      world.makeLink(kProductPath, "/nowhere");
      const platform::Status status = world.putBackNewest(kProductPath);
      EXPECT_EQ(status.code(), EEXIST);
      EXPECT_EQ(world.contentsOf(kProductPath), "/nowhere");
      EXPECT_EQ(world.itemsFrom(kProductPath).size(), 1U);
    });
  }
}

TEST(PutBackByRoot, MakesMissingFoldersOfRoots) {
  playWithProduct([](World& world) {
    ASSERT_EQ(::rmdir(kApplications.c_str()), 0);
    EXPECT_EQ(world.putBackNewest(kProductPath).code(), ENOENT);
    EXPECT_TRUE(world.putBackNewest(kProductPath, MissingFolders::AreMade));
    EXPECT_EQ(world.ownerOf(kApplications), 0U);
    EXPECT_EQ(world.modeOf(kApplications), 0755U);
    expectProduct(world);
  });
}

TEST(PutBackByRoot, MakesMissingFoldersOfThePersonWhereThePersonMay) {
  World::play([](World& world) {
    world.actAsRoot("u");
    world.makeFolder("/home/u/Folder");
    world.makeFile("/home/u/Folder/a", "a");
    EXPECT_TRUE(world.recycle("/home/u/Folder", "a"));
    world.removeTree("/home/u/Folder");
    EXPECT_TRUE(world.putBackNewest("/home/u/Folder/a", MissingFolders::AreMade));
    EXPECT_EQ(world.ownerOf("/home/u/Folder"), World::kUser);
    EXPECT_EQ(world.contentsOf("/home/u/Folder/a"), "a");
  });
}

// Redirecting root gains a user nothing.
TEST(PutBackByRoot, GoesWithThePersonsRightsWhereThePersonCouldLeadTheWay) {
  World::play([](World& world) {
    world.actAsRoot("u");
    world.makeRootsFolder("/home/u/Roots");
    makeRootsFile(world, "/home/u/Roots/a", "a");
    EXPECT_TRUE(world.recycle("/home/u/Roots", "a"));
    const platform::Status status = world.putBackNewest("/home/u/Roots/a");
    EXPECT_EQ(status.code(), EACCES);
    EXPECT_EQ(world.namesIn("/home/u/Roots"), Names{});
    world.removeTree("/home/u/Roots");
    world.makeLink("/home/u/Roots", "/etc");
    EXPECT_TRUE(world.itemsFrom("/home/u/Roots/a").empty());
    EXPECT_EQ(world.kindOf("/etc/a"), ItemKind::Nothing);
    EXPECT_EQ(world.contentsOf(kTrashFiles + "a"), "a");
  });
}

TEST(PutBackByRoot, FollowsNoLinkOfThePersonsThatCameAfterTheLook) {
  World::play([](World& world) {
    world.actAsRoot("u");
    world.makeFolder("/home/u/Folder");
    makeRootsFile(world, "/home/u/Folder/a", "a");
    EXPECT_TRUE(world.recycle("/home/u/Folder", "a"));
    const platform::TrashedItem item = world.itemsFrom("/home/u/Folder/a").at(0);
    world.removeTree("/home/u/Folder");
    world.makeLink("/home/u/Folder", "/etc");
    for (const MissingFolders missing : {MissingFolders::Fail, MissingFolders::AreMade}) {
      expectRefused(world.putBack(item, World::kTrashLink, missing));
    }
    EXPECT_EQ(world.kindOf("/etc/a"), ItemKind::Nothing);
    EXPECT_EQ(world.contentsOf(kTrashFiles + "a"), "a");
  });
}

TEST(PutBackByRoot, FollowsNoLinkOfOthersForItsOwnItemsEither) {
  World::play([](World& world) {
    world.actAsRoot("root");
    world.makeFolder("/home/u/Folder");
    makeRootsFile(world, "/home/u/Folder/a", "a");
    EXPECT_TRUE(world.recycle("/home/u/Folder", "/root/.Trash", {"a"}));
    const auto found = world.itemsFrom("/home/u/Folder/a", "/root/.Trash");
    ASSERT_EQ(found.items.size(), 1U);
    world.rename("/home/u/Folder", "/home/u/moved");
    world.makeLink("/home/u/Folder", "/etc");
    const platform::TrashedItem& item = found.items[0];
    expectRefused(world.putBack(item, "/root/.Trash", MissingFolders::AreMade));
    EXPECT_EQ(world.kindOf("/etc/a"), ItemKind::Nothing);
    world.removeFile("/home/u/Folder");
    world.rename("/home/u/moved", "/home/u/Folder");
    EXPECT_TRUE(world.putBack(item, "/root/.Trash", MissingFolders::Fail));
    EXPECT_EQ(world.contentsOf("/home/u/Folder/a"), "a");
  });
}

TEST(PutBackByRoot, ReturnsNothingThatTookThePlaceOfTheItemAfterTheLook) {
  playWithProduct([](World& world) {
    // The item is taken once the record is written.
    afterSystemCall(SYS_fsync, [] {
      changeProduct([](const std::string& product) {
        EXPECT_EQ(::rename(product.c_str(), (kTrashFiles + "aside").c_str()), 0);
        EXPECT_EQ(::symlink("/etc", product.c_str()), 0);
      });
    });
    const platform::Status status = world.putBackNewest(kProductPath);
    EXPECT_EQ(status.code(), ESTALE);
    EXPECT_EQ(status.localizedDescription(),
              "“Tessaly.app” couldn’t be put back because something else has taken its place in the Trash.");
    EXPECT_EQ(world.namesIn(kApplications), Names{});
    EXPECT_EQ(world.contentsOf(kTrashFiles + "Tessaly.app"), "/etc") << "it is in the Trash again";
    EXPECT_EQ(world.contentsOf(kTrashFiles + "aside/binary"), "binary");
    EXPECT_EQ(world.namesIn(kTrash), (Names{"files", "info"}));
  });
}

TEST(PutBackByRoot, DropsWhatLendsRights) {
  for (const auto& play : {playWithProduct, playWithProductOfVolume}) {
    play([](World& world) {
      const std::string product = kTrashFiles + "Tessaly.app";
      world.makeFile(product + "/own", "own");
      world.setMode(product + "/own", 06755);
      world.setMode(product + "/binary", 04755);
      world.setMode(product, 02755);
      const std::array<unsigned char, 20> capability = {1, 0, 0, 2, 0, 4};
      const bool hasCapability = ::setxattr((product + "/binary").c_str(), "security.capability", capability.data(),
                                            capability.size(), 0) == 0;
      EXPECT_TRUE(world.putBackNewest(kProductPath));
      EXPECT_EQ(world.modeOf(kProductPath + "/own"), 0755U);
      EXPECT_EQ(world.modeOf(kProductPath + "/binary"), 0755U);
      EXPECT_EQ(world.modeOf(kProductPath), 0755U);
      EXPECT_EQ(world.ownerOf(kProductPath + "/own"), World::kUser);
      if (hasCapability) {
        EXPECT_LT(::getxattr((kProductPath + "/binary").c_str(), "security.capability", nullptr, 0), 0);
      }
    });
  }
}

TEST(PutBackByRoot, RefusesAFileOfOthersThatHasOtherNames) {
  for (const auto& play : {playWithProduct, playWithProductOfVolume}) {
    play([](World& world) {
      makeRootsFile(world, "/home/u/precious", "precious", 04755);
      changeProduct(
          [](const std::string& product) { ASSERT_EQ(::link("/home/u/precious", (product + "/planted").c_str()), 0); });
      expectStays(world, EMLINK, "a file in it has other names elsewhere");
      EXPECT_EQ(world.modeOf("/home/u/precious"), 04755U);
    });
  }
}

TEST(PutBackByRoot, ReturnsFilesWithSeveralNamesThatAreAllInTheItem) {
  for (const auto& play : {playWithProduct, playWithProductOfVolume}) {
    play([](World& world) {
      changeProduct([](const std::string& product) {
        ASSERT_EQ(::link((product + "/binary").c_str(), (product + "/again").c_str()), 0);
      });
      EXPECT_TRUE(world.putBackNewest(kProductPath));
      EXPECT_EQ(world.inodeOf(kProductPath + "/binary"), world.inodeOf(kProductPath + "/again"));
    });
  }
}

TEST(PutBackByRoot, RefusesADevice) {
  playWithProduct([](World& world) {
    changeProduct([](const std::string& product) {
      // The one device that may be created anywhere.
      ASSERT_EQ(::mknod((product + "/device").c_str(), S_IFCHR | 0666, makedev(0, 0)), 0);
    });
    expectStays(world, ENODEV, "a device is in it");
  });
}

// In a root-owned folder, a link would be trusted as root's own.
TEST(PutBackByRoot, RefusesWhatIsNoFileAndNoFolder) {
  playWithProduct([](World& world) {
    world.removeTree(kTrashFiles + "Tessaly.app");
    world.makeLink(kTrashFiles + "Tessaly.app", "/home/u");
    expectStays(world, ENOTSUP, "root puts back files and folders only");
    world.removeFile(kTrashFiles + "Tessaly.app");
    ASSERT_EQ(::mkfifo((kTrashFiles + "Tessaly.app").c_str(), 0644), 0);
    expectStays(world, ENOTSUP, "root puts back files and folders only");
  });
}

TEST(PutBackByRoot, RefusesAnItemWithAVolumeMountedInIt) {
  playWithProduct([](World& world) {
    world.mountVolume(kTrashFiles + "Tessaly.app/mounted", "mode=0755");
    expectStays(world, EBUSY, "a volume is mounted there");
  });
}

// A plugged-in volume may claim any owners: no copy of its items becomes root's.
TEST(PutBackByRoot, CopiesNothingFromATrashThatIsNotAtHome) {
  playWithProductOfVolume([](World& world) {
    world.makeVolume("/home/u/stick");
    for (const char* folder : {"", "/files", "/info"}) world.makeFolder(std::string("/home/u/stick/Trash") + folder);
    world.removeTree(kTrash);
    world.removeFile(World::kTrashLink);
    world.makeFolder(kTrash);
    for (const char* folder : {"/files", "/info"})
      world.bind("/home/u/stick/Trash" + std::string(folder), kTrash + folder);
    makeRootsFile(world, kTrashFiles + "Tessaly.app", "brought");
    world.makeFile(kTrash + "/info/Tessaly.app.trashinfo", "[Trash Info]\nPath=" + kProductPath + "\n");
    expectStays(world, EXDEV, "it is on another volume, whose file owners cannot be trusted");
  });
}

TEST(PutBackByRoot, LeavesTheItemWhereACopyFails) {
  playWithProductOfVolume([](World& world) {
    failSystemCall(SYS_syncfs, EIO);
    const platform::Status status = world.putBackNewest(kProductPath);
    EXPECT_EQ(status.code(), EIO);
    EXPECT_EQ(world.namesIn(kApplications), Names{});
    EXPECT_EQ(world.contentsOf(kTrashFiles + "Tessaly.app/secret"), "secret");
    EXPECT_EQ(world.itemsFrom(kProductPath).size(), 1U);
  });
}

TEST(PutBackByRoot, LeavesTheItemWhereThereIsNoRoomForACopy) {
  playWithProduct([](World& world) {
    ASSERT_EQ(::rmdir(kApplications.c_str()), 0);
    world.mountVolume(kApplications, "mode=0755,size=64k");
    world.makeFile(kTrashFiles + "Tessaly.app/large", std::string(200'000, 'x'));
    expectStays(world, ENOSPC, "there is no space left on its volume");
  });
}

TEST(PutBackByRoot, LeavesTheItemWhereNoRecordCanBeWritten) {
  playWithProduct([](World& world) {
    failSystemCall(SYS_fsync, EIO);
    const platform::Status status = world.putBackNewest(kProductPath);
    EXPECT_EQ(status.code(), EIO);
    EXPECT_EQ(world.kindOf(kProductPath), ItemKind::Nothing);
    EXPECT_EQ(world.itemsFrom(kProductPath).size(), 1U);
    EXPECT_EQ(world.namesIn(kTrash), (Names{"files", "info"}));
  });
}

TEST(PutBackByRoot, LeavesTheItemWhereNoWorkFolderCanBeMade) {
  for (const auto& play : {playWithProduct, playWithProductOfVolume}) {
    play([](World& world) {
      failSystemCall(SYS_mkdirat, EMFILE);
      EXPECT_EQ(world.putBackNewest(kProductPath).code(), EMFILE);
      EXPECT_EQ(world.kindOf(kProductPath), ItemKind::Nothing);
      EXPECT_EQ(world.itemsFrom(kProductPath).size(), 1U);
    });
  }
}

TEST(PutBackByRoot, WorksOnlyWithRightsThatItCanTake) {
  playWithProduct([](World& world) {
    const platform::TrashedItem item = world.itemsFrom(kProductPath).at(0);
    failSystemCall(SYS_setgroups, EPERM);
    EXPECT_FALSE(world.putBack(item, World::kTrashLink, MissingFolders::AreMade));
    EXPECT_FALSE(world.itemsFrom(kProductPath, World::kTrashLink).status);
    EXPECT_EQ(world.kindOf(kProductPath), ItemKind::Nothing);
  });
}

/// Puts an item back in a process that is killed right after its first system call of this number.
void putBackUntil(World& world, long call, const std::string& path = kProductPath) {
  const pid_t child = ::fork();
  if (child == 0) {
    afterSystemCall(call, [] { ::kill(::getpid(), SIGKILL); });
    static_cast<void>(world.putBackNewest(path));
    ::_exit(0);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status)) << "it was not ended in the middle";
}

// On one volume the first is refused to the user, so every step comes after it.
TEST(EndedPutBack, IsUndoneByTheNextLook) {
  for (const auto& play : {playWithProduct, playWithProductOfVolume}) {
    for (const long call : {SYS_mkdirat, SYS_fsync, SYS_renameat, SYS_flock}) {
      play([&](World& world) {
        putBackUntil(world, call);
        EXPECT_EQ(world.itemsFrom(kProductPath).size(), 1U) << call;
        EXPECT_EQ(world.contentsOf(kTrashFiles + "Tessaly.app/secret"), "secret") << call;
        if (world.kindOf(kProductPath) == ItemKind::Nothing) expectIsBack(world);
      });
    }
  }
}

// The record and the item as left by a process that was interrupted right after it took the item. If its place is on
// another volume, a copy may be growing there in the folder `aside`.
void leaveTaken(World& world, const std::string& work, const std::string& aside = "", dev_t volume = 0) {
  struct stat item {};
  ASSERT_EQ(::lstat((kTrashFiles + "Tessaly.app").c_str(), &item), 0);
  world.makeRootsFolder(work);
  world.setMode(work, 0700);
  world.rename(kTrashFiles + "Tessaly.app", work + "/item");
  const std::string number = std::to_string(item.st_dev) + "\n" + std::to_string(item.st_ino);
  const std::string info =
      "%5BTrash%20Info%5D%0APath%3D" + kProductPath + "%0ADeletionDate%3D2024-02-29T23%3A05%3A07%0A";
  makeRootsFile(world, work + "/record",
                kProductPath + "\n" + number + "\n0\n0\nTessaly.app\n" + info + "\n" + aside + "\n0\n1\n" +
                    std::to_string(volume) + "\nend");
}

TEST(EndedPutBack, PutsWhatWasTakenIntoTheTrashAgain) {
  playWithProduct([](World& world) {
    leaveTaken(world, kTrash + "/.tessaly-uninstaller-1");
    EXPECT_EQ(world.itemsFrom(kProductPath).size(), 1U);
    expectIsBack(world);
  });
}

TEST(EndedPutBack, PutsWhatWasTakenIntoTheTrashAgainWhileItsGrowingCopyCannotBeRemoved) {
  playWithProductOfVolume([](World& world) {
    const std::string beside = ".tessaly-uninstaller-2";
    world.makeRootsFolder(kApplications + "/" + beside);
    world.setMode(kApplications + "/" + beside, 0700);
    leaveTaken(world, kTrash + "/.tessaly-uninstaller-1", beside);
    world.makeReadOnly(kApplications);
    EXPECT_EQ(world.itemsFrom(kProductPath).size(), 1U);
    EXPECT_EQ(world.namesIn(kTrash).size(), 3U);
    ASSERT_EQ(::mount(nullptr, kApplications.c_str(), nullptr, MS_REMOUNT | MS_BIND, nullptr), 0);
    expectIsBack(world);
  });
}

TEST(EndedPutBack, GivesWhatWasTakenAnotherNameWhereItsOwnIsTaken) {
  playWithProduct([](World& world) {
    leaveTaken(world, kTrash + "/.tessaly-uninstaller-1");
    world.makeFile(kTrashFiles + "Tessaly.app", "another");
    world.makeFile(kTrashFiles + "Tessaly 2.app", "another");
    const auto items = world.itemsFrom(kProductPath);
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[0].path, kTrashFiles + "Tessaly 3.app");
    EXPECT_EQ(world.ownerOf(kTrash + "/info/Tessaly 3.app.trashinfo"), World::kUser);
    EXPECT_EQ(world.contentsOf(kTrashFiles + "Tessaly.app"), "another");
    EXPECT_TRUE(world.putBack(items[0], World::kTrashLink, MissingFolders::Fail));
    EXPECT_EQ(world.contentsOf(kProductPath + "/secret"), "secret");
  });
}

TEST(EndedPutBack, RemovesTheDescriptionOfWhatIsBack) {
  playWithProduct([](World& world) {
    leaveTaken(world, kTrash + "/.tessaly-uninstaller-1");
    world.rename(kTrash + "/.tessaly-uninstaller-1/item", kProductPath);
    EXPECT_TRUE(world.itemsFrom(kProductPath).empty());
    expectNothingIn(world, kTrash);
    EXPECT_EQ(world.namesIn(kTrash), (Names{"files", "info"}));
    expectProduct(world);
  });
}

TEST(EndedPutBack, IsMendedInTheTrashOfAVolume) {
  World::play([](World& world) {
    world.makeVolume("/home/u");
    world.actAsRoot("u");
    world.makeRootsFolder(kApplications);
    makeRootsFile(world, kProductPath, "product");
    EXPECT_TRUE(world.recycle(kApplications, "Tessaly.app"));
    putBackUntil(world, SYS_fsync);
    EXPECT_EQ(world.itemsFrom(kProductPath).size(), 1U);
    EXPECT_EQ(world.namesIn("/.Trash-501"), (Names{"files", "info"}));
  });
}

TEST(EndedPutBack, LeavesNoGrowingCopyBesideItsPlace) {
  playWithProductOfVolume([](World& world) {
    putBackUntil(world, SYS_syncfs);
    EXPECT_EQ(world.namesIn(kApplications).size(), 1U);
    EXPECT_EQ(world.contentsOf(kTrashFiles + "Tessaly.app/secret"), "secret");
    expectIsBack(world);
  });
}

TEST(EndedPutBack, KeepsItsRecordWhileItsGrowingCopyCannotBeRemoved) {
  playWithProductOfVolume([](World& world) {
    putBackUntil(world, SYS_syncfs);
    world.makeReadOnly(kApplications);
    EXPECT_EQ(world.itemsFrom(kProductPath).size(), 1U);
    EXPECT_EQ(world.namesIn(kTrash).size(), 3U);
    ASSERT_EQ(::mount(nullptr, kApplications.c_str(), nullptr, MS_REMOUNT | MS_BIND, nullptr), 0);
    expectIsBack(world);
  });
}

TEST(EndedPutBack, KeepsItsRecordWhileTheVolumeOfItsGrowingCopyIsNotMounted) {
  for (const bool isMountPointLeft : {true, false}) {
    playWithProductOfVolume([&](World& world) {
      world.bind(kApplications, "/elsewhere");
      putBackUntil(world, SYS_syncfs);
      ASSERT_EQ(::umount2(kApplications.c_str(), 0), 0);
      ASSERT_TRUE(isMountPointLeft || ::rmdir(kApplications.c_str()) == 0);
      EXPECT_EQ(world.itemsFrom(kProductPath).size(), 1U);
      EXPECT_EQ(world.namesIn(kTrash).size(), 3U);
      world.bind("/elsewhere", kApplications);
      expectIsBack(world);
    });
  }
}

TEST(EndedPutBack, PutsWhatWasTakenIntoTheTrashAgainAlsoWithoutTheVolumeOfItsPlace) {
  playWithProduct([](World& world) {
    struct stat folder {};
    ASSERT_EQ(::stat(kApplications.c_str(), &folder), 0);
    leaveTaken(world, kTrash + "/.tessaly-uninstaller-1", ".tessaly-uninstaller-2", folder.st_dev + 1);
    EXPECT_EQ(world.itemsFrom(kProductPath).size(), 1U);
    EXPECT_EQ(world.contentsOf(kTrashFiles + "Tessaly.app/secret"), "secret");
    EXPECT_EQ(world.namesIn(kTrash).size(), 3U);
  });
}

TEST(EndedPutBack, ForgetsAGrowingCopyThatWentWithItsFolder) {
  playWithProductOfVolume([](World& world) {
    const std::string place = kApplications + "/Folder/file";
    world.makeRootsFolder(kApplications + "/Folder");
    makeRootsFile(world, kTrashFiles + "file", "contents");
    world.makeFile(kTrash + "/info/file.trashinfo", "[Trash Info]\nPath=" + place + "\n");
    putBackUntil(world, SYS_syncfs, place);
    world.removeTree(kApplications + "/Folder");
    EXPECT_EQ(world.itemsFrom(place).size(), 1U);
    EXPECT_EQ(world.namesIn(kTrash), (Names{"files", "info"}));
  });
}

}  // namespace
}  // namespace qm::testing
