// SPDX-License-Identifier: MIT
#include <filesystem>
#include <iostream>
#include <span>

#include "Platform/SetUp.h"
#include "Shared/QMFileManager.h"
#include "Shared/QMLocalPaths.h"
#include "Shared/QMLog.h"

using ShouldAuth = QMFileManager::ShouldAuth;

namespace {

/// The copy that was there goes to the Trash. Nobody is asked for a password.
bool keep(const std::string& file, const std::string& folder) {
  const std::string copy = folder + "/" + std::filesystem::path(file).filename().string();
  return QMFileManager::trashFile(copy, ShouldAuth::No) && QMFileManager::copyFile(file, copy, ShouldAuth::No);
}

}  // namespace

/// keep FILE...: copies files, by their absolute paths, to ~/Library/Application Support/Keep.
int main(int argc, char** argv) {
  qm::platform::setUp({.program = "keep"});
  QMLog::createNewLog();
  const auto support = QMLocalPaths::appSupportDirectory(QMLocalPaths::UserDomain::Yes);
  const std::string folder = support.value_or("") + "/Keep";
  if (!support || !QMFileManager::createDirectory(folder, ShouldAuth::No)) return 1;
  int status = 0;
  for (const std::string file : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
    const bool isKept = keep(file, folder);
    if (!isKept) status = 2;
    std::cout << (isKept ? "kept " : "could not keep ") << file << '\n';
  }
  QMLog::finishWriting();
  return status;
}
