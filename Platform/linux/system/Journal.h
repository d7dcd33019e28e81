// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace qm::linux_ {

/// A field of an entry in the system journal. Names consist of upper case letters, digits and underscores.
struct JournalField {
  std::string name;
  std::string value;
};

/// Whether the machine has a system journal.
bool journalIsThere();

/// Adds an entry to the system journal. Does nothing if there is none. Any thread.
void sendToJournal(const std::vector<JournalField>& fields);

}  // namespace qm::linux_
