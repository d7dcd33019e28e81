// SPDX-License-Identifier: MIT
#include "Platform/SetUp.h"
#include "Platform/linux/LinuxPlatform.h"
#include "Platform/linux/desktop/LinuxDesktopShell.h"
#include "Platform/linux/desktop/LinuxFileReferences.h"
#include "Platform/linux/desktop/LinuxFinderInformation.h"
#include "Platform/posix/PosixFileOperations.h"
#include "Platform/posix/process/MainLoop.h"
#include "Platform/posix/rights/RightfulCopies.h"

namespace qm::linux_ {
namespace {

/// A set of services, completed with the four that it lacks.
struct WholeSet {
  WholeSet(const platform::ProductIdentity& product, const platform::Platform& others)
      : fileOperations(*others.mainThread, *others.threads, *others.clock, posix::rightsForCopies(*others.users)),
        desktopShell(*others.users, *others.tasks, {product.bundleEntryKey, product.bundleEntryPrefix}),
        platform(others) {
    platform.desktopShell = &desktopShell;
    platform.fileOperations = &fileOperations;
    platform.fileReferences = &fileReferences;
    platform.finderInformation = &finderInformation;
  }

  posix::PosixFileOperations fileOperations;
  LinuxFileReferences fileReferences;
  LinuxFinderInformation finderInformation;
  LinuxDesktopShell desktopShell;
  platform::Platform platform;
};

}  // namespace

const platform::Platform& wholeLinuxPlatform(const platform::ProductIdentity& product,
                                             const posix::FrontEndServices& frontEnd) {
  static const auto* const whole = new WholeSet(product, linuxPlatform(product, frontEnd));
  return whole->platform;
}

}  // namespace qm::linux_

const qm::platform::Platform& qm::platform::setUp(const ProductIdentity& product, Users* users) {
  static auto* const loop = new posix::MainLoop;
  install(&linux_::wholeLinuxPlatform(product, {.mainThread = *loop, .descriptorWait = *loop, .users = users}));
  return platform();
}
