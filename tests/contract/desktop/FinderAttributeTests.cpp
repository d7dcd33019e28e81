// SPDX-License-Identifier: MIT

// The bytes after a label, which a Mac must find unchanged.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "Platform/linux/desktop/LinuxFileReferences.h"
#include "Platform/linux/desktop/LinuxFinderInformation.h"
#include "Platform/posix/PosixFileSystem.h"
#include "tests/contract/desktop/DesktopMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

constexpr const char* kAttribute = "user.com.apple.FinderInfo";

linux_::LinuxFileReferences references;
linux_::LinuxFinderInformation information;

platform::Status setFlags(const std::string& path, std::uint16_t flags) {
  return information.setFinderFlags(references.make(path), flags);
}
std::optional<std::uint16_t> flagsOf(const std::string& path) { return information.finderFlags(references.make(path)); }

std::optional<std::string> bytesOf(const std::string& path) {
  char block[64];
  const ssize_t size = ::getxattr(path.c_str(), kAttribute, block, sizeof block);
  return size < 0 ? std::nullopt : std::optional(std::string(block, static_cast<std::size_t>(size)));
}
void setBytes(const std::string& path, const std::string& bytes) {
  ASSERT_EQ(::setxattr(path.c_str(), kAttribute, bytes.data(), bytes.size(), 0), 0) << errno;
}

TEST(FinderAttribute, HoldsTheFlagsBigEndianAtTheNinthOf32Bytes) {
  asPerson([](const std::string& home) {
    writeText(home + "/file", "");
    EXPECT_TRUE(setFlags(home + "/file", 0x0106).ok());
    std::string expected(32, '\0');
    expected[8] = 0x01;
    expected[9] = 0x06;
    EXPECT_EQ(bytesOf(home + "/file"), expected);
  });
}

TEST(FinderAttribute, IsTheCatalogsOwnOnTheMacsVolumes) {
  constexpr unsigned long kHfsPlus = ('H' << 8U) | '+';
  EXPECT_STREQ(linux_::finderAttributeOn(kHfsPlus), "osx.com.apple.FinderInfo");
  for (const unsigned long other : {0UL, 0x4244UL /* HFS */, 0xEF53UL /* ext4 */, 0x01021994UL /* tmpfs */}) {
    EXPECT_STREQ(linux_::finderAttributeOn(other), kAttribute) << other;
  }
}

TEST(FinderAttribute, KeepsTheRestOfTheBytes) {
  asPerson([](const std::string& home) {
    writeText(home + "/file", "");
    std::string bytes = "TEXTttxt\x01\x08" + std::string("abcdefghijklmnopqrstuv");
    setBytes(home + "/file", bytes);
    EXPECT_EQ(flagsOf(home + "/file"), 0x0108);
    EXPECT_TRUE(setFlags(home + "/file", 0x8106).ok());
    bytes[8] = static_cast<char>(0x81);
    bytes[9] = 0x06;
    EXPECT_EQ(bytesOf(home + "/file"), bytes);
  });
}

TEST(FinderAttribute, IsNotMadeToSayNothing) {
  asPerson([](const std::string& home) {
    writeText(home + "/file", "");
    EXPECT_TRUE(setFlags(home + "/file", 0).ok());
    EXPECT_EQ(bytesOf(home + "/file"), std::nullopt);
  });
}

TEST(FinderAttribute, OfAnotherSizeIsNeitherReadNorWrittenOver) {
  asPerson([](const std::string& home) {
    writeText(home + "/file", "");
    for (const std::size_t size : {0U, 10U, 31U, 33U, 60U}) {
      const std::string bytes(size, 'x');
      setBytes(home + "/file", bytes);
      EXPECT_EQ(flagsOf(home + "/file"), std::nullopt) << size;
      EXPECT_FALSE(setFlags(home + "/file", 6).ok()) << size;
      EXPECT_EQ(bytesOf(home + "/file"), bytes);
    }
  });
}

TEST(FinderAttribute, GoesAlongWithACopy) {
  asPerson([](const std::string& home) {
    writeText(home + "/file", "");
    EXPECT_TRUE(setFlags(home + "/file", 4).ok());
    posix::PosixFileSystem files;
    EXPECT_TRUE(files.copyItem(home + "/file", home + "/copy").ok());
    EXPECT_EQ(flagsOf(home + "/copy"), 4);
  });
}

TEST(FinderAttribute, CannotBeSetWhereNothingCanBeChangedOrKept) {
  asPerson([](const std::string&) {
    EXPECT_EQ(flagsOf("/proc/version"), std::nullopt);
    EXPECT_EQ(setFlags("/proc/version", 2).code(), EOPNOTSUPP);
    EXPECT_EQ(flagsOf("/dev/null"), 0);
    EXPECT_EQ(setFlags("/dev/null", 2).code(), EPERM);
    EXPECT_EQ(setFlags("/dev/null", 2).localizedDescription(),
              "“null” couldn’t be labelled because you don’t have permission.");
    EXPECT_EQ(setFlags("/none", 2).localizedDescription(), "“” couldn’t be labelled because it doesn’t exist.");
  });
}

TEST(FileReferencesOnDisk, EndAtTheBordersOfAVolume) {
  runInPrivateMachine([] {
    const std::string file = machineFolder() + "/file";
    writeText(file, "");
    mountTmpfs(machineFolder() + "/volume");
    const auto reference = references.make(file);
    posix::PosixFileSystem files;
    EXPECT_TRUE(files.moveItem(file, machineFolder() + "/volume/file").ok());
    EXPECT_EQ(references.path(reference), std::nullopt);
  });
}

TEST(FileReferencesOnDisk, FindNothingBehindAMount) {
  runInPrivateMachine([] {
    const std::string file = machineFolder() + "/folder/file";
    writeText(file, "");
    const auto reference = references.make(file);
    mountTmpfs(machineFolder() + "/folder");
    EXPECT_EQ(references.path(reference), std::nullopt);
    ASSERT_EQ(::umount((machineFolder() + "/folder").c_str()), 0);
    EXPECT_EQ(references.path(reference), file);
  });
}

TEST(FileReferencesOnDisk, FindNothingThatAnotherRootHides) {
  runInPrivateMachine([] {
    const std::string file = machineFolder() + "/file";
    writeText(file, "");
    const auto reference = references.make(file);
    const std::string inner = machineFolder() + "/root";
    std::filesystem::create_directory(inner);
    bindMount("/proc", inner + "/proc");
    inChild([&] {
      ASSERT_EQ(::chroot(inner.c_str()), 0);
      EXPECT_EQ(references.path(reference), std::nullopt);
    });
    EXPECT_EQ(references.path(reference), file);
  });
}

TEST(FileReferencesOnDisk, FindNothingWithoutTheKernelsOwnFiles) {
  runInPrivateMachine([] {
    const std::string file = machineFolder() + "/file";
    writeText(file, "");
    const auto reference = references.make(file);
    mountTmpfs("/proc");
    EXPECT_EQ(references.path(reference), std::nullopt);
    EXPECT_EQ(information.finderFlags(reference), std::nullopt);
    EXPECT_EQ(::umount("/proc"), 0);
  });
}

TEST(FileReferencesOnDisk, NeedNoRightToTheItem) {
  runInPrivateMachine([] {
    const std::string file = machineFolder() + "/file";
    writeText(file, "", 0);
    asUser(kPerson, kPerson, [&] { EXPECT_EQ(references.path(references.make(file)), file); });
  });
}

TEST(FileReferencesOnDisk, LeadRootBehindNoLinkThatSomebodyElseCouldHavePlanted) {
  asRootForPerson([](const std::string& home) {
    std::filesystem::create_directory(machineFolder() + "/system");
    writeText(machineFolder() + "/system/file", "");
    std::filesystem::create_directory_symlink(machineFolder() + "/system", home + "/way");
    ASSERT_EQ(::lchown((home + "/way").c_str(), kPerson, kPerson), 0);
    EXPECT_FALSE(setFlags(home + "/way/file", 0x0106).ok());
    EXPECT_EQ(bytesOf(machineFolder() + "/system/file"), std::nullopt);
    EXPECT_TRUE(setFlags(machineFolder() + "/system/file", 0x0106).ok());
    EXPECT_EQ(references.path(references.make("/")), "/");
  });
}

TEST(FileReferencesOnDisk, FollowANameThatLooksRemoved) {
  asPerson([](const std::string& home) {
    const std::string file = home + "/file (deleted)";
    writeText(file, "");
    EXPECT_EQ(references.path(references.make(file)), file);
  });
}

}  // namespace
}  // namespace qm::testing
