#include "Platform/linux/privileges/helper/TrashMove.h"

#include <fcntl.h>
#include <unistd.h>
#include <ctime>

#include <cerrno>
#include <cstring>
#include <functional>
#include <utility>

#include "Platform/linux/privileges/helper/Confinement.h"
#include "Platform/linux/privileges/helper/Handover.h"
#include "Platform/linux/privileges/helper/TrashMending.h"
#include "Platform/linux/privileges/helper/TrashRecord.h"
#include "Platform/linux/privileges/helper/WorkFolder.h"
#include "Platform/linux/rights/PathWalk.h"
#include "Platform/linux/trash/InfoFile.h"
#include "Platform/linux/trash/ShownTrash.h"
#include "Platform/linux/trash/TrashInfo.h"
#include "Platform/linux/trash/TrashName.h"
#include "Platform/posix/RenameWithoutReplacing.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/TreeCopy.h"

namespace qm::linux_ {
namespace {

using posix::FileError;
using posix::UniqueFd;

constexpr unsigned kMostNames = 64;

std::string dateNow() {
  const time_t now = ::time(nullptr);
  tm local{};
  char text[32] = {};
  if (::localtime_r(&now, &local) == nullptr) return "1970-01-01T00:00:00";
  static_cast<void>(::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local));
  return text;
}

UniqueFd duplicate(int fd) { return UniqueFd(::fcntl(fd, F_DUPFD_CLOEXEC, 0)); }

class TrashMove : public PrivilegedWork {
 public:
  TrashMove(std::string path, PinnedPlace source, SharedTrashDirectory trash, UserRecord person, std::string wanted)
      : path_(std::move(path)),
        source_(std::move(source)),
        trash_(std::move(trash)),
        person_(std::move(person)),
        identity_(identityOf(person_)),
        wanted_(std::move(wanted)) {
    record_.origin = source_.shown();
    record_.item = {source_.itemStatus.st_dev, source_.itemStatus.st_ino};
    record_.info = trashInfoText(record_.origin, dateNow());
    record_.reached = reaches(person_, path_, source_.item.get());
  }

  /// Why it would fail; 0 when nothing is in the way.
  FileError obstacle() const {
    const std::optional<Place> item = placeOf(source_.item.get());
    const std::optional<Place> folder = placeOf(source_.folder.get());
    if (!item || !folder) return errno;
    if (item->mount != folder->mount) return EBUSY;
    if (!isOnTrashVolume() && !Confinement::isAvailable()) return ENOTSUP;
    return obstacleToHandover(source_.item.get(), person_, record_.reached);
  }

  WorkResult finish() override {
    if (const int error = confine()) return resultOf(error, path_);
    const Answer<WorkFolder> work = WorkFolder::make(trash_->folder.get());
    if (!work) return WorkResult::failed(path_ + ": " + work.refusal().reason);
    const FileError error = isOnTrashVolume() ? moveItself(*work) : moveCopy(*work);
    // What is not finished is found by its record.
    if (unfinished_ == 0) static_cast<void>(work->remove());
    if (error) return resultOf(error, path_);
    return {0, unfinished_ == 0 ? note_ : path_ + ": not completely handed over: " + std::strerror(unfinished_)};
  }

 private:
  bool isOnTrashVolume() const {
    const std::optional<Place> folder = placeOf(source_.folder.get());
    return folder && folder->sameVolume(trash_->filesPlace);
  }

  int confine() const {
    Confinement confinement;
    confinement.allowAll(source_.folder.get());
    confinement.allowAll(trash_->folder.get());
    return confinement.enforce();
  }

  FileError moveItself(const WorkFolder& work) {
    const auto rename = [&](const std::string& stored) {
      return posix::renameWithoutReplacing({source_.folder.get(), source_.name}, {trash_->files.get(), stored});
    };
    if (const int error = publish(work, rename)) return error;
    if (itemNumber(trash_->files.get(), record_.stored) != record_.item) return putBack();
    unfinished_ = handOver(source_.item.get(), person_, record_.reached).code;
    return {};
  }

  // Somebody has put another item in the place of the one that was checked.
  int putBack() const {
    static_cast<void>(
        posix::renameWithoutReplacing({trash_->files.get(), record_.stored}, {source_.folder.get(), source_.name}));
    forgetDescription(*trash_, identity_, record_);
    return ESTALE;
  }

  FileError moveCopy(const WorkFolder& work) {
    if (FileError error = makeCopy(work)) return error;
    record_.aside = WorkFolder::newName();
    if (const int error = record_.writeTo(work.descriptor())) return error;
    const Answer<WorkFolder> aside = WorkFolder::make(source_.folder.get(), record_.aside);
    if (!aside) return aside.refusal().error;
    FileError error = exchange(work, *aside);
    const int removal = aside->remove();
    if (!error) unfinished_ = removal;
    return error;
  }

  // The copy that goes to the Trash, complete and on the disk before anything else is done.
  FileError makeCopy(const WorkFolder& work) {
    posix::CopyObserver nobody;
    const posix::Place from{duplicate(source_.folder.get()), source_.name};
    const posix::Place to{duplicate(work.descriptor()), kCopyName};
    if (!from.folder || !to.folder) return errno;
    if (FileError error = posix::copyTree(from, to, nobody)) return error;
    const UniqueFd copy(::openat(work.descriptor(), kCopyName, O_PATH | O_NOFOLLOW | O_CLOEXEC));
    const auto number = copy ? itemNumber(copy.get()) : std::nullopt;
    if (!number) return errno;
    record_.copy = *number;
    if (FileError error = handOver(copy.get(), person_, record_.reached)) return error;
    return posix::flushVolume(work.descriptor());
  }

  // The copy comes into the Trash, and the item leaves its place for a folder of root's alone.
  FileError exchange(const WorkFolder& work, const WorkFolder& aside) {
    const auto rename = [&](const std::string& stored) {
      return posix::renameWithoutReplacing({work.descriptor(), kCopyName}, {trash_->files.get(), stored});
    };
    if (const int error = publish(work, rename)) return error;
    const int error = takeAway(aside);
    if (error != 0) unfinished_ = unpublish(*trash_, identity_, record_, work.descriptor());
    return error;
  }

  int takeAway(const WorkFolder& aside) const {
    const posix::ItemName here{source_.folder.get(), source_.name};
    const std::string asideName = kAsideName;
    const posix::ItemName there{aside.descriptor(), asideName};
    if (const int error = posix::renameWithoutReplacing(here, there)) return error;
    if (itemNumber(aside.descriptor(), asideName) == record_.item) return 0;
    static_cast<void>(posix::renameWithoutReplacing(there, here));
    return ESTALE;
  }

  // Under the first name that is free in the Trash.
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
    const FileSystemUser acting(&identity_);
    if (error != 0) {
      info.discard();
      return error;
    }
    info.keep();
    if (record_.stored != wanted_) note_ = "\"" + wanted_ + "\" is taken; it is now: " + record_.stored;
    flushDescriptions();
    return 0;
  }

  int describe(InfoFile& info) const {
    const FileSystemUser acting(&identity_);
    return acting.ok() ? info.create(record_.info, WrittenThrough::Yes) : EPERM;
  }

  void flushDescriptions() {
    const UniqueFd folder(::openat(trash_->info.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder || ::fsync(folder.get()) != 0) note_ += std::string("not on the disk yet: ") + std::strerror(errno);
  }

  const std::string path_;
  const PinnedPlace source_;
  const SharedTrashDirectory trash_;
  const UserRecord person_;
  const FileSystemIdentity identity_;
  const std::string wanted_;
  TrashRecord record_;
  std::string note_;
  int unfinished_ = 0;
};

std::string words(int error) {
  switch (error) {
    case EBUSY:
      return "a volume is mounted in it";
    case EPERM:
      return "something in it is locked";
    case EMLINK:
      return "a file in it has other names, under which it would be changed, too";
    case ENOTSUP:
      return "it lies on another volume than the Trash, and this kernel has no Landlock";
    default:
      return std::strerror(error);
  }
}

bool isWithin(const std::string& path, const std::string& folder) {
  return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

std::optional<Refusal> misplaced(const std::string& path, const PinnedPlace& source, const TrashDirectory& trash) {
  if (!source.item) return refusalFor(ENOENT, path);
  if (source.withTrailingSlash && !source.isFolder()) return refusalFor(ENOTDIR, path);
  if (isWithin(source.shown(), trash.path)) return Refusal{EINVAL, path + ": it is already in the Trash"};
  if (isWithin(trash.path, source.shown())) return Refusal{EINVAL, path + ": the Trash itself is in it"};
  return std::nullopt;
}

}  // namespace

std::optional<TrashRequest> trashMoveIn(const FileCommand& command, const UserRecord& person) {
  if (command.kind != FileCommandKind::Move) return std::nullopt;
  const std::string folder = person.home + "/.Trash/";
  const std::string& destination = command.operands[1];
  const std::string name = destination.starts_with(folder) ? destination.substr(folder.size()) : std::string();
  const bool isName = !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
  return isName ? std::optional(TrashRequest{command.operands[0], name}) : std::nullopt;
}

PreparedWork prepareTrashMove(const std::string& path, const std::string& storedName, const UserRecord& person) {
  Outcome<SharedTrashDirectory> trash = openShownTrash(trashUserFor(person), MissingTrash::IsMade);
  if (!trash) return Refusal{trash.problem().code, path + ": " + trash.problem().because};
  mendTrashMoves(**trash, person);
  Answer<PinnedPlace> source = pinPath(path, LastLink::Stays);
  if (!source) return source.refusal();
  if (const auto refusal = misplaced(path, *source, **trash)) return *refusal;
  auto move = std::make_unique<TrashMove>(path, std::move(*source), *trash, person, storedName);
  const FileError error = move->obstacle();
  if (error)
    return Refusal{error.code, path + ": " + words(error.code) + (error.item.empty() ? "" : ": " + error.item)};
  return std::unique_ptr<PrivilegedWork>(std::move(move));
}

void mendTrashMoves(const UserRecord& person) {
  Outcome<SharedTrashDirectory> trash = openShownTrash(trashUserFor(person), MissingTrash::StaysMissing);
  if (trash) mendTrashMoves(**trash, person);
}

}  // namespace qm::linux_
