#include "Platform/linux/trash/TrashMending.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "Platform/linux/rights/PathWalk.h"
#include "Platform/linux/trash/Handover.h"
#include "Platform/linux/trash/TrashInfo.h"
#include "Platform/linux/trash/WorkFolder.h"
#include "Platform/posix/RenameWithoutReplacing.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

// Somebody may have made one of the same name with other words. A process that was ended may have written only the
// beginning of its own.
bool holdsBeginningOf(const std::string& text, int folder, const std::string& name) {
  const UniqueFd file(::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  std::string found(text.size() + 1, '\0');
  const ssize_t got = file ? ::read(file.get(), found.data(), found.size()) : -1;
  return got >= 0 && text.starts_with(found.substr(0, static_cast<std::size_t>(got)));
}

class Mending {
 public:
  Mending(const TrashDirectory& trash, const FileSystemIdentity& person, const WorkFolder& work,
          const TrashRecord& record)
      : trash_(trash), person_(person), work_(work), record_(record) {}

  /// Nothing is left to do.
  bool run() { return record_.isCopy() ? mendCopy() : mendItem(); }

 private:
  bool mendItem() {
    const UniqueFd item(::openat(trash_.files.get(), record_.stored.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (item && itemNumber(item.get()) == record_.item) return !handOver(item.get(), person_, record_.reached);
    forgetDescription(trash_, person_, record_);
    return true;
  }

  // As long as the item is at its place, the copy is one too many.
  bool mendCopy() {
    const Answer<PinnedPlace> origin = pinPath(record_.origin, LastLink::Stays);
    if (!origin) return record_.isTaken && (origin.problem().error == ENOENT || origin.problem().error == ENOTDIR);
    const bool isThere = origin->item && itemNumber(origin->item.get()) == record_.item;
    const bool isPublished = itemNumber(trash_.files.get(), record_.stored) == record_.copy;
    if (isThere && isPublished && unpublish(trash_, person_, record_, work_.descriptor()) != 0) return false;
    if (isThere && !isPublished) forgetDescription(trash_, person_, record_);
    return settleAside(*origin, isPublished && !isThere) && (isThere || isPublished || record_.isTaken);
  }

  // An item that was taken away goes for good when its copy came into the Trash, and back to its place otherwise.
  bool settleAside(const PinnedPlace& origin, bool isPublished) const {
    const Answer<WorkFolder> aside = WorkFolder::open(origin.folder.get(), record_.aside, trash_.workFolderPrefix);
    if (!aside) return aside.problem().error == ENOENT;
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

bool isMended(const TrashDirectory& trash, const FileSystemIdentity& person, const WorkFolder& work) {
  const std::optional<TrashRecord> record = TrashRecord::readFrom(work.descriptor());
  return record && Mending(trash, person, work, *record).run();
}

}  // namespace

void forgetDescription(const TrashDirectory& trash, const FileSystemIdentity& person, const TrashRecord& record) {
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
  forgetDescription(trash, person, record);
  return 0;
}

// What has no record is no work of ours, or none that had begun: it goes only if it is empty.
void mendTrashMoves(const TrashDirectory& trash, const FileSystemIdentity& person) {
  for (const WorkFolder& work : WorkFolder::leftIn(trash.folder.get(), trash.workFolderPrefix)) {
    const bool hasRecord = TrashRecord::isIn(work.descriptor());
    if (!hasRecord) {
      TrashRecord::removePartIn(work.descriptor());
      static_cast<void>(work.removeEmpty());
    }
    if (hasRecord && isMended(trash, person, work)) static_cast<void>(work.remove());
  }
}

}  // namespace qm::linux_
