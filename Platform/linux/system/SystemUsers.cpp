// SPDX-License-Identifier: MIT
#include "Platform/linux/system/SystemUsers.h"

#include <unistd.h>

#include "Platform/linux/rights/UserDatabase.h"
#include "Platform/linux/system/ConsoleUser.h"
#include "Platform/linux/system/Environment.h"

namespace qm::linux_ {

unsigned SystemUsers::realUserId() const { return ::getuid(); }

std::string SystemUsers::userName() const {
  const auto user = userWithId(::getuid());
  return user ? user->name : std::to_string(::getuid());
}

std::string SystemUsers::homeDirectory() const {
  if (::getuid() == 0) return "/var/root";
  if (const auto home = absoluteFolder(environmentValue("HOME"))) return *home;
  const auto user = userWithId(::getuid());
  return absoluteFolder(user ? std::optional(user->home) : std::nullopt).value_or("/");
}

std::optional<std::string> SystemUsers::homeDirectoryForUser(const std::optional<std::string>& name) const {
  const auto user = name ? userWithName(*name) : std::nullopt;
  return absoluteFolder(user ? std::optional(user->home) : std::nullopt);
}

std::optional<std::string> SystemUsers::consoleUser() const {
  return loginManagerRuns() ? userOfActiveSession() : userBehindRootTool();
}

}  // namespace qm::linux_
