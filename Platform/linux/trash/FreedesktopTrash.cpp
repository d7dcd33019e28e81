// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/FreedesktopTrash.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "Platform/foundation/DateText.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/trash/MoveToTrash.h"
#include "Platform/linux/trash/PutBack.h"
#include "Platform/linux/trash/RootMove.h"
#include "Platform/linux/trash/TrashMending.h"

namespace qm::linux_ {
namespace {

using platform::Status;

// Finding the user takes longer than moving a file, so the result is reused for this long.
constexpr std::chrono::seconds kAnswersStand{1};

std::optional<std::string> environmentDataHome() {
  // Nothing in this program changes the environment.
  const char* value = std::getenv("XDG_DATA_HOME");  // NOLINT(concurrency-mt-unsafe)
  return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

bool isAbsolutePath(const std::string& path) { return path.starts_with('/') && path.find('\0') == std::string::npos; }

// Within the home the link is relative, so that it stays valid if the home is moved.
std::string linkTarget(const std::string& trashDirectory, const TrashUser& user, const TrashDirectory& home) {
  const bool beside = !user.dataHome && foundation::deletingLastPathComponent(trashDirectory) == user.home;
  return beside ? ".local/share/Trash/files" : home.path + "/files";
}

// A convenience: its failure does not affect the item. What is there already is not replaced.
void makeLink(const std::string& trashDirectory, const std::string& target) {
  [[maybe_unused]] const int ignored = ::symlink(target.c_str(), trashDirectory.c_str());
}

bool isTrashItself(const SourceFolder& source, const std::string& name, const std::string& trashDirectory) {
  if (name != foundation::lastPathComponent(trashDirectory)) return false;
  const std::optional<ItemIdentity> item = itemIdentity(source.fd.get(), name.c_str());
  const std::optional<ItemIdentity> trash = itemIdentity(AT_FDCWD, trashDirectory.c_str());
  return item && trash && item->sameItem(*trash);
}

void add(std::vector<platform::TrashedItem>& items, const TrashDirectory& trash, const std::vector<StoredItem>& found) {
  for (const StoredItem& item : found) items.push_back({pathOf(trash, item), item.origin, item.deletionDate});
}

// The items of one Trash are already sorted.
void sortNewestFirst(std::vector<platform::TrashedItem>& items) {
  const auto isNewer = [](const auto& one, const auto& other) { return one.deletionDate > other.deletionDate; };
  std::stable_sort(items.begin(), items.end(), isNewer);
}

// The Trash that contains an item, among the candidates.
SharedTrashDirectory trashOf(const platform::TrashedItem& item, const std::vector<SharedTrashDirectory>& trashes) {
  const std::string folder = foundation::deletingLastPathComponent(item.path);
  const auto holds = [&](const SharedTrashDirectory& trash) { return trash->path + "/files" == folder; };
  const auto found = std::find_if(trashes.begin(), trashes.end(), holds);
  return found == trashes.end() ? nullptr : *found;
}

TrashProblem goneFromTrash() { return {ENOENT, "it is not in the Trash any more"}; }

Status itemRefused(const std::string& name) { return trashFailure(name, {EINVAL, "it is the Trash itself"}); }

}  // namespace

FreedesktopTrash::FreedesktopTrash(const platform::Users& users, const platform::Clock& clock,
                                   std::string_view workFolderPrefix)
    : users_(users), clock_(clock), dataHome_(environmentDataHome()), workFolderPrefix_(workFolderPrefix) {}

platform::Recycled FreedesktopTrash::recycleItems(const std::string& sourceFolder,
                                                  const std::optional<std::string>& trashDirectory,
                                                  const std::vector<std::string>& names) {
  const auto failed = [&](const TrashProblem& problem) {
    return platform::Recycled{trashFailure(names.empty() ? sourceFolder : names.front(), problem), {}};
  };
  TrashAnswer<SharedUser> user = userFor(trashDirectory);
  if (!user) return failed(user.problem());
  TrashAnswer<SourceFolder> source = openSourceFolder(sourceFolder, **user);
  if (!source) return failed(source.problem());

  if ((*user)->forAnother) mendRootMoves(**user);
  FileSystemUser acting((*user)->forAnother ? &(*user)->identity : nullptr);
  if (!acting.ok()) return failed(itemProblem(EPERM));
  OpenedTrash home = finder_.homeTrash(**user);
  if (home) showTrash(*trashDirectory, **user, **home);
  OpenedTrash trash = TrashFinder::trashFor(*source, **user, home, acting);
  if (!trash) return failed(trash.problem());

  platform::Recycled recycled;
  for (const std::string& name : names) {
    recycled.status = recycleOne(*source, name, *trashDirectory, *trash, acting, recycled.paths);
    if (!recycled.status) break;
  }
  return recycled;
}

Status FreedesktopTrash::recycleOne(const SourceFolder& source, const std::string& name,
                                    const std::string& trashDirectory, const SharedTrashDirectory& trash,
                                    FileSystemUser& acting, std::vector<std::string>& paths) {
  if (isTrashItself(source, name, trashDirectory)) return itemRefused(name);
  std::string stored;
  const auto problem = moveToTrash(source, name, trash, deletionDate(), acting, volumes_, &stored);
  if (problem) return trashFailure(name, *problem);
  unflushed_.add(*trash);
  paths.push_back(trash->path + "/files/" + stored);
  return Status::success();
}

platform::TrashedItems FreedesktopTrash::itemsFrom(const std::string& origin,
                                                   const std::optional<std::string>& trashDirectory) {
  platform::TrashedItems result;
  const auto note = [&](const TrashProblem& problem) {
    if (result.status.ok()) result.status = lookFailure(foundation::lastPathComponent(origin), problem);
  };
  TrashAnswer<SharedUser> user = userFor(trashDirectory);
  TrashAnswer<TrashesOfPath> found = user ? trashesFor(origin, **user) : user.problem();
  if (!found) return note(found.problem()), result;
  if (found->problem) note(*found->problem);
  const FileSystemUser acting((*user)->forAnother ? &(*user)->identity : nullptr);
  if (!acting.ok()) return note(itemProblem(EPERM)), result;
  for (const SharedTrashDirectory& trash : found->trashes) {
    TrashAnswer<std::vector<StoredItem>> items = storedItemsFrom(*trash, found->path);
    if (!items) note(items.problem());
    if (items) add(result.items, *trash, *items);
  }
  sortNewestFirst(result.items);
  return result;
}

Status FreedesktopTrash::putBack(const platform::TrashedItem& item, const std::optional<std::string>& trashDirectory,
                                 platform::MissingFolders missing) {
  const auto failed = [&](const TrashProblem& problem) {
    return putBackFailure(foundation::lastPathComponent(item.origin), problem);
  };
  TrashAnswer<SharedUser> user = userFor(trashDirectory);
  TrashAnswer<TrashesOfPath> found = user ? trashesFor(item.origin, **user) : user.problem();
  if (!found) return failed(found.problem());
  const SharedTrashDirectory trash = trashOf(item, found->trashes);
  if (!trash) return failed(found->problem.value_or(goneFromTrash()));

  FileSystemUser acting((*user)->forAnother ? &(*user)->identity : nullptr);
  if (!acting.ok()) return failed(itemProblem(EPERM));
  const std::optional<StoredItem> stored = storedItem(*trash, foundation::lastPathComponent(item.path));
  if (!stored || stored->origin != item.origin || stored->deletionDate != item.deletionDate) {
    return failed(goneFromTrash());
  }
  acting.leave();
  TrashAnswer<PutBackPlace> place = openPutBackPlace(item.origin, **user, missing);
  if (!place) return failed(place.problem());
  acting.enter();
  if (!acting.ok()) return failed(itemProblem(EPERM));
  const auto problem = linux_::putBack(*trash, *stored, *place, **user, acting, volumes_);
  if (problem) return failed(*problem);
  unflushed_.add(*trash);
  return Status::success();
}

// As root, interrupted moves are mended first, so that no item is missing in the Trash.
TrashAnswer<TrashesOfPath> FreedesktopTrash::trashesFor(const std::string& origin, const TrashUser& user) {
  const std::string name = foundation::lastPathComponent(origin);
  if (!isAbsolutePath(origin) || name == "/" || name == "." || name == "..") {
    return TrashProblem{EINVAL, "that is not the place of an item"};
  }
  TrashesOfPath found = trashesOfPath(origin, user, finder_);
  for (const SharedTrashDirectory& trash : found.trashes) {
    if (!user.forAnother) continue;
    mendRootMoves(*trash, user);
    mendPutBacks(*trash, user.identity);
  }
  return found;
}

TrashAnswer<FreedesktopTrash::SharedUser> FreedesktopTrash::userFor(const std::optional<std::string>& trashDirectory) {
  if (!trashDirectory) return TrashProblem{ENOENT, "nobody is logged in"};
  if (!isAbsolutePath(*trashDirectory)) return TrashProblem{EINVAL, "the place of the Trash is not known"};
  return userOf(*trashDirectory);
}

TrashAnswer<FreedesktopTrash::SharedUser> FreedesktopTrash::userOf(const std::string& trashDirectory) {
  const KnownUser asked{users_.realUserId(), trashDirectory, clock_.monotonicNow(), nullptr};
  if (SharedUser known = knownUser(asked)) return known;
  TrashAnswer<TrashUser> user = findTrashUser(users_, dataHome_, workFolderPrefix_);
  if (!user) return user.problem();
  auto shared = std::make_shared<const TrashUser>(std::move(*user));
  const std::scoped_lock lock(mutex_);
  knownUser_ = asked;
  knownUser_.user = shared;
  return shared;
}

FreedesktopTrash::SharedUser FreedesktopTrash::knownUser(const KnownUser& asked) {
  const std::scoped_lock lock(mutex_);
  const bool stands = knownUser_.realUserId == asked.realUserId && knownUser_.trashDirectory == asked.trashDirectory &&
                      asked.since - knownUser_.since < kAnswersStand;
  return stands ? knownUser_.user : nullptr;
}

void FreedesktopTrash::showTrash(const std::string& trashDirectory, const TrashUser& user, const TrashDirectory& home) {
  const auto now = clock_.monotonicNow();
  {
    const std::scoped_lock lock(mutex_);
    if (knownLink_.trashDirectory == trashDirectory && now - knownLink_.since < kAnswersStand) return;
    knownLink_ = {trashDirectory, now};
  }
  makeLink(trashDirectory, linkTarget(trashDirectory, user, home));
}

std::string FreedesktopTrash::deletionDate() {
  const auto second = std::chrono::floor<std::chrono::seconds>(clock_.now());
  const std::scoped_lock lock(mutex_);
  if (knownDate_.text.empty() || knownDate_.second != second) {
    knownDate_ = {second, foundation::isoDate(clock_.localTime(second))};
  }
  return knownDate_.text;
}

}  // namespace qm::linux_
