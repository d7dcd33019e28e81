// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/Removal.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "Platform/AuthorizationServices.h"
#include "Platform/Clock.h"
#include "Platform/FileSystem.h"
#include "Platform/Platform.h"
#include "Platform/Trash.h"
#include "Platform/foundation/DateText.h"
#include "Shared/QMFileManager.h"
#include "Uninstaller/Language.h"
#include "Uninstaller/RemovalDetails.h"
#include "Uninstaller/remove/LaunchAgents.h"
#include "Uninstaller/remove/MakersFolder.h"

namespace qm::removal {
namespace {

using platform::platform;
using posix::UserRecord;
using uninstaller::catalogued;

constexpr std::chrono::seconds kFolderLimit(10);
constexpr std::chrono::milliseconds kPollPause(100);

constexpr const char* kDependsOnContents = catalogued("It is removed if nothing else is in it.");
constexpr const char* kHoldsOthers = catalogued("Something is in it.");
constexpr const char* kNotRemoved = catalogued("It couldn’t be removed.");

std::string skipText(SkipReason reason) {
  switch (reason) {
    case SkipReason::PreferencesStay:
      return catalogued("Preferences are moved only with --preferences.");
    case SkipReason::InReleaseFolder:
      return catalogued("It is in a folder named \"Release\".");
    case SkipReason::InStructureFolder:
      return catalogued("It is below a folder \"Structure/Applications\".");
    case SkipReason::InTrash:
      return catalogued("It is in the Trash already.");
    case SkipReason::None:
    case SkipReason::NoFolder:
    case SkipReason::NotThere:
      break;
  }
  return "";
}

bool isThere(const std::optional<std::string>& path) { return path && platform().fileSystem->fileExists(*path); }

Outcome plannedOutcome(const PlannedItem& item) {
  if (item.skip == SkipReason::None) return Outcome::Goes;
  return isThere(item.path) ? Outcome::Kept : Outcome::NotThere;
}

Outcome outcomeOf(const ItemResult& result) {
  switch (result.outcome) {
    case ItemOutcome::Trashed:
      return Outcome::Trashed;
    case ItemOutcome::Gone:
      return Outcome::NotThere;
    case ItemOutcome::Skipped:
      return Outcome::Kept;
    case ItemOutcome::Stayed:
      break;
  }
  return Outcome::Stayed;
}

std::string reasonOf(const ItemResult& result) {
  if (result.outcome == ItemOutcome::Skipped) return skipText(result.planned.skip);
  return result.outcome == ItemOutcome::Stayed ? reasonToStay(result) : "";
}

/// A removal by the helper is reported as done as soon as the helper has started, so this waits until the folder is
/// gone.
bool isGoneInTime(const std::string& folder) {
  const auto& clock = *platform().clock;
  const auto end = clock.monotonicNow() + kFolderLimit;
  while (isThere(folder) && clock.monotonicNow() < end) platform().clock->sleep(kPollPause);
  return !isThere(folder);
}

}  // namespace

Removal::Removal(WorkingFor& users, RemovalObserver& observer, Concerned concerned, RemoveConfig removeConfig,
                 std::string launchControlTool)
    : users_(users),
      observer_(observer),
      concerned_(std::move(concerned)),
      removeConfig_(removeConfig),
      launchControlTool_(std::move(launchControlTool)) {}

void Removal::look() {
  for (const ProductItem& item : kProductItems) {
    if (item.owner == ItemOwner::Computer) lookAt(item, std::nullopt, concerned_.systemTrashOf);
  }
  for (const UserRecord& person : concerned_.persons) {
    for (const ProductItem& item : kProductItems) {
      if (item.owner == ItemOwner::User) lookAt(item, person, person.name);
    }
  }
  lookAtMakersFolder();
}

void Removal::lookAt(const ProductItem& item, const std::optional<UserRecord>& person, const std::string& trashOf) {
  users_.workFor(trashOf);
  PlannedItem planned = plannedItem(item, removeConfig_);
  ReportItem shown;
  if (person) shown.user = person->name;
  shown.path = planned.path;
  shown.outcome = plannedOutcome(planned);
  if (shown.outcome == Outcome::Kept) shown.reason = skipText(planned.skip);
  if (shown.outcome == Outcome::Goes) shown.trashOf = trashOf;
  if (shown.outcome != Outcome::NotThere) {
    if (person) {
      users_.measureWithRightsOf(*person, planned);
    } else {
      measure(planned);
    }
    shown.kind = planned.kind;
    shown.bytes = planned.bytes;
  }
  parts_.push_back({std::move(planned), person, trashOf, std::nullopt});
  add(std::move(shown));
}

void Removal::lookAtMakersFolder() {
  makersFolder_ = makersFolderPath();
  ReportItem shown;
  shown.path = makersFolder_;
  if (isThere(makersFolder_)) {
    const bool isEmpty = QMFileManager::isFolderEmpty(*makersFolder_);
    const bool empties = std::ranges::any_of(parts_, [&](const Part& part) {
      return part.planned.skip == SkipReason::None && part.planned.path->starts_with(*makersFolder_ + "/");
    });
    shown.kind = ItemKind::Folder;
    shown.outcome = isEmpty || empties ? Outcome::Goes : Outcome::Kept;
    if (!isEmpty) shown.reason = empties ? kDependsOnContents : kHoldsOthers;
  }
  add(std::move(shown));
}

void Removal::run(const std::function<bool()>& timeIsUp, const Progress& progress) {
  runThrough(timeIsUp, progress,
             [this](std::size_t index) { index < parts_.size() ? move(index) : removeMakersFolder(); });
  platform().trash->makeDurable();
  platform().authorizationServices->releaseRights();
  if (memory_ != nullptr) memory_->flush();
}

void Removal::move(std::size_t index) {
  const Part& part = parts_[index];
  users_.workFor(part.trashOf);
  bootOut(launchControlTool_, part.planned.path.value_or(""), part.person ? part.person->id : users_.realUserId());
  ItemResult result = RemovalRun(&observer_).trash(part.planned);
  findInTrash(result);
  ReportItem shown = item(index);
  shown.outcome = outcomeOf(result);
  shown.needsRights = stayedWithoutRights(result);
  shown.reason = reasonOf(result);
  if (shown.outcome != Outcome::Trashed) shown.trashOf = std::nullopt;
  if (shown.outcome == Outcome::Trashed) {
    if (!result.trashedTo.empty()) shown.trashedTo = result.trashedTo;
    if (part.remembered) remember(wentLine(*part.remembered, result.trashedTo));
  }
  set(index, shown);
}

void Removal::removeMakersFolder() {
  users_.workFor(concerned_.systemTrashOf);
  ReportItem shown = item(parts_.size());
  shown.reason.clear();
  if (!isThere(makersFolder_)) {
    shown.outcome = Outcome::NotThere;
  } else if (!QMFileManager::isFolderEmpty(*makersFolder_)) {
    shown.outcome = Outcome::Kept;
    shown.reason = kHoldsOthers;
  } else {
    observer_.begin();
    const bool begun = QMFileManager::removeFolderIfEmpty(*makersFolder_);
    const bool isGone = begun && isGoneInTime(*makersFolder_);
    shown.needsRights = !isGone && observer_.observations().rightsRefused;
    shown.outcome = isGone ? Outcome::Removed : Outcome::Stayed;
    if (isGone) remember(folderWentLine());
    if (!isGone) shown.reason = shown.needsRights ? std::string("Not authorized: ") + kNotRemoved : kNotRemoved;
  }
  set(parts_.size(), shown);
}

std::optional<RunRecord> Removal::toRemember() {
  RunRecord run;
  run.began = foundation::isoDate(platform().clock->localTime(platform().clock->now()));
  for (std::size_t index = 0; index < parts_.size(); ++index) {
    if (!isToBeMoved(item(index))) continue;
    parts_[index].remembered = run.items.size();
    run.items.push_back(rememberedItem(parts_[index]));
  }
  // Recorded even if the folder stays, because its time changes with what is removed from it.
  const int error = makersFolder_ ? qm::removal::lookAt(*makersFolder_, run.folder) : 0;
  if (error != 0 && isToBeMoved(item(parts_.size()))) return std::nullopt;
  return run;
}

RememberedItem Removal::rememberedItem(const Part& part) const {
  RememberedItem item;
  if (part.person) item.user = part.person->name;
  item.path = part.planned.path.value_or("");
  item.trashOf = part.trashOf;
  // The computer's items go to the caller's own Trash.
  item.trashOwner = part.person ? part.person->id : users_.realUserId();
  return item;
}

void Removal::remember(const std::string& line) const {
  if (memory_ != nullptr) memory_->add(line);
}

}  // namespace qm::removal
