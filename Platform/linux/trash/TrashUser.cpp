#include "Platform/linux/trash/TrashUser.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace qm::linux_ {
namespace {

// What the platform calls the person at the login screen.
constexpr const char* kLoginScreen = "loginwindow";

TrashProblem nobody() { return {ENOENT, "nobody is logged in"}; }

std::vector<gid_t> groupsOf(const std::string& name, gid_t gid) {
  std::vector<gid_t> groups(64);
  auto count = static_cast<int>(groups.size());
  while (::getgrouplist(name.c_str(), gid, groups.data(), &count) < 0) {
    groups.resize(groups.size() * 2);
    count = static_cast<int>(groups.size());
  }
  groups.resize(static_cast<std::size_t>(count));
  return groups;
}

Outcome<TrashUser> account(const std::string& name) {
  std::vector<char> buffer(1024);
  passwd entry{};
  passwd* found = nullptr;
  while (::getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) == ERANGE) {
    buffer.resize(buffer.size() * 2);
  }
  if (found == nullptr || entry.pw_dir == nullptr || entry.pw_dir[0] != '/') return nobody();
  return TrashUser{{entry.pw_uid, entry.pw_gid, groupsOf(name, entry.pw_gid)}, entry.pw_dir, std::nullopt, true};
}

std::optional<std::string> absolute(const std::optional<std::string>& path) {
  return path && path->starts_with('/') ? path : std::nullopt;
}

}  // namespace

Outcome<TrashUser> findTrashUser(const platform::Users& users, const std::optional<std::string>& dataHome) {
  const uid_t self = users.realUserId();
  if (self != 0) return TrashUser{{self, ::getegid(), {}}, users.homeDirectory(), absolute(dataHome), false};
  const std::optional<std::string> name = users.consoleUser();
  if (!name || *name == kLoginScreen) return nobody();
  Outcome<TrashUser> user = account(*name);
  if (user && user->identity.uid == self) {
    user->dataHome = absolute(dataHome);
    user->forAnother = false;
  }
  return user;
}

}  // namespace qm::linux_
