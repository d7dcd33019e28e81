// SPDX-License-Identifier: MIT

// What a user can and cannot do with an item that root has moved to the Trash.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "Platform/linux/rights/FileSystemUser.h"
#include "Platform/posix/UniqueFd.h"
#include "tests/privileges/TrashMachine.h"

namespace qm::testing {
namespace {

class ItemHandedOver : public TrashMachine {
 protected:
  static std::string item() { return files() + "/Tessaly.app"; }

  static bool canRead(const std::string& path) {
    const linux_::FileSystemIdentity identity{kPerson, kPerson, {kPerson}};
    const linux_::FileSystemUser acting(&identity);
    EXPECT_TRUE(acting.ok());
    return static_cast<bool>(posix::UniqueFd(::open(path.c_str(), O_RDONLY | O_CLOEXEC)));
  }

  static gid_t groupOf(const std::string& path) {
    struct stat found {};
    EXPECT_EQ(::lstat(path.c_str(), &found), 0);
    return found.st_gid;
  }
};

TEST_F(ItemHandedOver, CanBeRestoredByThePerson) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    ASSERT_TRUE(trashItem("Tessaly.app").succeeded());
    asUser(kPerson, kPerson, [] { EXPECT_EQ(::rename(item().c_str(), (home() + "/Tessaly.app").c_str()), 0); });
  });
}

TEST_F(ItemHandedOver, CanBeDeletedByThePerson) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    makeFolder(applications() + "/Tessaly.app/closed", 0, 0700);
    makeFile(applications() + "/Tessaly.app/closed/file", "", 0, 0600);
    ASSERT_TRUE(trashItem("Tessaly.app").succeeded());
    asUser(kPerson, kPerson, [] {
      std::error_code error;
      std::filesystem::remove_all(item(), error);
      EXPECT_FALSE(error) << error.message();
      EXPECT_EQ(::unlink((trash() + "/info/Tessaly.app.trashinfo").c_str()), 0);
    });
    EXPECT_FALSE(exists(item()));
  });
}

TEST_F(ItemHandedOver, GivesThePersonFoldersButNoFiles) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    ASSERT_TRUE(trashItem("Tessaly.app").succeeded());
    EXPECT_EQ(ownerOf(item()), kPerson);
    EXPECT_EQ(ownerOf(item() + "/Contents"), kPerson);
    EXPECT_EQ(modeOf(item() + "/Contents"), 0755U) << "it can be emptied";
    EXPECT_EQ(ownerOf(item() + "/Contents/secret"), 0U);
    EXPECT_EQ(modeOf(item() + "/Contents/secret"), 0600U);
    EXPECT_EQ(ownerOf(item() + "/Contents/tool"), 0U);
    EXPECT_EQ(ownerOf("/etc"), 0U) << "links are not followed";
  });
}

TEST_F(ItemHandedOver, GivesTheOtherMembersOfThePersonsGroupNothing) {
  run([] {
    const std::string bundle = applications() + "/Tessaly.app";
    makeFolder(bundle);
    makeFolder(bundle + "/shared", 0, 0750);
    makeFile(bundle + "/shared/file", "precious");
    ASSERT_TRUE(trashItem("Tessaly.app").succeeded());
    EXPECT_EQ(ownerOf(item() + "/shared"), kPerson);
    EXPECT_EQ(groupOf(item() + "/shared"), 0U);
    ASSERT_EQ(::rename(item().c_str(), bundle.c_str()), 0);
    asUser(kOther, kPerson, [bundle] {
      EXPECT_NE(::access((bundle + "/shared").c_str(), R_OK), 0);
      EXPECT_NE(::access((bundle + "/shared").c_str(), X_OK), 0);
    });
  });
}

TEST_F(ItemHandedOver, LendsNobodysRights) {
  run([] {
    const std::string bundle = applications() + "/Tessaly.app";
    makeBundle(bundle);
    makeFile(bundle + "/group", "", 0, 02755);
    makeFile(bundle + "/capable", "", 0, 0755);
    makeFolder(bundle + "/shared", 0, 02775);
    constexpr unsigned char capabilities[20] = {1, 0, 0, 2, 0x80, 0, 0, 0};
    ASSERT_EQ(::setxattr((bundle + "/capable").c_str(), "security.capability", capabilities, sizeof capabilities, 0),
              0);
    ASSERT_TRUE(trashItem("Tessaly.app").succeeded());
    EXPECT_EQ(modeOf(item() + "/Contents/tool"), 0755U);
    EXPECT_EQ(modeOf(item() + "/group"), 0755U);
    EXPECT_EQ(modeOf(item() + "/shared"), 0775U);
    EXPECT_LT(::getxattr((item() + "/capable").c_str(), "security.capability", nullptr, 0), 0);
  });
}

TEST_F(ItemHandedOver, LendsNobodysRightsAsALoneFile) {
  run([] {
    makeFile(applications() + "/tool", "tool", 0, 06755);
    ASSERT_TRUE(trashItem("tool").succeeded());
    EXPECT_EQ(modeOf(files() + "/tool"), 0755U);
  });
}

TEST_F(ItemHandedOver, LetsNothingBeReadThatWasInAClosedFolder) {
  run([] {
    const std::string bundle = applications() + "/Tessaly.app";
    makeFolder(bundle);
    makeFile(bundle + "/open", "open");
    makeFolder(bundle + "/closed", 0, 0700);
    makeFile(bundle + "/closed/readable", "precious");
    makeFolder(bundle + "/closed/inner");
    makeFile(bundle + "/closed/inner/readable", "precious");
    makeFolder(bundle + "/unlisted", 0, 0711);
    makeFile(bundle + "/unlisted/name-that-nobody-guesses", "precious");
    ASSERT_TRUE(trashItem("Tessaly.app").succeeded());
    EXPECT_EQ(modeOf(item() + "/open"), 0644U);
    EXPECT_EQ(modeOf(item() + "/closed/readable"), 0600U);
    EXPECT_EQ(modeOf(item() + "/closed/inner/readable"), 0600U);
    EXPECT_TRUE(canRead(item() + "/open"));
    EXPECT_FALSE(canRead(item() + "/closed/readable"));
    EXPECT_FALSE(canRead(item() + "/closed/inner/readable"));
    EXPECT_FALSE(canRead(item() + "/unlisted/name-that-nobody-guesses")) << "it can be listed now";
  });
}

TEST_F(ItemHandedOver, LetsNothingBeReadThatWasReachedThroughAClosedFolder) {
  run([] {
    makeFolder(applications() + "/closed", 0, 0700);
    makeFile(applications() + "/closed/settings", "precious");
    makeFolder(applications() + "/closed/Tessaly.app");
    makeFile(applications() + "/closed/Tessaly.app/file", "precious");
    ASSERT_TRUE(trashPath(applications() + "/closed/settings").succeeded());
    ASSERT_TRUE(trashPath(applications() + "/closed/Tessaly.app").succeeded());
    EXPECT_FALSE(canRead(files() + "/settings"));
    EXPECT_FALSE(canRead(item() + "/file"));
  });
}

TEST_F(ItemHandedOver, LeavesTheOtherNamesOfItsFilesAlone) {
  run([] {
    makeFolder(applications() + "/Tessaly.app");
    makeFile(machineFolder() + "/elsewhere", "root's", 0, 0600);
    ASSERT_EQ(::link((machineFolder() + "/elsewhere").c_str(), (applications() + "/Tessaly.app/name").c_str()), 0);
    ASSERT_TRUE(trashItem("Tessaly.app").succeeded());
    EXPECT_EQ(ownerOf(machineFolder() + "/elsewhere"), 0U);
    EXPECT_EQ(modeOf(machineFolder() + "/elsewhere"), 0600U);
  });
}

TEST_F(ItemHandedOver, IsRefusedWhereAFileWithOtherNamesWouldHaveToBeChanged) {
  run([] {
    makeFolder(applications() + "/Tessaly.app");
    makeFile(machineFolder() + "/tool", "root's", 0, 04755);
    ASSERT_EQ(::link((machineFolder() + "/tool").c_str(), (applications() + "/Tessaly.app/tool").c_str()), 0);
    const Outcome outcome = trashItem("Tessaly.app");
    EXPECT_EQ(outcome.error, EMLINK);
    EXPECT_EQ(outcome.reason, applications() +
                                  "/Tessaly.app: a file in it has other names, under which it would be "
                                  "changed, too: tool");
    EXPECT_EQ(modeOf(machineFolder() + "/tool"), 04755U);
    EXPECT_TRUE(exists(applications() + "/Tessaly.app/tool"));
    expectEmptyTrash();
  });
}

TEST_F(ItemHandedOver, MayHaveFilesWithSeveralNamesInIt) {
  run([] {
    makeFolder(applications() + "/Tessaly.app");
    makeFile(applications() + "/Tessaly.app/tool", "tool", 0, 04755);
    const std::string other = applications() + "/Tessaly.app/other";
    ASSERT_EQ(::link((applications() + "/Tessaly.app/tool").c_str(), other.c_str()), 0);
    EXPECT_TRUE(trashItem("Tessaly.app").succeeded());
    EXPECT_EQ(modeOf(item() + "/other"), 0755U);
  });
}

TEST_F(ItemHandedOver, MayHaveOtherNamesWhereItIsCopied) {
  run([] {
    const std::string volume = machineFolder() + "/volume";
    mountTmpfs(volume, "mode=0755");
    makeFolder(volume + "/Tessaly.app");
    makeFile(volume + "/tool", "tool", 0, 04755);
    ASSERT_EQ(::link((volume + "/tool").c_str(), (volume + "/Tessaly.app/tool").c_str()), 0);
    EXPECT_TRUE(trashPath(volume + "/Tessaly.app").succeeded());
    EXPECT_EQ(modeOf(item() + "/tool"), 0755U);
    EXPECT_EQ(modeOf(volume + "/tool"), 04755U);
  });
}

TEST_F(ItemHandedOver, HasNoDevicesWhereItIsCopied) {
  run([] {
    const std::string volume = machineFolder() + "/volume";
    mountTmpfs(volume, "mode=0755");
    makeFolder(volume + "/Tessaly.app");
    ASSERT_EQ(::mknod((volume + "/Tessaly.app/zero").c_str(), S_IFCHR | 0666, makedev(1, 5)), 0);
    const Outcome outcome = trashPath(volume + "/Tessaly.app");
    EXPECT_EQ(outcome.error, ENODEV);
    EXPECT_EQ(outcome.reason, volume + "/Tessaly.app: it contains a device, which cannot be copied: zero");
    EXPECT_TRUE(exists(volume + "/Tessaly.app/zero"));
    expectEmptyTrash();
  });
}

TEST_F(ItemHandedOver, KeepsDevicesAsTheyAreOnItsOwnVolume) {
  run([] {
    makeFolder(applications() + "/Tessaly.app");
    ASSERT_EQ(::mknod((applications() + "/Tessaly.app/zero").c_str(), S_IFCHR | 0600, makedev(1, 5)), 0);
    EXPECT_TRUE(trashItem("Tessaly.app").succeeded());
    EXPECT_EQ(modeOf(item() + "/zero"), 0600U);
  });
}

// The user who plugged it in decided that it says "root".
TEST_F(ItemHandedOver, IsNotCopiedFromAVolumeWhereRootsNameMeansNothing) {
  run([] {
    const std::string volume = machineFolder() + "/volume";
    mountTmpfs(volume, "mode=0755");
    for (const auto flag : {static_cast<unsigned long>(MS_NODEV), static_cast<unsigned long>(MS_NOSUID)}) {
      ASSERT_EQ(::mount(nullptr, volume.c_str(), nullptr, MS_REMOUNT | MS_BIND | flag, nullptr), 0);
      if (!exists(volume + "/Tessaly.app")) makeFolder(volume + "/Tessaly.app");
      const Outcome outcome = trashPath(volume + "/Tessaly.app");
      EXPECT_EQ(outcome.error, ENOTSUP);
      EXPECT_EQ(outcome.reason, volume + "/Tessaly.app: its volume is not the Trash's, and is mounted nosuid or nodev");
      EXPECT_TRUE(exists(volume + "/Tessaly.app"));
    }
    expectEmptyTrash();
  });
}

TEST_F(ItemHandedOver, MayBeDeeperThanThereAreDescriptors) {
  run([] {
    const std::string bundle = applications() + "/Tessaly.app";
    makeFolder(bundle);
    inChild([&] {
      ASSERT_EQ(::chdir(bundle.c_str()), 0);
      for (int depth = 0; depth < 4100; ++depth) {
        ASSERT_EQ(::mkdir("f", 0755), 0);
        ASSERT_EQ(::chdir("f"), 0);
      }
    });
    ASSERT_TRUE(trashItem("Tessaly.app").succeeded());
    inChild([] {
      ASSERT_EQ(::chdir(item().c_str()), 0);
      int depth = 0;
      struct stat found {};
      while (::stat(".", &found) == 0 && found.st_uid == kPerson && ::chdir("f") == 0) ++depth;
      EXPECT_EQ(depth, 4100);
      EXPECT_EQ(found.st_uid, kPerson);
    });
  });
}

}  // namespace
}  // namespace qm::testing
