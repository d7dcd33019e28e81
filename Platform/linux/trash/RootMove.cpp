// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/RootMove.h"

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <string_view>
#include <utility>

#include "Platform/linux/trash/DesktopTrash.h"
#include "Platform/linux/trash/Handover.h"
#include "Platform/linux/trash/InfoFile.h"
#include "Platform/linux/trash/TrashInfo.h"
#include "Platform/linux/trash/TrashMending.h"
#include "Platform/linux/trash/TrashName.h"
#include "Platform/linux/trash/TrashRecord.h"
#include "Platform/linux/trash/WorkFolder.h"
#include "Platform/posix/ErrorWords.h"
#include "Platform/posix/RenameWithoutReplacing.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/TreeCopy.h"

namespace qm::linux_ {
namespace {

using posix::FileError;
using posix::UniqueFd;

}  // namespace

/// The steps of one move.
class RootMove::Steps {
 public:
  Steps(const std::string& path, PinnedPlace source, SharedTrashDirectory trash, FileSystemIdentity person,
        std::string wanted, const std::string& deletionDate)
      : source_(std::move(source)), trash_(std::move(trash)), person_(std::move(person)), wanted_(std::move(wanted)) {
    record_.origin = source_.shown();
    record_.item = {source_.itemStatus.st_dev, source_.itemStatus.st_ino};
    record_.info = trashInfoText(recordedPath(), deletionDate);
    const std::optional<Reached> reached = reaches(person_, path, source_.item.get());
    arePathsKnown_ = reached && !record_.origin.empty() && !trash_->path.empty();
    record_.reached = reached.value_or(Reached::No);
  }

  /// Why it would fail; 0 if nothing prevents it.
  FileError obstacle() const {
    const std::optional<ItemIdentity> item = itemIdentity(source_.item.get());
    const std::optional<ItemIdentity> folder = itemIdentity(source_.folder.get());
    if (!item || !folder) return errno;
    if (!arePathsKnown_) return EIO;
    if (item->mount != folder->mount) return EBUSY;
    if (!isOnTrashVolume() && !isOnTrustedVolume()) return ENOTSUP;
    return obstacleToHandover(source_.item.get(), person_, record_.reached,
                              isOnTrashVolume() ? HandedOver::TheItem : HandedOver::ACopy);
  }

  bool isOnTrashVolume() const {
    const std::optional<ItemIdentity> folder = itemIdentity(source_.folder.get());
    return folder && folder->sameVolume(trash_->filesIdentity);
  }

  int sourceFolder() const { return source_.folder.get(); }
  int trashFolder() const { return trash_->folder.get(); }
  const std::string& storedName() const { return record_.stored; }

  FileError run(std::string* note) {
    const Answer<WorkFolder> work = WorkFolder::make(trash_->folder.get(), newWorkName());
    if (!work) return work.problem().error;
    FileError error = isOnTrashVolume() ? moveItself(*work) : moveCopy(*work);
    // An unfinished move is found by its record.
    if (unfinished_ == 0) static_cast<void>(work->remove());
    *note = unfinished_ == 0 ? note_ : posix::withSystemMessage("not completely handed over", unfinished_);
    return error;
  }

 private:
  std::string newWorkName() const { return WorkFolder::newName(trash_->workFolderPrefix); }

  // In a volume's own Trash a path is relative to the volume's top.
  std::string recordedPath() const {
    const std::string& top = trash_->topFolder;
    if (top.empty()) return record_.origin;
    return record_.origin.substr(top == "/" ? 1 : top.size() + 1);
  }

  // On a volume that a user plugged in, the owner "root" means nothing: a copy of that user's files would belong to
  // root.
  bool isOnTrustedVolume() const {
    struct statvfs volume {};
    return ::fstatvfs(source_.folder.get(), &volume) == 0 && (volume.f_flag & (ST_NODEV | ST_NOSUID)) == 0;
  }

  FileError moveItself(const WorkFolder& work) {
    const auto rename = [&](const std::string& stored) {
      return posix::renameWithoutReplacing({source_.folder.get(), source_.name}, {trash_->files.get(), stored});
    };
    if (const int error = publish(work, rename)) return error;
    // The user may change its name in the Trash; if another item has taken its place, that is not handed over.
    if (!isInTrash()) return ESTALE;
    unfinished_ = handOver(source_.item.get(), person_, record_.reached).code;
    flush(trash_->files.get());
    flush(source_.folder.get());
    return {};
  }

  bool isInTrash() const {
    if (itemNumber(trash_->files.get(), record_.stored) == record_.item) return true;
    return source_.isFolder() && itemNumber(source_.item.get(), "..") == itemNumber(trash_->files.get());
  }

  FileError moveCopy(const WorkFolder& work) {
    if (const int error = record_.setAside(newWorkName(), source_.folder.get())) return error;
    if (const int error = record_.writeTo(work.descriptor())) return error;
    if (FileError error = makeCopy(work)) return error;
    if (const int error = record_.writeTo(work.descriptor())) return error;
    const Answer<WorkFolder> aside = WorkFolder::make(source_.folder.get(), record_.aside);
    if (!aside) return aside.problem().error;
    FileError error = exchange(work, *aside);
    // `aside` is kept if it contains an item that was taken by mistake and could not be returned. It is also kept if
    // the record does not contain the taken item yet, because the copy may be gone before the next run mends this.
    if (!error && unfinished_ != 0) return {};
    const int removal = error ? aside->removeEmpty() : aside->remove();
    if (unfinished_ == 0) unfinished_ = removal;
    return error;
  }

  // The copy that goes to the Trash, complete and on the disk before anything else is done.
  FileError makeCopy(const WorkFolder& work) {
    posix::CopyObserver nobody;
    // A folder is copied by its descriptor; a file is checked before and after.
    const bool isFolder = source_.isFolder();
    const posix::Place from{duplicate(isFolder ? source_.item : source_.folder), isFolder ? "." : source_.name};
    const posix::Place to{posix::duplicate(work.descriptor()), kCopyName};
    if (!from.folder || !to.folder) return errno;
    if (!isStillThere()) return ESTALE;
    if (FileError error = posix::copyTree(from, to, nobody)) return error;
    if (!isStillThere() || !isLikeItem(work)) return ESTALE;
    const UniqueFd copy(::openat(work.descriptor(), kCopyName, O_PATH | O_NOFOLLOW | O_CLOEXEC));
    const auto number = copy ? itemNumber(copy.get()) : std::nullopt;
    if (!number) return errno;
    record_.copy = *number;
    if (FileError error = handOver(copy.get(), person_, record_.reached, HandedOver::ACopy)) return error;
    return posix::flushVolume(work.descriptor());
  }

  bool isStillThere() const { return itemNumber(source_.folder.get(), source_.name) == record_.item; }

  // Something else may have had its name during the copy.
  bool isLikeItem(const WorkFolder& work) const {
    const auto copy = statusIn(work.descriptor(), kCopyName);
    const auto item = statusOf(source_.item.get());
    if (!copy || !item || (copy->st_mode & S_IFMT) != (item->st_mode & S_IFMT)) return false;
    if (!S_ISREG(copy->st_mode)) return true;
    return copy->st_size == item->st_size && copy->st_mtim.tv_sec == item->st_mtim.tv_sec;
  }

  // The copy is published in the Trash, and the item is moved from its place into a folder that only root can access.
  FileError exchange(const WorkFolder& work, const WorkFolder& aside) {
    const auto rename = [&](const std::string& stored) {
      return posix::renameWithoutReplacing({work.descriptor(), kCopyName}, {trash_->files.get(), stored});
    };
    if (const int error = publish(work, rename)) return error;
    int error = posix::flushVolume(work.descriptor());
    if (error == 0) error = takeAway(aside);
    if (error != 0) {
      const int notUndone = unpublish(*trash_, person_, record_, work.descriptor());
      if (unfinished_ == 0) unfinished_ = notUndone;
      return error;
    }
    record_.isTaken = true;
    unfinished_ = record_.writeTo(work.descriptor());
    return {};
  }

  int takeAway(const WorkFolder& aside) {
    const posix::ItemName here{source_.folder.get(), source_.name};
    const std::string asideName = kAsideName;
    const posix::ItemName there{aside.descriptor(), asideName};
    if (const int error = posix::renameWithoutReplacing(here, there)) return error;
    if (itemNumber(aside.descriptor(), asideName) == record_.item) return 0;
    unfinished_ = posix::renameWithoutReplacing(there, here);
    return ESTALE;
  }

  // Under the first free name in the Trash.
  int publish(const WorkFolder& work, const std::function<int(const std::string&)>& rename) {
    const TrashName names(wanted_, trash_->nameLimit);
    for (unsigned number = 1; number <= kMostNames; ++number) {
      record_.stored = names.numbered(number);
      if (const int error = record_.writeTo(work.descriptor())) return error;
      const int error = publishAs(rename);
      if (error != EEXIST) return error;
    }
    return EEXIST;
  }

  int publishAs(const std::function<int(const std::string&)>& rename) {
    InfoFile info(trash_->info.get(), record_.stored);
    int error = describe(info);
    if (error == 0) error = rename(record_.stored);
    const FileSystemUser acting(&person_);
    if (error != 0) {
      info.discard();
      return error;
    }
    info.keep();
    if (record_.stored != wanted_) note_ = "\"" + wanted_ + "\" is taken; it is now: " + record_.stored;
    flush(trash_->info.get());
    return 0;
  }

  int describe(InfoFile& info) const {
    const FileSystemUser acting(&person_);
    return acting.ok() ? info.create(record_.info, WrittenThrough::Yes) : EPERM;
  }

  void flush(int folder) {
    const UniqueFd opened(::openat(folder, ".", O_RDONLY | O_CLOEXEC));
    if (opened && ::fsync(opened.get()) == 0) return;
    if (!note_.empty()) note_ += "; ";
    note_ += posix::withSystemMessage("not on the disk yet", errno);
  }

  const PinnedPlace source_;
  const SharedTrashDirectory trash_;
  const FileSystemIdentity person_;
  const std::string wanted_;
  TrashRecord record_;
  /// Whether three things are known: where the item comes from, whether the user can reach it there, and the Trash's
  /// path.
  bool arePathsKnown_ = false;
  std::string note_;
  int unfinished_ = 0;
};

RootMove::RootMove(const std::string& path, PinnedPlace source, SharedTrashDirectory trash,
                   const FileSystemIdentity& person, const std::string& storedName, const std::string& deletionDate)
    : steps_(std::make_unique<Steps>(path, std::move(source), std::move(trash), person, storedName, deletionDate)) {}

RootMove::RootMove(RootMove&&) noexcept = default;

RootMove::~RootMove() = default;

FileError RootMove::obstacle() const { return steps_->obstacle(); }
bool RootMove::isOnTrashVolume() const { return steps_->isOnTrashVolume(); }
int RootMove::sourceFolder() const { return steps_->sourceFolder(); }
int RootMove::trashFolder() const { return steps_->trashFolder(); }
const std::string& RootMove::storedName() const { return steps_->storedName(); }
FileError RootMove::run(std::string* note) { return steps_->run(note); }

std::string obstacleWords(int error) {
  const std::string_view words = posix::messageFor(error, posix::Subject::ItemForRoot);
  return words.empty() ? posix::systemMessage(error) : std::string(words);
}

void mendRootMoves(const TrashUser& person) {
  OpenedTrash trash = openShownTrash(person, MissingTrash::StaysMissing);
  if (trash) mendRootMoves(**trash, person);
}

bool isTrashOfHome(const TrashDirectory& trash, const TrashUser& person) {
  const std::optional<ItemIdentity> home = itemIdentity(AT_FDCWD, (person.home + "/.").c_str());
  return home && trash.topFolder.empty() && trash.folderIdentity.device == home->device;
}

// Whoever made a plugged-in volume decides what it says about owners, so records count only at home.
void mendRootMoves(const TrashDirectory& trash, const TrashUser& person) {
  if (isTrashOfHome(trash, person)) mendTrashMoves(trash, person.identity);
}

}  // namespace qm::linux_
