// SPDX-License-Identifier: MIT
#include <grp.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <sys/xattr.h>

#include <atomic>
#include <thread>
#include <vector>

#include "Platform/posix/PosixFileSystem.h"
#include "tests/contract/files/RealFiles.h"

namespace qm::testing {
namespace {

constexpr uid_t kOther = 1001;

void setTimes(const std::string& path, timespec access, timespec modification) {
  const timespec times[2] = {access, modification};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
}

void expectTimes(const std::string& path, timespec access, timespec modification) {
  const struct stat attributes = attributesOf(path);
  EXPECT_EQ(attributes.st_mtim.tv_sec, modification.tv_sec) << path;
  EXPECT_EQ(attributes.st_mtim.tv_nsec, modification.tv_nsec) << path;
  if (!S_ISDIR(attributes.st_mode)) {
    EXPECT_EQ(attributes.st_atim.tv_nsec, access.tv_nsec) << path;
  }
}

std::string attribute(const std::string& path, const char* name) {
  char value[256];
  const ssize_t size = ::lgetxattr(path.c_str(), name, value, sizeof value);
  return size < 0 ? "none" : std::string(value, static_cast<std::size_t>(size));
}

TEST(CopyingOnDisk, KeepsModesAndTimesToTheNanosecond) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    asUser(kUser, kUser, [&] {
      makeFolders(from + "/tree/folder");
      makeFile(from + "/tree/folder/file", "text");
      ASSERT_EQ(::symlink("nowhere", (from + "/tree/link").c_str()), 0);
      ASSERT_EQ(::chmod((from + "/tree/folder/file").c_str(), 0641), 0);
      const timespec access{1'000'000'001, 123'456'789};
      const timespec modification{1'000'000'002, 987'654'321};
      for (const char* name : {"/tree/folder/file", "/tree/link", "/tree/folder", "/tree"}) {
        setTimes(from + name, access, modification);
      }
      ASSERT_EQ(::chmod((from + "/tree/folder").c_str(), 0511), 0);
      ASSERT_EQ(::chmod((from + "/tree").c_str(), 0750), 0);
      expectDone(files.copyItem(from + "/tree", to + "/tree"));
      for (const char* name : {"/tree/folder/file", "/tree/link", "/tree/folder", "/tree"}) {
        expectTimes(to + name, access, modification);
      }
      EXPECT_EQ(modeOf(to + "/tree"), 0750U);
      EXPECT_EQ(modeOf(to + "/tree/folder"), 0511U);
      EXPECT_EQ(modeOf(to + "/tree/folder/file"), 0641U);
    });
  });
}

TEST(LookingOnDisk, TakesDatesThatAClockDoesNotReachForItsFirstAndLast) {
  runInPrivateMachine([] {
    using Date = std::chrono::system_clock::time_point;
    const std::string file = machineFolder() + "/file";
    makeFile(file);
    const auto dateAt = [&](std::int64_t seconds) {
      setTimes(file, {0, 0}, {seconds, 999'999'999});
      return files.attributesOfItem(file)->modificationDate;
    };
    EXPECT_EQ(dateAt(1'000'000'000'000), Date::max());
    EXPECT_EQ(dateAt(9'223'372'036), Date::max());
    EXPECT_EQ(dateAt(-1'000'000'000'000), Date::min());
    EXPECT_EQ(dateAt(-9'223'372'036), Date::min());
    const auto nanoseconds = std::chrono::nanoseconds(999'999'999);
    EXPECT_EQ(dateAt(9'223'372'035).time_since_epoch(), std::chrono::seconds(9'223'372'035) + nanoseconds);
    EXPECT_EQ(dateAt(-9'223'372'035).time_since_epoch(), std::chrono::seconds(-9'223'372'035) + nanoseconds);
  });
}

TEST(CopyingOnDisk, KeepsOwnerAndSetUserBitsAsRoot) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/tool", "text");
    ASSERT_EQ(::chown((from + "/tool").c_str(), kUser, kOther), 0);
    ASSERT_EQ(::chmod((from + "/tool").c_str(), 06755), 0);
    ASSERT_EQ(::symlink("tool", (from + "/link").c_str()), 0);
    ASSERT_EQ(::lchown((from + "/link").c_str(), kOther, kUser), 0);
    expectDone(files.copyItem(from, to + "/copy"));
    EXPECT_EQ(modeOf(to + "/copy/tool"), 06755U);
    EXPECT_EQ(attributesOf(to + "/copy/tool").st_uid, kUser);
    EXPECT_EQ(attributesOf(to + "/copy/tool").st_gid, kOther);
    EXPECT_EQ(attributesOf(to + "/copy/link").st_uid, kOther);
  });
}

TEST(CopyingOnDisk, KeepsAGroupThatTheUserIsInWithoutTheOwner) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/shared", "text");
    ASSERT_EQ(::chown((from + "/shared").c_str(), kOther, kOther), 0);
    ASSERT_EQ(::chmod((from + "/shared").c_str(), 02664), 0);
    inChild([&] {
      const gid_t groups[] = {kOther};
      ASSERT_EQ(::setgroups(1, groups), 0);
      ASSERT_EQ(::setresgid(kUser, kUser, kUser), 0);
      ASSERT_EQ(::setresuid(kUser, kUser, kUser), 0);
      expectDone(files.copyItem(from + "/shared", to + "/shared"));
    });
    EXPECT_EQ(attributesOf(to + "/shared").st_uid, kUser);
    EXPECT_EQ(attributesOf(to + "/shared").st_gid, kOther);
    EXPECT_EQ(modeOf(to + "/shared"), 0664U);
  });
}

TEST(CopyingOnDisk, DropsSetUserBitsWithTheOwner) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/tool", "text");
    ASSERT_EQ(::chmod((from + "/tool").c_str(), 06755), 0);
    asUser(kUser, kUser, [&] {
      expectDone(files.copyItem(from + "/tool", to + "/tool"));
      EXPECT_EQ(modeOf(to + "/tool"), 0755U);
      EXPECT_EQ(attributesOf(to + "/tool").st_uid, kUser);
    });
  });
}

/// The name of an attribute that the volume supports: a user's if possible, else one of root's.
const char* keptAttribute(const std::string& path) {
  const bool keepsUsers = ::setxattr(path.c_str(), "user.probe", "x", 1, 0) == 0;
  return keepsUsers ? "user.note" : "trusted.note";
}

TEST(CopyingOnDisk, KeepsExtendedAttributesOfFilesAndFolders) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    const char* kept = keptAttribute(from);
    makeFolders(from + "/folder");
    makeFile(from + "/folder/small");
    makeFile(from + "/folder/big");
    const std::string bytes(1000, 'b');
    ASSERT_EQ(::setxattr((from + "/folder").c_str(), kept, "f", 1, 0), 0) << errno;
    ASSERT_EQ(::setxattr((from + "/folder/small").c_str(), kept, "a\0b", 3, 0), 0) << errno;
    ASSERT_EQ(::setxattr((from + "/folder/big").c_str(), kept, bytes.data(), bytes.size(), 0), 0) << errno;
    ASSERT_EQ(::chmod((from + "/folder/small").c_str(), 0400), 0);
    expectDone(files.copyItem(from + "/folder", to + "/folder"));
    EXPECT_EQ(attribute(to + "/folder", kept), "f");
    EXPECT_EQ(attribute(to + "/folder/small", kept), std::string("a\0b", 3));
    EXPECT_EQ(::getxattr((to + "/folder/big").c_str(), kept, nullptr, 0), 1000);
  });
}

TEST(CopyingOnDisk, LeavesAttributesBehindThatItMaySeeButNotSet) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/file", "text");
    ASSERT_EQ(::setxattr((from + "/file").c_str(), "security.note", "n", 1, 0), 0) << errno;
    asUser(kUser, kUser, [&] {
      expectDone(files.copyItem(from + "/file", to + "/file"));
      EXPECT_EQ(textOf(to + "/file"), "text");
      EXPECT_EQ(attribute(to + "/file", "security.note"), "none");
    });
  });
}

TEST(CopyingOnDisk, KeepsAccessListsAndTakesNoneFromTheNewFolder) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    const std::string list = accessListFor(kOther);
    makeFile(from + "/listed");
    makeFolders(from + "/folder/inner");
    makeFile(from + "/folder/plain");
    ASSERT_EQ(::setxattr((from + "/listed").c_str(), "system.posix_acl_access", list.data(), list.size(), 0), 0);
    ASSERT_EQ(::setxattr(to.c_str(), "system.posix_acl_default", list.data(), list.size(), 0), 0);
    expectDone(files.copyItem(from + "/listed", to + "/listed"));
    expectDone(files.copyItem(from + "/folder", to + "/folder"));
    EXPECT_EQ(attribute(to + "/listed", "system.posix_acl_access"), list);
    EXPECT_EQ(attribute(to + "/folder", "system.posix_acl_default"), "none");
    EXPECT_EQ(attribute(to + "/folder/inner", "system.posix_acl_access"), "none");
    EXPECT_EQ(attribute(to + "/folder/plain", "system.posix_acl_access"), "none");
    expectDone(files.copyItem(from + "/folder/plain", to + "/plain"));
    EXPECT_EQ(attribute(to + "/plain", "system.posix_acl_access"), "none");
  });
}

TEST(CopyingOnDisk, CopiesAFolderThatItsOwnerMayNotChange) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    asUser(kUser, kUser, [&] {
      makeFolders(from + "/tree/inner");
      makeFile(from + "/tree/inner/file", "text");
      ASSERT_EQ(::chmod((from + "/tree/inner").c_str(), 0500), 0);
      ASSERT_EQ(::chmod((from + "/tree").c_str(), 0500), 0);
      expectDone(files.copyItem(from + "/tree", to + "/tree"));
      EXPECT_EQ(textOf(to + "/tree/inner/file"), "text");
      EXPECT_EQ(modeOf(to + "/tree/inner"), 0500U);
    });
  });
}

TEST(CopyingOnDisk, RemovesEvenUnchangeableFoldersOfAFailedCopy) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    asUser(kUser, kUser, [&] {
      makeFolders(from + "/tree/a/b");
      makeFile(from + "/tree/a/b/file", "text");
      ASSERT_EQ(::chmod((from + "/tree/a/b").c_str(), 0500), 0);
      ASSERT_EQ(::chmod((from + "/tree/a").c_str(), 0500), 0);
      makeFolders(from + "/tree/z", 0000);
      EXPECT_EQ(files.copyItem(from + "/tree", to + "/tree").code(), EACCES);
      EXPECT_EQ(countIn(to), 0U);
    });
  });
}

TEST(CopyingOnDisk, KeepsHolesAndTheBytesAroundThem) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    constexpr off_t size = 67'108'864;
    const int file = ::open((from + "/sparse").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0644);
    ASSERT_EQ(::ftruncate(file, size), 0);
    ASSERT_EQ(::pwrite(file, "begin", 5, 1'000'000), 5);
    ASSERT_EQ(::pwrite(file, "end", 3, 50'000'000), 3);
    ::close(file);
    expectDone(files.copyItem(from + "/sparse", to + "/sparse"));
    const struct stat copy = attributesOf(to + "/sparse");
    EXPECT_EQ(copy.st_size, size);
    EXPECT_LT(copy.st_blocks, 1024);
    EXPECT_TRUE(textOf(to + "/sparse") == textOf(from + "/sparse"));
  });
}

TEST(CopyingOnDisk, KeepsNamesOfOneFileInATreeTogether) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree/a");
    makeFolders(from + "/tree/b");
    makeFile(from + "/tree/a/one", "text");
    ASSERT_EQ(::link((from + "/tree/a/one").c_str(), (from + "/tree/b/two").c_str()), 0);
    ASSERT_EQ(::link((from + "/tree/a/one").c_str(), (from + "/outside").c_str()), 0);
    expectDone(files.copyItem(from + "/tree", to + "/tree"));
    const struct stat one = attributesOf(to + "/tree/a/one");
    const struct stat two = attributesOf(to + "/tree/b/two");
    EXPECT_EQ(one.st_ino, two.st_ino);
    EXPECT_EQ(one.st_nlink, 2U);
    EXPECT_EQ(textOf(to + "/tree/b/two"), "text");
  });
}

TEST(CopyingOnDisk, MakesFifosAndSocketsAnewWithoutWaiting) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    asUser(kUser, kUser, [&] {
      makeFolders(from + "/tree");
      ASSERT_EQ(::mkfifo((from + "/tree/fifo").c_str(), 0640), 0);
      ASSERT_EQ(::mknod((from + "/tree/socket").c_str(), S_IFSOCK | 0600, 0), 0);
      expectDone(files.copyItem(from + "/tree", to + "/tree"));
      EXPECT_TRUE(S_ISFIFO(attributesOf(to + "/tree/fifo").st_mode));
      EXPECT_EQ(modeOf(to + "/tree/fifo"), 0640U);
      EXPECT_TRUE(S_ISSOCK(attributesOf(to + "/tree/socket").st_mode));
    });
  });
}

TEST(CopyingOnDisk, FailsWhereADeviceMayNotBeMade) {
  runInPrivateMachine([] {
    const std::string to = openFolder("to");
    asUser(kUser, kUser, [&] {
      expectError(files.copyItem("/dev/null", to + "/null"), EPERM,
                  "“null” couldn’t be copied to “to” because you don’t have permission.");
    });
    EXPECT_EQ(countIn(to), 0U);
  });
}

TEST(CopyingOnDisk, CopiesBigFilesToTheByteWithAndWithoutTheKernelsHelp) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    std::string bytes(3'000'017, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 31 + i / 256);
    makeFile(from + "/big", bytes);
    expectDone(files.copyItem(from + "/big", to + "/helped"));
    EXPECT_TRUE(textOf(to + "/helped") == bytes);
    for (const int error : {EXDEV, EINVAL, ENOSYS, EOPNOTSUPP}) {
      inChild([&] {
        failSystemCall(SYS_copy_file_range, error);
        const std::string copy = to + "/plain" + std::to_string(error);
        expectDone(files.copyItem(from + "/big", copy));
        EXPECT_TRUE(textOf(copy) == bytes);
      });
    }
  });
}

TEST(CopyingOnDisk, EndsAlthoughTheFileKeepsGrowing) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    const std::string path = from + "/growing";
    makeFile(path, std::string(1'000'000, 'x'));
    std::atomic<bool> ended{false};
    std::thread writer([&] {
      const int file = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
      const std::string block(4096, 'y');
      for (int i = 0; !ended && i < 20'000; ++i) EXPECT_EQ(::write(file, block.data(), block.size()), 4096);
      ::close(file);
    });
    expectDone(files.copyItem(path, to + "/copy"));
    ended = true;
    writer.join();
    EXPECT_GE(attributesOf(to + "/copy").st_size, 1'000'000);
    EXPECT_EQ(textOf(to + "/copy").substr(0, 1'000'000), std::string(1'000'000, 'x'));
  });
}

TEST(CopyingOnDisk, RefusesATreeThatLeadsIntoTheCopyByAnotherMount) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    makeFolders(from + "/inner");
    bindMount(from + "/inner", machineFolder() + "/bound");
    const auto status = files.copyItem(from, machineFolder() + "/bound/copy");
    expectError(status, EINVAL, "“from” couldn’t be copied to “bound” because a folder can’t be put into itself.");
    EXPECT_EQ(countIn(from + "/inner"), 0U);
  });
}

TEST(CopyingOnDisk, CopiesATreeDeeperThanAnyPath) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    int folder = ::open(from.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::string name(200, 'd');
    for (int level = 0; level < 300; ++level) {
      ASSERT_EQ(::mkdirat(folder, name.c_str(), 0755), 0);
      const int below = ::openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
      ::close(folder);
      folder = below;
    }
    ASSERT_EQ(::mkdirat(folder, "last", 0700), 0);
    ::close(folder);
    expectDone(files.copyItem(from + "/" + name, to + "/copy"));
    int copied = ::open((to + "/copy").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (int level = 1; level < 300; ++level) {
      const int below = ::openat(copied, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
      ASSERT_GE(below, 0) << level;
      ::close(copied);
      copied = below;
    }
    EXPECT_EQ(::faccessat(copied, "last", F_OK, 0), 0);
    ::close(copied);
  });
}

}  // namespace
}  // namespace qm::testing
