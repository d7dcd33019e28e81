// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/RootPutBack.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/linux/rights/Writers.h"
#include "Platform/linux/trash/LentRights.h"
#include "Platform/linux/trash/RootMove.h"
#include "Platform/linux/trash/TrashInfo.h"
#include "Platform/linux/trash/TrashMending.h"
#include "Platform/posix/RenameWithoutReplacing.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/TreeCopy.h"
#include "Platform/posix/TreeRemoval.h"

namespace qm::linux_ {
namespace {

using posix::FileError;
using posix::UniqueFd;

const std::string kCopy = kGrowingName;
const std::string kAside = kAsideName;
const std::string kExpendable = kExpendableName;

UniqueFd openItem(int folder, const std::string& name) {
  return UniqueFd(::openat(folder, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
}

TrashProblem problem(int error) { return problemOf(error, posix::Subject::ItemPutBack); }

}  // namespace

RootPutBack::RootPutBack(const TrashDirectory& trash, const StoredItem& stored, const PutBackPlace& place,
                         const TrashUser& user, MountedVolumes& volumes)
    : trash_(trash), stored_(stored), place_(place), user_(user), volumes_(volumes) {}

std::optional<TrashProblem> RootPutBack::run() {
  item_ = openItem(trash_.files.get(), stored_.name);
  const auto number = item_ ? itemNumber(item_.get()) : std::nullopt;
  if (!number) return itemProblem(errno);
  record_ = leavingRecord(stored_.origin, *number, stored_.name, stored_.info);
  FileError error = obstacleToPuttingBack(item_.get(), user_.identity.uid);
  if (error.code == ENOTSUP) return TrashProblem{ENOTSUP, "root puts back files and folders only"};
  if (error) return problem(error.code);
  // Nothing of the item is changed or copied where it cannot go.
  if (statusIn(place_.folder.get(), place_.name.c_str())) return itemProblem(EEXIST);
  const Answer<WorkFolder> work = WorkFolder::make(trash_.folder.get(), WorkFolder::newName(trash_.workFolderPrefix));
  if (!work) return itemProblem(work.problem().error);
  error = isOnVolumeOfPlace() ? moveItself(*work) : moveCopy(*work);
  if (!error) forget(*work);
  // An unfinished move is found by its record.
  if (!isUnfinished_) static_cast<void>(work->remove());
  return error ? std::optional(problem(error.code)) : std::nullopt;
}

// As long as the item may return to the Trash, its description stays there.
void RootPutBack::forget(const WorkFolder& work) {
  if (itemNumber(work.descriptor(), kAside)) return;
  removeTrashInfo(trash_, user_.identity, record_);
  const bool isLeft = itemNumber(trash_.info.get(), stored_.name + std::string(kTrashInfoSuffix)).has_value();
  isUnfinished_ = isUnfinished_ || isLeft;
}

bool RootPutBack::isOnVolumeOfPlace() const {
  const std::optional<ItemIdentity> folder = itemIdentity(place_.folder.get());
  return folder && folder->sameVolume(trash_.filesIdentity);
}

FileError RootPutBack::moveItself(const WorkFolder& work) {
  if (FileError error = dropLentRights(item_.get(), user_.identity.uid)) return error;
  if (const int error = take(work)) return error;
  const int error = posix::renameWithoutReplacing({work.descriptor(), kAside}, {place_.folder.get(), place_.name});
  if (error != 0) {
    giveBack(work);
    return error;
  }
  // Somebody may still have a folder of it open, and may have added files through that descriptor since the first pass.
  // Their bits are dropped as well.
  static_cast<void>(dropLentRights(item_.get(), user_.identity.uid));
  return {};
}

// From here on nobody but root can reach it by its name.
int RootPutBack::take(const WorkFolder& work) {
  if (const int error = record_.writeTo(work.descriptor())) return error;
  const int error = posix::renameWithoutReplacing({trash_.files.get(), stored_.name}, {work.descriptor(), kAside});
  if (error != 0 || itemNumber(work.descriptor(), kAside) == record_.item) return error;
  giveBack(work);
  return ESTALE;
}

void RootPutBack::giveBack(const WorkFolder& work) {
  isUnfinished_ = returnToTrash(trash_, user_.identity, record_, work.descriptor()) != 0;
}

FileError RootPutBack::moveCopy(const WorkFolder& work) {
  if (!isTrashOfHome(trash_, user_) || isUserSpaceFileSystem(trash_.files.get())) return EXDEV;
  if (FileError error = posix::obstacleToRemoval(trash_.files.get(), stored_.name)) return error;
  const std::string aside = WorkFolder::newName(trash_.workFolderPrefix);
  if (const int error = record_.setAside(aside, place_.folder.get())) return error;
  if (const int error = record_.writeTo(work.descriptor())) return error;
  const Answer<WorkFolder> beside = WorkFolder::make(place_.folder.get(), record_.aside);
  if (!beside) return beside.problem().error;
  FileError error = copyTo(beside->descriptor());
  if (!error) error = exchange(work, beside->descriptor());
  if (!isCopyKept_ && beside->remove() != 0) isUnfinished_ = true;
  return error;
}

// A volume that is mounted in the item meanwhile could claim any owners.
FileError RootPutBack::copyTo(int folder) const {
  const auto mounts = volumes_.now();
  if (!*mounts) return ENOTSUP;
  if (mounts->hasMountAtOrBelow(pathOf(trash_, stored_))) return EBUSY;
  const auto status = statusOf(item_.get());
  const bool isFolder = status && S_ISDIR(status->st_mode);
  const posix::Place from{duplicate(isFolder ? item_ : trash_.files), isFolder ? "." : stored_.name};
  const posix::Place to{posix::duplicate(folder), kCopy};
  if (!from.folder || !to.folder) return errno;
  posix::CopyObserver nobody;
  if (FileError error = posix::copyTree(from, to, nobody)) return error;
  if (volumes_.now() != mounts) return EBUSY;
  if (itemNumber(trash_.files.get(), stored_.name) != record_.item) return ESTALE;
  return posix::flushVolume(folder);
}

// The copy is root's alone, so what is checked cannot change.
FileError RootPutBack::checkCopy(int folder, ItemNumber& number) const {
  const UniqueFd copy = openItem(folder, kCopy);
  const auto found = copy ? itemNumber(copy.get()) : std::nullopt;
  if (!found) return errno;
  number = *found;
  FileError error = obstacleToPuttingBack(copy.get(), user_.identity.uid);
  return error ? error : dropLentRights(copy.get(), user_.identity.uid);
}

// The copy is published at the destination, and then the item is removed from the Trash.
FileError RootPutBack::exchange(const WorkFolder& work, int folder) {
  ItemNumber copy;
  if (FileError error = checkCopy(folder, copy)) return error;
  const posix::ItemName grown{folder, kCopy};
  const posix::ItemName there{place_.folder.get(), place_.name};
  if (const int error = posix::renameWithoutReplacing(grown, there)) return error;
  int error = posix::flushVolume(folder);
  if (error == 0) error = take(work);
  if (error == 0) return removeTaken(work);
  // Others may be allowed to change the destination folder, so what was just renamed back may not be the copy. Then it
  // returns to the destination.
  const bool isBack = posix::renameWithoutReplacing(there, grown) == 0;
  if (isBack && itemNumber(grown.folder, grown.name) != copy) {
    isCopyKept_ = posix::renameWithoutReplacing(grown, there) != 0;
  }
  return error;
}

// The copy is at the destination, so the item itself is no longer needed. It gets the name `kExpendable` before it is
// removed, so that a later run does not return what is left of it to the Trash.
FileError RootPutBack::removeTaken(const WorkFolder& work) {
  const posix::ItemName taken{work.descriptor(), kAside};
  const posix::ItemName expendable{work.descriptor(), kExpendable};
  isUnfinished_ = posix::renameWithoutReplacing(taken, expendable) != 0 || removeExpendable(work.descriptor()) != 0;
  return {};
}

}  // namespace qm::linux_
