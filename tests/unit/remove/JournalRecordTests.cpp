// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/JournalRecord.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qm::removal {
namespace {

using linux_::JournalField;

/// The value of a field; "-" if the entry has no such field.
std::string valueOf(const std::vector<JournalField>& entry, const std::string& name) {
  for (const JournalField& field : entry) {
    if (field.name == name) return field.value;
  }
  return "-";
}

TEST(JournalEntry, OfAnItemHasItsOutcomeInFields) {
  ReportItem item;
  item.user = "sam";
  item.path = "/home/sam/x";
  item.outcome = Outcome::Trashed;
  item.bytes = 12;
  item.trashOf = "sam";
  const auto entry = journalEntryOf(item);
  EXPECT_EQ(valueOf(entry, "MESSAGE"), "/home/sam/x trashed");
  EXPECT_EQ(valueOf(entry, "MESSAGE_ID").size(), 32U);
  EXPECT_EQ(valueOf(entry, "PRIORITY"), "6");
  EXPECT_EQ(valueOf(entry, "SYSLOG_IDENTIFIER"), "tessaly-remove");
  EXPECT_EQ(valueOf(entry, "TESSALY_ITEM"), "/home/sam/x");
  EXPECT_EQ(valueOf(entry, "TESSALY_OUTCOME"), "trashed");
  EXPECT_EQ(valueOf(entry, "TESSALY_BYTES"), "12");
  EXPECT_EQ(valueOf(entry, "TESSALY_USER"), "sam");
  EXPECT_EQ(valueOf(entry, "TESSALY_TRASH_OF"), "sam");
  EXPECT_EQ(valueOf(entry, "TESSALY_REASON"), "-");
}

TEST(JournalEntry, OfAnItemThatStayedIsAWarningWithTheReason) {
  ReportItem item;
  item.path = "/x";
  item.outcome = Outcome::Stayed;
  item.reason = "It is busy.";
  const auto entry = journalEntryOf(item);
  EXPECT_EQ(valueOf(entry, "MESSAGE"), "/x stayed: It is busy.");
  EXPECT_EQ(valueOf(entry, "PRIORITY"), "4");
  EXPECT_EQ(valueOf(entry, "TESSALY_REASON"), "It is busy.");
  EXPECT_EQ(valueOf(entry, "TESSALY_USER"), "-");
  EXPECT_EQ(valueOf(entry, "TESSALY_TRASH_OF"), "-");
}

TEST(JournalEntry, OfTheRunHasItsStatus) {
  Report report;
  auto entry = journalEntryOf(report);
  EXPECT_EQ(valueOf(entry, "MESSAGE"), "Nothing is left to remove.");
  EXPECT_EQ(valueOf(entry, "TESSALY_STATUS"), "0");
  EXPECT_EQ(valueOf(entry, "TESSALY_CHANGED"), "0");
  EXPECT_EQ(valueOf(entry, "PRIORITY"), "6");
  report.items.resize(2);
  report.items[0].outcome = Outcome::Removed;
  report.items[1].outcome = Outcome::Stayed;
  entry = journalEntryOf(report);
  EXPECT_EQ(valueOf(entry, "MESSAGE"), "1 item stayed.");
  EXPECT_EQ(valueOf(entry, "TESSALY_STATUS"), "2");
  EXPECT_EQ(valueOf(entry, "TESSALY_CHANGED"), "1");
  EXPECT_EQ(valueOf(entry, "PRIORITY"), "4");
}

}  // namespace
}  // namespace qm::removal
