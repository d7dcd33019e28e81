// SPDX-License-Identifier: MIT
#include "Shared/FileOperationDelegate.h"

#include <fstream>
#include <iostream>

#include "Platform/SetUp.h"
#include "Shared/QMFileManager.h"
#include "Shared/QMLocalPaths.h"

namespace {

class Watcher final : public qm::FileOperationDelegate {
 public:
  bool respondsToSelector(const std::string& selector) const override { return selector == finished; }

  /// On the main thread, when its event loop runs.
  void perform(const std::string& /*selector*/, const qm::FileOperationDictionary& report,
               const qm::platform::FileOperationRef& /*fileOperation*/) override {
    const auto& copy = std::get<std::string>(report.at("destination"));
    std::cout << (QMFileManager::fileExistsAtPath(copy) ? "copied\n" : "not copied\n");
    isDone = true;
  }
  bool isDone = false;
};

}  // namespace

int main() {
  qm::platform::setUp({.program = "example"});
  const std::string folder = QMLocalPaths::tempFile();
  QMFileManager::createDirectory(folder);
  std::ofstream(folder + "/video") << std::string(1'000'000, 'v');
  const auto watcher = std::make_shared<Watcher>();
  if (!QMFileManager::copyFileWithProgress(folder + "/video", folder + "/new/copy", watcher, nullptr)) return 1;
  while (!watcher->isDone) qm::platform::platform().mainThread->handleOneEvent(std::chrono::milliseconds(100));
  return 0;
}
