#include "Platform/linux/privileges/PrivilegePrograms.h"

#include <unistd.h>

#include "Platform/foundation/PathComponents.h"

namespace qm::linux_ {
namespace {

std::string find(const std::string& folder, const std::string& name) {
  const std::string installed = foundation::deletingLastPathComponent(folder) + "/libexec/" + name;
  return ::access(installed.c_str(), X_OK) == 0 ? installed : folder + "/" + name;
}

}  // namespace

PrivilegePrograms privilegePrograms(const std::optional<std::string>& executable) {
  const std::string folder = foundation::deletingLastPathComponent(executable.value_or("/usr/bin/tessaly-uninstaller"));
  PrivilegePrograms programs;
  programs.helper = find(folder, "tessaly-uninstaller-admin-helper");
  programs.credentialsAgent = find(folder, "tessaly-uninstaller-credentials-agent");
  return programs;
}

}  // namespace qm::linux_
