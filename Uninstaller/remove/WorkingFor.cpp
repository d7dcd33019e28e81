#include "Uninstaller/remove/WorkingFor.h"

namespace qm::removal {

void WorkingFor::workFor(const std::string& person) {
  const std::scoped_lock lock(mutex_);
  person_ = person;
}

void WorkingFor::measureWithRightsOf(const linux_::UserRecord& person, PlannedItem& item) const {
  if (realUserId() != 0 || person.id == 0) return measure(item);
  const linux_::FileSystemIdentity identity = linux_::identityOf(person);
  const linux_::FileSystemUser acting(&identity);
  if (acting.ok()) measure(item);
}

std::optional<std::string> WorkingFor::consoleUser() const {
  const std::scoped_lock lock(mutex_);
  return person_ ? person_ : system_.consoleUser();
}

}  // namespace qm::removal
