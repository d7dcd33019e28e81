#pragma once

#include <memory>
#include <string>

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

/// Has polkit ask for administrator rights in the user's dialog, and starts the helper with them. Without a
/// desktop that shows dialogs the question goes to the terminal, if there is one. Blocks until it is
/// answered; the calling thread lives until then.
HelperOpening openHelperWithDialog(const PrivilegePrograms& programs, platform::Console& console);

/// The same without a question: the credentials answer it.
HelperOpening openHelperWithCredentials(const PrivilegePrograms& programs, platform::Console& console,
                                        const std::string& user, const std::string& password);

}  // namespace qm::linux_
