// SPDX-License-Identifier: MIT
#include "tests/fakes/FakePlatform.h"

namespace qm::testing {

FakePlatform::FakePlatform() {
  for (const char* folder : {"/Applications", "/Library", "/tmp", "/home/u/Library"}) disk.addFolder(folder);
  for (const char* tool :
       {"/bin/cp", "/bin/mkdir", "/bin/mv", "/bin/rm", "/usr/bin/ditto", "/usr/bin/killall", "/usr/bin/touch"}) {
    disk.addExecutable(tool);
  }
  disk.addFolder("/home/u/.local/share/Trash/files");
  disk.addFolder("/home/u/.local/share/Trash/info");
  disk.addLink("/home/u/.Trash", ".local/share/Trash/files");
  platform.authorizationServices = &authorizationServices;
  platform.clock = &clock;
  platform.console = &console;
  platform.desktopShell = &desktopShell;
  platform.fileOperations = &fileOperations;
  platform.fileReferences = &fileReferences;
  platform.fileSystem = &fileSystem;
  platform.finderInformation = &finderInformation;
  platform.itemLocks = &itemLocks;
  platform.mainThread = &mainThread;
  platform.packages = &packages;
  platform.propertyLists = &propertyLists;
  platform.standardDirectories = &standardDirectories;
  platform.systemInformation = &systemInformation;
  platform.tasks = &tasks;
  platform.threads = &threads;
  platform.trash = &trash;
  platform.userInterface = &userInterface;
  platform.users = &users;
}

FakePlatform::~FakePlatform() { end(); }

void FakePlatform::end() {
  calls.releaseAll();
  clock.wakeAll();
  authorizationServices.closeOutputs();
  tasks.endAll();
  fileOperations.abandonAll();
  mainThread.close();
  (void)threads.waitUntilAllEnded();
}

void FakePlatform::actAsRoot(const std::optional<std::string>& consoleUser) {
  users.actAsRoot(consoleUser);
  disk.setSuperuser(true);
  disk.setUser(0);
}

}  // namespace qm::testing
