// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "Shared/QMFileManager.h"
#include "tests/support/PlatformTest.h"

namespace qm::testing {
namespace {

using std::chrono::seconds;
using ::testing::HasSubstr;

struct Operation {
  std::string name;
  std::function<void()> run;
};

/// Every operation that changes something, on files with distinguishable contents.
std::vector<Operation> operations() {
  return {
      {"move", [] { QMFileManager::moveFile("/d/one", "/d/moved"); }},
      {"move to another volume", [] { QMFileManager::moveFile("/d/one", "/volume/one"); }},
      {"change letter case", [] { QMFileManager::moveFile("/d/one", "/d/One"); }},
      {"timed move", [] { QMFileManager::moveFile("/d", "/tmp/d", seconds(1)); }},
      {"copy", [] { QMFileManager::copyFile("/d/one", "/d/copy"); }},
      {"timed copy", [] { QMFileManager::copyFile("/d", "/tmp/d", seconds(1)); }},
      {"copy contents", [] { QMFileManager::copyContentsOfDirectory("/d", "/tmp", seconds(1)); }},
      {"make a folder", [] { QMFileManager::createDirectory("/d/new", seconds(1)); }},
      {"mirror a folder", [] { QMFileManager::createDirectoryStructure("/d/one", "/tmp"); }},
      {"remove something else", [] { QMFileManager::removeFile("/d/other", seconds(1)); }},
      {"remove an empty folder", [] { QMFileManager::removeFolderIfEmpty("/empty"); }},
      {"keep a full folder", [] { QMFileManager::isFolderEmpty("/d"); }},
      {"trash", [] { QMFileManager::trashFile("/d/one", seconds(1)); }},
      {"trash a folder", [] { QMFileManager::trashFile("/d"); }},
      {"trash contents", [] { QMFileManager::trashDirectoryContents("/d"); }},
      {"trash by name", [] { QMFileManager::trashFilesNamed("one", "/d"); }},
      {"trash by type", [] { QMFileManager::trashFilesOfType("", "/d"); }},
      {"lock", [] { QMFileManager::lockFolder("/d"), QMFileManager::lockFile("/d"); }},
      {"unlock", [] { QMFileManager::unlockFolder("/d"), QMFileManager::isFileLocked("/d/one"); }},
      {"measure", [] { QMFileManager::fileSize("/d"); }},
      {"find a free name", [] { QMFileManager::uniqueFilename("/d/one"); }},
  };
}

void arrange(FakePlatform& fakes) {
  fakes.mainThread.disown();
  fakes.disk.addFile("/d/one", "first file");
  fakes.disk.addFile("/d/two", "second file");
  fakes.disk.addFile("/d/other", "nobody's");
  fakes.disk.addFile("/empty/.DS_Store");
  fakes.disk.addVolume("/volume");
}

/// The contents of all files on the disk, wherever they are now.
std::string allContents(FakePlatform& fakes) {
  std::string contents;
  for (const auto& line : fakes.disk.tree()) contents += fakes.disk.fileContents(line).value_or("") + "\n";
  return contents;
}

/// Returns how many calls there were that could fail.
std::size_t runWithFailingCall(const Operation& operation, std::size_t failing, bool asRoot) {
  FakePlatform fakes;
  const ScopedPlatform installed(fakes.platform);
  const SingletonReset<QMAuthorization> authorization;
  const SingletonReset<QMLog> log;
  if (asRoot) fakes.actAsRoot("u");
  arrange(fakes);
  if (failing > 0) fakes.calls.failCallNumber(failing);
  operation.run();
  QMLog::finishWriting();
  const std::size_t calls = fakes.calls.callCount();
  const std::string contents = allContents(fakes);
  EXPECT_THAT(contents, HasSubstr("first file\n"));
  EXPECT_THAT(contents, HasSubstr("second file\n"));
  fakes.end();
  return calls;
}

TEST(QMFileManagerFailures, LoseNoFileWhicheverCallFails) {
  for (const bool asRoot : {false, true}) {
    for (const auto& operation : operations()) {
      SCOPED_TRACE(operation.name + (asRoot ? " as root" : ""));
      const std::size_t calls = runWithFailingCall(operation, 0, asRoot);
      EXPECT_GT(calls, 0U);
      for (std::size_t failing = 1; failing <= calls; ++failing) {
        SCOPED_TRACE("call " + std::to_string(failing));
        runWithFailingCall(operation, failing, asRoot);
      }
    }
  }
}

TEST(QMFileManagerFailures, LoseNoFileWhenRightsAreRefusedToo) {
  for (const auto& operation : operations()) {
    SCOPED_TRACE(operation.name);
    FakePlatform fakes;
    const ScopedPlatform installed(fakes.platform);
    const SingletonReset<QMAuthorization> authorization;
    const SingletonReset<QMLog> log;
    arrange(fakes);
    for (const std::string call :
         {"fileSystem.moveItem", "fileSystem.copyItem", "fileSystem.removeItem", "fileSystem.removeHollowFolder",
          "fileSystem.createDirectory", "trash.recycle", "authorization.copyRights"}) {
      fakes.calls.failAlways(call);
    }
    const auto before = fakes.disk.tree();
    operation.run();
    EXPECT_EQ(fakes.disk.tree(), before) << "everything stays where it is";
    fakes.end();
  }
}

// Results.

struct Answered {
  std::string name;
  std::function<bool()> run;
  std::function<bool(FakeDisk&)> isDone;
};

const std::vector<Answered>& answered() {
  static const std::vector<Answered> list = {
      {"move", [] { return QMFileManager::moveFile("/d/one", "/d/moved"); },
       [](FakeDisk& disk) { return disk.has("/d/moved") && !disk.has("/d/one"); }},
      {"copy", [] { return QMFileManager::copyFile("/d/one", "/d/copy"); },
       [](FakeDisk& disk) { return disk.has("/d/copy"); }},
      {"make", [] { return QMFileManager::createDirectory("/d/new"); },
       [](FakeDisk& disk) { return disk.has("/d/new"); }},
      {"remove", [] { return QMFileManager::removeFile("/d/one"); },
       [](FakeDisk& disk) { return !disk.has("/d/one"); }},
      {"trash", [] { return QMFileManager::trashFile("/d/one"); }, [](FakeDisk& disk) { return !disk.has("/d/one"); }}};
  return list;
}

/// The result is what the disk shows, unless the failing call was the check of the item itself: then there seems to be
/// nothing to do.
std::size_t answerWithFailingCall(const Answered& operation, std::size_t failing, bool plainFails) {
  FakePlatform fakes;
  const ScopedPlatform installed(fakes.platform);
  const SingletonReset<QMAuthorization> authorization;
  const SingletonReset<QMLog> log;
  fakes.disk.addFile("/d/one", "1");
  for (const std::string call : {"fileSystem.moveItem", "fileSystem.copyItem", "fileSystem.removeItem",
                                 "fileSystem.removeHollowFolder", "fileSystem.createDirectory", "trash.recycle"}) {
    if (plainFails) fakes.calls.failAlways(call);
  }
  if (failing > 0) fakes.calls.failCallNumber(failing);
  const bool answer = operation.run();
  QMLog::finishWriting();
  const auto failed = fakes.calls.failed();
  const bool overlooked = std::ranges::find(failed, "fileSystem.fileExists(/d/one)") != failed.end();
  if (!(overlooked && answer)) {
    EXPECT_EQ(answer, operation.isDone(fakes.disk));
  }
  fakes.end();
  return fakes.calls.callCount();
}

TEST(QMFileManagerFailures, AreAnsweredAsTheDiskShows) {
  for (const bool plainFails : {false, true}) {
    for (const auto& operation : answered()) {
      SCOPED_TRACE(operation.name + (plainFails ? " with rights" : ""));
      const std::size_t calls = answerWithFailingCall(operation, 0, plainFails);
      for (std::size_t failing = 1; failing <= calls; ++failing) {
        SCOPED_TRACE("call " + std::to_string(failing));
        answerWithFailingCall(operation, failing, plainFails);
      }
    }
  }
}

}  // namespace
}  // namespace qm::testing
