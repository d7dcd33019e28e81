// SPDX-License-Identifier: MIT
#include "Platform/FileReferences.h"

#include <fstream>
#include <iostream>

#include "Platform/SetUp.h"
#include "Shared/QMFileManager.h"
#include "Shared/QMLocalPaths.h"

namespace {

void show(const char* when, const QMFileManager::FSRef& reference) {
  const auto path = QMFileManager::stringWithFSRef(&reference);
  std::cout << when << ": " << (path ? path->substr(path->rfind('/') + 1) : "null") << '\n';
}

}  // namespace

int main() {
  qm::platform::setUp({.program = "example"});
  const std::string path = QMLocalPaths::tempFile();
  show("before it is made", QMFileManager::stringToFSRef(path));

  std::ofstream(path) << "text";
  const QMFileManager::FSRef reference = QMFileManager::stringToFSRef(path);
  QMFileManager::moveFile(path, QMLocalPaths::tempDirectory() + "/renamed");
  show("after renaming", reference);

  QMFileManager::removeFile(QMLocalPaths::tempDirectory() + "/renamed");
  show("after removal", reference);
  return 0;
}
