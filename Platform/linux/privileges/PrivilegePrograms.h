// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "Platform/ProductIdentity.h"

namespace qm::linux_ {

/// What a helper's rights allow, as its dialog states it.
enum class HelperScope {
  Product,  ///< the product's own items, which its helper knows
  AnyTool,  ///< any program; the dialog shows which
};

/// The programs through which administrator rights are obtained.
struct PrivilegePrograms {
  std::string helper;
  HelperScope scope = HelperScope::Product;
  std::string credentialsAgent;
  std::string pkexec = "/usr/bin/pkexec";
  std::string terminalAgent = "/usr/bin/pkttyagent";
};

/// The product's programs are looked for relative to the running program (OwnPrograms.h).
PrivilegePrograms privilegePrograms(const platform::ProductIdentity& product,
                                    const std::optional<std::string>& executable,
                                    HelperScope scope = HelperScope::Product);

}  // namespace qm::linux_
