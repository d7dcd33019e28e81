// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/PrivilegePrograms.h"

#include "Platform/linux/system/OwnPrograms.h"

namespace qm::linux_ {

PrivilegePrograms privilegePrograms(const platform::ProductIdentity& product,
                                    const std::optional<std::string>& executable, HelperScope scope) {
  PrivilegePrograms programs;
  programs.scope = scope;
  programs.helper =
      ownProgram(product, executable, scope == HelperScope::Product ? product.helper : product.toolHelper);
  programs.credentialsAgent = ownProgram(product, executable, product.credentialsAgent);
  return programs;
}

}  // namespace qm::linux_
