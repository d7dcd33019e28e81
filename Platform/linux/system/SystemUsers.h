// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Users.h"

namespace qm::linux_ {

/// Users by the system's user database and the login manager.
///
/// Root's own home is the one of the Mac's layout, /var/root; the home of the user named "root" is the one in the user
/// database. The user at the console is the one whose session is active on seat0; the login screen's own session reads
/// as "loginwindow". If no login manager is running, it is the user who started the program through pkexec or sudo,
/// unless that is root.
class SystemUsers : public platform::Users {
 public:
  unsigned realUserId() const override;
  std::string userName() const override;
  std::string homeDirectory() const override;
  std::optional<std::string> homeDirectoryForUser(const std::optional<std::string>& name) const override;
  std::optional<std::string> consoleUser() const override;
};

}  // namespace qm::linux_
