// SPDX-License-Identifier: MIT
#include "Platform/linux/system/Journal.h"

#include <sys/uio.h>
#include <unistd.h>

#define SD_JOURNAL_SUPPRESS_LOCATION  // the caller's file and line are not this file's
#include <systemd/sd-journal.h>

namespace qm::linux_ {

bool journalIsThere() { return ::access("/run/systemd/journal/socket", F_OK) == 0; }

void sendToJournal(const std::vector<JournalField>& fields) {
  std::vector<std::string> texts;
  texts.reserve(fields.size());
  for (const JournalField& field : fields) texts.push_back(field.name + "=" + field.value);
  std::vector<iovec> parts;
  parts.reserve(texts.size());
  for (std::string& text : texts) parts.push_back({text.data(), text.size()});
  ::sd_journal_sendv(parts.data(), static_cast<int>(parts.size()));
}

}  // namespace qm::linux_
