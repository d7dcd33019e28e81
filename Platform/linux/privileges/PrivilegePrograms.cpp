#include "Platform/linux/privileges/PrivilegePrograms.h"

#include "Platform/linux/system/OwnPrograms.h"

namespace qm::linux_ {

PrivilegePrograms privilegePrograms(const std::optional<std::string>& executable) {
  PrivilegePrograms programs;
  programs.helper = ownProgram(executable, "tessaly-uninstaller-admin-helper");
  programs.credentialsAgent = ownProgram(executable, "tessaly-uninstaller-credentials-agent");
  return programs;
}

}  // namespace qm::linux_
