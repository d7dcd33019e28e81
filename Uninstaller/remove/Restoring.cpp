// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/Restoring.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "Platform/FileSystem.h"
#include "Platform/Platform.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/posix/ErrorWords.h"
#include "Shared/QMLocalPaths.h"
#include "Uninstaller/Language.h"
#include "Uninstaller/RemovalPlan.h"
#include "Uninstaller/remove/MakersFolder.h"

namespace qm::removal {
namespace {

using platform::platform;
using platform::TrashedItem;
using uninstaller::catalogued;

constexpr const char* kRootsName = "root";
constexpr const char* kSomethingIsThere = catalogued("Something else is there now.");
constexpr const char* kNotInTrash = catalogued("It is not in the Trash any more.");
constexpr const char* kNoItem = catalogued("No item of Tessaly belongs there.");
constexpr const char* kClosedToPerson =
    catalogued("It is in the Trash of a user who may not write to the folder that it came from.");
constexpr const char* kNoFolder = catalogued("Its folder couldn’t be created again.");
constexpr const char* kOtherAccount =
    catalogued("It is in the Trash of an account that no longer exists. Another account may have that name now.");
constexpr const char* kOthersTrash = catalogued("It was in a user’s Trash, and that user may have changed it.");

/// Even a dangling link counts as something.
bool isTaken(const std::string& path) { return platform().fileSystem->attributesOfItem(path).has_value(); }

bool isMissingRights(int code) {
  const auto error = static_cast<std::errc>(code);
  return error == std::errc::permission_denied || error == std::errc::operation_not_permitted;
}

bool mayPutAt(const posix::UserRecord& person, std::string path) {
  const posix::FileSystemIdentity identity = posix::identityOf(person);
  const posix::FileSystemUser acting(&identity);
  int error = ENOENT;
  while (error == ENOENT && path.size() > 1) {
    path = foundation::deletingLastPathComponent(path);
    error = ::faccessat(AT_FDCWD, path.c_str(), W_OK | X_OK, AT_EACCESS) == 0 ? 0 : errno;
  }
  return acting.ok() && error == 0;
}

}  // namespace

Restoring::Persons systemPersons() { return {posix::userWithName, mayPutAt}; }

Restoring::Restoring(WorkingFor& users, RunRecordFile& memory, std::vector<RunRecord> runs, Persons persons)
    : users_(users), memory_(memory), runs_(std::move(runs)), persons_(std::move(persons)) {}

void Restoring::look() {
  const auto found = std::find_if(runs_.rbegin(), runs_.rend(), [this](const auto& run) { return isOfUse(run); });
  if (found == runs_.rend()) return;
  run_ = *found;
  lookAtFolder();
  for (std::size_t index = 0; index < run_.items.size(); ++index) lookAt(index, run_.items[index]);
}

/// A run that was interrupted right after its first move has not recorded that move, so the Trash is searched as well.
bool Restoring::isOfUse(const RunRecord& run) const {
  return run.hasChanged() || std::ranges::any_of(run.items, [&](const RememberedItem& item) {
           std::string unused;
           return !isTaken(item.path) && find(item, run, &unused).has_value();
         });
}

/// The folder is the first item, because it must be created again before its contents are put back.
void Restoring::lookAtFolder() {
  if (!run_.folder) return;
  hasFolder_ = true;
  ReportItem shown;
  shown.path = run_.folder->path;
  shown.kind = ItemKind::Folder;
  if (!isTaken(run_.folder->path)) shown.outcome = Outcome::ComesBack;
  add(std::move(shown));
}

void Restoring::lookAt(std::size_t index, const RememberedItem& item) {
  std::string problem;
  const Part part{index, item, item.isBack ? std::nullopt : find(item, run_, &problem)};
  ReportItem shown = shownFor(part);
  if (!part.stored && !problem.empty() && !item.isBack) {
    shown.outcome = Outcome::Stayed;
    shown.reason = problem;
  }
  parts_.push_back(part);
  add(std::move(shown));
}

ReportItem Restoring::shownFor(const Part& part) const {
  ReportItem shown;
  shown.user = part.item.user;
  shown.path = part.item.path;
  if (part.stored) {
    shown.trashOf = part.item.trashOf;
    shown.trashedTo = part.stored->path;
    measureInTrash(part, shown);
    shown.reason = isTaken(part.item.path) ? kSomethingIsThere : obstacle(part.item);
    shown.outcome = shown.reason.empty() ? Outcome::ComesBack : Outcome::Stayed;
  } else if (part.item.went && !part.item.isBack) {
    shown.reason = kNotInTrash;
    shown.outcome = isTaken(part.item.path) ? Outcome::NotThere : Outcome::Lost;
  }
  return shown;
}

std::string Restoring::obstacle(const RememberedItem& item) const {
  if (!isOfProduct(item)) return kNoItem;
  return users_.realUserId() == 0 ? obstacleForRoot(item) : "";
}

/// If a folder is closed to the user, restoring a file there could undo a restriction that root has set for that user.
std::string Restoring::obstacleForRoot(const RememberedItem& item) const {
  if (!item.user) return item.trashOf == kRootsName ? "" : kOthersTrash;
  const auto owner = persons_.named(item.trashOf);
  if (!owner || owner->id != item.trashOwner) return kOtherAccount;
  return persons_.mayPutAt(*owner, item.path) ? "" : kClosedToPerson;
}

/// Whatever the record says, only the product's own items are put back, each to its path.
bool Restoring::isOfProduct(const RememberedItem& item) const {
  users_.workFor(item.trashOf);
  return std::ranges::any_of(kProductItems, [&](const ProductItem& each) {
    return (each.owner == ItemOwner::User) == item.user.has_value() && itemPath(each) == item.path;
  });
}

std::optional<TrashedItem> Restoring::find(const RememberedItem& item, const RunRecord& run,
                                           std::string* problem) const {
  users_.workFor(item.trashOf);
  const auto listed = platform().trash->itemsFrom(item.path, QMLocalPaths::trashDirectory());
  const auto isIt = [&](const TrashedItem& found) {
    return item.trashedTo.empty() ? found.deletionDate >= run.began : found.path == item.trashedTo;
  };
  const auto found = std::ranges::find_if(listed.items, isIt);
  if (found != listed.items.end()) return *found;
  *problem = listed.status.localizedDescription();
  return std::nullopt;
}

void Restoring::measureInTrash(const Part& part, ReportItem& shown) const {
  PlannedItem measured;
  measured.path = part.stored->path;
  const auto owner = users_.realUserId() == 0 ? persons_.named(part.item.trashOf) : std::nullopt;
  if (owner) {
    users_.measureWithRightsOf(*owner, measured);
  } else {
    measure(measured);
  }
  shown.kind = measured.kind;
  shown.bytes = measured.bytes;
}

void Restoring::run(const std::function<bool()>& timeIsUp, const Progress& progress) {
  static_cast<void>(memory_.resume());
  const std::size_t first = hasFolder_ ? 1 : 0;
  runThrough(timeIsUp, progress,
             [&](std::size_t position) { position < first ? makeFolder(position) : putBack(position); });
  end();
}

void Restoring::makeFolder(std::size_t position) {
  ReportItem shown = item(position);
  const int error = makeAgain(*run_.folder);
  shown.outcome = error == 0 ? Outcome::Restored : Outcome::Stayed;
  if (error != 0) shown.reason = posix::withSystemMessage("It couldn’t be created again", error) + ".";
  shown.needsRights = users_.realUserId() != 0 && isMissingRights(error);
  set(position, shown);
}

void Restoring::putBack(std::size_t position) {
  const Part& part = parts_[position - (hasFolder_ ? 1 : 0)];
  ReportItem shown = item(position);
  if (isInFolder(shown) && item(0).outcome == Outcome::Stayed) {
    shown.outcome = Outcome::Stayed;
    shown.reason = kNoFolder;
    shown.needsRights = item(0).needsRights;
    return set(position, shown);
  }
  users_.workFor(part.item.trashOf);
  const platform::Status status =
      platform().trash->putBack(*part.stored, QMLocalPaths::trashDirectory(), platform::MissingFolders::AreMade);
  shown.outcome = status ? Outcome::Restored : Outcome::Stayed;
  shown.reason = status.localizedDescription();
  shown.needsRights = users_.realUserId() != 0 && isMissingRights(status.code());
  if (status) {
    shown.trashOf = std::nullopt;
    shown.trashedTo = std::nullopt;
    memory_.add(backLine(part.index));
  }
  set(position, shown);
}

/// Whether an item belongs in the maker's folder. Such an item stays in the Trash if that folder cannot be created as
/// it was: otherwise the folder would be created like any missing one.
bool Restoring::isInFolder(const ReportItem& item) const {
  return hasFolder_ && item.path && item.path->starts_with(run_.folder->path + "/");
}

/// If a run is interrupted before this, the next one does it.
void Restoring::end() {
  const auto isLeft = [](const ReportItem& item) {
    return item.outcome == Outcome::Stayed || item.outcome == Outcome::Lost;
  };
  const auto all = items();
  const bool isWhole =
      std::ranges::none_of(all, [&](const ReportItem& item) { return isInFolder(item) && isLeft(item); });
  const bool isFinished = !hasFolder_ || !isWhole || finish(*run_.folder) == 0;
  platform().trash->makeDurable();
  isFinished&& std::ranges::none_of(all, isLeft) ? memory_.forget() : memory_.flush();
}

}  // namespace qm::removal
