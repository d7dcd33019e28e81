// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/TrashFinder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "Platform/foundation/PathComponents.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

constexpr const char* kDataFolder = "/.local/share";

std::string dataFolder(const TrashUser& user) { return user.dataHome.value_or(user.home + kDataFolder); }

// The starting point below which missing folders may be created: an existing home, or the root directory if the
// environment sets the data folder.
UniqueFd openAnchor(const TrashUser& user) {
  const std::string anchor = user.dataHome ? "/" : user.home;
  return UniqueFd(::open(anchor.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

// For another user the path below the home must contain no links: root follows none that the user planted.
TrashAnswer<UniqueFd> openDataFolder(const TrashUser& user, MissingTrash missing) {
  UniqueFd at = openAnchor(user);
  std::string shown = user.dataHome ? "" : user.home;
  for (const std::string& component : foundation::pathComponents(user.dataHome.value_or(kDataFolder))) {
    if (!at) break;
    if (component == "/") continue;
    shown += "/" + component;
    at = openOrMakeFolder(at.get(), component, user.forAnother ? O_NOFOLLOW : 0, missing);
  }
  if (!at) return trashFolderProblem(errno, shown);
  return at;
}

bool leadsTo(int folder, const std::string& name, const ItemIdentity& identity) {
  const std::optional<ItemIdentity> found = itemIdentity(folder, name.c_str());
  return found && found->sameItem(identity) && found->owner == identity.owner;
}

bool isCurrent(const TrashDirectory& trash, const std::string& path) {
  const int folder = trash.folder.get();
  return leadsTo(AT_FDCWD, path, trash.folderIdentity) && leadsTo(folder, "files", trash.filesIdentity) &&
         leadsTo(folder, "info", trash.infoIdentity);
}

// If the home does not exist, no other volume's Trash is used either, because nobody would find the items there.
bool isForHome(const SourceFolder& source, const TrashUser& user, OpenedTrash& home) {
  if (home) return (*home)->filesIdentity.sameVolume(source.identity);
  const std::optional<ItemIdentity> identity = itemIdentity(AT_FDCWD, (user.home + "/.").c_str());
  return !identity || identity->sameVolume(source.identity);
}

// A volume's Trash, either the shared one that its administrator set up or the user's own.
class VolumeTrash {
 public:
  VolumeTrash(UniqueFd top, std::string path, const TrashUser& user, FileSystemUser& acting)
      : top_(std::move(top)), path_(std::move(path)), user_(user), acting_(acting) {}

  OpenedTrash open() {
    OpenedTrash shared = openShared(MissingTrash::IsMade);
    return shared ? shared : openOwn();
  }

  /// Both of them, as far as they exist.
  std::vector<OpenedTrash> openWhatIsThere() {
    std::vector<OpenedTrash> trashes;
    trashes.push_back(openShared(MissingTrash::StaysMissing));
    trashes.push_back(openTrashDirectory(top_.get(), ownName(), user_, path_, MissingTrash::StaysMissing));
    return trashes;
  }

 private:
  std::string userNumber() const { return std::to_string(user_.identity.uid); }
  std::string ownName() const { return ".Trash-" + userNumber(); }

  // Without the sticky bit anybody could swap the user's folder in it, and a link could lead anywhere.
  OpenedTrash openShared(MissingTrash missing) {
    const UniqueFd shared(::openat(top_.get(), ".Trash", O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    const std::optional<ItemIdentity> identity = shared ? itemIdentity(shared.get()) : std::nullopt;
    if (!identity || (identity->mode & S_ISVTX) == 0) return trashFolderProblem(ENOENT, path_);
    return openTrashDirectory(shared.get(), userNumber(), user_, path_, missing);
  }

  OpenedTrash openOwn() {
    OpenedTrash own = openTrashDirectory(top_.get(), ownName(), user_, path_);
    if (own || own.problem().code != EACCES || !user_.forAnother || !isRootsTop()) return own;
    acting_.leave();
    makeAndGive();
    acting_.enter();
    if (!acting_.ok()) return itemProblem(EPERM);
    return openTrashDirectory(top_.get(), ownName(), user_, path_);
  }

  // In a top folder that only root can write to, nobody can interfere between creating the folder and giving it away.
  bool isRootsTop() const {
    const std::optional<ItemIdentity> top = itemIdentity(top_.get());
    return top && top->owner == 0 && (top->mode & (S_IWGRP | S_IWOTH)) == 0;
  }

  // A folder that cannot be given away is removed again, since the user could never use it.
  void makeAndGive() const {
    const std::string name = ownName();
    const FileSystemIdentity& to = user_.identity;
    if (::mkdirat(top_.get(), name.c_str(), S_IRWXU) != 0) return;
    if (::fchownat(top_.get(), name.c_str(), to.uid, to.gid, AT_SYMLINK_NOFOLLOW) == 0) return;
    ::unlinkat(top_.get(), name.c_str(), AT_REMOVEDIR);
  }

  UniqueFd top_;
  std::string path_;
  const TrashUser& user_;
  FileSystemUser& acting_;
};

TrashAnswer<VolumeTrash> volumeTrash(const SourceFolder& source, const TrashUser& user, FileSystemUser& acting) {
  const std::optional<std::string> path = MountTable().mountPoint(source.identity.mount);
  if (!path) return itemProblem(EXDEV);
  UniqueFd top(::open(path->c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!top) return trashFolderProblem(errno, *path);
  const std::optional<ItemIdentity> identity = itemIdentity(top.get());
  // Another volume may be mounted on top of this one, which then cannot be reached.
  if (!identity || identity->mount != source.identity.mount) return itemProblem(EXDEV);
  return VolumeTrash(std::move(top), *path, user, acting);
}

}  // namespace

OpenedTrash TrashFinder::homeTrash(const TrashUser& user, MissingTrash missing) {
  const uid_t owner = user.identity.uid;
  const std::string folder = dataFolder(user) + "/Trash";
  if (SharedTrashDirectory known = remembered(owner, folder)) return known;
  TrashAnswer<UniqueFd> data = openDataFolder(user, missing);
  if (!data) return data.problem();
  OpenedTrash trash = openTrashDirectory(data->get(), "Trash", user, "", missing);
  if (trash) remember({owner, folder, *trash});
  return trash;
}

OpenedTrash TrashFinder::trashFor(const SourceFolder& source, const TrashUser& user, OpenedTrash& home,
                                  FileSystemUser& acting) {
  if (isForHome(source, user, home)) return home;
  TrashAnswer<VolumeTrash> trash = volumeTrash(source, user, acting);
  return trash ? trash->open() : trash.problem();
}

std::vector<OpenedTrash> TrashFinder::volumeTrashes(const SourceFolder& source, const TrashUser& user,
                                                    FileSystemUser& acting) {
  TrashAnswer<VolumeTrash> trash = volumeTrash(source, user, acting);
  // A volume without a Trash contains no trashed items.
  return trash ? trash->openWhatIsThere() : std::vector<OpenedTrash>();
}

SharedTrashDirectory TrashFinder::remembered(uid_t owner, const std::string& folder) {
  SharedTrashDirectory known;
  {
    const std::scoped_lock lock(mutex_);
    if (home_.owner == owner && home_.folder == folder) known = home_.trash;
  }
  return known && isCurrent(*known, folder) ? known : nullptr;
}

void TrashFinder::remember(Home home) {
  const std::scoped_lock lock(mutex_);
  home_ = std::move(home);
}

}  // namespace qm::linux_
