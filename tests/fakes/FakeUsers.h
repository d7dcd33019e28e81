// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "Platform/Users.h"
#include "tests/fakes/Calls.h"

namespace qm::testing {

/// Users. It begins as the ordinary user "u" with the id 501, with the home /home/u and at the console; "root" (/root)
/// is known as well.
class FakeUsers : public platform::Users {
 public:
  explicit FakeUsers(Calls& calls) : calls_(calls) {}

  /// The process's user.
  void setRealUserId(unsigned number) { set(realUserId_, number); }
  void setUserName(const std::string& name) { set(userName_, name); }
  void setHomeDirectory(const std::string& path) { set(homeDirectory_, path); }
  /// The user at the console, with an id.
  void setConsoleUser(const std::optional<std::string>& name, unsigned number = 501);
  /// Adds a name to the user database.
  void addUser(const std::string& name, const std::string& home);
  /// Makes the process run as root, with `name` at the console.
  void actAsRoot(const std::optional<std::string>& name);

  /// The id of the user for whom things are done: the process's, as root the console user's.
  unsigned targetUserId() const;
  /// Whether there is such a user: as root, somebody is at the console and past the login screen.
  bool hasTargetUser() const;
  /// Where the user domain of the standard folders lies: the process's home, as root /var/root.
  std::string userDomainRoot() const;

  unsigned realUserId() const override;
  std::string userName() const override;
  std::string homeDirectory() const override;
  std::optional<std::string> homeDirectoryForUser(const std::optional<std::string>& name) const override;
  std::optional<std::string> consoleUser() const override;

 private:
  template <class Value, class From>
  void set(Value& value, const From& from) {
    const std::scoped_lock lock(mutex_);
    value = from;
  }

  Calls& calls_;
  mutable std::mutex mutex_;
  unsigned realUserId_ = 501;
  std::string userName_ = "u";
  std::string homeDirectory_ = "/home/u";
  std::optional<std::string> consoleUser_ = "u";
  unsigned consoleUserId_ = 501;
  std::map<std::string, std::string> homes_ = {{"u", "/home/u"}, {"root", "/root"}};
};

}  // namespace qm::testing
