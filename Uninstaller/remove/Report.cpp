// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/Report.h"

#include <algorithm>

#include "Platform/foundation/ControlCharacters.h"
#include "Platform/foundation/Utf8.h"
#include "Uninstaller/Sentences.h"
#include "Uninstaller/remove/Options.h"

namespace qm::removal {
namespace {

using uninstaller::catalogued;
using uninstaller::counted;
using uninstaller::filled;
using uninstaller::Language;
using uninstaller::translated;

constexpr std::size_t kColumns = 5;
using Row = std::vector<std::string>;

constexpr std::string_view kSentences[] = {
    catalogued("The lock against a second run couldn’t be taken: {system}."),
    catalogued("The record of the last run couldn’t be read: {system}."),
    catalogued("Nothing has been done, because no record for --restore could be written: {system}."),
    catalogued("It couldn’t be created again: {system}."),
};

std::string shown(const std::string& text) { return foundation::replacingControlCharacters(text, '?'); }

std::string forPeople(const std::string& sentence, const Language& language) {
  return uninstaller::inLanguage(language, sentence, kSentences);
}

std::string padded(std::string text, std::size_t width) {
  const std::size_t length = foundation::columnCount(text);
  if (length < width) text.append(width - length, ' ');
  return text;
}

std::string sizeOf(const ReportItem& item) {
  return item.kind ? uninstaller::sizeText(uninstaller::language(), item.bytes) : "";
}

std::string shownOutcome(Outcome outcome) {
  switch (outcome) {
    case Outcome::Goes:
      return translated("goes");
    case Outcome::Trashed:
      return translated("trashed");
    case Outcome::Removed:
      return translated("removed");
    case Outcome::NotThere:
      return translated("not_there");
    case Outcome::Kept:
      return translated("kept");
    case Outcome::Stayed:
      return translated("stayed");
    case Outcome::ComesBack:
      return translated("comes_back");
    case Outcome::Restored:
      return translated("restored");
    case Outcome::Lost:
      return translated("lost");
  }
  return "";
}

Row rowOf(const ReportItem& item) {
  return {shownOutcome(item.outcome), sizeOf(item), item.user ? shown(*item.user) : translated("the computer"),
          shown(item.trashOf.value_or("")), shown(item.path.value_or(""))};
}

std::vector<std::size_t> widthsOf(const std::vector<Row>& rows) {
  std::vector<std::size_t> widths(kColumns);
  for (const Row& row : rows) {
    for (std::size_t column = 0; column < kColumns; ++column) {
      widths[column] = std::max(widths[column], foundation::columnCount(row[column]));
    }
  }
  return widths;
}

std::string lineOf(const Row& row, const std::vector<std::size_t>& widths) {
  std::string line;
  for (std::size_t column = 0; column + 1 < kColumns; ++column) line += padded(row[column], widths[column]) + "  ";
  return line + row.back() + "\n";
}

/// Returns the text for the line below the path.
std::string furtherLine(const std::string& text, const std::vector<std::size_t>& widths) {
  if (text.empty()) return {};
  std::size_t indent = 0;
  for (std::size_t column = 0; column + 1 < kColumns; ++column) indent += widths[column] + 2;
  return std::string(indent, ' ') + shown(text) + "\n";
}

std::string placeInTrash(const ReportItem& item) {
  return item.trashedTo ? translated("In the Trash: {path}", {{"path", *item.trashedTo}}) : "";
}

bool isInTable(const ReportItem& item) { return item.outcome != Outcome::NotThere || !item.reason.empty(); }

std::string itemLines(const std::vector<ReportItem>& items) {
  std::vector<Row> rows = {
      {translated("OUTCOME"), translated("SIZE"), translated("WHOSE"), translated("TRASH OF"), translated("ITEM")}};
  for (const ReportItem& item : items) {
    if (isInTable(item)) rows.push_back(rowOf(item));
  }
  if (rows.size() == 1) return {};
  const auto widths = widthsOf(rows);
  std::string lines = lineOf(rows.front(), widths);
  for (const ReportItem& item : items) {
    if (!isInTable(item)) continue;
    lines += lineOf(rowOf(item), widths) + furtherLine(placeInTrash(item), widths) +
             furtherLine(forPeople(item.reason, uninstaller::language()), widths);
  }
  return lines;
}

std::string runningLines(const std::vector<RunningProcess>& running) {
  std::string lines;
  for (const RunningProcess& process : running) {
    lines += translated("Tessaly is running for {user} (process {id}).",
                        {{"user", shown(process.user)}, {"id", std::to_string(process.id)}}) +
             "\n";
  }
  return lines;
}

std::size_t countOf(const Report& report, Outcome outcome) {
  return static_cast<std::size_t>(std::ranges::count(report.items, outcome, &ReportItem::outcome));
}

/// Two sentences, of which either may be "".
std::string both(const std::string& first, const std::string& second, const Language& language) {
  if (first.empty() || second.empty()) return first + second;
  return filled(language.translated("{sentence} {further}"), {{"sentence", first}, {"further", second}});
}

std::string nothingLeft(const Report& report, const Language& language) {
  return language.translated(report.isRestore ? catalogued("Nothing is left to put back.")
                                              : catalogued("Nothing is left to remove."));
}

std::string stayed(const Report& report, const Language& language) {
  const std::size_t count = countOf(report, Outcome::Stayed);
  if (count == 0) return "";
  return report.isRestore
             ? counted(language, count, "{count} item was not put back.", "{count} items were not put back.")
             : counted(language, count, "{count} item stayed.", "{count} items stayed.");
}

std::string lost(const Report& report, const Language& language) {
  const std::size_t count = countOf(report, Outcome::Lost);
  if (count == 0) return "";
  return counted(language, count, "{count} item cannot be found any more.", "{count} items cannot be found any more.");
}

std::string staying(const Report& report, const Language& language) {
  std::string what = both(stayed(report, language), lost(report, language), language);
  if (statusOf(report) != kRightsMissing) return what;
  return both(what, language.translated("More rights are needed; run it as root."), language);
}

std::string going(const Report& report, std::size_t count, const Language& language) {
  return report.isRestore ? counted(language, count, "{count} item would be put back. Nothing has been changed.",
                                    "{count} items would be put back. Nothing has been changed.")
                          : counted(language, count, "{count} item would be removed. Nothing has been changed.",
                                    "{count} items would be removed. Nothing has been changed.");
}

std::string planSummary(const Report& report, const Language& language) {
  const std::size_t count = countOf(report, Outcome::Goes) + countOf(report, Outcome::ComesBack);
  if (count == 0 && report.isRestore && statusOf(report) != kNothingLeft) return staying(report, language);
  if (count == 0) return nothingLeft(report, language);
  const std::string how = report.wantsYes ? language.translated("Use --yes to do it.") : "";
  return both(going(report, count, language), how, language);
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

std::string summaryOf(const Report& report, const Language& language) {
  if (!report.problem.empty()) return forPeople(report.problem, language);
  if (report.isPlan) return planSummary(report, language);
  const bool isLeft = countOf(report, Outcome::Stayed) + countOf(report, Outcome::Lost) > 0;
  return isLeft ? staying(report, language) : nothingLeft(report, language);
}

std::string reportTable(const Report& report) {
  return itemLines(report.items) + runningLines(report.running) + summaryOf(report, uninstaller::language()) + "\n";
}

}  // namespace qm::removal
