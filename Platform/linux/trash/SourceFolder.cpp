#include "Platform/linux/trash/SourceFolder.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/linux/files/DescriptorPath.h"
#include "Platform/linux/rights/FileSystemUser.h"
#include "Platform/linux/rights/PathWalk.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

UniqueFd openWithoutLinks(const std::string& folder) {
  open_how how{};
  how.flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
  how.resolve = RESOLVE_NO_SYMLINKS;
  return UniqueFd(static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, folder.c_str(), &how, sizeof how)));
}

// Looking for links failed on a link, or cannot be done on this system.
bool mayLeadThroughLinks(int error) { return error == ELOOP || error == ENOSYS || error == EPERM; }

UniqueFd openPlainly(const std::string& folder) {
  return UniqueFd(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

// A path of plain components, one slash before each: without links on its way it is the folder's own.
bool isTidy(const std::string& path) {
  return path.find("//") == std::string::npos && path.find("/./") == std::string::npos &&
         path.find("/../") == std::string::npos && !path.ends_with('/') && !path.ends_with("/.") &&
         !path.ends_with("/..");
}

// `path` is "" where it has to be asked for, which takes longer than all the rest.
Outcome<SourceFolder> describe(UniqueFd fd, bool withRootRights, std::string path = "") {
  if (!fd) return folderProblem(errno);
  const std::optional<Place> place = placeOf(fd.get());
  if (!place) return folderProblem(errno);
  if (path.empty()) path = posix::shownPath(fd.get());
  if (path.empty()) return folderProblem(ENAMETOOLONG);
  return SourceFolder{std::move(fd), *place, std::move(path), withRootRights};
}

bool isPath(const std::string& folder) { return folder.starts_with('/') && folder.find('\0') == std::string::npos; }

TrashProblem noPlace() { return {EINVAL, "the place of its folder is not known"}; }

}  // namespace

TrashProblem folderProblem(int code) {
  switch (code) {
    case ENOENT:
      return {code, "its folder doesn’t exist"};
    case ENOTDIR:
      return {code, "its folder is not a folder"};
    case ELOOP:
      return {code, "the links to its folder lead in a circle"};
    case EACCES:
      return {code, "you don’t have permission to open its folder"};
    default:
      return itemProblem(code);
  }
}

Outcome<SourceFolder> openFolderAsUser(const std::string& folder, const TrashUser& user) {
  if (!isPath(folder)) return noPlace();
  const FileSystemUser acting(user.forAnother ? &user.identity : nullptr);
  if (!acting.ok()) return itemProblem(EPERM);
  return describe(openPlainly(folder), false);
}

Outcome<SourceFolder> openSourceFolder(const std::string& folder, const TrashUser& user) {
  if (!isPath(folder)) return noPlace();
  UniqueFd plain = openWithoutLinks(folder);
  if (plain) return describe(std::move(plain), user.forAnother, isTidy(folder) ? folder : "");
  if (!mayLeadThroughLinks(errno)) return folderProblem(errno);
  if (!user.forAnother) return openFolderAsUser(folder, user);
  UniqueFd trusted = openFolderThroughRootsLinks(folder);
  if (trusted || (errno != ELOOP && errno != EPERM)) return describe(std::move(trusted), true);
  return openFolderAsUser(folder, user);
}

}  // namespace qm::linux_
