// SPDX-License-Identifier: MIT

// Links, "..", mount points and other ways to mislead root.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/linux/rights/Writers.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

// A folder "system" of root's, "home" of the user's and "others" of another user's.
class PathsForRoot : public ::testing::Test {
 protected:
  void run(const std::function<void()>& body) {
    runInPrivateMachine([&] {
      makeFolder(system());
      makeFile(system() + "/precious", "precious");
      makeFolder(home(), kPerson);
      makeFile(home() + "/own", "own", kPerson);
      makeFolder(others(), kOther);
      body();
      EXPECT_EQ(contentsOf(system() + "/precious"), "precious");
    });
  }

  static std::string system() { return machineFolder() + "/system"; }
  static std::string home() { return machineFolder() + "/home"; }
  static std::string others() { return machineFolder() + "/others"; }
};

/// A file system in user space of the user's, whose program answers nothing. It ends with the test.
posix::UniqueFd mountOfThePersons(const std::string& path) {
  makeFolder(path, kPerson);
  posix::UniqueFd program(::open("/dev/fuse", O_RDWR | O_CLOEXEC));
  EXPECT_TRUE(program) << "without it there are no such file systems here, and nothing to test";
  const std::string person = std::to_string(kPerson);
  const std::string options =
      "fd=" + std::to_string(program.get()) + ",rootmode=40755,user_id=" + person + ",group_id=" + person;
  EXPECT_EQ(::mount("person", path.c_str(), "fuse", MS_NOSUID | MS_NODEV, options.c_str()), 0) << errno;
  return program;
}

/// The writers of a root-owned entry in a folder that claims to be root's alone.
linux_::Writers writersIn(const posix::UniqueFd& folder) {
  struct stat roots {};
  roots.st_mode = S_IFDIR | 0755;
  return linux_::writersOfEntry(folder.get(), roots, roots);
}

TEST_F(PathsForRoot, AreNobodysWordInAFileSystemOfUserSpace) {
  run([] {
    needRootsOwnSystem();  // only root may open its /dev/fuse
    const posix::UniqueFd program = mountOfThePersons(home() + "/mounted");
    const posix::UniqueFd mounted(::open((home() + "/mounted").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    const posix::UniqueFd plain(::open(system().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    ASSERT_TRUE(mounted && plain) << errno;
    EXPECT_TRUE(writersIn(mounted).anybody);
    EXPECT_TRUE(writersIn(plain).none());
    EXPECT_FALSE(linux_::onlyRootWrites(mounted.get()));
  });
}

TEST_F(PathsForRoot, AreNobodysWordWhereTheFileSystemIsNotKnown) {
  run([] {
    inChild([] {
      const posix::UniqueFd folder(::open(system().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
      failSystemCall(SYS_fstatfs, EIO);
      EXPECT_TRUE(writersIn(folder).anybody);
      EXPECT_FALSE(linux_::onlyRootWrites(folder.get()));
    });
  });
}

TEST_F(PathsForRoot, RefuseALinkOfThePersonToAFolderOfRoots) {
  run([] {
    makeLink(home() + "/link", system(), kPerson);
    const Outcome outcome = launch("/bin/rm", {"-Rdf", home() + "/link/precious"});
    EXPECT_EQ(outcome.error, ELOOP);
    EXPECT_NE(outcome.reason.find("could have been planted"), std::string::npos) << outcome.reason;
  });
}

TEST_F(PathsForRoot, RefuseALinkOfThePersonToAFolderOfAnothers) {
  run([] {
    makeFile(others() + "/item", "kept", kOther);
    makeLink(home() + "/link", others(), kPerson);
    EXPECT_EQ(launch("/bin/rm", {"-Rdf", home() + "/link/item"}).error, ELOOP);
    EXPECT_EQ(contentsOf(others() + "/item"), "kept");
  });
}

TEST_F(PathsForRoot, FollowALinkOfThePersonToAFolderOfHisOwn) {
  run([] {
    makeFolder(home() + "/real", kPerson);
    makeFile(home() + "/real/item", "", kPerson);
    makeLink(home() + "/link", "real", kPerson);
    EXPECT_TRUE(launch("/bin/rm", {"-Rdf", home() + "/link/item"}).succeeded());
    EXPECT_FALSE(exists(home() + "/real/item"));
  });
}

TEST_F(PathsForRoot, FollowALinkOfRoots) {
  run([] {
    makeFile(system() + "/item", "");
    makeLink(machineFolder() + "/link", "system");
    EXPECT_TRUE(launch("/bin/rm", {"-Rdf", machineFolder() + "/link/item"}).succeeded());
    EXPECT_FALSE(exists(system() + "/item"));
  });
}

TEST_F(PathsForRoot, RefuseALinkOfRootsThatAPersonCouldHaveMovedThere) {
  run([] {
    makeFolder(home() + "/roots");
    makeLink(home() + "/roots/link", system());
    EXPECT_EQ(launch("/bin/rm", {"-Rdf", home() + "/roots/link/precious"}).error, ELOOP);
  });
}

TEST_F(PathsForRoot, RefuseALinkWhereEverybodyMayWrite) {
  run([] {
    makeFolder(machineFolder() + "/open", 0, 0777);
    makeFolder(machineFolder() + "/open/real", kPerson);
    makeFile(machineFolder() + "/open/real/item", "", kPerson);
    makeLink(machineFolder() + "/open/link", "real", kPerson);
    EXPECT_EQ(launch("/bin/rm", {"-Rdf", machineFolder() + "/open/link/item"}).error, ELOOP);
    EXPECT_TRUE(exists(machineFolder() + "/open/real/item"));
  });
}

TEST_F(PathsForRoot, FollowALinkInAStickyFolderToItsOwnersFolder) {
  run([] {
    makeFolder(machineFolder() + "/tmp", 0, 01777);
    makeFile(home() + "/item", "", kPerson);
    makeLink(machineFolder() + "/tmp/link", home(), kPerson);
    makeLink(machineFolder() + "/tmp/evil", home(), kOther);
    EXPECT_EQ(launch("/bin/rm", {"-Rdf", machineFolder() + "/tmp/evil/item"}).error, ELOOP);
    EXPECT_TRUE(launch("/bin/rm", {"-Rdf", machineFolder() + "/tmp/link/item"}).succeeded());
  });
}

// An access list grants more than the owner's group has.
TEST_F(PathsForRoot, RefuseALinkWhereAnAccessListLetsThePersonWrite) {
  run([] {
    makeFolder(machineFolder() + "/shared");
    makeLink(machineFolder() + "/shared/link", system());
    // user::rwx, user:1001:rwx, group::r-x, mask::rwx, other::r-x
    constexpr unsigned char list[] = {2, 0,    0,    0,    1,    0,    7,    0, 0xff, 0xff, 0xff, 0xff, 2,    0,    7,
                                      0, 0xe9, 3,    0,    0,    4,    0,    5, 0,    0xff, 0xff, 0xff, 0xff, 0x10, 0,
                                      7, 0,    0xff, 0xff, 0xff, 0xff, 0x20, 0, 5,    0,    0xff, 0xff, 0xff, 0xff};
    ASSERT_EQ(::setxattr((machineFolder() + "/shared").c_str(), "system.posix_acl_access", list, sizeof list, 0), 0);
    EXPECT_EQ(launch("/bin/rm", {"-Rdf", machineFolder() + "/shared/link/precious"}).error, ELOOP);
  });
}

// A user with the group as the primary one does not appear in the list of its members.
TEST_F(PathsForRoot, RefuseALinkWhereAGroupMayWrite) {
  run([] {
    makeFolder(machineFolder() + "/shared", 0, 0775);
    makeLink(machineFolder() + "/shared/link", system());
    EXPECT_EQ(launch("/bin/rm", {"-Rdf", machineFolder() + "/shared/link/precious"}).error, ELOOP);
  });
}

TEST_F(PathsForRoot, RefuseALinkOfRootsInAStickyFolder) {
  run([] {
    for (const uid_t owner : {uid_t{0}, kPerson}) {
      const std::string folder = machineFolder() + "/sticky" + std::to_string(owner);
      makeFolder(folder, owner, owner == 0 ? 01777 : 01755);
      makeLink(folder + "/link", system());
      EXPECT_EQ(launch("/bin/rm", {"-Rdf", folder + "/link/precious"}).error, ELOOP) << folder;
    }
  });
}

TEST_F(PathsForRoot, EndInARingOfLinks) {
  run([] {
    makeLink(machineFolder() + "/one", "two");
    makeLink(machineFolder() + "/two", "one");
    EXPECT_EQ(launch("/bin/rm", {"-Rdf", machineFolder() + "/one/item"}).error, ELOOP);
  });
}

TEST_F(PathsForRoot, RefuseToGoUpFromAFolderThatAPersonCanMove) {
  run([] {
    makeFolder(home() + "/folder", kPerson);
    EXPECT_EQ(launch("/bin/rm", {"-Rdf", home() + "/folder/../own"}).error, EPERM);
    EXPECT_TRUE(exists(home() + "/own"));
  });
}

TEST_F(PathsForRoot, GoUpFromAFolderThatOnlyRootCanMove) {
  run([] {
    makeFile(machineFolder() + "/item", "");
    EXPECT_TRUE(launch("/bin/rm", {"-Rdf", system() + "/../item"}).succeeded());
    EXPECT_FALSE(exists(machineFolder() + "/item"));
  });
}

TEST_F(PathsForRoot, NeverLeadThroughAnotherProcess) {
  run([] {
    asUser(kPerson, kPerson, [] {
      ASSERT_EQ(::chdir(system().c_str()), 0);
      const std::string self = "/proc/" + std::to_string(::getpid());
      makeLink(home() + "/process", self + "/cwd", kPerson);
    });
    EXPECT_NE(launch("/bin/rm", {"-Rdf", home() + "/process/precious"}).error, -1);
    const std::string own = "/proc/" + std::to_string(::getpid()) + "/root";
    makeLink(home() + "/root", own, kPerson);
    EXPECT_EQ(launch("/bin/rm", {"-Rdf", home() + "/root" + system() + "/precious"}).error, ELOOP);
  });
}

TEST_F(PathsForRoot, RemoveALinkAndNotWhatItLeadsTo) {
  run([] {
    makeLink(home() + "/link", system(), kPerson);
    EXPECT_TRUE(launch("/bin/rm", {"-Rdf", home() + "/link"}).succeeded());
    EXPECT_FALSE(exists(home() + "/link"));
  });
}

TEST_F(PathsForRoot, RefuseALinkWithASlashBehindIt) {
  run([] {
    makeLink(home() + "/link", system(), kPerson);
    EXPECT_EQ(launch("/bin/rm", {"-Rdf", home() + "/link/"}).error, ENOTDIR);
    EXPECT_EQ(launch("/bin/mv", {"-f", home() + "/link/", home() + "/moved"}).error, ENOTDIR);
    EXPECT_TRUE(isLink(home() + "/link"));
  });
}

TEST_F(PathsForRoot, MayHoldAnyCharacter) {
  run([] {
    for (const std::string name : {"-rf", "new\nline", "a b", "*", "\xFF", "--", "'\"$(id)"}) {
      makeFile(home() + "/" + name, "", kPerson);
      EXPECT_TRUE(launch("/bin/rm", {"-Rdf", home() + "/" + name}).succeeded()) << name;
      EXPECT_FALSE(exists(home() + "/" + name)) << name;
    }
    EXPECT_TRUE(exists(home() + "/own"));
  });
}

TEST_F(PathsForRoot, AreAbsolute) {
  run([] {
    for (const std::string path : {"-R", "--", "-", "", "own", "../own", "--target-directory=/"}) {
      const Outcome outcome = launch("/bin/mv", {"-f", home() + "/own", path});
      EXPECT_EQ(outcome.error, EINVAL) << path;
    }
    EXPECT_TRUE(exists(home() + "/own"));
  });
}

TEST_F(PathsForRoot, NameAnItem) {
  run([] {
    EXPECT_EQ(launch("/bin/rm", {"-Rdf", "/"}).error, EINVAL);
    EXPECT_EQ(launch("/bin/rm", {"-Rdf", system() + "/.."}).error, EINVAL);
  });
}

TEST_F(PathsForRoot, AreReportedWhereNothingIsThere) {
  run([] {
    EXPECT_TRUE(launch("/bin/rm", {"-Rdf", home() + "/missing/item"}).succeeded());
    const Outcome outcome = launch("/bin/mv", {"-f", home() + "/missing/item", home() + "/new"});
    EXPECT_EQ(outcome.error, ENOENT);
    EXPECT_EQ(outcome.reason, home() + "/missing/item: No such file or directory");
  });
}

TEST_F(PathsForRoot, AreNotLeftAtAMountPoint) {
  run([] {
    makeFolder(home() + "/mounted", kPerson);
    bindMount(system(), home() + "/mounted");
    const Outcome outcome = launch("/bin/mv", {"-f", home() + "/mounted", home() + "/moved"});
    EXPECT_TRUE(outcome.started());
    EXPECT_NE(outcome.waitStatus, 0);
    EXPECT_TRUE(exists(home() + "/mounted/precious"));
  });
}

TEST_F(PathsForRoot, ToTouchAreNotThoseOfAnItemWithOtherNames) {
  run([] {
    ASSERT_EQ(::link((system() + "/precious").c_str(), (home() + "/name").c_str()), 0);
    EXPECT_EQ(launch("/usr/bin/touch", {"-c", home() + "/name"}).error, EPERM);
    EXPECT_TRUE(launch("/usr/bin/touch", {"-c", home() + "/own"}).succeeded());
    EXPECT_TRUE(launch("/usr/bin/touch", {"-c", home() + "/missing"}).succeeded());
    EXPECT_FALSE(exists(home() + "/missing"));
    makeLink(home() + "/link", system() + "/precious", kPerson);
    EXPECT_EQ(launch("/usr/bin/touch", {"-c", home() + "/link"}).error, ELOOP);
  });
}

}  // namespace
}  // namespace qm::testing
