// SPDX-License-Identifier: MIT
#include "Platform/posix/rights/RightsForPaths.h"

#include <optional>

#include "Platform/posix/rights/PathWriters.h"
#include "Platform/posix/rights/UserDatabase.h"

namespace qm::posix {
namespace {

// On Linux the group of the user "nobody". On a Mac no group has this number.
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
    : whose_(choose(users, paths)), acting_(whose_ == Whose::APersons ? &person_ : nullptr) {}

RightsForPaths::Whose RightsForPaths::choose(const platform::Users& users, std::initializer_list<std::string> paths) {
  if (users.realUserId() != 0) return Whose::TheProcesses;
  Writers writers;
  for (const std::string& path : paths) writers.add(writersOfPath(path));
  if (writers.none()) return Whose::TheProcesses;
  const std::optional<FileSystemIdentity> person = personFor(writers, users);
  if (!person) return Whose::Nobodys;
  if (person->uid == 0) return Whose::RootsInPlaces;
  person_ = *person;
  return Whose::APersons;
}

}  // namespace qm::posix
