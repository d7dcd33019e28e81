// SPDX-License-Identifier: MIT
#include "Platform/posix/rights/UserDatabase.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>  // getgrouplist, on a Mac

#include <cerrno>
#include <utility>
#include <vector>

#include "Platform/posix/rights/GroupList.h"

namespace qm::posix {
namespace {

constexpr std::size_t kFirstBuffer = 1024;
constexpr std::size_t kLargestBuffer = std::size_t{1024} * 1024;

std::string textOrEmpty(const char* text) { return text == nullptr ? std::string() : std::string(text); }

UserRecord recordOf(const passwd& found) {
  return {found.pw_uid, found.pw_gid, textOrEmpty(found.pw_name), textOrEmpty(found.pw_dir)};
}

// `find` is getpwuid_r or getpwnam_r with its key bound. The buffer grows until the record fits.
template <class Find>
std::optional<UserRecord> lookUp(Find find) {
  for (std::size_t size = kFirstBuffer; size <= kLargestBuffer; size *= 4) {
    std::vector<char> buffer(size);
    passwd record{};
    passwd* found = nullptr;
    int error = 0;
    do {
      error = find(&record, buffer.data(), buffer.size(), &found);
    } while (error == EINTR);
    if (error == ERANGE) continue;
    if (error != 0 || found == nullptr) return std::nullopt;
    return recordOf(*found);
  }
  return std::nullopt;
}

}  // namespace

std::optional<UserRecord> userWithId(uid_t id) {
  return lookUp([id](passwd* record, char* buffer, std::size_t size, passwd** found) {
    return ::getpwuid_r(id, record, buffer, size, found);
  });
}

std::optional<UserRecord> userWithName(const std::string& name) {
  if (name.empty() || name.find('\0') != std::string::npos) return std::nullopt;
  return lookUp([&name](passwd* record, char* buffer, std::size_t size, passwd** found) {
    return ::getpwnam_r(name.c_str(), record, buffer, size, found);
  });
}

std::vector<UserRecord> listedUsers() {
  std::vector<UserRecord> users;
  ::setpwent();
  while (const passwd* found = ::getpwent()) users.push_back(recordOf(*found));  // NOLINT(concurrency-mt-unsafe)
  ::endpwent();
  return users;
}

FileSystemIdentity identityOf(const UserRecord& user) {
  return {user.id, user.group, groupsOf(user.name, user.group, ::getgrouplist)};
}

}  // namespace qm::posix
