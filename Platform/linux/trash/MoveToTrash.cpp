// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/MoveToTrash.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <string_view>

#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/trash/InfoFile.h"
#include "Platform/linux/trash/ReadOnlyFolder.h"
#include "Platform/linux/trash/RootMove.h"
#include "Platform/linux/trash/TrashInfo.h"
#include "Platform/linux/trash/TrashName.h"
#include "Platform/posix/RenameWithoutReplacing.h"
#include "Platform/posix/SystemFileCalls.h"

namespace qm::linux_ {
namespace {

// How often another program may take a name that was just found free.
constexpr int kMostRounds = 64;

bool exists(int folder, const std::string& name) {
  struct stat found {};
  return ::fstatat(folder, name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0 || errno != ENOENT;
}

bool isValidName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
         name.find('\0') == std::string::npos;
}

bool isFolder(const ItemIdentity& item) { return S_ISDIR(item.mode); }

// One item on its way to the Trash.
class Move {
 public:
  Move(const SourceFolder& source, const std::string& name, const SharedTrashDirectory& trash, FileSystemUser& acting,
       MountedVolumes& volumes, std::string* stored)
      : source_(source),
        name_(name),
        shared_(trash),
        trash_(*trash),
        acting_(acting),
        volumes_(volumes),
        stored_(stored),
        path_(source.path == "/" ? "/" + name : source.path + "/" + name) {}

  std::optional<TrashProblem> run(const std::string& deletionDate) {
    if (std::optional<TrashProblem> refusal = look()) return refusal;
    const std::string text = trashInfoText(recordedPath(), deletionDate);
    const int error = moveUnderFreeName(text);
    if (error == 0) return std::nullopt;
    if (madeInfo_ && isRefused(error) && source_.withRootRights) return moveAsRoot(deletionDate);
    return madeInfo_ ? itemProblem(error) : trashFolderProblem(error, trash_.path);
  }

 private:
  std::optional<TrashProblem> look() {
    if (foundation::isAtOrBelow(source_.path, trash_.path)) return TrashProblem{EINVAL, "it is already in the Trash"};
    if (foundation::isAtOrBelow(trash_.path, path_)) return TrashProblem{EINVAL, "the Trash itself is in it"};
    const int error = withRights([this] {
      const std::optional<ItemIdentity> found = itemIdentity(source_.fd.get(), name_.c_str());
      if (found) item_ = *found;
      return found ? 0 : errno;
    });
    return error != 0 ? std::optional(itemProblem(error)) : mountedVolume();
  }

  // The contents of a mounted volume do not belong to the item, but the system would move them with it.
  std::optional<TrashProblem> mountedVolume() const {
    if (item_.mount != source_.identity.mount) return itemProblem(EBUSY);
    if (!isFolder(item_)) return std::nullopt;
    const auto mounts = volumes_.now();
    if (!*mounts) return TrashProblem{ENOTSUP, "it is not known whether a volume is mounted in it"};
    return mounts->hasMountAtOrBelow(path_) ? std::optional(itemProblem(EBUSY)) : std::nullopt;
  }

  std::string_view recordedPath() const {
    const std::string_view path = path_;
    if (trash_.topFolder.empty()) return path;
    return path.substr(trash_.topFolder == "/" ? 1 : trash_.topFolder.size() + 1);
  }

  int moveUnderFreeName(const std::string& text) {
    const TrashName names(name_, trash_.nameLimit);
    unsigned number = 1;
    for (int round = 0; round < kMostRounds; ++round) {
      const int error = moveAs(names.numbered(number), text);
      if (error != EEXIST) return error;
      number = freeNumber(number + 1, [&](unsigned candidate) { return isTaken(names.numbered(candidate)); });
    }
    return EEXIST;
  }

  // An orphaned item or .trashinfo also makes the name taken; neither is overwritten.
  bool isTaken(const std::string& stored) const {
    return exists(trash_.info.get(), stored + std::string(kTrashInfoSuffix)) || exists(trash_.files.get(), stored);
  }

  // Nothing waits for the disk here: that is done once for many items.
  int moveAs(const std::string& stored, const std::string& text) {
    InfoFile info(trash_.info.get(), stored);
    int error = info.create(text, WrittenThrough::No);
    madeInfo_ = error == 0;
    if (error == 0) error = renameTo(stored);
    if (error == 0) info.keep();
    if (error == 0) *stored_ = stored;
    return error;
  }

  int renameTo(const std::string& stored) {
    const auto rename = [&] {
      return posix::renameWithoutReplacing({source_.fd.get(), name_}, {trash_.files.get(), stored});
    };
    return renameUnlocking(source_.fd.get(), name_, item_, trash_.filesIdentity.owner, rename);
  }

  static bool isRefused(int error) { return error == EACCES || error == EPERM; }

  std::optional<TrashProblem> moveAsRoot(const std::string& deletionDate) {
    acting_.leave();
    std::optional<TrashProblem> problem = moveWithRootRights(*acting_.identity(), deletionDate);
    acting_.enter();
    return problem;
  }

  std::optional<TrashProblem> moveWithRootRights(const FileSystemIdentity& person, const std::string& deletionDate) {
    PinnedPlace place;
    place.folder = duplicate(source_.fd);
    place.name = name_;
    place.item.reset(::openat(source_.fd.get(), name_.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    const auto status = place.folder && place.item ? statusOf(place.item.get()) : std::nullopt;
    if (!status) return itemProblem(errno);
    place.itemStatus = *status;
    RootMove move(path_, std::move(place), shared_, person, name_, deletionDate);
    if (const posix::FileError error = move.obstacle()) return TrashProblem{error.code, obstacleWords(error.code)};
    std::string unused;
    const posix::FileError error = move.run(&unused);
    if (!error) *stored_ = move.storedName();
    return error ? std::optional(itemProblem(error.code)) : std::nullopt;
  }

  // First with the user's rights; if those do not suffice, with root's, if those may be used here.
  int withRights(const std::function<int()>& call) {
    const int error = call();
    if (!isRefused(error) || !source_.withRootRights) return error;
    acting_.leave();
    const int asRoot = call();
    acting_.enter();
    return asRoot;
  }

  const SourceFolder& source_;
  const std::string& name_;
  const SharedTrashDirectory& shared_;
  const TrashDirectory& trash_;
  FileSystemUser& acting_;
  MountedVolumes& volumes_;
  std::string* stored_;
  std::string path_;
  ItemIdentity item_;
  bool madeInfo_ = false;
};

}  // namespace

std::optional<TrashProblem> moveToTrash(const SourceFolder& source, const std::string& name,
                                        const SharedTrashDirectory& trash, const std::string& deletionDate,
                                        FileSystemUser& acting, MountedVolumes& volumes, std::string* stored) {
  if (!isValidName(name)) return TrashProblem{EINVAL, "that is not the name of an item"};
  return Move(source, name, trash, acting, volumes, stored).run(deletionDate);
}

}  // namespace qm::linux_
