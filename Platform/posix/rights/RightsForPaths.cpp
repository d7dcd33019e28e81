// SPDX-License-Identifier: MIT
#include "Platform/posix/rights/RightsForPaths.h"

#include <optional>

#include "Platform/posix/rights/PathWriters.h"
#include "Platform/posix/rights/UserDatabase.h"

namespace qm::posix {
namespace {

constexpr gid_t kNoGroup = 65534;

// A deleted account may still own folders.
FileSystemIdentity identityOf(uid_t number) {
  const std::optional<UserRecord> user = userWithId(number);
  return user ? identityOf(*user) : FileSystemIdentity{number, kNoGroup, {}};
}

std::optional<FileSystemIdentity> personFor(const Writers& writers, const platform::Users& users) {
  if (!writers.anybody && writers.persons.size() == 1) return identityOf(*writers.persons.begin());
  const std::optional<UserRecord> user = userWithName(users.consoleUser().value_or(std::string()));
  return user ? std::optional(identityOf(*user)) : std::nullopt;
}

}  // namespace

RightsForPaths::RightsForPaths(const platform::Users& users, std::initializer_list<std::string> paths)
    : known_(choose(users, paths)), acting_(isForPerson_ ? &person_ : nullptr) {}

bool RightsForPaths::choose(const platform::Users& users, std::initializer_list<std::string> paths) {
  if (users.realUserId() != 0) return true;
  Writers writers;
  for (const std::string& path : paths) writers.add(writersOfPath(path));
  if (writers.none()) return true;
  const std::optional<FileSystemIdentity> person = personFor(writers, users);
  if (!person) return false;
  person_ = *person;
  isForPerson_ = true;
  return true;
}

}  // namespace qm::posix
