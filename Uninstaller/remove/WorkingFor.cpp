// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/WorkingFor.h"

namespace qm::removal {

void WorkingFor::workFor(const std::string& person) {
  const std::scoped_lock lock(mutex_);
  person_ = person;
}

void WorkingFor::measureWithRightsOf(const posix::UserRecord& person, PlannedItem& item) const {
  if (realUserId() != 0 || person.id == 0) return measure(item);
  const posix::FileSystemIdentity identity = posix::identityOf(person);
  const posix::FileSystemUser acting(&identity);
  if (acting.ok()) measure(item);
}

std::optional<std::string> WorkingFor::consoleUser() const {
  const std::scoped_lock lock(mutex_);
  return person_ ? person_ : system_.consoleUser();
}

}  // namespace qm::removal
