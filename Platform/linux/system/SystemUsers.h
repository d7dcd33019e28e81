#pragma once

#include "Platform/Users.h"

namespace qm::linux_ {

/// Users by the system's user database and the login manager.
///
/// Root's home is the one of the common folder layout, /var/root; root asked for by name lives where the user database
/// says. The person at the console is the one whose session is active on seat0; the login screen's own session reads
/// as "loginwindow". Where no login manager runs it is the person who started the program through pkexec or sudo, root
/// aside.
class SystemUsers : public platform::Users {
 public:
  unsigned realUserId() const override;
  std::string userName() const override;
  std::string homeDirectory() const override;
  std::optional<std::string> homeDirectoryForUser(const std::optional<std::string>& name) const override;
  std::optional<std::string> consoleUser() const override;
};

}  // namespace qm::linux_
