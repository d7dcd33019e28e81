// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/LogLines.h"

#include <syslog.h>

#include <algorithm>
#include <iterator>

#include "Uninstaller/remove/Options.h"

namespace qm::removal {

int priorityOf(const LogLine& line) { return line.isWarning ? LOG_WARNING : LOG_NOTICE; }

bool isLogged(const ReportItem& item) {
  constexpr Outcome kLogged[] = {Outcome::Trashed, Outcome::Removed, Outcome::Stayed, Outcome::Restored, Outcome::Lost};
  return std::ranges::find(kLogged, item.outcome) != std::end(kLogged);
}

LogLine logLineOf(const ReportItem& item) {
  const std::string because = item.reason.empty() ? "" : ": " + item.reason;
  return {item.path.value_or("") + " " + wordFor(item.outcome) + because,
          item.outcome == Outcome::Stayed || item.outcome == Outcome::Lost};
}

LogLine logLineOf(const Report& report) { return {summaryOf(report), statusOf(report) != kNothingLeft}; }

std::vector<LogLine> logLinesOf(const Report& report) {
  std::vector<LogLine> lines;
  if (report.isPlan) return lines;
  for (const ReportItem& item : report.items) {
    if (isLogged(item)) lines.push_back(logLineOf(item));
  }
  lines.push_back(logLineOf(report));
  return lines;
}

}  // namespace qm::removal
