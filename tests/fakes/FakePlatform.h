// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "Platform/Platform.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeAuthorizationServices.h"
#include "tests/fakes/FakeClock.h"
#include "tests/fakes/FakeConsole.h"
#include "tests/fakes/FakeDesktopShell.h"
#include "tests/fakes/FakeDisk.h"
#include "tests/fakes/FakeFileOperations.h"
#include "tests/fakes/FakeFileReferences.h"
#include "tests/fakes/FakeFileSystem.h"
#include "tests/fakes/FakeFinderInformation.h"
#include "tests/fakes/FakeItemLocks.h"
#include "tests/fakes/FakeMainThread.h"
#include "tests/fakes/FakePackages.h"
#include "tests/fakes/FakePropertyLists.h"
#include "tests/fakes/FakeStandardDirectories.h"
#include "tests/fakes/FakeSystemInformation.h"
#include "tests/fakes/FakeTasks.h"
#include "tests/fakes/FakeThreads.h"
#include "tests/fakes/FakeTrash.h"
#include "tests/fakes/FakeUserInterface.h"
#include "tests/fakes/FakeUsers.h"

namespace qm::testing {

/// A whole machine for tests: every service as a fake, working on one disk in memory, by one clock that
/// only tests move, with one record of all calls. Each fake's header says what it can be told.
///
///   class TrashFile : public PlatformTest {};  // tests/support/PlatformTest.h: `fakes`, installed
///
///   TEST_F(TrashFile, AsksForRightsWhenTheTrashRefuses) {
///     fakes.disk.addFile("/Applications/Tessaly.app/Contents/Info.plist");
///     fakes.calls.failNext("trash.recycle");
///     EXPECT_TRUE(QMFileManager::trashFile("/Applications/Tessaly.app"));
///     EXPECT_TRUE(fakes.disk.has("/home/u/.Trash/Tessaly.app"));
///     EXPECT_LT(fakes.calls.indexOf("trash.recycle"), fakes.calls.indexOf("authorization.copyRights"));
///   }
///
/// Names of calls are service.operation, the service named as in `platform::Platform` but for
/// "authorization", the interface's parts as their outlets ("windowMain.orderOut") and "fileHandle".
///
/// To make every call of an operation fail in turn: run it once and ask `calls.callCount()`, then run it
/// on a new FakePlatform with `calls.failCallNumber(k)` for each k up to that.
///
/// The machine begins with the user "u" (501) at home in /home/u and at the console; the folders
/// /Applications, /Library, /tmp and /home/u/Library; an empty Trash with /home/u/.Trash leading to it;
/// the tools /bin/cp, /bin/mkdir, /bin/mv, /bin/rm, /usr/bin/ditto, /usr/bin/killall and /usr/bin/touch.
/// The thread that makes it is the main thread.
struct FakePlatform {
  FakePlatform();
  FakePlatform(const FakePlatform&) = delete;
  FakePlatform& operator=(const FakePlatform&) = delete;
  ~FakePlatform();

  /// Releases everybody who is blocked, sleeping or waiting in a fake, and waits for the threads that were detached.
  void end();

  /// The process runs as root, with `consoleUser` at the console; permissions on the disk are not checked.
  void actAsRoot(const std::optional<std::string>& consoleUser = "u");

  Calls calls;
  FakeClock clock{calls};
  FakeDisk disk{clock};
  FakeUsers users{calls};
  FakeConsole console{calls};
  FakeMainThread mainThread{calls, clock};
  FakeThreads threads{calls};
  FakeFileSystem fileSystem{calls, disk};
  FakeFileOperations fileOperations{calls, disk, mainThread};
  FakeFileReferences fileReferences{calls, disk};
  FakeFinderInformation finderInformation{calls, disk};
  FakeDesktopShell desktopShell{calls, disk};
  FakeItemLocks itemLocks{calls, disk};
  FakePackages packages{calls, disk};
  FakeTrash trash{calls, disk, clock, users};
  FakePropertyLists propertyLists{calls};
  FakeStandardDirectories standardDirectories{calls, users};
  FakeSystemInformation systemInformation{calls};
  FakeTasks tasks{calls, mainThread, clock, disk};
  FakeAuthorizationServices authorizationServices{calls, disk};
  FakeInterface interface { calls, mainThread };
  FakeUserInterface userInterface{interface.record, mainThread};

  platform::Platform platform;
};

}  // namespace qm::testing
