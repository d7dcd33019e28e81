// SPDX-License-Identifier: MIT
#include "Shared/QMFileManager.h"

#include <fstream>
#include <iostream>

#include "Platform/SetUp.h"
#include "Shared/QMLocalPaths.h"

int main() {
  qm::platform::setUp({.program = "example"});
  const std::string folder = QMLocalPaths::tempFile();  // a new name; nothing is made
  const std::string report = folder + "/report.txt";
  const auto name = [&](const std::string& path) { return path.substr(folder.size() + 1); };
  std::cout << std::boolalpha;

  QMFileManager::createDirectory(folder);
  std::ofstream(report) << "Everything is in order.\n";

  const std::string copy = QMFileManager::uniqueFilename(report);
  std::cout << "copied to " << name(copy) << ": "
            << QMFileManager::copyFile(report, copy, QMFileManager::ShouldAuth::No) << '\n';
  // Nothing is replaced, and without QMFileManager::ShouldAuth::Yes nobody is asked for a password.
  std::cout << "copied again: " << QMFileManager::copyFile(report, copy, QMFileManager::ShouldAuth::No) << '\n';

  std::cout << "size: " << QMFileManager::formatFileSize(static_cast<double>(QMFileManager::fileSize(folder))) << '\n';
  for (const auto& path : QMFileManager::filesMatchingWildcardPath("*.txt", folder)) {
    const bool isGone = QMFileManager::trashFile(path, std::chrono::seconds(10));
    std::cout << "trashed: " << isGone << '\n';
  }
  std::cout << "folder removed: " << QMFileManager::removeFolderIfEmpty(folder) << '\n'
            << "nothing to remove: " << QMFileManager::removeFile(folder) << '\n';
  return 0;
}
