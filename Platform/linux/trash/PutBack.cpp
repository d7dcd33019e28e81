// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/PutBack.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/linux/rights/Writers.h"
#include "Platform/linux/trash/ReadOnlyFolder.h"
#include "Platform/linux/trash/RootPutBack.h"
#include "Platform/posix/Move.h"
#include "Platform/posix/RenameWithoutReplacing.h"

namespace qm::linux_ {
namespace {

bool isRefused(int error) { return error == EACCES || error == EPERM; }

/// One item on its way back.
class PuttingBack {
 public:
  PuttingBack(const TrashDirectory& trash, const StoredItem& item, const PutBackPlace& place, const TrashUser& user,
              FileSystemUser& acting, MountedVolumes& volumes)
      : trash_(trash), item_(item), place_(place), user_(user), acting_(acting), volumes_(volumes) {}

  std::optional<TrashProblem> run() {
    if (std::optional<TrashProblem> refusal = look()) return refusal;
    const int error = rename();
    const bool asRoot = place_.withRootRights && (error == EXDEV || isRefused(error));
    if (asRoot) return moveAsRoot();
    std::optional<TrashProblem> problem = error == EXDEV ? moveAcross()
                                          : error != 0   ? std::optional(itemProblem(error))
                                                         : std::nullopt;
    if (!problem) forget(trash_, item_);
    return problem;
  }

 private:
  // The problems that can be found before anything is changed.
  std::optional<TrashProblem> look() {
    const std::optional<ItemIdentity> found = itemIdentity(trash_.files.get(), item_.name.c_str());
    if (!found) return itemProblem(errno);
    stored_ = *found;
    if (statusIn(place_.folder.get(), place_.name.c_str())) return itemProblem(EEXIST);
    const auto mounts = volumes_.now();
    if (!*mounts) return TrashProblem{ENOTSUP, "it is not known whether a volume is mounted in it"};
    return mounts->hasMountAtOrBelow(pathOf(trash_, item_)) ? std::optional(itemProblem(EBUSY)) : std::nullopt;
  }

  int rename() const {
    const auto rename = [&] {
      return posix::renameWithoutReplacing({trash_.files.get(), item_.name}, {place_.folder.get(), place_.name});
    };
    // Looking up "." takes the right to search the folder.
    const bool isOpen = ::faccessat(place_.folder.get(), ".", W_OK, AT_EACCESS) == 0;
    if (!isOpen) return rename();
    return renameUnlocking(trash_.files.get(), item_.name, stored_, trash_.filesIdentity.owner, rename);
  }

  std::optional<TrashProblem> moveAcross() const {
    const posix::Place from{duplicate(trash_.files), item_.name};
    const posix::Place to{duplicate(place_.folder), place_.name};
    if (!from.folder || !to.folder) return itemProblem(errno);
    const posix::FileError error = posix::moveTree(from, to);
    return error ? std::optional(itemProblem(error.code)) : std::nullopt;
  }

  std::optional<TrashProblem> moveAsRoot() {
    acting_.leave();
    std::optional<TrashProblem> problem = RootPutBack(trash_, item_, place_, user_, volumes_).run();
    acting_.enter();
    return problem;
  }

  const TrashDirectory& trash_;
  const StoredItem& item_;
  const PutBackPlace& place_;
  const TrashUser& user_;
  FileSystemUser& acting_;
  MountedVolumes& volumes_;
  ItemIdentity stored_;
};

}  // namespace

std::optional<TrashProblem> putBack(const TrashDirectory& trash, const StoredItem& item, const PutBackPlace& place,
                                    const TrashUser& user, FileSystemUser& acting, MountedVolumes& volumes) {
  return PuttingBack(trash, item, place, user, acting, volumes).run();
}

}  // namespace qm::linux_
