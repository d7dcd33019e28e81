#include "Platform/linux/trash/SourceFolder.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <vector>

#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/trash/FileSystemUser.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

constexpr int kMostLinks = 40;  // the system's own limit
constexpr mode_t kWritableByOthers = S_IWGRP | S_IWOTH;

UniqueFd openWithoutLinks(const std::string& folder) {
  open_how how{};
  how.flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
  how.resolve = RESOLVE_NO_SYMLINKS;
  return UniqueFd(static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, folder.c_str(), &how, sizeof how)));
}

// Walks a path a component at a time and follows only links that nobody but root can have made.
class RootLinkWalk {
 public:
  explicit RootLinkWalk(const std::string& path) : at_(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC)) { push(path); }

  // The folder; none, with the error number set, where the walk ends early (ELOOP: a person's link).
  UniqueFd run() {
    while (at_ && !pending_.empty()) {
      const std::string component = std::move(pending_.back());
      pending_.pop_back();
      if (component != "/" && component != ".") step(component);
    }
    return isFolder() ? std::move(at_) : UniqueFd();
  }

 private:
  void push(const std::string& path) {
    const std::vector<std::string> components = foundation::pathComponents(path);
    pending_.insert(pending_.end(), components.rbegin(), components.rend());
  }

  void step(const std::string& component) {
    UniqueFd next(::openat(at_.get(), component.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat found {};
    if (next && ::fstat(next.get(), &found) != 0) next.reset();
    if (next && S_ISLNK(found.st_mode)) {
      follow(next.get(), found);
    } else {
      at_ = std::move(next);
    }
  }

  void follow(int link, const struct stat& found) {
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlinkat(link, "", target.data(), target.size());
    if (++links_ > kMostLinks || length <= 0 || !madeByRoot(found)) return stop();
    const std::string path(target.data(), static_cast<std::size_t>(length));
    if (path.starts_with('/')) at_.reset(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    push(path);
  }

  bool madeByRoot(const struct stat& link) const {
    struct stat holder {};
    if (link.st_uid != 0 || ::fstat(at_.get(), &holder) != 0) return false;
    return (holder.st_uid == 0 && (holder.st_mode & kWritableByOthers) == 0) || (holder.st_mode & S_ISVTX) != 0;
  }

  void stop() {
    at_.reset();
    errno = ELOOP;
  }

  bool isFolder() const {
    struct stat found {};
    if (!at_ || ::fstat(at_.get(), &found) != 0) return false;
    if (S_ISDIR(found.st_mode)) return true;
    errno = ENOTDIR;
    return false;
  }

  UniqueFd at_;
  std::vector<std::string> pending_;  // the next component last
  int links_ = 0;
};

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

// `path` is "" where it has to be asked for, which takes longer than all the rest.
Outcome<SourceFolder> describe(UniqueFd fd, bool withRootRights, std::string path = "") {
  if (!fd) return folderProblem(errno);
  const std::optional<Place> place = placeOf(fd.get());
  if (!place) return folderProblem(errno);
  if (path.empty()) path = pathOf(fd.get());
  if (path.empty()) return folderProblem(ENAMETOOLONG);
  return SourceFolder{std::move(fd), *place, std::move(path), withRootRights};
}

Outcome<SourceFolder> openWithRightsOf(const TrashUser& user, const std::string& folder) {
  const FileSystemUser acting(user.forAnother ? &user.identity : nullptr);
  if (!acting.ok()) return itemProblem(EPERM);
  return describe(openPlainly(folder), false);
}

}  // namespace

std::string pathOf(int fd) {
  std::array<char, PATH_MAX> path{};
  const std::string link = "/proc/self/fd/" + std::to_string(fd);
  const ssize_t length = ::readlink(link.c_str(), path.data(), path.size());
  if (length <= 0 || path[0] != '/') return {};
  return {path.data(), static_cast<std::size_t>(length)};
}

Outcome<SourceFolder> openSourceFolder(const std::string& folder, const TrashUser& user) {
  if (!folder.starts_with('/') || folder.find('\0') != std::string::npos) {
    return TrashProblem{EINVAL, "the place of its folder is not known"};
  }
  UniqueFd plain = openWithoutLinks(folder);
  if (plain) return describe(std::move(plain), user.forAnother, isTidy(folder) ? folder : "");
  if (!mayLeadThroughLinks(errno)) return folderProblem(errno);
  if (!user.forAnother) return openWithRightsOf(user, folder);
  UniqueFd trusted = RootLinkWalk(folder).run();
  if (trusted || errno != ELOOP) return describe(std::move(trusted), true);
  return openWithRightsOf(user, folder);
}

}  // namespace qm::linux_
