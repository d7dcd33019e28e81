// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/TrashMending.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>

#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/rights/PathWalk.h"
#include "Platform/linux/trash/Handover.h"
#include "Platform/linux/trash/InfoFile.h"
#include "Platform/linux/trash/TrashInfo.h"
#include "Platform/linux/trash/TrashName.h"
#include "Platform/linux/trash/WorkFolder.h"
#include "Platform/posix/RenameWithoutReplacing.h"
#include "Platform/posix/TreeRemoval.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

// Whether the description is this move's own. Somebody may have created a description of the same name. An interrupted
// process may have written only the beginning of its description.
bool holdsBeginningOf(const std::string& text, int folder, const std::string& name) {
  const UniqueFd file(::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  std::string found(text.size() + 1, '\0');
  const ssize_t got = file ? ::read(file.get(), found.data(), found.size()) : -1;
  return got >= 0 && text.starts_with(found.substr(0, static_cast<std::size_t>(got)));
}

enum class Mended : bool { PutBacks, Everything };

class Mending {
 public:
  Mending(const TrashDirectory& trash, const FileSystemIdentity& person, const WorkFolder& work,
          const TrashRecord& record)
      : trash_(trash), person_(person), work_(work), record_(record) {}

  /// Returns whether everything is done, so that the work folder can be removed.
  bool run() { return record_.isLeaving() ? mendLeaving() : record_.isCopy() ? mendCopy() : mendItem(); }

 private:
  bool mendItem() {
    const UniqueFd item(::openat(trash_.files.get(), record_.stored.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (item && itemNumber(item.get()) == record_.item) return !handOver(item.get(), person_, record_.reached);
    removeTrashInfo(trash_, person_, record_);
    return true;
  }

  // The destination is not checked: the copy is there before the item becomes expendable. The item returns first, so
  // that it is in the Trash even while the growing copy cannot be removed.
  bool mendLeaving() const {
    const bool isAway = itemNumber(work_.descriptor(), kAsideName).has_value();
    if (isAway && returnToTrash(trash_, person_, record_, work_.descriptor()) != 0) return false;
    if (!removeGrowing()) return false;
    if (!itemNumber(trash_.files.get(), record_.stored)) removeTrashInfo(trash_, person_, record_);
    return removeExpendable(work_.descriptor()) == 0;
  }

  // The work folder beside the origin contains a copy of what is in the Trash or at the destination, so it can be
  // removed.
  bool removeGrowing() const {
    if (record_.aside.empty()) return true;
    const Answer<PinnedPlace> origin = pinPath(record_.origin, LastLink::Stays);
    if (!origin) return isGone(origin.problem().error);
    const Answer<WorkFolder> beside = WorkFolder::open(origin->folder.get(), record_.aside, trash_.workFolderPrefix);
    return beside ? beside->remove() == 0 : isGone(beside.problem().error);
  }

  // Whether the error of opening the work folder beside the origin means that it does not exist any more. If its volume
  // is not mounted, it may exist there.
  bool isGone(int error) const {
    if (error != ENOENT && error != ENOTDIR) return false;
    std::string folder = record_.origin;
    std::optional<ItemNumber> found;
    while (!found && folder.size() > 1) {
      folder = foundation::deletingLastPathComponent(folder);
      found = itemNumber(AT_FDCWD, folder + "/.");
    }
    return found && found->device == record_.volume;
  }

  // As long as the item is at its place, the copy is superfluous.
  bool mendCopy() {
    const Answer<PinnedPlace> origin = pinPath(record_.origin, LastLink::Stays);
    if (!origin) return record_.isTaken && isGone(origin.problem().error);
    const bool isThere = origin->item && itemNumber(origin->item.get()) == record_.item;
    const bool isPublished = itemNumber(trash_.files.get(), record_.stored) == record_.copy;
    if (isThere && isPublished && unpublish(trash_, person_, record_, work_.descriptor()) != 0) return false;
    if (isThere && !isPublished) removeTrashInfo(trash_, person_, record_);
    return settleAside(*origin, isPublished && !isThere) && (isThere || isPublished || record_.isTaken);
  }

  // An item that was taken away is removed if its copy is in the Trash, and returns to its place otherwise.
  bool settleAside(const PinnedPlace& origin, bool isPublished) const {
    const Answer<WorkFolder> aside = WorkFolder::open(origin.folder.get(), record_.aside, trash_.workFolderPrefix);
    if (!aside) return isGone(aside.problem().error);
    const std::string asideName = kAsideName;
    const auto taken = itemNumber(aside->descriptor(), asideName);
    if (taken == record_.item && (isPublished || record_.isTaken)) return aside->remove() == 0;
    if (taken &&
        posix::renameWithoutReplacing({aside->descriptor(), asideName}, {origin.folder.get(), origin.name}) != 0) {
      return false;
    }
    return aside->removeEmpty() == 0;
  }

  const TrashDirectory& trash_;
  const FileSystemIdentity& person_;
  const WorkFolder& work_;
  const TrashRecord& record_;
};

// The description is created first, and removed again if the item cannot follow.
int returnAs(const TrashDirectory& trash, const FileSystemIdentity& person, const TrashRecord& record,
             const posix::ItemName& item, const std::string& stored) {
  InfoFile info(trash.info.get(), stored);
  FileSystemUser acting(&person);
  if (!acting.ok()) return EPERM;
  int error = info.create(record.info, WrittenThrough::Yes);
  acting.leave();
  if (error == 0) error = posix::renameWithoutReplacing(item, {trash.files.get(), stored});
  acting.enter();
  error == 0 ? info.keep() : info.discard();
  return error;
}

// Whether mending it touches nothing outside the Trash.
bool isWithinTrash(const TrashRecord& record) { return record.isLeaving() && record.aside.empty(); }

// A folder without a record is not one of ours, or its move had not begun: it is removed only if it is empty.
void mend(const TrashDirectory& trash, const FileSystemIdentity& person, Mended mended) {
  for (const WorkFolder& work : WorkFolder::leftIn(trash.folder.get(), trash.workFolderPrefix)) {
    const bool hasRecord = TrashRecord::isIn(work.descriptor());
    if (!hasRecord) {
      TrashRecord::removePartIn(work.descriptor());
      static_cast<void>(work.removeEmpty());
    }
    const auto record = hasRecord ? TrashRecord::readFrom(work.descriptor()) : std::nullopt;
    const bool isMeant = record && (mended == Mended::Everything || isWithinTrash(*record));
    if (isMeant && Mending(trash, person, work, *record).run()) static_cast<void>(work.remove());
  }
}

}  // namespace

void removeTrashInfo(const TrashDirectory& trash, const FileSystemIdentity& person, const TrashRecord& record) {
  if (record.stored.empty()) return;
  const std::string name = record.stored + std::string(kTrashInfoSuffix);
  const FileSystemUser acting(&person);
  if (acting.ok() && holdsBeginningOf(record.info, trash.info.get(), name))
    ::unlinkat(trash.info.get(), name.c_str(), 0);
}

int unpublish(const TrashDirectory& trash, const FileSystemIdentity& person, const TrashRecord& record, int work) {
  const std::string copyName = kCopyName;
  const posix::ItemName inTrash{trash.files.get(), record.stored};
  const posix::ItemName inWork{work, copyName};
  if (const int error = posix::renameWithoutReplacing(inTrash, inWork)) return error;
  if (itemNumber(work, copyName) != record.copy) return posix::renameWithoutReplacing(inWork, inTrash);
  removeTrashInfo(trash, person, record);
  return 0;
}

int removeExpendable(int work) {
  const UniqueFd item(::openat(work, kExpendableName, O_PATH | O_NOFOLLOW | O_CLOEXEC));
  if (!item) return errno == ENOENT ? 0 : errno;
  return posix::removeOwnTree(work, kExpendableName, item.get()).code;
}

int returnToTrash(const TrashDirectory& trash, const FileSystemIdentity& person, const TrashRecord& record, int work) {
  const std::string asideName = kAsideName;
  const posix::ItemName inWork{work, asideName};
  const bool isDescribed = itemNumber(trash.info.get(), record.stored + std::string(kTrashInfoSuffix)).has_value();
  int error = isDescribed ? posix::renameWithoutReplacing(inWork, {trash.files.get(), record.stored})
                          : returnAs(trash, person, record, inWork, record.stored);
  const TrashName names(record.stored, trash.nameLimit);
  for (unsigned number = 2; error == EEXIST && number <= kMostNames; ++number) {
    error = returnAs(trash, person, record, inWork, names.numbered(number));
  }
  return error;
}

void mendPutBacks(const TrashDirectory& trash, const FileSystemIdentity& person) {
  mend(trash, person, Mended::PutBacks);
}

void mendTrashMoves(const TrashDirectory& trash, const FileSystemIdentity& person) {
  mend(trash, person, Mended::Everything);
}

}  // namespace qm::linux_
