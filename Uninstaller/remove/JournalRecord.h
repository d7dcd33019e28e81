// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "Platform/linux/system/Journal.h"
#include "Uninstaller/remove/Report.h"

namespace qm::removal {

/// The entry of an item in the system journal, with the result in separate fields.
std::vector<linux_::JournalField> journalEntryOf(const ReportItem& item);
/// The entry of the whole run.
std::vector<linux_::JournalField> journalEntryOf(const Report& report);

/// Writes a run into the system journal: an entry for each item that was moved or stayed, and one for the whole run.
void recordInJournal(const Report& report);

}  // namespace qm::removal
