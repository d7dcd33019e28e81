// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/LogLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <syslog.h>

namespace qm::removal {
namespace {

using ::testing::IsEmpty;

Report reportOf(std::initializer_list<Outcome> outcomes) {
  Report report;
  for (const Outcome outcome : outcomes) {
    ReportItem item;
    item.path = "/x";
    item.outcome = outcome;
    report.items.push_back(std::move(item));
  }
  return report;
}

TEST(LogLines, SayWhatWasMovedAndWarnOfWhatStayed) {
  Report report = reportOf({Outcome::Trashed, Outcome::NotThere, Outcome::Kept, Outcome::Stayed});
  report.items.back().reason = "It is busy.";
  const auto lines = logLinesOf(report);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0].text, "/x trashed");
  EXPECT_FALSE(lines[0].isWarning);
  EXPECT_EQ(lines[1].text, "/x stayed: It is busy.");
  EXPECT_TRUE(lines[1].isWarning);
  EXPECT_EQ(lines[2].text, "1 item stayed.");
  EXPECT_TRUE(lines[2].isWarning);
}

TEST(LogLines, EndWithTheWholeRun) {
  const auto lines = logLinesOf(reportOf({Outcome::Removed, Outcome::Restored}));
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines.back().text, "Nothing is left to remove.");
  EXPECT_FALSE(lines.back().isWarning);
}

TEST(LogLines, WarnOfALostItem) {
  const auto lines = logLinesOf(reportOf({Outcome::Lost}));
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_TRUE(lines.front().isWarning);
}

TEST(LogLines, AreNoticesOrWarnings) {
  EXPECT_EQ(priorityOf({"", false}), LOG_NOTICE);
  EXPECT_EQ(priorityOf({"", true}), LOG_WARNING);
}

TEST(LogLines, AreNoneOfAPlan) {
  Report report = reportOf({Outcome::Goes});
  report.isPlan = true;
  EXPECT_THAT(logLinesOf(report), IsEmpty());
}

}  // namespace
}  // namespace qm::removal
