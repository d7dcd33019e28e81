// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Platform/AuthorizationServices.h"
#include "Platform/Console.h"
#include "Platform/linux/privileges/HelperConnection.h"
#include "Platform/linux/privileges/PrivilegePrograms.h"

namespace qm::linux_ {

/// A connection, or why there is none.
struct HelperOpening {
  platform::AuthorizationStatus status = platform::errAuthorizationToolEnvironmentError;
  std::string cause;
  std::unique_ptr<HelperConnection> connection;
};

/// The command line, the tool first, that rights are requested for and restricted to; empty if only the helper's policy
/// restricts them.
using OnlyCommand = std::vector<std::string>;

/// Requests administrator rights in the user's polkit dialog, and starts the helper with them. Without a desktop that
/// shows dialogs the question goes to the terminal, if there is one. Blocks until it is answered. The calling thread
/// must live until then.
HelperOpening openHelperWithDialog(const PrivilegePrograms& programs, const OnlyCommand& only,
                                   platform::Console& console);

/// The same without a dialog: the credentials answer the question.
HelperOpening openHelperWithCredentials(const PrivilegePrograms& programs, platform::Console& console,
                                        const std::string& user, const std::string& password);

}  // namespace qm::linux_
