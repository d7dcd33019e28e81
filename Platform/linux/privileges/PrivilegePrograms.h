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

/// Ours are looked for from where the running program is (OwnPrograms.h).
PrivilegePrograms privilegePrograms(const std::optional<std::string>& executable);

}  // namespace qm::linux_
