// SPDX-License-Identifier: MIT
#include "Platform/linux/LinuxPlatform.h"

#include "Platform/Threads.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/files/BundlePackages.h"
#include "Platform/linux/files/LinuxItemLocks.h"
#include "Platform/linux/privileges/PolkitAuthorization.h"
#include "Platform/linux/privileges/PrivilegePrograms.h"
#include "Platform/linux/system/MacLayoutDirectories.h"
#include "Platform/linux/system/PlistPropertyLists.h"
#include "Platform/linux/system/ProcessState.h"
#include "Platform/linux/system/SystemConsole.h"
#include "Platform/linux/system/SystemFacts.h"
#include "Platform/linux/system/SystemUsers.h"
#include "Platform/linux/trash/FreedesktopTrash.h"
#include "Platform/posix/process/PosixTasks.h"
#include "Platform/posix/process/SystemClock.h"
#include "Platform/posix/rights/RightfulFileSystem.h"

namespace qm::linux_ {
namespace {

std::string programName(const platform::ProductIdentity& product, const std::optional<std::string>& executable) {
  return executable ? foundation::lastPathComponent(*executable) : std::string(product.program);
}

HelperScope scopeOf(const platform::ProductIdentity& product) {
  return product.helper.empty() && !product.toolHelper.empty() ? HelperScope::AnyTool : HelperScope::Product;
}

/// Each service once, in the order of their dependencies.
struct Services {
  Services(const platform::ProductIdentity& product, const posix::FrontEndServices& frontEnd)
      : executable(runningExecutable()),
        console(clock, programName(product, executable)),
        users(frontEnd.usersOr(systemUsers)),
        directories(users),
        facts(propertyLists, product, executable),
        authorization(console, users, privilegePrograms(product, executable, scopeOf(product))),
        tasks(frontEnd.mainThread, frontEnd.descriptorWait),
        fileSystem(users),
        trash(users, clock, product.workFolderPrefix) {
    platform.authorizationServices = &authorization;
    platform.clock = &clock;
    platform.console = &console;
    platform.fileSystem = &fileSystem;
    platform.itemLocks = &itemLocks;
    platform.mainThread = &frontEnd.mainThread;
    platform.packages = &packages;
    platform.propertyLists = &propertyLists;
    platform.standardDirectories = &directories;
    platform.systemInformation = &facts;
    platform.tasks = &tasks;
    platform.threads = &threads;
    platform.trash = &trash;
    platform.userInterface = frontEnd.userInterface;
    platform.users = &users;
  }

  const std::optional<std::string> executable;
  posix::SystemClock clock;
  SystemConsole console;
  SystemUsers systemUsers;
  platform::Users& users;
  MacLayoutDirectories directories;
  PlistPropertyLists propertyLists;
  SystemFacts facts;
  PolkitAuthorization authorization;
  platform::StandardThreads threads;
  posix::PosixTasks tasks;
  posix::RightfulFileSystem fileSystem;
  LinuxItemLocks itemLocks;
  BundlePackages packages;
  FreedesktopTrash trash;
  platform::Platform platform;
};

Services* makeServices(const platform::ProductIdentity& product, const posix::FrontEndServices& frontEnd) {
  settleInheritedState();
  return new Services(product, frontEnd);
}

}  // namespace

const platform::Platform& linuxPlatform(const platform::ProductIdentity& product,
                                        const posix::FrontEndServices& frontEnd) {
  static Services* const services = makeServices(product, frontEnd);
  return services->platform;
}

}  // namespace qm::linux_
