#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Uninstaller/RemovalPlan.h"

namespace qm::removal {

/// What becomes of an item.
enum class Outcome {
  Goes,       ///< a plan: it would go
  Trashed,    ///< it is in the Trash
  Removed,    ///< it has been deleted: the maker's folder, with nothing in it
  NotThere,   ///< nothing was there
  Kept,       ///< it was not to go
  Stayed,     ///< it was to go and is still there, or to come back and is still in the Trash
  ComesBack,  ///< a plan to put back: it would come back
  Restored,   ///< it is at its place again
  Lost,       ///< it was to come back, and is neither in the Trash nor at its place
};

struct ReportItem {
  std::optional<std::string> user;  ///< whose it is; null for the computer's
  std::optional<std::string> path;  ///< null where there is no such folder
  std::optional<ItemKind> kind;     ///< of what is there
  std::uint64_t bytes = 0;          ///< of what is there
  Outcome outcome = Outcome::NotThere;
  std::string reason;                    ///< why it is kept or stayed, or on what its going depends; "" otherwise
  bool needsRights = false;              ///< it stayed for want of rights
  std::optional<std::string> trashOf;    ///< whose Trash it is in, or would go to
  std::optional<std::string> trashedTo;  ///< where in the Trash it is; null where it is not there, or that is not known
};

/// It is to be moved and has not been yet.
bool isToBeMoved(const ReportItem& item);

/// A process of the product's that runs.
struct RunningProcess {
  pid_t id = 0;
  std::string user;
};

struct Report {
  bool isRestore = false;        ///< items were to be put back
  bool isPlan = false;           ///< nothing was to be done
  bool wantsYes = false;         ///< a plan because the command line has no yes
  std::string problem;           ///< why nothing was done, one sentence; "" otherwise
  std::optional<int> ownStatus;  ///< the status of that problem
  std::vector<ReportItem> items;
  std::vector<RunningProcess> running;
};

/// Whether anything has been moved or removed.
bool hasChanged(const Report& report);
/// The exit status. Where something stayed for want of rights, those come first: with them there may be no other
/// reason.
int statusOf(const Report& report);

/// The word for an outcome in both forms of the report.
std::string wordFor(Outcome outcome);
/// The whole of the report as one sentence.
std::string summaryOf(const Report& report);

/// For people: a line an item that is there, with its reason, and the summary.
std::string reportTable(const Report& report);
/// For programs: one object, described in docs/fleet.md, with one object for each item.
std::string reportJson(const Report& report);

}  // namespace qm::removal
