#pragma once

#include <vector>

#include "Platform/linux/system/Journal.h"
#include "Uninstaller/remove/Report.h"

namespace qm::removal {

/// The entry of an item in the system journal, with what became of it in fields of its own.
std::vector<linux_::JournalField> journalEntryOf(const ReportItem& item);
/// The entry of the whole run.
std::vector<linux_::JournalField> journalEntryOf(const Report& report);

/// Writes a run into the system journal: an entry for each item that went or stayed, and one for the whole.
void recordInJournal(const Report& report);

}  // namespace qm::removal
