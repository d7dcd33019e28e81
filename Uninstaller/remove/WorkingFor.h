// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "Platform/Users.h"
#include "Platform/posix/rights/UserDatabase.h"
#include "Uninstaller/RemovalPlan.h"

namespace qm::removal {

/// The system's users, with one difference: after `workFor`, `consoleUser` returns the user whom the program works for.
/// That user matters only if the program is run by root. Any thread.
class WorkingFor final : public platform::Users {
 public:
  /// The system's users must outlive this object.
  explicit WorkingFor(const platform::Users& system) : system_(system) {}

  /// From now on this user's home and Trash are used. No other thread may be working for another user.
  void workFor(const std::string& person);

  /// In a user's folders root measures no more than that user can see, because the contents can be exchanged meanwhile.
  void measureWithRightsOf(const posix::UserRecord& person, PlannedItem& item) const;

  unsigned realUserId() const override { return system_.realUserId(); }
  std::string userName() const override { return system_.userName(); }
  std::string homeDirectory() const override { return system_.homeDirectory(); }
  std::optional<std::string> homeDirectoryForUser(const std::optional<std::string>& name) const override {
    return system_.homeDirectoryForUser(name);
  }
  std::optional<std::string> consoleUser() const override;

 private:
  const platform::Users& system_;
  mutable std::mutex mutex_;
  std::optional<std::string> person_;
};

}  // namespace qm::removal
