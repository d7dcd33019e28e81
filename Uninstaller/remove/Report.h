// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Uninstaller/Language.h"
#include "Uninstaller/RemovalPlan.h"

namespace qm::removal {

/// The result for an item.
enum class Outcome {
  Goes,       ///< a plan: it would be moved
  Trashed,    ///< it is in the Trash
  Removed,    ///< it was deleted: the maker's folder, with nothing in it
  NotThere,   ///< nothing was there
  Kept,       ///< it was not to be moved
  Stayed,     ///< it was to be moved and is still there, or to be put back and is still in the Trash
  ComesBack,  ///< a plan to put back: it would come back
  Restored,   ///< it is at its path again
  Lost,       ///< it was to be put back, and is neither in the Trash nor at its path
};

struct ReportItem {
  std::optional<std::string> user;  ///< its user; null for the computer's
  std::optional<std::string> path;  ///< null if there is no such folder
  std::optional<ItemKind> kind;     ///< of the existing item
  std::uint64_t bytes = 0;          ///< of the existing item
  Outcome outcome = Outcome::NotThere;
  std::string reason;                    ///< why it is kept or stayed, or what its move depends on; "" otherwise
  bool needsRights = false;              ///< it stayed because rights are missing
  std::optional<std::string> trashOf;    ///< whose Trash it is in, or would go to
  std::optional<std::string> trashedTo;  ///< where in the Trash it is; null if it is not there, or that is not known
};

/// Whether it is to be moved and has not been yet.
bool isToBeMoved(const ReportItem& item);

/// A running process of the product.
struct RunningProcess {
  pid_t id = 0;
  std::string user;
};

struct Report {
  bool isRestore = false;        ///< this was a run to put items back
  bool isPlan = false;           ///< nothing was to be changed
  bool wantsYes = false;         ///< a plan because the command line has no --yes
  std::string problem;           ///< why nothing was done, one sentence; "" otherwise
  std::optional<int> ownStatus;  ///< the status of that problem
  std::vector<ReportItem> items;
  std::vector<RunningProcess> running;
};

/// Whether anything has been moved or removed.
bool hasChanged(const Report& report);
/// The exit status. If something stayed because rights are missing, that status has priority, because with these rights
/// nothing else may be in the way.
int statusOf(const Report& report);

/// The word for an outcome, for programs.
std::string wordFor(Outcome outcome);
/// The whole report in one sentence.
std::string summaryOf(const Report& report, const uninstaller::Language& language = uninstaller::english());

/// For people, in their language: a line for each existing item, with its reason, and the summary.
std::string reportTable(const Report& report);
/// For programs, in English: one object, described in docs/fleet.md, with one object for each item.
std::string reportJson(const Report& report);

}  // namespace qm::removal
