// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "Uninstaller/remove/Report.h"

namespace qm::removal {

/// One line about a run in the system's log.
struct LogLine {
  std::string text;
  bool isWarning = false;  ///< something is left
};

/// The priority of a line for syslog(3). None is below a notice, because a Mac keeps no such lines.
int priorityOf(const LogLine& line);

/// Whether the log mentions the item: it was moved, or it stayed.
bool isLogged(const ReportItem& item);

LogLine logLineOf(const ReportItem& item);
/// The line of the whole run.
LogLine logLineOf(const Report& report);

/// All lines of a run, that of the whole run last. None for a run that only shows what it would do.
std::vector<LogLine> logLinesOf(const Report& report);

}  // namespace qm::removal
