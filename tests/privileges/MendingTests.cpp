// SPDX-License-Identifier: MIT

// What interrupted moves leave, and how it is mended.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>

#include "Platform/linux/privileges/helper/AnyToolPolicy.h"
#include "Platform/linux/privileges/helper/LaunchRun.h"
#include "Platform/linux/privileges/helper/TrashMove.h"
#include "Uninstaller/Product.h"
#include "tests/privileges/TrashMachine.h"

namespace qm::testing {
namespace {

class EndedMove : public TrashMachine {
 protected:
  /// Moves an item in a process that is killed right after its first system call of this number.
  static void moveUntil(const std::string& path, long call) {
    const pid_t child = ::fork();
    if (child == 0) {
      afterSystemCall(call, [] { ::kill(::getpid(), SIGKILL); });
      const linux_::Launch launch{1, "/bin/mv", {"-f", path, home() + "/.Trash/Tessaly.app"}};
      linux_::runLaunch(linux_::AnyToolPolicy(kProduct), launch, person(), posix::UniqueFd(), [](const auto&) {});
      ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << "it was not ended in the middle";
  }

  static std::vector<std::string> leftovers() {
    std::vector<std::string> names = namesIn(trash());
    std::erase_if(names, [](const std::string& name) { return name == "files" || name == "info"; });
    return names;
  }

  static void expectHandedOver() {
    EXPECT_EQ(namesIn(files()), std::vector<std::string>{"Tessaly.app"});
    EXPECT_EQ(ownerOf(files() + "/Tessaly.app/Contents"), kPerson);
    EXPECT_EQ(modeOf(files() + "/Tessaly.app/Contents/tool"), 0755U);
    EXPECT_NE(infoOf("Tessaly.app"), "");
    expectNoLeftovers();
  }
};

TEST_F(EndedMove, IsFinishedOnceTheItemIsInTheTrash) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    moveUntil(applications() + "/Tessaly.app", SYS_renameat2);
    EXPECT_EQ(contentsOf(files() + "/Tessaly.app/Contents/secret"), "secret") << "whole, also before it is mended";
    EXPECT_NE(infoOf("Tessaly.app"), "");
    EXPECT_EQ(ownerOf(files() + "/Tessaly.app/Contents"), 0U);
    EXPECT_EQ(leftovers().size(), 1U);
    linux_::mendTrashMoves(person(), kProduct);
    expectHandedOver();
  });
}

TEST_F(EndedMove, IsUndoneBeforeTheItemHasLeftItsPlace) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    moveUntil(applications() + "/Tessaly.app", SYS_fsync);
    EXPECT_EQ(contentsOf(applications() + "/Tessaly.app/Contents/secret"), "secret");
    linux_::mendTrashMoves(person(), kProduct);
    EXPECT_EQ(contentsOf(applications() + "/Tessaly.app/Contents/secret"), "secret");
    expectEmptyTrash();
  });
}

TEST_F(EndedMove, IsUndoneWhileTheCopyGrows) {
  run([] {
    mountTmpfs(machineFolder() + "/volume", "mode=0755");
    makeBundle(machineFolder() + "/volume/Tessaly.app");
    moveUntil(machineFolder() + "/volume/Tessaly.app", SYS_syncfs);
    EXPECT_EQ(contentsOf(machineFolder() + "/volume/Tessaly.app/Contents/secret"), "secret");
    EXPECT_EQ(namesIn(files()), std::vector<std::string>{});
    linux_::mendTrashMoves(person(), kProduct);
    expectEmptyTrash();
    EXPECT_EQ(namesIn(machineFolder() + "/volume"), std::vector<std::string>{"Tessaly.app"});
  });
}

TEST_F(EndedMove, KeepsItsRecordWhileTheVolumeOfTheItemIsNotMounted) {
  run([] {
    const std::string volume = machineFolder() + "/volume";
    mountTmpfs(volume, "mode=0755");
    bindMount(volume, machineFolder() + "/elsewhere");
    makeBundle(volume + "/Tessaly.app");
    moveUntil(volume + "/Tessaly.app", SYS_unlinkat);
    ASSERT_EQ(namesIn(volume).size(), 1U) << "the item was taken, and its copy is in the Trash";
    ASSERT_EQ(::umount2(volume.c_str(), 0), 0);
    linux_::mendTrashMoves(person(), kProduct);
    EXPECT_EQ(leftovers().size(), 1U);
    bindMount(machineFolder() + "/elsewhere", volume);
    linux_::mendTrashMoves(person(), kProduct);
    EXPECT_EQ(namesIn(volume), std::vector<std::string>{});
    expectHandedOver();
  });
}

TEST_F(EndedMove, IsMendedByTheNextMove) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    moveUntil(applications() + "/Tessaly.app", SYS_renameat2);
    makeFile(applications() + "/settings.plist", "");
    EXPECT_TRUE(trashItem("settings.plist").succeeded());
    EXPECT_EQ(ownerOf(files() + "/Tessaly.app/Contents"), kPerson);
    expectNoLeftovers();
  });
}

TEST_F(EndedMove, LeavesADescriptionOfSomebodyElsesAlone) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    moveUntil(applications() + "/Tessaly.app", SYS_fsync);
    makeFile(trash() + "/info/Tessaly.app.trashinfo", "[Trash Info]\nPath=/another\n", kPerson);
    linux_::mendTrashMoves(person(), kProduct);
    EXPECT_EQ(infoOf("Tessaly.app"), "[Trash Info]\nPath=/another\n");
  });
}

TEST_F(EndedMove, IsNotMendedWhileItGoesOn) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    moveUntil(applications() + "/Tessaly.app", SYS_renameat2);
    const std::string work = trash() + "/" + leftovers().front();
    const posix::UniqueFd held(::open(work.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::flock(held.get(), LOCK_EX | LOCK_NB), 0);
    linux_::mendTrashMoves(person(), kProduct);
    EXPECT_TRUE(exists(work));
  });
}

TEST_F(EndedMove, IsMendedByItsOwnProductOnly) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    moveUntil(applications() + "/Tessaly.app", SYS_renameat2);
    const std::string work = trash() + "/" + leftovers().front();
    platform::ProductIdentity other = kProduct;
    for (const char* prefix : {".other-", ""}) {
      other.workFolderPrefix = prefix;
      linux_::mendTrashMoves(person(), other);
      EXPECT_TRUE(exists(work)) << prefix;
    }
    linux_::mendTrashMoves(person(), kProduct);
    EXPECT_FALSE(exists(work));
  });
}

// A root-owned folder that the user has given such a name.
TEST_F(EndedMove, TakesNothingFromAFolderWithoutARecord) {
  run([] {
    const std::string folder = trash() + "/.tessaly-uninstaller-1";
    makeFolder(folder, 0, 0700);
    makeFile(folder + "/precious", "precious");
    linux_::mendTrashMoves(person(), kProduct);
    EXPECT_EQ(contentsOf(folder + "/precious"), "precious");
  });
}

// A plugged-in volume may claim any owners: no record there misleads root.
TEST_F(EndedMove, IsNotBelievedOnAnotherVolume) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    moveUntil(applications() + "/Tessaly.app", SYS_renameat2);
    const std::string work = trash() + "/" + leftovers().front();
    const std::string record = contentsOf(work + "/record");
    const std::string brought = machineFolder() + "/stick";
    mountTmpfs(brought, "mode=0755");
    makeFolder(brought + "/Trash", kPerson, 0700);
    for (const char* name : {"/files", "/info"}) makeFolder(brought + "/Trash" + name, kPerson, 0700);
    makeFolder(brought + "/Trash/.tessaly-uninstaller-1", 0, 0700);
    makeFile(brought + "/Trash/.tessaly-uninstaller-1/record", record);
    ASSERT_EQ(::unlink((home() + "/.Trash").c_str()), 0);
    makeLink(home() + "/.Trash", brought + "/Trash/files", kPerson);
    linux_::mendTrashMoves(person(), kProduct);
    EXPECT_TRUE(exists(brought + "/Trash/.tessaly-uninstaller-1/record"));
    expectHandedOver();
  });
}

TEST_F(EndedMove, FollowsNoRecordOutOfTheTrash) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    moveUntil(applications() + "/Tessaly.app", SYS_renameat2);
    makeFolder(machineFolder() + "/system");
    struct stat found {};
    ASSERT_EQ(::stat((machineFolder() + "/system").c_str(), &found), 0);
    const std::string work = trash() + "/" + leftovers().front();
    const std::string number = std::to_string(found.st_dev) + "\n" + std::to_string(found.st_ino) + "\n";
    makeFile(work + "/record", "/a\n" + number + "0\n0\n" + machineFolder() + "/system\n\n\n1\n0\n0\nend");
    linux_::mendTrashMoves(person(), kProduct);
    EXPECT_EQ(ownerOf(machineFolder() + "/system"), 0U);
    EXPECT_TRUE(exists(work)) << "what is not understood is left alone";
  });
}

// What is trusted can have been created only by root.
TEST_F(EndedMove, IsNotBelievedFromAPersonsFolder) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    moveUntil(applications() + "/Tessaly.app", SYS_renameat2);
    const std::string work = trash() + "/" + leftovers().front();
    for (const auto& [owner, mode] : {std::pair<uid_t, mode_t>{kPerson, 0700}, {0, 0755}}) {
      ASSERT_EQ(::chown(work.c_str(), owner, owner), 0);
      ASSERT_EQ(::chmod(work.c_str(), mode), 0);
      linux_::mendTrashMoves(person(), kProduct);
      EXPECT_EQ(ownerOf(files() + "/Tessaly.app/Contents"), 0U);
      EXPECT_TRUE(exists(work));
    }
  });
}

}  // namespace
}  // namespace qm::testing
