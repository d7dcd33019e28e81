// SPDX-License-Identifier: MIT

// Keeps a copy of a file, runs a tool on it, and moves the file itself to the Trash.

#include <Platform/SetUp.h>
#include <Shared/QMFileManager.h>
#include <Shared/QMLocalPaths.h>
#include <Shared/QMLog.h>
#include <Shared/QMTask.h>

#include <iostream>

constexpr qm::platform::ProductIdentity kTidy = {.program = "tidy", .identifier = "com.example.tidy"};

int main() {
  qm::platform::setUp(kTidy);
  QMLog::createNewLog("tidy");

  const std::string home = QMLocalPaths::userDirectory().value_or("");
  const std::string notes = home + "/notes.txt";
  const std::string copy = QMFileManager::uniqueFilename(home + "/kept.txt");
  if (!QMFileManager::copyFile(notes, copy, QMFileManager::ShouldAuth::No)) return 1;
  std::cout << QMTask::stringFromTask("/usr/bin/wc", {{"-c", copy}}, QMTask::TimeoutInterval(10)).value_or("no text\n");

  const bool isTrashed = QMFileManager::trashFile(notes, std::chrono::seconds(5));
  std::cout << QMFileManager::formatFileSize(static_cast<double>(QMFileManager::fileSize(copy))) << '\n';
  QMLog::appendLog("%@ has gone to the Trash: %i", notes, isTrashed);
  QMLog::finishWriting();
  return isTrashed ? 0 : 1;
}
