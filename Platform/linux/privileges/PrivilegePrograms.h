#pragma once

#include <optional>
#include <string>

namespace qm::linux_ {

/// The programs that administrator rights are got with.
struct PrivilegePrograms {
  std::string helper;
  std::string credentialsAgent;
  std::string pkexec = "/usr/bin/pkexec";
  std::string terminalAgent = "/usr/bin/pkttyagent";
};

/// Ours are looked for where they are installed, seen from the running program: in ../libexec, else beside
/// it, as in a build folder.
PrivilegePrograms privilegePrograms(const std::optional<std::string>& executable);

}  // namespace qm::linux_
