#include "Platform/linux/privileges/helper/PreparedTool.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Platform/linux/privileges/helper/FileCommand.h"
#include "Platform/linux/privileges/helper/FolderEntries.h"
#include "Platform/linux/privileges/helper/PathWalk.h"
#include "Platform/linux/privileges/helper/TrashHandover.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;
using Problem = std::optional<Refusal>;

Refusal refusal(int error, const std::string& path, const std::string& why) { return {error, path + ": " + why}; }

// A folder in which nothing is and nothing can be made: a tool finds there what it finds where a folder of
// its path is missing.
UniqueFd openNowhere() {
  char pattern[] = "/run/tessaly-uninstaller-XXXXXX";
  if (::mkdtemp(pattern) == nullptr) return UniqueFd();
  UniqueFd folder(::open(pattern, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  ::rmdir(pattern);
  return folder;
}

Answer<PinnedPlace> nowhere(const Refusal& why) {
  PinnedPlace place;
  place.folder = openNowhere();
  place.name = "missing";
  if (!place.folder) return why;
  return place;
}

bool isMissing(const Refusal& refusal) { return refusal.error == ENOENT || refusal.error == ENOTDIR; }

// An item that need not be there.
Answer<PinnedPlace> pinOrNowhere(const std::string& path, LastLink lastLink) {
  Answer<PinnedPlace> place = pinPath(path, lastLink);
  return !place && isMissing(place.refusal()) ? nowhere(place.refusal()) : std::move(place);
}

// A link with a slash behind it means the folder that it leads to, which no tool reaches here.
Answer<PinnedPlace> pinItem(const std::string& path) {
  Answer<PinnedPlace> place = pinOrNowhere(path, LastLink::Stays);
  if (place && place->withTrailingSlash && place->item && !place->isFolder()) {
    return refusal(ENOTDIR, path, std::strerror(ENOTDIR));
  }
  return place;
}

bool isOnOtherVolume(const PinnedPlace& source, int folder) {
  struct statx one {};
  struct statx other {};
  constexpr int flags = AT_EMPTY_PATH | AT_SYMLINK_NOFOLLOW;
  if (!source.item || ::statx(source.item.get(), "", flags, STATX_MNT_ID, &one) != 0 ||
      ::statx(folder, "", flags, STATX_MNT_ID, &other) != 0) {
    return true;
  }
  return one.stx_mnt_id != other.stx_mnt_id;
}

// Turns one command line into a prepared tool.
class Preparation {
 public:
  Preparation(const FileCommand& command, uid_t person) : command_(command), person_(person) {
    tool_.confinement = std::make_unique<Confinement>();
    tool_.arguments = command.options;
  }

  Answer<PreparedTool> run() {
    const bool transfers = command_.kind == FileCommandKind::Move || command_.kind == FileCommandKind::Copy;
    if (transfers) {
      if (Problem problem = prepareTransfer()) return std::move(*problem);
      return std::move(tool_);
    }
    for (const std::string& path : command_.operands) {
      if (Problem problem = prepareOperand(path)) return std::move(*problem);
    }
    return std::move(tool_);
  }

 private:
  Problem prepareOperand(const std::string& path) {
    switch (command_.kind) {
      case FileCommandKind::MakeFolders:
        return makeFolders(path);
      case FileCommandKind::Touch:
        return touch(path);
      default:
        return remove(path);
    }
  }

  Problem remove(const std::string& path) {
    Answer<PinnedPlace> place = pinItem(path);
    if (!place) return place.refusal();
    tool_.confinement->allowAll(place->folder.get());
    pass(path, place->path(), std::move(place->folder));
    return std::nullopt;
  }

  // The folders above are made here, each in the one before: a tool would go by their names.
  Problem makeFolders(const std::string& path) {
    const bool withFoldersAbove = !command_.options.empty();
    Answer<PinnedPlace> place = withFoldersAbove ? pinPathMakingFolders(path) : pinItem(path);
    if (!place) return place.refusal();
    tool_.confinement->allowAll(place->folder.get());
    pass(path, place->path(), std::move(place->folder));
    return std::nullopt;
  }

  // The tool goes by the item itself. One that has other names too may be somebody else's.
  Problem touch(const std::string& path) {
    Answer<PinnedPlace> place = pinOrNowhere(path, LastLink::IsFollowed);
    if (!place) return place.refusal();
    if (!place->item) {
      pass(path, place->path(), std::move(place->folder));
      return std::nullopt;
    }
    if (!place->isFolder() && place->itemStatus.st_nlink > 1 && !place->changers.none()) {
      return refusal(EPERM, path, "it has other names, and its folder can be changed by others than root");
    }
    tool_.confinement->allowAll(place->item.get());
    pass(path, inheritedPath(place->item.get()), std::move(place->item));
    return std::nullopt;
  }

  Problem prepareTransfer() {
    const std::string& from = command_.operands[0];
    const std::string& to = command_.operands[1];
    Answer<PinnedPlace> source = pinItem(from);
    if (!source) return source.refusal();
    Answer<PinnedPlace> target = pinTarget(to, source->name);
    if (!target) return target.refusal();
    if (Problem problem = mayBeReplaced(to, *source, *target)) return problem;
    const bool guarded = !onlyRootChanges(target->folder.get());
    if (Problem problem = mayBeRead(from, *source, *target)) return problem;
    allowTransfer(*source, target->folder.get());
    // The target is a place, also where a folder has come to be meanwhile.
    tool_.arguments.emplace_back("-T");
    const std::string origin = shownPath(source->folder.get()) + "/" + source->name;
    pass(from, source->path(), std::move(source->folder));
    if (!guarded) {
      pass(to, target->path(), std::move(target->folder));
      return std::nullopt;
    }
    return stage(to, origin, std::move(*target));
  }

  // An existing folder means the place in it that bears the item's name.
  Answer<PinnedPlace> pinTarget(const std::string& path, const std::string& name) {
    Answer<PinnedPlace> place = pinOrNowhere(path, LastLink::Stays);
    if (!place) return place;
    if ((place->isFolder() || place->isLink()) && isTakenInTrash(*place, name)) {
      place->item.reset();  // the item gets a place beside it
      return place;
    }
    if (place->isLink()) {
      Answer<PinnedPlace> followed = pinPath(path, LastLink::IsFollowed);
      if (!followed) return followed;
      // A copy writes to what a link leads to; a move replaces the link, unless it leads to a folder.
      if (command_.kind == FileCommandKind::Copy || followed->isFolder()) place = std::move(followed);
    }
    if (place->isFolder()) return placeIn(std::move(*place), path, name);
    if (place->withTrailingSlash) return refusal(ENOTDIR, path, std::strerror(ENOTDIR));
    return place;
  }

  // Of two bundles of one name the second is asked to become what the first has become a moment ago. Trashing
  // means a place of its own, never one inside another item.
  bool isTakenInTrash(const PinnedPlace& place, const std::string& name) const {
    const bool sameName = place.name.starts_with(name.substr(0, name.rfind('.')));
    return command_.kind == FileCommandKind::Move && sameName && !place.withTrailingSlash &&
           TrashHandover::into(place.folder.get(), person_);
  }

  Answer<PinnedPlace> placeIn(PinnedPlace folder, const std::string& path, const std::string& name) {
    PinnedPlace place;
    place.folder = std::move(folder.item);
    place.name = name;
    place.item.reset(::openat(place.folder.get(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!place.item && errno != ENOENT) return refusal(errno, path, std::strerror(errno));
    if (place.item) {
      const auto status = statusOf(place.item.get());
      if (!status) return refusal(errno, path, std::strerror(errno));
      place.itemStatus = *status;
    }
    if (place.isLink() && command_.kind == FileCommandKind::Copy) {
      return refusal(ELOOP, path + "/" + name, "a link is in the way");
    }
    return place;
  }

  // A copy is put into an existing folder only where nobody but root can change anything in it; what cannot
  // be replaced by a single step is left alone.
  Problem mayBeReplaced(const std::string& path, const PinnedPlace& source, const PinnedPlace& target) {
    if (!target.item) return std::nullopt;
    const bool folders = target.isFolder() && source.isFolder();
    if (command_.kind == FileCommandKind::Copy && folders) {
      const bool safe = onlyRootChanges(target.folder.get()) && onlyRootChangesTree(target.item.get());
      return safe ? std::nullopt
                  : Problem(refusal(EPERM, path, "a folder that others than root can change is not copied into"));
    }
    if (target.isFolder() == source.isFolder() || !source.item)
      return folders ? mustBeEmpty(path, target) : std::nullopt;
    const int error = target.isFolder() ? EISDIR : ENOTDIR;
    return refusal(error, path, std::strerror(error));
  }

  Problem mustBeEmpty(const std::string& path, const PinnedPlace& target) {
    const int error = forEachEntry(target.item.get(), [](int, const std::string&) { return ENOTEMPTY; });
    return error == 0 ? std::nullopt : Problem(refusal(error, path, std::strerror(error)));
  }

  // A tree that is read by names can be changed into one that leads elsewhere; only confinement helps.
  Problem mayBeRead(const std::string& path, const PinnedPlace& source, const PinnedPlace& target) {
    const bool copies = command_.kind == FileCommandKind::Copy || isOnOtherVolume(source, target.folder.get());
    if (!copies || !source.isFolder() || Confinement::isAvailable()) return std::nullopt;
    const bool safe = onlyRootChanges(source.folder.get()) && onlyRootChangesTree(source.item.get());
    return safe ? std::nullopt
                : Problem(refusal(ENOTSUP, path, "others than root can change it, and this kernel has no Landlock"));
  }

  // Moving needs the same rights at both ends.
  void allowTransfer(const PinnedPlace& source, int targetFolder) {
    if (command_.kind == FileCommandKind::Move) {
      tool_.confinement->allowAll(source.folder.get());
    } else if (source.item) {
      tool_.confinement->allowReading(source.item.get());
    }
    tool_.confinement->allowAll(targetFolder);
  }

  Problem stage(const std::string& to, const std::string& origin, PinnedPlace target) {
    tool_.publication = std::make_unique<Publication>(std::move(target.folder), target.name);
    if (Problem problem = tool_.publication->prepare()) return problem;
    if (command_.kind == FileCommandKind::Move) tool_.publication->handOverTo(person_, origin);
    UniqueFd folder(::fcntl(tool_.publication->stagingFolder(), F_DUPFD_CLOEXEC, 3));
    if (!folder) return refusal(errno, to, std::strerror(errno));
    const std::string path = inheritedPath(folder.get()) + "/" + target.name;
    pass(to, path, std::move(folder));
    return std::nullopt;
  }

  // By reference, so that the path is made while the descriptor is still in its place.
  void pass(const std::string& asked, const std::string& path, UniqueFd&& pinned) {
    tool_.arguments.push_back(path);
    tool_.shown.emplace_back(path, asked);
    tool_.pinned.push_back(std::move(pinned));
  }

  const FileCommand& command_;
  const uid_t person_;
  PreparedTool tool_;
};

// The folder and the file belong to root, and nobody else can change them.
Answer<std::string> checkProgram(const std::string& path) {
  constexpr mode_t writableByOthers = S_IWGRP | S_IWOTH;
  Answer<PinnedPlace> place = pinPath(path, LastLink::IsFollowed);
  if (!place) return place.refusal();
  if (!place->item) return refusal(ENOENT, path, std::strerror(ENOENT));
  if (!S_ISREG(place->itemStatus.st_mode)) return refusal(EACCES, path, std::strerror(EACCES));
  const bool safe =
      place->changers.none() && place->itemStatus.st_uid == 0 && (place->itemStatus.st_mode & writableByOthers) == 0;
  if (!safe) return refusal(EPERM, path, "others than root can change this program");
  // Where the path leads without its folders' links: /bin is /usr/bin on many systems.
  Answer<PinnedPlace> plain = pinPath(path, LastLink::Stays);
  if (!plain) return plain.refusal();
  return shownPath(plain->folder.get()) + "/" + plain->name;
}

// The name of a system tool; empty for every other program.
std::string toolName(const std::string& program) {
  for (const std::string folder : {"/usr/bin/", "/bin/"}) {
    if (program.starts_with(folder) && program.find('/', folder.size()) == std::string::npos) {
      return program.substr(folder.size());
    }
  }
  return {};
}

}  // namespace

std::string PreparedTool::inAskedPaths(std::string message) const {
  for (const auto& [path, asked] : shown) {
    for (std::size_t at = 0; (at = message.find(path, at)) != std::string::npos; at += asked.size()) {
      message.replace(at, path.size(), asked);
    }
  }
  return message;
}

Answer<PreparedTool> prepareTool(const Launch& launch, uid_t person) {
  Answer<std::string> program = checkProgram(launch.tool);
  if (!program) return program.refusal();
  PreparedTool tool;
  tool.arguments = launch.arguments;
  if (auto command = parseFileCommand(toolName(*program), launch.arguments)) {
    if (!*command) return command->refusal();
    Answer<PreparedTool> pinned = Preparation(**command, person).run();
    if (!pinned) return pinned;
    tool = std::move(*pinned);
  }
  tool.program = launch.tool;
  tool.arguments.insert(tool.arguments.begin(), launch.tool);
  return tool;
}

}  // namespace qm::linux_
