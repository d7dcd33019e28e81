// SPDX-License-Identifier: MIT
#include "Platform/macos/files/MacTrash.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "Platform/foundation/DateText.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/foundation/Utf8.h"
#include "Platform/macos/files/ItemRules.h"
#include "Platform/macos/files/RootTrash.h"
#include "Platform/macos/files/TrashCalls.h"
#include "Platform/macos/files/TrashFailure.h"
#include "Platform/posix/ErrorWords.h"
#include "Platform/posix/FolderListing.h"
#include "Platform/posix/Move.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/rights/RightsForPaths.h"
#include "Platform/posix/rights/SystemRights.h"

namespace qm::macos {
namespace {

using platform::Status;
using platform::TrashedItem;
using platform::TrashedItems;
using posix::HeldItem;
using posix::UniqueFd;

constexpr const char* kNoTrash = "Nobody is logged in whose Trash could be used.";

constexpr const char* kNotInTrash = "it is not in the Trash";
constexpr const char* kNoText = "its path is no text that the system could be told";
constexpr const char* kNoRights = "there is nobody with whose rights that could be done";

constexpr const char* kNotWrittenOut = "Changes may not be on the disk yet: ";

/// Why a step failed: the error of the system's call, or `refusal` if that is not "".
Status failureOf(int error, const std::string& refusal, const std::string& path) {
  return refusal.empty() ? trashFailure(error, path) : trashRefusal(error, refusal, path);
}

/// Whether a tool with administrator rights may move the item after this failure. That tool cannot write the note, so
/// the note must stay.
bool mayStillBeMoved(const Status& status) { return status.code() == EPERM || status.code() == EACCES; }

/// The mount point of the volume that an item at the path is on, or would be on. "" if it cannot be determined.
std::string volumeOfPath(const std::string& path) {
  posix::Place place;
  return posix::openNearestHeldPlace(path, place) == 0 ? volumeOf(place.folder.get()) : std::string();
}

}  // namespace

platform::Recycled MacTrash::recycleItems(const std::string& sourceFolder,
                                          const std::optional<std::string>& trashDirectory,
                                          const std::vector<std::string>& names) {
  platform::Recycled recycled;
  if (!trashDirectory) {
    recycled.status = Status::failed(ENOENT, kNoTrash);
    return recycled;
  }
  for (const std::string& name : names) {
    std::string stored;
    recycled.status = recycleOne(foundation::appendingPathComponent(sourceFolder, name), *trashDirectory, stored);
    if (!recycled.status) break;
    recycled.paths.push_back(std::move(stored));
  }
  return recycled;
}

/// Root notes nothing on a file that has another name elsewhere, see `obstacleToChanging`.
bool MacTrash::mayBeNoted(const HeldItem& item) const {
  return item.item && obstacleToChanging(item.status, users_.realUserId() == 0) == 0;
}

/// An item that cannot be opened, or whose volume supports no notes, is moved without a note.
Status MacTrash::recycleOne(const std::string& path, const std::string& trash, std::string& stored) {
  HeldItem leaving;
  if (const int error = posix::holdItem(path, leaving)) return failureOf(error, leaving.refusal, path);
  const int item = leaving.item.get();
  const std::string date = foundation::isoDate(clock_.localTime(clock_.now()));
  const bool isNoted = mayBeNoted(leaving) && notes_.write(item, {posix::pathWithoutLinks(path), date}) == 0;
  Status status = users_.realUserId() == 0 ? recycleAsRoot(leaving, path, trash, stored) : recycleOwn(path, stored);
  if (!status && isNoted && !mayStillBeMoved(status)) notes_.remove(item);
  if (status) wasChanged(leaving.place);
  return status;
}

Status MacTrash::recycleOwn(const std::string& path, std::string& stored) {
  // The frameworks cannot represent a path that is not UTF-8, and would end the program.
  if (!foundation::isUtf8(path)) return trashRefusal(EILSEQ, kNoText, path);
  const TrashAnswer answer = trashItem(path);
  stored = answer.path;
  return answer.done ? Status::success() : trashFailure(answer, path);
}

Status MacTrash::recycleAsRoot(const HeldItem& leaving, const std::string& path, const std::string& trash,
                               std::string& stored) const {
  HeldTrash held;
  if (leaving.openError != 0) return trashFailure(leaving.openError, path);
  const int unusable = openTrashOfPerson(users_, trash, held);
  if (unusable != 0 && held.refusal.empty()) return trashFolderFailure(unusable, path, trash);
  const int error = unusable != 0 ? unusable : moveIntoHeldTrash(leaving.place, leaving.status, held, stored);
  return error == 0 ? Status::success() : failureOf(error, held.refusal, path);
}

/// The user's own Trash, and the user's Trash on the volume of the path, because the system moves items of that volume
/// there. Root moves items only into the first, so only that is searched for root.
std::vector<std::string> MacTrash::trashesFor(const std::string& origin, const std::optional<std::string>& own) const {
  if (!own) return {};
  const unsigned user = users_.realUserId();
  const std::string volume = user == 0 ? std::string() : volumeOfPath(origin);
  if (volume.empty()) return {*own};
  return {*own, foundation::appendingPathComponent(volume, ".Trashes/" + std::to_string(user))};
}

void MacTrash::findIn(const std::string& trash, const std::string& origin, TrashedItems& found) const {
  UniqueFd folder;
  std::vector<std::string> names;
  int error = posix::openHeldFolder(trash, folder);
  if (error == 0) error = posix::listFolder(posix::duplicate(folder), names);
  if (error != 0 && error != ENOENT) found.status = trashFailure(error, trash);
  for (const std::string& name : names) {
    const UniqueFd item(posix::openItself(folder.get(), name.c_str()));
    const auto note = item ? notes_.read(item.get()) : std::nullopt;
    if (!note || note->origin != origin) continue;
    found.items.push_back({foundation::appendingPathComponent(trash, name), note->origin, note->deletionDate});
  }
}

TrashedItems MacTrash::itemsFrom(const std::string& origin, const std::optional<std::string>& trashDirectory) {
  TrashedItems found;
  const std::string wanted = posix::pathWithoutLinks(origin);
  for (const std::string& trash : trashesFor(origin, trashDirectory)) findIn(trash, wanted, found);
  std::ranges::sort(found.items, std::ranges::greater(), &TrashedItem::deletionDate);
  return found;
}

Status MacTrash::putBack(const TrashedItem& item, const std::optional<std::string>& trashDirectory,
                         platform::MissingFolders missing) {
  const std::vector<std::string> trashes = trashesFor(item.origin, trashDirectory);
  const bool isInTrash =
      std::ranges::any_of(trashes, [&](auto& trash) { return posix::isDirectlyIn(trash, item.path); });
  if (!isInTrash) return trashRefusal(EINVAL, kNotInTrash, item.path);
  const posix::RightsForPaths rights(users_, {item.path, item.origin});
  // Both places are held by descriptor, so root may use its own rights even if others could redirect the paths.
  if (!rights.mayUsePlaces()) return trashRefusal(EPERM, kNoRights, item.path);
  return moveBack(item, missing);
}

Status MacTrash::moveBack(const TrashedItem& item, platform::MissingFolders missing) {
  HeldItem leaving;
  posix::Place origin;
  int error = posix::holdItem(item.path, leaving);
  if (error == 0) error = posix::openHeldPlace(item.origin, origin, &leaving.refusal, missing);
  if (error != 0) return failureOf(error, leaving.refusal, item.path);
  if (const auto failed = posix::moveTree(leaving.place, origin)) return trashFailure(failed.code, item.path);
  if (mayBeNoted(leaving)) notes_.remove(leaving.item.get());
  wasChanged(leaving.place);
  wasChanged(origin);
  return Status::success();
}

void MacTrash::wasChanged(const posix::Place& place) {
  const std::string volume = volumeOf(place.folder.get());
  const std::scoped_lock lock(mutex_);
  if (!volume.empty()) changed_.insert(volume);
}

void MacTrash::makeDurable() {
  std::set<std::string> volumes;
  {
    const std::scoped_lock lock(mutex_);
    std::swap(volumes, changed_);
  }
  for (const std::string& volume : volumes) {
    const int error = writeOut(volume);
    if (error != 0) console_.print(posix::withSystemMessage(kNotWrittenOut + volume, error) + ".");
  }
}

}  // namespace qm::macos
