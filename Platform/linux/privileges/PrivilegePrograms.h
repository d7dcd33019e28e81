#pragma once

#include <optional>
#include <string>

#include "Platform/ProductIdentity.h"

namespace qm::linux_ {

/// What a helper's rights are for, which its dialog says.
enum class HelperScope {
  Product,  ///< for the product's own items: what is one, its helper knows
  AnyTool,  ///< any program; the dialog shows which
};

/// The programs that administrator rights are got with.
struct PrivilegePrograms {
  std::string helper;
  HelperScope scope = HelperScope::Product;
  std::string credentialsAgent;
  std::string pkexec = "/usr/bin/pkexec";
  std::string terminalAgent = "/usr/bin/pkttyagent";
};

/// The product's are looked for from where the running program is (OwnPrograms.h).
PrivilegePrograms privilegePrograms(const platform::ProductIdentity& product,
                                    const std::optional<std::string>& executable,
                                    HelperScope scope = HelperScope::Product);

}  // namespace qm::linux_
