// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/LaunchAgents.h"

#include <chrono>

#include "Platform/foundation/PathComponents.h"
#include "Shared/QMTask.h"

namespace qm::removal {
namespace {

constexpr std::chrono::seconds kMostTime(10);

bool isAgent(const std::string& path) {
  const std::string folder = foundation::lastPathComponent(foundation::deletingLastPathComponent(path));
  return folder == "LaunchAgents" && foundation::pathExtension(path) == "plist";
}

}  // namespace

std::vector<std::string> bootOutArguments(const std::string& path, uid_t person) {
  if (!isAgent(path)) return {};
  const std::string label = foundation::deletingPathExtension(foundation::lastPathComponent(path));
  return {"bootout", "gui/" + std::to_string(person) + "/" + label};
}

void bootOut(const std::string& tool, const std::string& path, uid_t person) {
  const std::vector<std::string> arguments = bootOutArguments(path, person);
  if (!tool.empty() && !arguments.empty()) QMTask::runTask(tool, arguments, kMostTime);
}

}  // namespace qm::removal
