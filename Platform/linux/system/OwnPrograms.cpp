#include "Platform/linux/system/OwnPrograms.h"

#include <unistd.h>

#include "Platform/foundation/PathComponents.h"

namespace qm::linux_ {

std::string ownProgram(const std::optional<std::string>& executable, std::string_view name) {
  if (name.empty()) return "/nonexistent (the product names no program for it)";
  if (name.front() == '/') return std::string(name);
  const std::string folder = executable ? foundation::deletingLastPathComponent(*executable) : "/usr/bin";
  const std::string file = "/" + std::string(name);
  const std::string installed = foundation::deletingLastPathComponent(folder) + "/libexec" + file;
  return ::access(installed.c_str(), X_OK) == 0 ? installed : folder + file;
}

}  // namespace qm::linux_
