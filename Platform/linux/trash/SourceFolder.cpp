// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/SourceFolder.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/linux/files/DescriptorPath.h"
#include "Platform/linux/rights/FileSystemUser.h"
#include "Platform/linux/rights/PathWalk.h"
#include "Platform/linux/rights/RuledOpening.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

UniqueFd openWithoutLinks(const std::string& folder) { return openFolderByRules(folder, RESOLVE_NO_SYMLINKS); }

// Opening without links failed because of a link, or is not supported by this system.
bool mayLeadThroughLinks(int error) { return error == ELOOP || error == ENOSYS || error == EPERM; }

UniqueFd openPlainly(const std::string& folder) {
  return UniqueFd(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

// A path of plain components with single slashes: if no link is on its way, it is the folder's own path.
bool isNormalised(const std::string& path) {
  return path.find("//") == std::string::npos && path.find("/./") == std::string::npos &&
         path.find("/../") == std::string::npos && !path.ends_with('/') && !path.ends_with("/.") &&
         !path.ends_with("/..");
}

// `path` is "" if the system has to be asked for it, which takes longer than all the rest.
TrashAnswer<SourceFolder> describe(UniqueFd fd, bool withRootRights, std::string path = "") {
  if (!fd) return folderProblem(errno);
  const std::optional<ItemIdentity> identity = itemIdentity(fd.get());
  if (!identity) return folderProblem(errno);
  if (path.empty()) path = posix::shownPath(fd.get());
  if (path.empty()) return folderProblem(ENAMETOOLONG);
  return SourceFolder{std::move(fd), *identity, std::move(path), withRootRights};
}

bool isPath(const std::string& folder) { return folder.starts_with('/') && folder.find('\0') == std::string::npos; }

TrashProblem noPlace() { return {EINVAL, "the place of its folder is not known"}; }

}  // namespace

TrashProblem folderProblem(int code) { return problemOf(code, posix::Subject::TrashedItemsFolder); }

TrashAnswer<SourceFolder> openFolderAsUser(const std::string& folder, const TrashUser& user) {
  if (!isPath(folder)) return noPlace();
  const FileSystemUser acting(user.forAnother ? &user.identity : nullptr);
  if (!acting.ok()) return itemProblem(EPERM);
  return describe(openPlainly(folder), false);
}

TrashAnswer<SourceFolder> openSourceFolder(const std::string& folder, const TrashUser& user) {
  if (!isPath(folder)) return noPlace();
  UniqueFd plain = openWithoutLinks(folder);
  if (plain) return describe(std::move(plain), user.forAnother, isNormalised(folder) ? folder : "");
  if (!mayLeadThroughLinks(errno)) return folderProblem(errno);
  const bool isRootsOwn = !user.forAnother && user.identity.uid == 0;
  if (!user.forAnother && !isRootsOwn) return openFolderAsUser(folder, user);
  UniqueFd trusted = openFolderThroughRootsLinks(folder);
  if (trusted || (errno != ELOOP && errno != EPERM)) return describe(std::move(trusted), user.forAnother);
  if (isRootsOwn) return TrashProblem{EPERM, "a link that is not root’s leads to its folder"};
  return openFolderAsUser(folder, user);
}

}  // namespace qm::linux_
