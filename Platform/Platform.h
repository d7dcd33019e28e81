// SPDX-License-Identifier: MIT
#pragma once

namespace qm::platform {

/// The services that the system provides. None is owned here. Each outlives all code that uses it: a worker may still
/// be inside its last call while the process ends.
struct Platform {
  class AuthorizationServices* authorizationServices = nullptr;  ///< administrator rights
  class Clock* clock = nullptr;                                  ///< time
  class Console* console = nullptr;                              ///< where an administrator looks for messages
  class DesktopShell* desktopShell = nullptr;                    ///< shows files, starts applications
  class FileOperations* fileOperations = nullptr;                ///< copying in the background
  class FileReferences* fileReferences = nullptr;                ///< references that survive renaming
  class FileSystem* fileSystem = nullptr;                        ///< plain file operations
  class FinderInformation* finderInformation = nullptr;          ///< the flags of items, their labels
  class ItemLocks* itemLocks = nullptr;                          ///< the lock of an item
  class MainThread* mainThread = nullptr;                        ///< the thread with the event loop
  class Packages* packages = nullptr;                            ///< which folders are shown as one item
  class PropertyLists* propertyLists = nullptr;                  ///< property lists
  class StandardDirectories* standardDirectories = nullptr;      ///< where the standard folders are
  class SystemInformation* systemInformation = nullptr;          ///< facts about the machine and the program
  class Tasks* tasks = nullptr;                                  ///< child processes
  class Threads* threads = nullptr;                              ///< threads that nobody waits for
  class Trash* trash = nullptr;                                  ///< the Trash
  class UserInterface* userInterface = nullptr;                  ///< null in a program without a toolkit
  class Users* users = nullptr;                                  ///< who runs the process and who is at the console
};

/// The installed services. Any thread. If there are none yet, prints a message to standard error and aborts.
const Platform& platform();

/// Makes `services` the installed set and returns the one before it (null at first). The composition root calls it
/// before any other thread exists. Tests call it while no other thread uses the services.
const Platform* install(const Platform* services);

}  // namespace qm::platform
