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
  AuthorizationServices* authorizationServices = nullptr;
  Clock* clock = nullptr;
  Console* console = nullptr;
  DesktopShell* desktopShell = nullptr;
  FileOperations* fileOperations = nullptr;
  FileReferences* fileReferences = nullptr;
  FileSystem* fileSystem = nullptr;
  FinderInformation* finderInformation = nullptr;
  ItemLocks* itemLocks = nullptr;
  MainThread* mainThread = nullptr;
  Packages* packages = nullptr;
  PropertyLists* propertyLists = nullptr;
  StandardDirectories* standardDirectories = nullptr;
  SystemInformation* systemInformation = nullptr;
  Tasks* tasks = nullptr;
  Threads* threads = nullptr;
  Trash* trash = nullptr;
  UserInterface* userInterface = nullptr;  ///< null in a program without a toolkit
  Users* users = nullptr;
};

/// The installed services. Any thread. Where there are none yet, says so on standard error and aborts.
const Platform& platform();

/// Makes `services` the installed set and answers the one before it (null at first). Called by the
/// composition root before any other thread exists, and by tests between them.
const Platform* install(const Platform* services);

}  // namespace qm::platform
