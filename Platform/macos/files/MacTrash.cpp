// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cerrno>
#include <mutex>
#include <set>
#include <utility>

#include "Platform/foundation/DateText.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/foundation/Utf8.h"
#include "Platform/macos/MacServices.h"
#include "Platform/macos/SystemCalls.h"
#include "Platform/macos/files/FileRules.h"
#include "Platform/macos/files/TrashParts.h"
#include "Platform/posix/ErrorWords.h"
#include "Platform/posix/FolderListing.h"
#include "Platform/posix/Move.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/rights/HeldPlace.h"
#include "Platform/posix/rights/RightsForPaths.h"
#include "Platform/posix/rights/RootTrash.h"
#include "Platform/posix/rights/SystemRights.h"

namespace qm::macos {
namespace {

using platform::MissingFolders;
using platform::Recycled;
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

class MacTrash final : public platform::Trash {
 public:
  MacTrash(const platform::Users& users, const platform::Clock& clock, platform::Console& console,
           const std::string& product)
      : users_(users), clock_(clock), console_(console), attribute_(product.empty() ? "" : product + ".trashed") {}

  Recycled recycleItems(const std::string& sourceFolder, const std::optional<std::string>& trashDirectory,
                        const std::vector<std::string>& names) override {
    if (!trashDirectory) return {Status::failed(ENOENT, kNoTrash), {}};
    Recycled recycled;
    for (const std::string& name : names) {
      std::string stored;
      recycled.status = recycleOne(foundation::appendingPathComponent(sourceFolder, name), *trashDirectory, stored);
      if (!recycled.status) break;
      recycled.paths.push_back(std::move(stored));
    }
    return recycled;
  }

  TrashedItems itemsFrom(const std::string& origin, const std::optional<std::string>& trashDirectory) override {
    TrashedItems found;
    const std::string wanted = posix::pathWithoutLinks(origin);
    for (const std::string& trash : trashesFor(origin, trashDirectory)) findIn(trash, wanted, found);
    std::ranges::sort(found.items, std::ranges::greater(), &TrashedItem::deletionDate);
    return found;
  }

  Status putBack(const TrashedItem& item, const std::optional<std::string>& trashDirectory,
                 MissingFolders missing) override {
    const std::vector<std::string> trashes = trashesFor(item.origin, trashDirectory);
    const bool isInTrash =
        std::ranges::any_of(trashes, [&](auto& trash) { return posix::isDirectlyIn(trash, item.path); });
    if (!isInTrash) return trashRefusal(EINVAL, kNotInTrash, item.path);
    const posix::RightsForPaths rights(users_, {item.path, item.origin});
    // Both places are held by descriptor, so root may use its own rights even if others could redirect the paths.
    if (!rights.mayUsePlaces()) return trashRefusal(EPERM, kNoRights, item.path);
    return moveBack(item, missing);
  }

  void makeDurable() override {
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

 private:
  /// Root notes nothing on a file that has another name elsewhere, see `obstacleToChanging`.
  bool mayBeNoted(const HeldItem& item) const {
    return !attribute_.empty() && item.item && obstacleToChanging(item.status, users_.realUserId() == 0) == 0;
  }

  /// An item that cannot be opened, or whose volume supports no notes, is moved without a note.
  Status recycleOne(const std::string& path, const std::string& trash, std::string& stored) {
    HeldItem leaving;
    if (const int error = posix::holdItem(path, leaving)) return failureOf(error, leaving.refusal, path);
    const int item = leaving.item.get();
    const std::string date = foundation::isoDate(clock_.localTime(clock_.now()));
    const std::string note = noteText({posix::pathWithoutLinks(path), date});
    const bool isNoted = mayBeNoted(leaving) && writeAttribute(item, attribute_, note) == 0;
    Status status = users_.realUserId() == 0 ? recycleAsRoot(leaving, path, trash, stored) : recycleOwn(path, stored);
    if (!status && isNoted && !mayStillBeMoved(status)) removeAttribute(item, attribute_);
    if (status) wasChanged(leaving.place);
    return status;
  }

  static Status recycleOwn(const std::string& path, std::string& stored) {
    // The frameworks cannot represent a path that is not UTF-8, and would end the program.
    if (!foundation::isUtf8(path)) return trashRefusal(EILSEQ, kNoText, path);
    const TrashAnswer answer = trashItem(path);
    stored = answer.path;
    return answer.done ? Status::success() : trashFailure(answer, path);
  }

  Status recycleAsRoot(const HeldItem& leaving, const std::string& path, const std::string& trash,
                       std::string& stored) const {
    posix::HeldTrash held;
    if (leaving.openError != 0) return trashFailure(leaving.openError, path);
    const int unusable = posix::openTrashOfPerson(users_, trash, held);
    if (unusable != 0 && held.refusal.empty()) return trashFolderFailure(unusable, path, trash);
    const int error = unusable != 0 ? unusable : posix::moveIntoHeldTrash(leaving.place, leaving.status, held, stored);
    return error == 0 ? Status::success() : failureOf(error, held.refusal, path);
  }

  /// The user's own Trash, and the user's Trash on the volume of the path, because the system moves items of that
  /// volume there. Root moves items only into the first, so only that is searched for root.
  std::vector<std::string> trashesFor(const std::string& origin, const std::optional<std::string>& own) const {
    if (!own) return {};
    const unsigned user = users_.realUserId();
    const std::string volume = user == 0 ? std::string() : volumeOfPath(origin);
    if (volume.empty()) return {*own};
    return {*own, foundation::appendingPathComponent(volume, ".Trashes/" + std::to_string(user))};
  }

  void findIn(const std::string& trash, const std::string& origin, TrashedItems& found) const {
    UniqueFd folder;
    std::vector<std::string> names;
    int error = posix::openHeldFolder(trash, folder);
    if (error == 0) error = posix::listFolder(posix::duplicate(folder), names);
    if (error != 0 && error != ENOENT) found.status = trashFailure(error, trash);
    for (const std::string& name : names) {
      const UniqueFd item(posix::openItself(folder.get(), name.c_str()));
      const auto note = item ? parsedNote(readAttribute(item.get(), attribute_)) : std::nullopt;
      if (!note || note->origin != origin) continue;
      found.items.push_back({foundation::appendingPathComponent(trash, name), note->origin, note->deletionDate});
    }
  }

  Status moveBack(const TrashedItem& item, MissingFolders missing) {
    HeldItem leaving;
    posix::Place origin;
    int error = posix::holdItem(item.path, leaving);
    if (error == 0) error = posix::openHeldPlace(item.origin, origin, &leaving.refusal, missing);
    if (error != 0) return failureOf(error, leaving.refusal, item.path);
    if (const auto failed = posix::moveTree(leaving.place, origin)) return trashFailure(failed.code, item.path);
    if (mayBeNoted(leaving)) removeAttribute(leaving.item.get(), attribute_);
    wasChanged(leaving.place);
    wasChanged(origin);
    return Status::success();
  }

  void wasChanged(const posix::Place& place) {
    const std::string volume = volumeOf(place.folder.get());
    const std::scoped_lock lock(mutex_);
    if (!volume.empty()) changed_.insert(volume);
  }

  const platform::Users& users_;
  const platform::Clock& clock_;
  platform::Console& console_;
  const std::string attribute_;  // with an item's note; "" if nothing is noted
  std::mutex mutex_;
  std::set<std::string> changed_;  // guarded by mutex_: volumes that have to be flushed
};

}  // namespace

std::string noteText(const TrashNote& note) { return note.deletionDate + " " + note.origin; }

/// A note is the date, a space and the path.
std::optional<TrashNote> parsedNote(std::string_view text) {
  const std::size_t space = std::min(text.find(' '), text.size());
  const std::string_view date = text.substr(0, space);
  const std::string_view origin = text.substr(std::min(space + 1, text.size()));
  const bool isPlain = origin.starts_with('/') && origin.find('\0') == std::string_view::npos;
  if (!foundation::isIsoDate(date) || !isPlain || foundation::goesUp(origin)) return std::nullopt;
  return TrashNote{std::string(origin), std::string(date)};
}

std::unique_ptr<platform::Trash> makeTrash(const platform::Users& users, const platform::Clock& clock,
                                           platform::Console& console, const std::string& product) {
  return std::make_unique<MacTrash>(users, clock, console, product);
}

}  // namespace qm::macos
