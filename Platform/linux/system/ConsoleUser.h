// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace qm::linux_ {

/// Whether a login manager keeps track of seats and sessions on this machine.
bool loginManagerRuns();

/// The login name of the active session of seat0, "loginwindow" for a login screen; null if no session is active.
std::optional<std::string> userOfActiveSession();

/// The login name of the user who started this program with root's rights through pkexec or sudo, according to the
/// environment; null for root itself and for an unknown user.
std::optional<std::string> userBehindRootTool();

}  // namespace qm::linux_
