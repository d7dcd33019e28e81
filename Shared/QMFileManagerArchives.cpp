// SPDX-License-Identifier: MIT
#include <tuple>
#include <utility>
#include <vector>

#include "Platform/Platform.h"
#include "Platform/SystemInformation.h"
#include "Platform/Trash.h"
#include "Platform/foundation/PathComponents.h"
#include "Shared/QMFileManager.h"
#include "Shared/QMLocalPaths.h"
#include "Shared/QMTask.h"

using qm::foundation::deletingLastPathComponent;
using qm::foundation::lastPathComponent;
using qm::platform::platform;

namespace {

/// Runs the zip tool on a destination that was cleared for its output. Returns whether something is there afterwards,
/// because neither clearing the destination nor the tool reports its result.
bool runZipTool(const std::vector<std::string>& arguments, const std::string& output) {
  if (QMFileManager::fileExistsAtPath(output)) {
    std::ignore = platform().trash->recycle(deletingLastPathComponent(output), QMLocalPaths::trashDirectory(),
                                            {lastPathComponent(output)});
  }
  QMTask::runTask(platform().systemInformation->zipToolPath(), arguments);
  return QMFileManager::fileExistsAtPath(output);
}

}  // namespace

bool QMFileManager::compressFile(const std::string& item, const std::string& destinationFile,
                                 IncludeParent includeParent) {
  std::vector<std::string> arguments = {"-ck"};
  if (includeParent == IncludeParent::Yes) arguments.emplace_back("--keepParent");
  arguments.insert(arguments.end(), {item, destinationFile});
  return runZipTool(arguments, destinationFile);
}

bool QMFileManager::compressFile(const std::string& item, const std::string& destinationFile) {
  return compressFile(item, destinationFile, IncludeParent::Yes);
}

bool QMFileManager::decompressFile(const std::string& archive, const std::string& destinationFolder) {
  return runZipTool({"-xk", archive, destinationFolder}, destinationFolder);
}
