// SPDX-License-Identifier: MIT
#include "Platform/SetUp.h"
#include "Platform/macos/MacServices.h"
#include "Platform/posix/PosixFileOperations.h"
#include "Platform/posix/process/InheritedState.h"
#include "Platform/posix/process/MainLoop.h"
#include "Platform/posix/process/PosixTasks.h"
#include "Platform/posix/process/SystemClock.h"
#include "Platform/posix/rights/RightfulCopies.h"
#include "Platform/posix/rights/RightfulFileSystem.h"

namespace qm::macos {
namespace {

/// One object for each service, which is never destroyed. A service comes after those that it uses.
platform::Platform makeServices(const platform::ProductIdentity& product, const posix::FrontEndServices& frontEnd) {
  posix::settleInheritedState();
  platform::Platform made;
  made.mainThread = &frontEnd.mainThread;
  made.userInterface = frontEnd.userInterface;
  made.users = &frontEnd.usersOr(*makeUsers().release());
  made.clock = new posix::SystemClock;
  made.console = makeConsole().release();
  made.threads = makeThreads().release();
  made.packages = makePackages().release();
  made.propertyLists = makePropertyLists().release();
  made.standardDirectories = makeDirectories().release();
  made.systemInformation = makeSystemInformation().release();
  made.tasks = new posix::PosixTasks(frontEnd.mainThread, frontEnd.descriptorWait);
  made.authorizationServices = makeAuthorization(*made.console).release();
  made.fileSystem = new posix::RightfulFileSystem(*made.users);
  made.fileOperations = new posix::PosixFileOperations(frontEnd.mainThread, *made.threads, *made.clock,
                                                       posix::rightsForCopies(*made.users));
  made.itemLocks = makeItemLocks(*made.users).release();
  made.fileReferences = makeFileReferences().release();
  made.finderInformation = makeFinderInformation(*made.users).release();
  made.trash = makeTrash(*made.users, *made.clock, *made.console, std::string(product.identifier)).release();
  made.desktopShell = makeDesktopShell().release();
  return made;
}

}  // namespace

const platform::Platform& macPlatform(const platform::ProductIdentity& product,
                                      const posix::FrontEndServices& frontEnd) {
  static const platform::Platform services = makeServices(product, frontEnd);
  return services;
}

}  // namespace qm::macos

const qm::platform::Platform& qm::platform::setUp(const ProductIdentity& product, Users* users) {
  static auto* const loop = new posix::MainLoop;
  install(&macos::macPlatform(product, {.mainThread = *loop, .descriptorWait = *loop, .users = users}));
  return platform();
}
