// SPDX-License-Identifier: MIT
#include "Platform/macos/MacPlatform.h"

#include "Platform/macos/desktop/MacDesktopShell.h"
#include "Platform/macos/files/MacFileReferences.h"
#include "Platform/macos/files/MacFinderInformation.h"
#include "Platform/macos/files/MacItemLocks.h"
#include "Platform/macos/files/MacTrash.h"
#include "Platform/macos/privileges/MacAuthorization.h"
#include "Platform/macos/system/MacConsole.h"
#include "Platform/macos/system/MacDirectories.h"
#include "Platform/macos/system/MacFacts.h"
#include "Platform/macos/system/MacPackages.h"
#include "Platform/macos/system/MacPropertyLists.h"
#include "Platform/macos/system/MacThreads.h"
#include "Platform/macos/system/MacUsers.h"
#include "Platform/posix/PosixFileOperations.h"
#include "Platform/posix/process/InheritedState.h"
#include "Platform/posix/process/PosixTasks.h"
#include "Platform/posix/process/SystemClock.h"
#include "Platform/posix/rights/RightfulCopies.h"
#include "Platform/posix/rights/RightfulFileSystem.h"

namespace qm::macos {
namespace {

/// One object for each service. A service comes after those that it uses.
struct Services {
  Services(const platform::ProductIdentity& product, const FrontEndServices& frontEnd)
      : users(frontEnd.usersOr(systemUsers)),
        authorization(console),
        tasks(frontEnd.mainThread, frontEnd.descriptorWait),
        fileSystem(users),
        fileOperations(frontEnd.mainThread, threads, clock, posix::rightsForCopies(users)),
        itemLocks(users),
        finderInformation(users),
        trash(users, clock, console, product.identifier) {
    platform = {.authorizationServices = &authorization,
                .clock = &clock,
                .console = &console,
                .desktopShell = &desktopShell,
                .fileOperations = &fileOperations,
                .fileReferences = &fileReferences,
                .fileSystem = &fileSystem,
                .finderInformation = &finderInformation,
                .itemLocks = &itemLocks,
                .mainThread = &frontEnd.mainThread,
                .packages = &packages,
                .propertyLists = &propertyLists,
                .standardDirectories = &directories,
                .systemInformation = &facts,
                .tasks = &tasks,
                .threads = &threads,
                .trash = &trash,
                .userInterface = frontEnd.userInterface,
                .users = &users};
  }

  posix::SystemClock clock;
  MacConsole console;
  MacUsers systemUsers;
  platform::Users& users;
  MacDirectories directories;
  MacFacts facts;
  MacPackages packages;
  MacPropertyLists propertyLists;
  MacThreads threads;
  MacAuthorization authorization;
  posix::PosixTasks tasks;
  posix::RightfulFileSystem fileSystem;
  posix::PosixFileOperations fileOperations;
  MacItemLocks itemLocks;
  MacFileReferences fileReferences;
  MacFinderInformation finderInformation;
  MacTrash trash;
  MacDesktopShell desktopShell;
  platform::Platform platform;
};

Services* makeServices(const platform::ProductIdentity& product, const FrontEndServices& frontEnd) {
  posix::settleInheritedState();
  return new Services(product, frontEnd);
}

}  // namespace

const platform::Platform& macPlatform(const platform::ProductIdentity& product, const FrontEndServices& frontEnd) {
  static Services* const services = makeServices(product, frontEnd);
  return services->platform;
}

}  // namespace qm::macos
