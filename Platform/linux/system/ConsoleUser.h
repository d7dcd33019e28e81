#pragma once

#include <optional>
#include <string>

namespace qm::linux_ {

/// A login manager keeps track of seats and sessions on this machine.
bool loginManagerRuns();

/// The login name behind the active session of seat0, "loginwindow" for a login screen; nil when no session is active.
std::optional<std::string> userOfActiveSession();

/// The login name of the person who started this program with root's rights through pkexec or sudo, as these leave it
/// in the environment; nil for root itself and for a user that the system does not know.
std::optional<std::string> userBehindRootTool();

}  // namespace qm::linux_
