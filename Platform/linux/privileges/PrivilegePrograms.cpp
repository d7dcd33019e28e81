#include "Platform/linux/privileges/PrivilegePrograms.h"

#include "Platform/linux/system/OwnPrograms.h"

namespace qm::linux_ {

PrivilegePrograms privilegePrograms(const std::optional<std::string>& executable, HelperScope scope) {
  PrivilegePrograms programs;
  programs.scope = scope;
  programs.helper = ownProgram(
      executable, scope == HelperScope::Product ? "tessaly-uninstaller-admin-helper" : "quillmark-admin-helper");
  programs.credentialsAgent = ownProgram(executable, "tessaly-uninstaller-credentials-agent");
  return programs;
}

}  // namespace qm::linux_
