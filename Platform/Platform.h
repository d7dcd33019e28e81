#pragma once

namespace qm::platform {

class AuthorizationServices;
class Clock;
class Console;
class DesktopShell;
class FileOperations;
class FileReferences;
class FileSystem;
class FinderInformation;
class ItemLocks;
class MainThread;
class Packages;
class PropertyLists;
class StandardDirectories;
class SystemInformation;
class Tasks;
class Threads;
class Trash;
class UserInterface;
class Users;

/// The services that the system gives. None is owned here, and all outlive every user: a worker may
/// still be inside its last call while the process ends.
struct Platform {
  AuthorizationServices* authorizationServices = nullptr;  ///< administrator rights
  Clock* clock = nullptr;                                  ///< time
  Console* console = nullptr;                              ///< where an administrator looks for messages
  DesktopShell* desktopShell = nullptr;                    ///< the program that shows files and starts applications
  FileOperations* fileOperations = nullptr;                ///< copying in the background
  FileReferences* fileReferences = nullptr;                ///< references that survive renaming
  FileSystem* fileSystem = nullptr;                        ///< plain file operations
  FinderInformation* finderInformation = nullptr;          ///< the flags of items, their labels
  ItemLocks* itemLocks = nullptr;                          ///< the lock of an item
  MainThread* mainThread = nullptr;                        ///< the thread with the event loop
  Packages* packages = nullptr;                            ///< which folders are shown as one item
  PropertyLists* propertyLists = nullptr;                  ///< property lists
  StandardDirectories* standardDirectories = nullptr;      ///< where the standard folders are
  SystemInformation* systemInformation = nullptr;          ///< facts about machine and program
  Tasks* tasks = nullptr;                                  ///< child processes
  Threads* threads = nullptr;                              ///< threads that nobody waits for
  Trash* trash = nullptr;                                  ///< the Trash
  UserInterface* userInterface = nullptr;                  ///< null in a program without a toolkit
  Users* users = nullptr;                                  ///< who runs the process and who is at the console
};

/// The installed services. Any thread. Where there are none yet, says so on standard error and aborts.
const Platform& platform();

/// Makes `services` the installed set and returns the one before it (null at first). Called by the
/// composition root before any other thread exists, and by tests between them.
const Platform* install(const Platform* services);

}  // namespace qm::platform
