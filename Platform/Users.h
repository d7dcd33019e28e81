// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace qm::platform {

/// The process's user and the user at the console. Any thread; nothing is cached, since another user may log in between
/// two calls.
class Users {
 public:
  virtual ~Users() = default;

  /// The real (not the effective) user id of the process.
  virtual unsigned realUserId() const = 0;
  /// Whether that is root.
  bool isRoot() const { return realUserId() == 0; }
  /// The login name of the process's user.
  virtual std::string userName() const = 0;
  /// The home folder of the process's user.
  virtual std::string homeDirectory() const = 0;
  /// The home folder of a named user; null for no name or a name that the system does not know.
  virtual std::optional<std::string> homeDirectoryForUser(const std::optional<std::string>& name) const = 0;
  /// The name that the system gives for the user at the console: "loginwindow" while the login screen is shown, null
  /// when there is nobody or the system cannot tell.
  virtual std::optional<std::string> consoleUser() const = 0;
};

}  // namespace qm::platform
