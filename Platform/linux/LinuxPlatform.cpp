#include "Platform/linux/LinuxPlatform.h"

#include "Platform/Threads.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/desktop/LinuxDesktopShell.h"
#include "Platform/linux/desktop/LinuxFileReferences.h"
#include "Platform/linux/desktop/LinuxFinderInformation.h"
#include "Platform/linux/files/BundlePackages.h"
#include "Platform/linux/files/LinuxFileSystem.h"
#include "Platform/linux/files/LinuxItemLocks.h"
#include "Platform/linux/privileges/PolkitAuthorization.h"
#include "Platform/linux/privileges/PrivilegePrograms.h"
#include "Platform/linux/system/MacLayoutDirectories.h"
#include "Platform/linux/system/PlistPropertyLists.h"
#include "Platform/linux/system/ProcessState.h"
#include "Platform/linux/system/SystemClock.h"
#include "Platform/linux/system/SystemConsole.h"
#include "Platform/linux/system/SystemFacts.h"
#include "Platform/linux/system/SystemUsers.h"
#include "Platform/linux/trash/FreedesktopTrash.h"
#include "Platform/posix/PosixFileOperations.h"
#include "Platform/posix/process/PosixTasks.h"

namespace qm::linux_ {
namespace {

std::string programName(const std::optional<std::string>& executable) {
  return executable ? foundation::lastPathComponent(*executable) : "tessaly-uninstaller";
}

/// Every service once, in the order in which they need each other.
struct Services {
  explicit Services(const FrontEndServices& frontEnd)
      : executable(runningExecutable()),
        console(clock, programName(executable)),
        users(frontEnd.users != nullptr ? *frontEnd.users : systemUsers),
        directories(users),
        facts(propertyLists, executable),
        authorization(console, users, privilegePrograms(executable)),
        tasks(frontEnd.mainThread, frontEnd.descriptorWait),
        fileSystem(users),
        fileOperations(frontEnd.mainThread, threads, clock),
        trash(users, clock),
        desktopShell(users, tasks) {
    platform.authorizationServices = &authorization;
    platform.clock = &clock;
    platform.console = &console;
    platform.desktopShell = &desktopShell;
    platform.fileOperations = &fileOperations;
    platform.fileReferences = &fileReferences;
    platform.fileSystem = &fileSystem;
    platform.finderInformation = &finderInformation;
    platform.itemLocks = &itemLocks;
    platform.mainThread = &frontEnd.mainThread;
    platform.packages = &packages;
    platform.propertyLists = &propertyLists;
    platform.standardDirectories = &directories;
    platform.systemInformation = &facts;
    platform.tasks = &tasks;
    platform.threads = &threads;
    platform.trash = &trash;
    platform.userInterface = &frontEnd.userInterface;
    platform.users = &users;
  }

  const std::optional<std::string> executable;
  SystemClock clock;
  SystemConsole console;
  SystemUsers systemUsers;
  platform::Users& users;
  MacLayoutDirectories directories;
  PlistPropertyLists propertyLists;
  SystemFacts facts;
  PolkitAuthorization authorization;
  platform::StandardThreads threads;
  posix::PosixTasks tasks;
  LinuxFileSystem fileSystem;
  posix::PosixFileOperations fileOperations;
  LinuxItemLocks itemLocks;
  BundlePackages packages;
  FreedesktopTrash trash;
  LinuxFileReferences fileReferences;
  LinuxFinderInformation finderInformation;
  LinuxDesktopShell desktopShell;
  platform::Platform platform;
};

Services* makeServices(const FrontEndServices& frontEnd) {
  settleInheritedState();
  return new Services(frontEnd);
}

}  // namespace

const platform::Platform& linuxPlatform(const FrontEndServices& frontEnd) {
  static Services* const services = makeServices(frontEnd);
  return services->platform;
}

}  // namespace qm::linux_
