// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/JournalRecord.h"

#include <utility>

#include "Uninstaller/remove/LogLines.h"

namespace qm::removal {
namespace {

using linux_::JournalField;
using Fields = std::vector<JournalField>;

// The ids by which these entries are found: journalctl MESSAGE_ID=...
constexpr const char* kItemMessage = "6a7e0d0c5f3b4f0d9c41b1d2a8e65f13";
constexpr const char* kRunMessage = "c2b94e6fd07a4a51a6e3f8d917c05b28";
constexpr const char* kInformation = "6";
constexpr const char* kWarning = "4";

Fields entry(const char* kind, LogLine line) {
  return {{"MESSAGE", std::move(line.text)},
          {"MESSAGE_ID", kind},
          {"PRIORITY", line.isWarning ? kWarning : kInformation},
          {"SYSLOG_IDENTIFIER", "tessaly-remove"}};
}

void addIfThere(Fields& fields, const char* name, const std::string& value) {
  if (!value.empty()) fields.push_back({name, value});
}

}  // namespace

Fields journalEntryOf(const ReportItem& item) {
  Fields fields = entry(kItemMessage, logLineOf(item));
  fields.push_back({"TESSALY_ITEM", item.path.value_or("")});
  fields.push_back({"TESSALY_OUTCOME", wordFor(item.outcome)});
  fields.push_back({"TESSALY_BYTES", std::to_string(item.bytes)});
  addIfThere(fields, "TESSALY_USER", item.user.value_or(""));
  addIfThere(fields, "TESSALY_TRASH_OF", item.trashOf.value_or(""));
  addIfThere(fields, "TESSALY_TRASHED_TO", item.trashedTo.value_or(""));
  addIfThere(fields, "TESSALY_REASON", item.reason);
  return fields;
}

Fields journalEntryOf(const Report& report) {
  Fields fields = entry(kRunMessage, logLineOf(report));
  fields.push_back({"TESSALY_STATUS", std::to_string(statusOf(report))});
  fields.push_back({"TESSALY_CHANGED", hasChanged(report) ? "1" : "0"});
  fields.push_back({"TESSALY_RESTORE", report.isRestore ? "1" : "0"});
  return fields;
}

void recordInJournal(const Report& report) {
  if (report.isPlan || !linux_::journalIsThere()) return;
  for (const ReportItem& item : report.items) {
    if (isLogged(item)) linux_::sendToJournal(journalEntryOf(item));
  }
  linux_::sendToJournal(journalEntryOf(report));
}

}  // namespace qm::removal
