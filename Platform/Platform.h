#pragma once

namespace qm::platform {

/// The services that the system gives. None is owned here, and all outlive every user: a worker may
/// still be inside its last call while the process ends.
struct Platform {
  class AuthorizationServices* authorizationServices = nullptr;
  class Clock* clock = nullptr;
  class Console* console = nullptr;
  class DesktopShell* desktopShell = nullptr;
  class FileOperations* fileOperations = nullptr;
  class FileReferences* fileReferences = nullptr;
  class FileSystem* fileSystem = nullptr;
  class FinderInformation* finderInformation = nullptr;
  class ItemLocks* itemLocks = nullptr;
  class MainThread* mainThread = nullptr;
  class Packages* packages = nullptr;
  class PropertyLists* propertyLists = nullptr;
  class StandardDirectories* standardDirectories = nullptr;
  class SystemInformation* systemInformation = nullptr;
  class Tasks* tasks = nullptr;
  class Threads* threads = nullptr;
  class Trash* trash = nullptr;
  class UserInterface* userInterface = nullptr;  ///< null in a program without a toolkit
  class Users* users = nullptr;
};

/// The installed services. Any thread. Where there are none yet, says so on standard error and aborts.
const Platform& platform();

/// Makes `services` the installed set and answers the one before it (null at first). Called by the
/// composition root before any other thread exists, and by tests between them.
const Platform* install(const Platform* services);

}  // namespace qm::platform
