// SPDX-License-Identifier: MIT

// Labels on a Mac's own volume, if the kernel can read one. Also a program of its own for that.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/loop.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <string>

#include "Platform/linux/desktop/LinuxFileReferences.h"
#include "Platform/linux/desktop/LinuxFinderInformation.h"
#include "Platform/posix/UniqueFd.h"
#include "tests/contract/desktop/DesktopMachine.h"
#include "tests/contract/desktop/HfsPlusImage.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

constexpr const char* kMacAttribute = "osx.com.apple.FinderInfo";

/// A loop device for a file, while it is open or mounted.
struct LoopDevice {
  posix::UniqueFd open;
  std::string path;
};

/// Returns 0 or an error number.
int showAsDevice(const std::string& image, LoopDevice& device) {
  const posix::UniqueFd control(::open("/dev/loop-control", O_RDWR | O_CLOEXEC));
  const posix::UniqueFd file(::open(image.c_str(), O_RDWR | O_CLOEXEC));
  if (!control || !file) return errno;
  const int number = ::ioctl(control.get(), LOOP_CTL_GET_FREE);
  device.path = "/dev/loop" + std::to_string(number);
  device.open.reset(::open(device.path.c_str(), O_RDWR | O_CLOEXEC));
  loop_config config{};
  config.fd = static_cast<__u32>(file.get());
  config.info.lo_flags = LO_FLAGS_AUTOCLEAR;
  return number >= 0 && device.open && ::ioctl(device.open.get(), LOOP_CONFIGURE, &config) == 0 ? 0 : errno;
}

bool kernelHasDriver() { return textAt("/proc/filesystems").find("\thfsplus\n") != std::string::npos; }

/// Mounts an HFS+ volume. Returns 0 or an error number.
int mountMacVolume(const std::string& folder) {
  const std::string image = machineFolder() + "/image";
  writeText(image, emptyHfsPlusVolume());
  LoopDevice device;
  if (const int error = showAsDevice(image, device)) return error;
  EXPECT_EQ(::mkdir(folder.c_str(), 0755), 0);
  return ::mount(device.path.c_str(), folder.c_str(), "hfsplus", 0, "") == 0 ? 0 : errno;
}

std::string attributeOf(const std::string& path, const char* name) {
  char bytes[64];
  const ssize_t size = ::getxattr(path.c_str(), name, bytes, sizeof bytes);
  return size < 0 ? std::strerror(errno) : std::string(bytes, static_cast<std::size_t>(size));
}

void expectLabelsInTheCatalog(const std::string& item) {
  const linux_::LinuxFileReferences references;
  linux_::LinuxFinderInformation information;
  const auto reference = references.make(item);
  EXPECT_EQ(information.finderFlags(reference), 0) << item;
  std::string bytes(32, '\0');
  bytes[8] = 0x01;
  bytes[9] = 0x08;
  ASSERT_EQ(::setxattr(item.c_str(), kMacAttribute, bytes.data(), bytes.size(), 0), 0) << std::strerror(errno);
  EXPECT_EQ(information.finderFlags(reference), 0x0108) << item;
  const auto status = information.setFinderFlags(reference, 0x0106);
  EXPECT_TRUE(status.ok()) << status.localizedDescription();
  EXPECT_EQ(information.finderFlags(reference), 0x0106) << item;
  EXPECT_EQ(attributeOf(item, kMacAttribute).substr(8, 2), std::string("\x01\x06")) << item;
  EXPECT_LT(::getxattr(item.c_str(), "user.com.apple.FinderInfo", nullptr, 0), 0) << item;
}

TEST(MacVolume, KeepsLabelsInItsCatalog) {
  runInPrivateMachine([] {
    const std::string volume = machineFolder() + "/volume";
    const int error = mountMacVolume(volume);
    if (!kernelHasDriver()) {
      std::cout << "This kernel has no HFS+ driver: labels on a Mac's volume are not tried here.\n";
      EXPECT_NE(error, 0) << "a volume was mounted without a driver";
      return;
    }
    if (::geteuid() != 0 || error == EPERM || error == EACCES) {
      std::cout << "Only an administrator may mount an HFS+ volume: labels on one are not tried here.\n";
      EXPECT_NE(error, 0);
      return;
    }
    ASSERT_EQ(error, 0) << std::strerror(error);
    writeText(volume + "/file", "text");
    ASSERT_EQ(::mkdir((volume + "/folder").c_str(), 0755), 0);
    expectLabelsInTheCatalog(volume + "/file");
    expectLabelsInTheCatalog(volume + "/folder");
    expectLabelsInTheCatalog(volume);
  });
}

}  // namespace
}  // namespace qm::testing
