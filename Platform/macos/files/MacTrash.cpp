// SPDX-License-Identifier: MIT
#include "Platform/macos/files/MacTrash.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "Platform/foundation/DateText.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/foundation/Utf8.h"
#include "Platform/macos/files/HeldPlace.h"
#include "Platform/macos/files/RootTrash.h"
#include "Platform/macos/files/TrashCalls.h"
#include "Platform/macos/files/TrashFailure.h"
#include "Platform/posix/FolderListing.h"
#include "Platform/posix/MakeFolders.h"
#include "Platform/posix/Move.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/rights/RightsForPaths.h"
#include "Platform/posix/rights/SystemRights.h"

namespace qm::macos {
namespace {

using platform::Status;
using platform::TrashedItem;
using platform::TrashedItems;
using posix::UniqueFd;

constexpr const char* kNobody = "Nobody is logged in whose Trash could be used.";

constexpr const char* kNoText = "its path is no text that the system could be told";
constexpr const char* kNoRights = "there is nobody with whose rights that could be done";

/// Why a step failed; `refusal` is "" where the system's call did.
Status failureOf(int error, const std::string& refusal, const std::string& path) {
  return refusal.empty() ? trashFailure(error, path) : trashRefusal(error, refusal, path);
}

/// Tools with administrator rights may move the item after such a refusal, and cannot write the note.
bool mayStillBeMoved(const Status& status) { return status.code() == EPERM || status.code() == EACCES; }

/// The path with no link on the way; as it is where its folder is missing.
std::string withoutLinks(const std::string& path) {
  posix::Place place;
  if (openHeldPlace(path, place) != 0) return path;
  const std::string folder = posix::shownPath(place.folder.get());
  return folder.empty() ? path : foundation::appendingPathComponent(folder, place.name);
}

UniqueFd openTrash(const std::string& path) {
  posix::Place place;
  if (const int error = openHeldPlace(path, place)) {
    errno = error;
    return UniqueFd();
  }
  return UniqueFd(::openat(place.folder.get(), place.name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

int moveBack(const TrashedItem& item, platform::MissingFolders missing) {
  if (missing == platform::MissingFolders::AreMade) {
    if (const int error = posix::makeFolders(foundation::deletingLastPathComponent(item.origin))) return error;
  }
  return posix::moveTree(item.path, item.origin).code;
}

}  // namespace

platform::Recycled MacTrash::recycleItems(const std::string& sourceFolder,
                                          const std::optional<std::string>& trashDirectory,
                                          const std::vector<std::string>& names) {
  platform::Recycled recycled;
  if (!trashDirectory) {
    recycled.status = Status::failed(ENOENT, kNobody);
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

int MacTrash::hold(const std::string& path, Leaving& leaving) const {
  leaving.path = path;
  if (const int error = openHeldPlace(path, leaving.place, &leaving.refusal)) return error;
  leaving.item.reset(posix::openItself(leaving.place.folder.get(), leaving.place.name.c_str()));
  leaving.openError = leaving.item ? 0 : errno;
  return 0;
}

/// What cannot be opened, or takes no note, goes without one.
Status MacTrash::recycleOne(const std::string& path, const std::string& trash, std::string& stored) {
  Leaving leaving;
  if (const int error = hold(path, leaving)) return failureOf(error, leaving.refusal, path);
  const int item = leaving.item.get();
  const std::string date = foundation::isoDate(clock_.localTime(clock_.now()));
  const bool isNoted = leaving.item && notes_.write(item, {withoutLinks(path), date}) == 0;
  Status status = users_.realUserId() == 0 ? recycleAsRoot(leaving, trash, stored) : recycleOwn(leaving, stored);
  if (!status && isNoted && !mayStillBeMoved(status)) notes_.remove(item);
  if (status) wasChanged(foundation::deletingLastPathComponent(stored));
  return status;
}

Status MacTrash::recycleOwn(const Leaving& leaving, std::string& stored) const {
  // The frameworks have no name for other bytes, and end the program.
  if (!foundation::isUtf8(leaving.path)) return trashRefusal(EILSEQ, kNoText, leaving.path);
  const TrashAnswer answer = trashItem(leaving.path);
  stored = answer.path;
  return answer.done ? Status::success() : trashFailure(answer, leaving.path);
}

Status MacTrash::recycleAsRoot(const Leaving& leaving, const std::string& trash, std::string& stored) const {
  HeldTrash held;
  int error = leaving.item ? openTrashOfPerson(users_, trash, held) : leaving.openError;
  if (error == 0) {
    const posix::Place& place = leaving.place;
    error = moveIntoHeldTrash(place.folder.get(), place.name, leaving.item.get(), held, stored);
  }
  return error == 0 ? Status::success() : failureOf(error, held.refusal, leaving.path);
}

TrashedItems MacTrash::itemsFrom(const std::string& origin, const std::optional<std::string>& trashDirectory) {
  TrashedItems found;
  if (!trashDirectory) return found;
  const UniqueFd trash = openTrash(*trashDirectory);
  std::vector<std::string> names;
  const int error = trash ? posix::listFolder(posix::duplicate(trash), names) : errno;
  if (error != 0 && error != ENOENT) found.status = trashFailure(error, *trashDirectory);
  const std::string wanted = withoutLinks(origin);
  for (const std::string& name : names) {
    const UniqueFd item(posix::openItself(trash.get(), name.c_str()));
    const auto note = item ? notes_.read(item.get()) : std::nullopt;
    if (!note || note->origin != wanted) continue;
    found.items.push_back(
        {foundation::appendingPathComponent(*trashDirectory, name), note->origin, note->deletionDate});
  }
  std::ranges::sort(found.items, std::ranges::greater(), &TrashedItem::deletionDate);
  return found;
}

Status MacTrash::putBack(const TrashedItem& item, const std::optional<std::string>& trashDirectory,
                         platform::MissingFolders missing) {
  const bool isInTrash = trashDirectory && foundation::isAtOrBelow(item.path, *trashDirectory);
  if (!isInTrash) return trashRefusal(EINVAL, "it is not in the Trash", item.path);
  const posix::RightsForPaths rights(users_, {item.path, item.origin});
  if (!rights.ok()) return trashRefusal(EPERM, kNoRights, item.path);
  Leaving leaving;
  if (const int error = hold(item.path, leaving)) return failureOf(error, leaving.refusal, item.path);
  if (const int error = moveBack(item, missing)) return trashFailure(error, item.path);
  if (leaving.item) notes_.remove(leaving.item.get());
  wasChanged(foundation::deletingLastPathComponent(item.origin));
  return Status::success();
}

void MacTrash::wasChanged(const std::string& folder) {
  const std::scoped_lock lock(mutex_);
  changed_.insert(folder);
}

void MacTrash::makeDurable() {
  std::set<std::string> folders;
  {
    const std::scoped_lock lock(mutex_);
    std::swap(folders, changed_);
  }
  for (const std::string& folder : folders) {
    const UniqueFd opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened) static_cast<void>(posix::flushVolume(opened.get()));
  }
}

}  // namespace qm::macos
