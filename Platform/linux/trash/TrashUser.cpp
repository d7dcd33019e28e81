// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/TrashUser.h"

#include <unistd.h>

#include <cerrno>

namespace qm::linux_ {
namespace {

// The platform's name for the user at the login screen.
constexpr const char* kLoginScreen = "loginwindow";

TrashProblem nobody() { return {ENOENT, "nobody is logged in"}; }

TrashAnswer<TrashUser> account(const std::string& name, std::string_view workFolderPrefix) {
  const std::optional<UserRecord> user = userWithName(name);
  if (!user || !user->home.starts_with('/')) return nobody();
  return trashUserFor(*user, workFolderPrefix);
}

std::optional<std::string> absolute(const std::optional<std::string>& path) {
  return path && path->starts_with('/') ? path : std::nullopt;
}

}  // namespace

TrashUser trashUserFor(const UserRecord& user, std::string_view workFolderPrefix) {
  return {identityOf(user), user.home, std::nullopt, true, std::string(workFolderPrefix)};
}

TrashAnswer<TrashUser> findTrashUser(const platform::Users& users, const std::optional<std::string>& dataHome,
                                     std::string_view workFolderPrefix) {
  const uid_t self = users.realUserId();
  if (self != 0) {
    return TrashUser{
        {self, ::getegid(), {}}, users.homeDirectory(), absolute(dataHome), false, std::string(workFolderPrefix)};
  }
  const std::optional<std::string> name = users.consoleUser();
  if (!name || *name == kLoginScreen) return nobody();
  TrashAnswer<TrashUser> user = account(*name, workFolderPrefix);
  if (user && user->identity.uid == self) {
    user->dataHome = absolute(dataHome);
    user->forAnother = false;
  }
  return user;
}

}  // namespace qm::linux_
