#include "Uninstaller/remove/WorkingFor.h"

namespace qm::removal {

void WorkingFor::workFor(const std::string& person) {
  const std::scoped_lock lock(mutex_);
  person_ = person;
}

std::optional<std::string> WorkingFor::consoleUser() const {
  const std::scoped_lock lock(mutex_);
  return person_ ? person_ : system_.consoleUser();
}

}  // namespace qm::removal
