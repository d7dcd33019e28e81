#include "Platform/linux/system/OwnPrograms.h"

#include <unistd.h>

#include "Platform/foundation/PathComponents.h"

namespace qm::linux_ {

std::string ownProgram(const std::optional<std::string>& executable, const std::string& name) {
  const std::string folder = foundation::deletingLastPathComponent(executable.value_or("/usr/bin/tessaly-uninstaller"));
  const std::string installed = foundation::deletingLastPathComponent(folder) + "/libexec/" + name;
  return ::access(installed.c_str(), X_OK) == 0 ? installed : folder + "/" + name;
}

}  // namespace qm::linux_
