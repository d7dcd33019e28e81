#include "Uninstaller/remove/Report.h"

#include <algorithm>

#include "Platform/foundation/ControlCharacters.h"
#include "Platform/foundation/Utf8.h"
#include "Shared/QMFileManager.h"
#include "Uninstaller/remove/Options.h"

namespace qm::removal {
namespace {

constexpr std::size_t kColumns = 5;
using Row = std::vector<std::string>;

std::string shown(const std::string& text) { return foundation::replacingControlCharacters(text, '?'); }

std::string padded(std::string text, std::size_t width) {
  const std::size_t length = foundation::characterCount(text);
  if (length < width) text.append(width - length, ' ');
  return text;
}

std::string sizeOf(const ReportItem& item) {
  return item.kind ? QMFileManager::formatFileSize(static_cast<double>(item.bytes)) : "";
}

Row rowOf(const ReportItem& item) {
  return {wordFor(item.outcome), sizeOf(item), shown(item.user.value_or("the computer")),
          shown(item.trashOf.value_or("")), shown(item.path.value_or(""))};
}

std::vector<std::size_t> widthsOf(const std::vector<Row>& rows) {
  std::vector<std::size_t> widths(kColumns);
  for (const Row& row : rows) {
    for (std::size_t column = 0; column < kColumns; ++column) {
      widths[column] = std::max(widths[column], foundation::characterCount(row[column]));
    }
  }
  return widths;
}

std::string lineOf(const Row& row, const std::vector<std::size_t>& widths) {
  std::string line;
  for (std::size_t column = 0; column + 1 < kColumns; ++column) line += padded(row[column], widths[column]) + "  ";
  return line + row.back() + "\n";
}

/// On the line below the path.
std::string furtherLine(const std::string& text, const std::vector<std::size_t>& widths) {
  if (text.empty()) return {};
  std::size_t indent = 0;
  for (std::size_t column = 0; column + 1 < kColumns; ++column) indent += widths[column] + 2;
  return std::string(indent, ' ') + shown(text) + "\n";
}

std::string placeInTrash(const ReportItem& item) { return item.trashedTo ? "In the Trash: " + *item.trashedTo : ""; }

bool isInTable(const ReportItem& item) { return item.outcome != Outcome::NotThere || !item.reason.empty(); }

std::string itemLines(const std::vector<ReportItem>& items) {
  std::vector<Row> rows = {{"OUTCOME", "SIZE", "WHOSE", "TRASH OF", "ITEM"}};
  for (const ReportItem& item : items) {
    if (isInTable(item)) rows.push_back(rowOf(item));
  }
  if (rows.size() == 1) return {};
  const auto widths = widthsOf(rows);
  std::string lines = lineOf(rows.front(), widths);
  for (const ReportItem& item : items) {
    if (isInTable(item))
      lines += lineOf(rowOf(item), widths) + furtherLine(placeInTrash(item), widths) + furtherLine(item.reason, widths);
  }
  return lines;
}

std::string runningLines(const std::vector<RunningProcess>& running) {
  std::string lines;
  for (const RunningProcess& process : running) {
    lines += "Tessaly runs for " + shown(process.user) + " (process " + std::to_string(process.id) + ").\n";
  }
  return lines;
}

std::size_t countOf(const Report& report, Outcome outcome) {
  return static_cast<std::size_t>(std::ranges::count(report.items, outcome, &ReportItem::outcome));
}

std::string items(std::size_t count) { return count == 1 ? "1 item" : std::to_string(count) + " items"; }

std::string nothingLeft(const Report& report) {
  return report.isRestore ? "Nothing is left to put back." : "Nothing is left to remove.";
}

std::string staying(const Report& report) {
  const std::size_t stayed = countOf(report, Outcome::Stayed);
  const std::size_t lost = countOf(report, Outcome::Lost);
  std::string what = stayed == 0 ? "" : items(stayed) + (report.isRestore ? " did not come back." : " stayed.");
  if (lost > 0) what += (what.empty() ? "" : " ") + items(lost) + " cannot be found any more.";
  return statusOf(report) == kRightsMissing ? what + " Rights are missing; root has them." : what;
}

std::string planSummary(const Report& report) {
  const std::size_t going = countOf(report, Outcome::Goes) + countOf(report, Outcome::ComesBack);
  if (going == 0) return report.isRestore && statusOf(report) != kNothingLeft ? staying(report) : nothingLeft(report);
  const std::string what =
      items(going) + (report.isRestore ? " would come back." : " would go.") + " Nothing has been changed.";
  return report.wantsYes ? what + " With --yes it is done." : what;
}

}  // namespace

bool isToBeMoved(const ReportItem& item) { return item.outcome == Outcome::Goes || item.outcome == Outcome::ComesBack; }

bool hasChanged(const Report& report) {
  return countOf(report, Outcome::Trashed) + countOf(report, Outcome::Removed) + countOf(report, Outcome::Restored) > 0;
}

int statusOf(const Report& report) {
  if (report.ownStatus) return *report.ownStatus;
  if (std::ranges::any_of(report.items, &ReportItem::needsRights)) return kRightsMissing;
  const bool isLeft = std::ranges::any_of(report.items, [](const ReportItem& item) {
    return isToBeMoved(item) || item.outcome == Outcome::Stayed || item.outcome == Outcome::Lost;
  });
  return isLeft ? kSomethingStayed : kNothingLeft;
}

std::string wordFor(Outcome outcome) {
  switch (outcome) {
    case Outcome::Goes:
      return "goes";
    case Outcome::Trashed:
      return "trashed";
    case Outcome::Removed:
      return "removed";
    case Outcome::NotThere:
      return "not_there";
    case Outcome::Kept:
      return "kept";
    case Outcome::Stayed:
      return "stayed";
    case Outcome::ComesBack:
      return "comes_back";
    case Outcome::Restored:
      return "restored";
    case Outcome::Lost:
      return "lost";
  }
  return "";
}

std::string summaryOf(const Report& report) {
  if (!report.problem.empty()) return report.problem;
  if (report.isPlan) return planSummary(report);
  const bool isLeft = countOf(report, Outcome::Stayed) + countOf(report, Outcome::Lost) > 0;
  return isLeft ? staying(report) : nothingLeft(report);
}

std::string reportTable(const Report& report) {
  return itemLines(report.items) + runningLines(report.running) + summaryOf(report) + "\n";
}

}  // namespace qm::removal
